// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/support/chance.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

#include <limits>
#include <memory>

/**
 * Any process of the user may call the daemon, with whatever arguments: it answers each call in
 * time, serves other callers meanwhile, and ends what it has accepted.
 */
class TestAsDaemonArguments : public DaemonFixture<DaemonWorld>
{
    Q_OBJECT

private slots:
    void initTestCase();

    void callsOfChance();

private:
    quint32 below(quint32 bound) { return m_random.bounded(bound); }
    quint64 number();
    QString text();
    QVariant anything();
    QVariantList fitting(const QString &method);
    QDBusMessage callOfChance();

    QRandomGenerator m_random;
};

namespace {

const QStringList Methods = {
    QStringLiteral("sync"),
    QStringLiteral("folderSync"),
    QStringLiteral("sendMail"),
    QStringLiteral("syncSpecificFolders"),
    QStringLiteral("downloadMessage"),
    QStringLiteral("downloadAttachment"),
    QStringLiteral("searchMailbox"),
    QStringLiteral("abortRequest"),
    QStringLiteral("isRequestAlive"),
    QStringLiteral("stopSync"),
};

/** Seconds of calls; ORVMAIL_FUZZ_SECONDS asks for more. */
int seconds()
{
    const int wanted = qEnvironmentVariableIntValue("ORVMAIL_FUZZ_SECONDS");
    return wanted > 0 ? wanted : 10;
}

} // namespace

void TestAsDaemonArguments::initTestCase()
{
    DaemonFixture::initTestCase();
    m_random.seed(testSeed());
}

quint64 TestAsDaemonArguments::number()
{
    switch (below(6)) {
    case 0:
        return world().account.toULongLong();
    case 1:
        return below(100);
    case 2:
        return std::numeric_limits<quint64>::max() - below(2);
    case 3:
        return quint64(std::numeric_limits<qint32>::max()) + below(3);
    case 4:
        return 0;
    default:
        return m_random.generate64();
    }
}

QString TestAsDaemonArguments::text()
{
    switch (below(5)) {
    case 0:
        return {};
    case 1:
        return QString::number(number());
    case 2:
        return QString(int(below(200000)), QLatin1Char('x'));
    case 3:
        return QStringLiteral("../../%n%s'\";--\n\t1.2.3");
    default: {
        QString chance;
        for (quint32 i = below(40); i > 0; --i)
            chance.append(QChar(ushort(1 + below(0xd7fe))));
        return chance;
    }
    }
}

QVariant TestAsDaemonArguments::anything()
{
    switch (below(7)) {
    case 0:
        return qulonglong(number());
    case 1:
        return int(number());
    case 2:
        return text();
    case 3:
        return QStringList {text(), text()};
    case 4:
        return below(2) == 1;
    case 5:
        return double(number());
    default:
        return QVariant::fromValue(Activesync::SearchQuery());
    }
}

/** Arguments of the right types, with values of chance. */
QVariantList TestAsDaemonArguments::fitting(const QString &method)
{
    if (method == QLatin1String("abortRequest"))
        return {int(number()), int(number())};
    if (method == QLatin1String("isRequestAlive"))
        return {int(number())};
    QVariantList arguments {qulonglong(number())};
    if (method == QLatin1String("stopSync")) {
        arguments << int(number());
    } else if (method == QLatin1String("syncSpecificFolders")) {
        QStringList folders;
        for (quint32 i = below(50); i > 0; --i)
            folders << text();
        arguments << folders << int(number()) << int(number());
    } else if (method == QLatin1String("searchMailbox")) {
        Activesync::SearchQuery query;
        query.text = text();
        query.selector = int(number());
        query.folders = QStringList {text(), text()};
        query.receivedAfter = QDateTime::fromMSecsSinceEpoch(qint64(number()));
        query.receivedBefore = QDateTime::fromMSecsSinceEpoch(qint64(number()));
        arguments << QVariant::fromValue(query)
                  << QVariant::fromValue(Activesync::SearchMailboxOptions());
    } else if (method != QLatin1String("sync") && method != QLatin1String("folderSync")) {
        arguments << qulonglong(number());
        if (method == QLatin1String("downloadAttachment"))
            arguments << text();
    }
    return arguments;
}

QDBusMessage TestAsDaemonArguments::callOfChance()
{
    const QString method = Methods.at(int(below(quint32(Methods.size()))));
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String(Activesync::ServiceName), QLatin1String(Activesync::ObjectPath),
        QLatin1String(Activesync::InterfaceName), method);
    QVariantList arguments = fitting(method);
    if (below(4) == 0) {
        for (quint32 i = below(4); i > 0; --i)
            arguments.insert(int(below(quint32(arguments.size() + 1))), anything());
        if (!arguments.isEmpty() && below(2) == 0)
            arguments.removeAt(int(below(quint32(arguments.size()))));
    }
    call.setArguments(arguments);
    return call;
}

void TestAsDaemonArguments::callsOfChance()
{
    world().deliver(3);
    QCOMPARE(world().syncAndWait(), 200);
    QSet<int> accepted;
    int calls = 0;
    QElapsedTimer all;
    all.start();
    while (all.elapsed() < seconds() * 1000) {
        const QDBusMessage call = callOfChance();
        const QDBusMessage answer = QDBusConnection::sessionBus().call(call, QDBus::Block, 5000);
        ++calls;
        QVERIFY2(answer.errorName() != QLatin1String("org.freedesktop.DBus.Error.NoReply"),
                 qPrintable(call.member()));
        QVERIFY2(world().daemon.isRunning(), qPrintable(call.member()));
        const int id = answer.arguments().value(0).toInt();
        const QStringList others {QStringLiteral("isRequestAlive"), QStringLiteral("abortRequest"),
                                  QStringLiteral("stopSync")};
        if (answer.type() == QDBusMessage::ReplyMessage && !others.contains(call.member()))
            QVERIFY(id == -1 || id > 0);
        if (id > 0 && !others.contains(call.member()))
            accepted.insert(id);
    }
    qInfo("%d calls, %d accepted", calls, int(accepted.size()));
    for (const int id : qAsConst(accepted)) {
        // Some were aborted, with a code of chance.
        QTRY_COMPARE_WITH_TIMEOUT(world().listener.completionsOf(id), 1, 60000);
    }
    QCOMPARE(world().syncAndWait(), 200);
    // Some may have been sent once more, as somebody asked for it; none has gone.
    QCOMPARE(world().differentSubjects(), 3);
}

QTEST_GUILESS_MAIN(TestAsDaemonArguments)
#include "tst_asdaemonarguments.moc"
