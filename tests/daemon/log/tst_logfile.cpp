// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/log/logfile.h"

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <sys/stat.h>
#include <thread>
#include <vector>

using Daemon::LogFile;

class TestLogFile : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void linesAreAddedWithTheirTimes();
    void fileIsItsOwnersAlone();
    void fullFileIsBegunAnew();
    void folderThatIsMissingIsMade();
    void fileThatCannotBeWrittenIsLeft();
    void linesOfSeveralThreadsStayWhole();

private:
    QString path() const { return m_folder->filePath(QStringLiteral("log")); }
    QString formerPath() const { return m_folder->filePath(QStringLiteral("log.old")); }
    /** Without their times. */
    static QStringList linesOf(const QString &path);

    std::unique_ptr<QTemporaryDir> m_folder;
};

QStringList TestLogFile::linesOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (QString &line : lines)
        line = line.section(QLatin1Char(' '), 1);
    lines.removeLast();
    return lines;
}

void TestLogFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void TestLogFile::linesAreAddedWithTheirTimes()
{
    LogFile(path(), formerPath()).write(QStringLiteral("first"));
    LogFile(path(), formerPath()).write(QStringLiteral("über"));
    QCOMPARE(linesOf(path()), (QStringList {QStringLiteral("first"), QStringLiteral("über")}));
    QFile file(path());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QDateTime time = QDateTime::fromString(
        QString::fromUtf8(file.readLine()).section(QLatin1Char(' '), 0, 0), Qt::ISODateWithMs);
    QCOMPARE(time.timeSpec(), Qt::UTC);
    QVERIFY(qAbs(time.secsTo(QDateTime::currentDateTimeUtc())) < 600);
}

void TestLogFile::fileIsItsOwnersAlone()
{
    umask(0);
    LogFile(path(), formerPath()).write(QStringLiteral("line"));
    umask(077);
    QVERIFY(!(QFile::permissions(path()) & QFile::Permissions(0x0077)));
}

void TestLogFile::fullFileIsBegunAnew()
{
    LogFile log(path(), formerPath(), 100);
    for (int i = 0; i < 9; ++i)
        log.write(QStringLiteral("line %1").arg(i));
    // Four have more than a hundred bytes, by their times.
    QCOMPARE(linesOf(formerPath()).first(), QStringLiteral("line 4"));
    QCOMPARE(linesOf(formerPath()).last(), QStringLiteral("line 7"));
    QCOMPARE(linesOf(path()), QStringList {QStringLiteral("line 8")});
}

void TestLogFile::folderThatIsMissingIsMade()
{
    const QString below = m_folder->filePath(QStringLiteral("a/b/log"));
    LogFile(below, formerPath()).write(QStringLiteral("line"));
    QCOMPARE(linesOf(below), QStringList {QStringLiteral("line")});
}

void TestLogFile::fileThatCannotBeWrittenIsLeft()
{
    QVERIFY(QDir().mkpath(path()));
    LogFile log(path(), formerPath());
    log.write(QStringLiteral("lost"));
    QVERIFY(QDir().rmdir(path()));
    log.write(QStringLiteral("kept"));
    QCOMPARE(linesOf(path()), QStringList {QStringLiteral("kept")});
}

void TestLogFile::linesOfSeveralThreadsStayWhole()
{
    constexpr int Threads = 4;
    constexpr int Lines = 500;
    LogFile log(path(), formerPath());
    std::vector<std::thread> threads;
    for (int i = 0; i < Threads; ++i)
        threads.emplace_back([&log, i] {
            for (int n = 0; n < Lines; ++n)
                log.write(QStringLiteral("thread %1 line %2").arg(i).arg(n));
        });
    for (std::thread &thread : threads)
        thread.join();
    QStringList expected;
    for (int i = 0; i < Threads; ++i) {
        for (int n = 0; n < Lines; ++n)
            expected.append(QStringLiteral("thread %1 line %2").arg(i).arg(n));
    }
    QStringList written = linesOf(path());
    expected.sort();
    written.sort();
    QCOMPARE(written, expected);
}

QTEST_GUILESS_MAIN(TestLogFile)
#include "tst_logfile.moc"
