// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/attachmentnotifier.h"

#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using Activesync::attachmentDowloadNotifierPath;

class TestAttachmentNotifier : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void liesInTheRuntimeDirectory();
    void isTheSameForTheSameTexts();
    void differsWhereTheBorderBetweenTheTextsDiffers();
    void tellsOddTextsApart();
    void isShortForLongTexts();
    void fallsBackWhereTheRuntimeDirectoryIsUnset();
    void fallsBackWhereTheRuntimeDirectoryIsRelative();
    void fallsBackWhereTheRuntimeDirectoryIsTooLong();
    void fallsBackWhereTheRuntimeDirectoryIsGone();
    void usesTheLongestRuntimeDirectoryThatFits();
    void makesItsFolderPrivate();
    void shunsAFolderThatIsOpenToOthers();
    void canBeListenedOn();

private:
    QString path() const { return attachmentDowloadNotifierPath(m_id, m_location); }
    QString fallback() const { return QStringLiteral("/tmp/orvmail-%1/").arg(geteuid()); }

    const QString m_id = QStringLiteral("42");
    const QString m_location = QStringLiteral("42-1.2");
    QByteArray m_runtime = qgetenv("XDG_RUNTIME_DIR");
};

void TestAttachmentNotifier::init()
{
    qputenv("XDG_RUNTIME_DIR", m_runtime);
}

void TestAttachmentNotifier::cleanup()
{
    qputenv("XDG_RUNTIME_DIR", m_runtime);
}

void TestAttachmentNotifier::liesInTheRuntimeDirectory()
{
    QVERIFY(path().startsWith(QString::fromLocal8Bit(m_runtime) + QLatin1Char('/')));
}

void TestAttachmentNotifier::isTheSameForTheSameTexts()
{
    QCOMPARE(attachmentDowloadNotifierPath(QStringLiteral("42"), QStringLiteral("42-1.2")), path());
    QVERIFY(attachmentDowloadNotifierPath(QStringLiteral("43"), m_location) != path());
    QVERIFY(attachmentDowloadNotifierPath(m_id, QStringLiteral("42-1.3")) != path());
    QVERIFY(attachmentDowloadNotifierPath(m_location, m_id) != path());
}

void TestAttachmentNotifier::differsWhereTheBorderBetweenTheTextsDiffers()
{
    QVERIFY(attachmentDowloadNotifierPath(QStringLiteral("1"), QStringLiteral("23"))
            != attachmentDowloadNotifierPath(QStringLiteral("12"), QStringLiteral("3")));
    QVERIFY(attachmentDowloadNotifierPath(QStringLiteral("1:1"), QString())
            != attachmentDowloadNotifierPath(QStringLiteral("1"), QStringLiteral("1")));
}

void TestAttachmentNotifier::tellsOddTextsApart()
{
    const QStringList texts {QString(),
                             QStringLiteral(" "),
                             QStringLiteral("/"),
                             QStringLiteral("../../etc/passwd"),
                             QStringLiteral("grün"),
                             QStringLiteral("gru\u0308n"),
                             QStringLiteral("\U0001F4CE"),
                             QString(QChar(0))};
    QSet<QString> paths;
    for (const QString &text : texts) {
        const QString path = attachmentDowloadNotifierPath(m_id, text);
        QCOMPARE(QFileInfo(path).path(), QFileInfo(this->path()).path());
        paths.insert(path);
    }
    QCOMPARE(paths.size(), texts.size());
}

void TestAttachmentNotifier::isShortForLongTexts()
{
    const QString longText(100000, QLatin1Char('x'));
    QVERIFY(QFile::encodeName(attachmentDowloadNotifierPath(longText, longText)).size() < 108);
}

void TestAttachmentNotifier::fallsBackWhereTheRuntimeDirectoryIsUnset()
{
    qunsetenv("XDG_RUNTIME_DIR");
    QVERIFY2(path().startsWith(fallback()), qPrintable(path()));
    QCOMPARE(QFileInfo(fallback()).permissions() & QFile::Permissions(0x7777),
             QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadUser
                 | QFile::WriteUser | QFile::ExeUser);
}

void TestAttachmentNotifier::fallsBackWhereTheRuntimeDirectoryIsRelative()
{
    qputenv("XDG_RUNTIME_DIR", "run");
    QVERIFY(path().startsWith(fallback()));
}

void TestAttachmentNotifier::fallsBackWhereTheRuntimeDirectoryIsTooLong()
{
    const QByteArray folder = m_runtime + '/' + QByteArray(80, 'l');
    QVERIFY(QDir().mkdir(QString::fromLocal8Bit(folder)));
    qputenv("XDG_RUNTIME_DIR", folder);
    QVERIFY(path().startsWith(fallback()));
    QVERIFY(QFile::encodeName(path()).size() < 108);
}

void TestAttachmentNotifier::fallsBackWhereTheRuntimeDirectoryIsGone()
{
    qputenv("XDG_RUNTIME_DIR", m_runtime + "/gone");
    QVERIFY(path().startsWith(fallback()));
}

void TestAttachmentNotifier::usesTheLongestRuntimeDirectoryThatFits()
{
    const int room = 107 - path().size();
    const QByteArray fits = m_runtime + '/' + QByteArray(room - 1, 'f');
    QVERIFY(QDir().mkdir(QString::fromLocal8Bit(fits)));
    qputenv("XDG_RUNTIME_DIR", fits);
    QCOMPARE(path().size(), 107);
    QVERIFY(path().startsWith(QString::fromLocal8Bit(fits)));

    QVERIFY(QDir().mkdir(QString::fromLocal8Bit(fits + 'f')));
    qputenv("XDG_RUNTIME_DIR", fits + 'f');
    QVERIFY(path().startsWith(fallback()));
}

void TestAttachmentNotifier::makesItsFolderPrivate()
{
    const QFileInfo folder(QFileInfo(path()).path());
    QVERIFY(folder.isDir());
    QVERIFY(!(folder.permissions()
              & (QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther
                 | QFile::WriteOther | QFile::ExeOther)));
}

void TestAttachmentNotifier::shunsAFolderThatIsOpenToOthers()
{
    QTemporaryDir runtime;
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    const QString folder = runtime.filePath(QStringLiteral("orvmail"));
    QVERIFY(QDir().mkdir(folder));
    QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x7777)));
    QVERIFY(path().startsWith(fallback()));
}

void TestAttachmentNotifier::canBeListenedOn()
{
    QLocalServer server;
    QVERIFY2(server.listen(path()), qPrintable(server.errorString()));
    QCOMPARE(server.fullServerName(), path());
    QLocalSocket socket;
    socket.connectToServer(path());
    QVERIFY(socket.waitForConnected());
    QTRY_VERIFY(server.hasPendingConnections());
}

QTEST_GUILESS_MAIN(TestAttachmentNotifier)

#include "tst_attachmentnotifier.moc"
