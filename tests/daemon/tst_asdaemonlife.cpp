// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/debuglog.h"
#include "asclient/syncinfoshmreader.h"
#include "daemon/store/storeindexes.h"
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/storelock.h"
#include "tests/support/chance.h"

#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QFile>
#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <memory>
#include <signal.h>
#include <sys/types.h>

/** How the daemon starts and ends, and what it makes of accounts that come, change and go. */
class TestAsDaemonLife : public DaemonFixture<DaemonWorld>
{
    Q_OBJECT

private slots:
    void helpAndVersionAreTold();
    void whatIsNotUnderstoodIsRefused();
    void withoutASessionBusItEnds();
    void theJournalIsToldAPriority();
    void dbusStartsIt();
    void aSecondInstanceSaysSoAndEnds();
    void sigtermCancelsWhatRunsAndClearsTheState();
    void sigtermEndsItWhileTheStoreIsLocked();
    void itCanStartAgainAfterAKill();
    void aNewDaemonEndsTheSynchronisationsOfADeadOne();
    void aNewDaemonEndsTheRequestsOfADeadOne();
    void aDaemonThatStartsCarriesWhatWasChangedAndTellsOfIt();
    void aDaemonThatStartsTellsOfAnAccountThatItCannotServe();
    void aNewDaemonDoesNotRepeatTheIdsOfADeadOne();
    void everyRunIsTheSameDeviceToEveryAccount();
    void itPutsItsIndexesIntoTheStoreUnlessToldOtherwise();
    void lockedStoreIsServedWithoutIndexes();
    void killedAtAnyInstantNothingIsLostOrDoubled();
    void noCoreIsDumped();
    void itsFilesAreTheUsersOwn();
    void neitherPasswordsNorContentsAreLogged();
    void addressesAreNotLogged_data();
    void addressesAreNotLogged();
    void debugLogIsKeptOnRequest();

    void aRedirectIsFollowedIntoTheMailsDomainAlone_data();
    void aRedirectIsFollowedIntoTheMailsDomainAlone();
    void anAccountThatIsAddedIsServedAtOnce();
    void changedSettingsAreUsedAtOnce();
    void settingsThatChangeDuringASynchronisationAreUsedForIt();
    void anAccountThatGoesDuringItsSynchronisation_data();
    void anAccountThatGoesDuringItsSynchronisation();
    void anAccountThatIsEnabledAgainIsServed();
    void twoAccountsAreSynchronisedAtOnce();

private:
    /** The tests start the daemon themselves. */
    bool begin() override
    {
        const bool isStarted = world().server.start();
        world().account = StoreFixture::addAccount(world().settings());
        return isStarted;
    }
    struct Run
    {
        int code;
        QString text;
    };
    Run runOnce(const QStringList &arguments, const QString &bus = QString());
    /** A broadcast for the account, as the listener writes it down. */
    QString broadcast(const char *signal) const
    {
        return QStringLiteral("%1 %2")
            .arg(QLatin1String(signal))
            .arg(world().account.toULongLong());
    }
    /** The beginnings and ends of synchronisations that were heard. */
    QStringList syncs() const
    {
        return world().listener.broadcasts().filter(QStringLiteral("sync"));
    }
};

TestAsDaemonLife::Run TestAsDaemonLife::runOnce(const QStringList &arguments, const QString &bus)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    if (!bus.isEmpty()) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus);
        process.setProcessEnvironment(environment);
    }
    process.start(DaemonProcess::program(), arguments);
    if (!process.waitForFinished(20000))
        return {-1, QString()};
    return {process.exitCode(), QString::fromUtf8(process.readAll())};
}

void TestAsDaemonLife::helpAndVersionAreTold()
{
    const Run help = runOnce({QStringLiteral("--help")});
    QCOMPARE(help.code, 0);
    for (const char *word : {"--version", "--log", "asdaemon.requests", "asdaemon.sync"})
        QVERIFY2(help.text.contains(QLatin1String(word)), word);
    const Run version = runOnce({QStringLiteral("--version")});
    QCOMPARE(version.code, 0);
    QVERIFY(version.text.startsWith(QLatin1String("asdaemon ")));
}

void TestAsDaemonLife::whatIsNotUnderstoodIsRefused()
{
    QCOMPARE(runOnce({QStringLiteral("--nonsense")}).code, 2);
    QCOMPARE(runOnce({QStringLiteral("nonsense")}).code, 2);
    QCOMPARE(runOnce({QStringLiteral("--log"), QStringLiteral("nonsense")}).code, 2);
}

void TestAsDaemonLife::withoutASessionBusItEnds()
{
    const Run run = runOnce({}, QStringLiteral("unix:path=/nonexistent/bus"));
    QCOMPARE(run.code, 1);
    QVERIFY(run.text.contains(QLatin1String("bus")));
}

void TestAsDaemonLife::theJournalIsToldAPriority()
{
    const auto run = [](const QString &journal) {
        QProcess shell;
        shell.start(QStringLiteral("/bin/sh"),
                    {QStringLiteral("-c"),
                     QStringLiteral("DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent/bus "
                                    "JOURNAL_STREAM=%1 exec \"$0\" 2>\"$TMPDIR/journal\"")
                         .arg(journal),
                     DaemonProcess::program()});
        shell.waitForFinished(20000);
        QFile file(qEnvironmentVariable("TMPDIR") + QStringLiteral("/journal"));
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    };
    // Another's journal.
    QCOMPARE(run(QStringLiteral("1:1")),
             QByteArray("asdaemon: asdaemon: there is no session bus\n"));
    QCOMPARE(run(QStringLiteral("$(stat -L -c %d:%i \"$TMPDIR/journal\")")),
             QByteArray("<3>asdaemon: there is no session bus\n"));
}

void TestAsDaemonLife::dbusStartsIt()
{
    const QString folder =
        qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/dbus-1/services/");
    QFile service(folder + QStringLiteral("com.tarvo.asdbus.service"));
    QVERIFY(service.open(QIODevice::WriteOnly));
    service.write(
        "[D-BUS Service]\nName=com.tarvo.asdbus\nExec=" + DaemonProcess::program().toUtf8() + "\n");
    service.close();
    auto bus = QDBusConnection::sessionBus();
    bus.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ReloadConfig")));
    QVERIFY(!DaemonProcess::isOnBus());
    world().deliver(1);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 1);
    const uint pid = bus.interface()->servicePid(QLatin1String(Activesync::ServiceName)).value();
    QVERIFY(pid > 1);
    QCOMPARE(::kill(pid_t(pid), SIGTERM), 0);
    QTRY_VERIFY(!DaemonProcess::isOnBus());
    QVERIFY(service.remove());
}

void TestAsDaemonLife::aSecondInstanceSaysSoAndEnds()
{
    QVERIFY(world().startDaemon());
    world().server.fault("delay", "FolderSync", {{"seconds", 20}});
    const int id = world().sync();
    QVERIFY(world().faultsAreTaken());
    QTRY_COMPARE(world().listener.count(QStringLiteral("syncStarted")), 1);
    const Run second = runOnce({});
    QCOMPARE(second.code, 1);
    QVERIFY2(second.text.contains(QLatin1String("another instance")), qPrintable(second.text));
    SyncInfoNode node;
    QVERIFY(SyncInfoShmReader::instance().fill(node, world().account.toULongLong()));
    QCOMPARE(node.syncState, SyncInfoNode::SyncRunning);
    world().server.endDelays();
    QCOMPARE(world().codeOf(id), 200);
}

void TestAsDaemonLife::sigtermCancelsWhatRunsAndClearsTheState()
{
    world().deliver(120);
    QVERIFY(world().daemon.start());
    // In the middle: the first window is being written or was, the second does not come.
    world().server.fault("delay", "Sync", {{"seconds", 30}, {"after", 2}});
    const int first = world().sync();
    const int second = world().sync();
    QTRY_VERIFY(world().messageCount() > 0);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(world().daemon.end(), 0);
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(world().codeOf(first, 2000), 1030);
    QCOMPARE(world().codeOf(second, 2000), 1030);
    QCOMPARE(world().listener.broadcasts().last(),
             QStringLiteral("syncCompleted %1").arg(world().account.toULongLong()));
    SyncInfoNode node;
    QVERIFY(!SyncInfoShmReader::instance().fill(node, world().account.toULongLong()));
    world().server.clearFaults();
    world().listener.clear();
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 120);
    QCOMPARE(world().differentSubjects(), 120);
}

void TestAsDaemonLife::sigtermEndsItWhileTheStoreIsLocked()
{
    world().deliver(1);
    QVERIFY(world().daemon.start());
    StoreLock lock;
    QVERIFY(lock.isHeld());
    const int id = world().sync();
    QVERIFY(id > 0);
    QCOMPARE(world().daemon.end(), 0);
    QCOMPARE(world().codeOf(id, 2000), 1030);
}

void TestAsDaemonLife::itCanStartAgainAfterAKill()
{
    QVERIFY(world().daemon.start());
    world().server.fault("delay", "FolderSync", {{"seconds", 30}});
    world().sync();
    QVERIFY(world().faultsAreTaken());
    world().daemon.kill();
    SyncInfoNode node;
    SyncInfoShmReader::instance().fill(node, world().account.toULongLong());
    QCOMPARE(node.syncState, 0);
    world().listener.clear();
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
}

void TestAsDaemonLife::aNewDaemonEndsTheRequestsOfADeadOne()
{
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    world().server.fault("delay", "FolderSync", {{"seconds", 30}});
    const int first = world().sync();
    const int second =
        world().proxy.folderSync(world().account.toULongLong(), QDBus::Block).value();
    world().daemon.kill();
    world().listener.clear();
    QVERIFY(world().daemon.start());
    QCOMPARE(world().codeOf(first), 1030);
    QCOMPARE(world().codeOf(second), 1030);
    QCOMPARE(world().listener.count(QStringLiteral("requestCompleted")), 2);
    // Once: the next one finds nothing of it.
    world().daemon.kill();
    world().listener.clear();
    QVERIFY(world().daemon.start());
    world().server.clearFaults();
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().listener.count(QStringLiteral("requestCompleted")), 1);
}

void TestAsDaemonLife::aNewDaemonEndsTheSynchronisationsOfADeadOne()
{
    QVERIFY(world().startDaemon());
    world().server.fault("delay", "Sync", {{"seconds", 30}});
    world().sync();
    QTRY_COMPARE(world().listener.count(QStringLiteral("syncStarted")), 1);
    world().daemon.kill();
    QCOMPARE(world().listener.count(QStringLiteral("syncCompleted")), 0);
    world().listener.clear();
    QVERIFY(world().daemon.start());
    const QStringList ends {broadcast("syncCompleted"), broadcast("syncStarted"),
                            broadcast("syncCompleted")};
    // That of the dead one, before the one with which each daemon shows itself.
    QTRY_COMPARE(syncs(), ends);
    // One that ended in order leaves nothing to end.
    QCOMPARE(world().endDaemon(), 0);
    world().listener.clear();
    QVERIFY(world().daemon.start());
    QTRY_COMPARE(syncs(), ends.mid(1));
    world().server.clearFaults();
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(world().listener.count(QStringLiteral("syncCompleted")), 2);
}

void TestAsDaemonLife::aDaemonThatStartsCarriesWhatWasChangedAndTellsOfIt()
{
    QVERIFY(world().startDaemon());
    world().deliver(2);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().endDaemon(), 0);
    const auto inInbox = QMailMessageKey::parentFolderId(world().folder(QStringLiteral("Inbox")));
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(inInbox, QMailMessage::Read, true));
    world().listener.clear();
    QVERIFY(world().daemon.start());
    QTRY_COMPARE(syncs(), QStringList({broadcast("syncStarted"), broadcast("syncCompleted")}));
    for (const QJsonObject &message :
         world().server.messages(QStringLiteral("alice"), QStringLiteral("Inbox")))
        QVERIFY(message.value(QStringLiteral("read")).toBool());
    // The next one has nothing to carry: it tells of itself, and asks the server for nothing.
    QCOMPARE(world().endDaemon(), 0);
    world().server.clearLog();
    QVERIFY(world().startDaemon());
    QCOMPARE(world().endDaemon(), 0);
    QCOMPARE(world().server.log().size(), 0);
}

void TestAsDaemonLife::aDaemonThatStartsTellsOfAnAccountThatItCannotServe()
{
    QVERIFY(world().startDaemon());
    world().deliver(1);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().endDaemon(), 0);
    StoreFixture::Account settings = world().settings();
    settings.port = 0;
    world().changeSettings(world().account, settings);
    QVERIFY(world().startDaemon());
}

void TestAsDaemonLife::aNewDaemonDoesNotRepeatTheIdsOfADeadOne()
{
    QVERIFY(world().daemon.start());
    const int first = world().sync();
    QVERIFY(first > 0);
    QCOMPARE(world().codeOf(first), 200);
    world().daemon.kill();
    QVERIFY(world().daemon.start());
    const int second = world().sync();
    QVERIFY(second > 0);
    QVERIFY2(second != first, qPrintable(QString::number(second)));
    QCOMPARE(world().codeOf(second), 200);
}

void TestAsDaemonLife::everyRunIsTheSameDeviceToEveryAccount()
{
    StoreFixture::Account bob = world().settings();
    bob.username = QStringLiteral("bob");
    const QMailAccountId other = StoreFixture::addAccount(bob);
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().codeOf(world().sync(other)), 200);
    world().daemon.kill();
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().endDaemon(), 0);
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    const auto devicesOf = [this](const char *user) {
        const auto answer =
            world().server.control("devices", {{QStringLiteral("user"), QLatin1String(user)}});
        QStringList ids;
        for (const QJsonValue &device : answer[QStringLiteral("devices")].toArray())
            ids.append(device[QStringLiteral("id")].toString());
        return ids;
    };
    QCOMPARE(devicesOf("alice").size(), 1);
    QCOMPARE(devicesOf("bob"), devicesOf("alice"));
}

void TestAsDaemonLife::itPutsItsIndexesIntoTheStoreUnlessToldOtherwise()
{
    using Store::StoreIndexes;
    StoreIndexes().drop();
    QVERIFY(world().daemon.start({QStringLiteral("--no-indexes")}));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(StoreIndexes().present(), QStringList());
    QCOMPARE(world().endDaemon(), 0);

    QVERIFY(world().startDaemon());
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
    // What is dropped while it runs comes back with the next one.
    QCOMPARE(StoreIndexes().drop(), StoreIndexes::Outcome::Changed);
    world().deliver(2);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 2);
    QCOMPARE(StoreIndexes().present(), QStringList());
    QCOMPARE(world().endDaemon(), 0);
    QVERIFY(world().startDaemon());
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
}

void TestAsDaemonLife::lockedStoreIsServedWithoutIndexes()
{
    using Store::StoreIndexes;
    StoreIndexes().drop();
    // What a daemon writes of an account that it sees first is not what this is about.
    QVERIFY(world().startDaemon());
    QCOMPARE(StoreIndexes().drop(), StoreIndexes::Outcome::Changed);
    QCOMPARE(world().endDaemon(), 0);
    StoreLock lock;
    QVERIFY(lock.isHeld());
    QVERIFY(world().daemon.start());
    const int id = world().sync();
    QVERIFY(id > 0);
    QCOMPARE(StoreIndexes().present(), QStringList());
    lock.release();
    QCOMPARE(world().codeOf(id), 200);
}

void TestAsDaemonLife::killedAtAnyInstantNothingIsLostOrDoubled()
{
    constexpr int Rounds = 8;
    QRandomGenerator random(testSeed());
    QStringList expected;
    for (int round = 0; round < Rounds; ++round) {
        const QString prefix = QStringLiteral("Round %1 mail").arg(round);
        world().deliver(60, prefix);
        for (int i = 1; i <= 60; ++i)
            expected.append(QStringLiteral("%1 %2").arg(prefix).arg(i));
        QVERIFY(world().daemon.start());
        QVERIFY(world().sync() > 0);
        QTest::qWait(random.bounded(400));
        world().daemon.kill();
    }
    tellRounds(Rounds);
    world().listener.clear();
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    expected.sort();
    QCOMPARE(world().subjects(), expected);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(), expected);
    QCOMPARE(world().messageCount(), expected.size());
}

void TestAsDaemonLife::noCoreIsDumped()
{
    QVERIFY(world().daemon.start());
    QFile limits(QStringLiteral("/proc/%1/limits").arg(world().daemon.processId()));
    QVERIFY(limits.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = limits.readAll().split('\n');
    QByteArray core;
    for (const QByteArray &line : lines) {
        if (line.startsWith("Max core file size"))
            core = line.simplified();
    }
    QCOMPARE(core, QByteArray("Max core file size 1 1 bytes"));
}

void TestAsDaemonLife::itsFilesAreTheUsersOwn()
{
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    QFile file(QStringLiteral("/proc/%1/status").arg(world().daemon.processId()));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().contains("Umask:\t0077"));
}

void TestAsDaemonLife::neitherPasswordsNorContentsAreLogged()
{
    StoreFixture::Account settings = world().settings();
    settings.password = QStringLiteral("pa55-Shibboleth");
    world().server.control("set-password",
                           {{QStringLiteral("user"), QStringLiteral("alice")},
                            {QStringLiteral("password"), settings.password}});
    world().changeSettings(world().account, settings);
    world().server.deliver(QStringLiteral("alice"), QStringLiteral("Inbox"),
                           "From: a@b.test\r\nSubject: Sub-Shibboleth\r\n\r\nBody-Shibboleth\r\n");
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 1);
    const QString log = world().daemon.log();
    QVERIFY(log.contains(QLatin1String("asdaemon.sync")));
    QVERIFY2(!log.contains(QLatin1String("Shibboleth")), qPrintable(log));
    // "alice:pa55-Shibboleth" as HTTP sends it.
    QVERIFY(!log.contains(QLatin1String("YWxpY2U6cGE1NS1TaGliYm9sZXRo")));
}

void TestAsDaemonLife::addressesAreNotLogged_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("as usual") << QStringList();
    QTest::newRow("everything") << QStringList {QStringLiteral("--log"), QStringLiteral("all")};
}

void TestAsDaemonLife::addressesAreNotLogged()
{
    QFETCH(QStringList, arguments);
    // Their names are the addresses, as the account program has it unless told otherwise.
    StoreFixture::Account redirected = world().settings();
    redirected.name = QStringLiteral("alice@shibboleth.test");
    world().changeSettings(world().account, redirected);
    StoreFixture::Account lost = world().settings();
    lost.server = QStringLiteral("shibboleth.invalid");
    const QMailAccountId lostId = StoreFixture::addAccount(lost);
    StoreFixture::Account useless = redirected;
    useless.name = QStringLiteral("bob@shibboleth.test");
    useless.port = -1;
    const QMailAccountId uselessId = StoreFixture::addAccount(useless);
    QVERIFY(world().daemon.start(arguments));
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                          {QStringLiteral("count"), -1},
                          {QStringLiteral("status"), 451},
                          {QStringLiteral("location"),
                           QStringLiteral("http://shibboleth.test/x?User=alice@shibboleth.test")}});
    for (const QMailAccountId &id : {world().account, lostId, uselessId}) {
        const int request = world().sync(id);
        QVERIFY(request <= 0 || world().codeOf(request) != 200);
    }
    const QString log = world().daemon.log();
    QVERIFY2(log.contains(QLatin1String("if the account says so: (address)")), qPrintable(log));
    QVERIFY2(log.contains(QLatin1String("there is no host of this name")), qPrintable(log));
    QVERIFY2(log.contains(QLatin1String("port: -1 is not a port")), qPrintable(log));
    QVERIFY2(!log.contains(QLatin1String("shibboleth")), qPrintable(log));
}

void TestAsDaemonLife::debugLogIsKeptOnRequest()
{
    QFile log(QMail::dataPath() + QLatin1Char('/') + QLatin1String(Activesync::DebugLogName));
    const auto liveUpTo = [&](const char *value) {
        qputenv(Activesync::DebugVariable, value);
        QVERIFY(world().daemon.start({}));
        qunsetenv(Activesync::DebugVariable);
        QCOMPARE(world().syncAndWait(), 200);
        QCOMPARE(world().daemon.end(), 0);
    };
    for (const char *off : {"", "0"}) {
        liveUpTo(off);
        QVERIFY(!log.exists());
    }
    liveUpTo("1");
    QVERIFY(log.open(QIODevice::ReadOnly));
    const QByteArray kept = log.readAll();
    QVERIFY(log.remove());
    QVERIFY2(QRegularExpression(
                 QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z asdaemon: "))
                 .match(QString::fromUtf8(kept))
                 .hasMatch(),
             kept.constData());
    for (const char *text :
         {"asdaemon.eas: Sync: asking", "asdaemon.requests: request ", "is served"})
        QVERIFY2(kept.contains(text), kept.constData());
    // Beside it, only what is always logged.
    QVERIFY(!world().daemon.log().contains(QLatin1String("Sync: asking")));
}

void TestAsDaemonLife::aRedirectIsFollowedIntoTheMailsDomainAlone_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("code");
    QTest::newRow("a host of the mail's domain") << "eas.example.com" << 902;
    QTest::newRow("a stranger") << "eas.stranger.test" << 400;
}

/** There are no such hosts: who goes there finds nobody. */
void TestAsDaemonLife::aRedirectIsFollowedIntoTheMailsDomainAlone()
{
    QFETCH(QString, host);
    QVERIFY(world().daemon.start({}));
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                          {QStringLiteral("count"), -1},
                          {QStringLiteral("status"), 451},
                          {QStringLiteral("location"),
                           QStringLiteral("https://%1/Microsoft-Server-ActiveSync").arg(host)}});
    QTEST(world().syncAndWait(), "code");
}

void TestAsDaemonLife::anAccountThatIsAddedIsServedAtOnce()
{
    QVERIFY(world().daemon.start());
    StoreFixture::Account bob = world().settings();
    bob.username = QStringLiteral("bob");
    world().server.deliverText(QStringLiteral("bob"), QStringLiteral("For Bob"));
    const QMailAccountId added = StoreFixture::addAccount(bob);
    const int id = world().sync(added);
    QVERIFY(id > 0);
    QCOMPARE(world().codeOf(id), 200);
    QCOMPARE(QMailStore::instance()->countMessages(QMailMessageKey::parentAccountId(added)), 1);
}

void TestAsDaemonLife::changedSettingsAreUsedAtOnce()
{
    StoreFixture::Account wrong = world().settings();
    wrong.password = QStringLiteral("wrong");
    world().changeSettings(world().account, wrong);
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 401);
    world().changeSettings(world().account, world().settings());
    QTRY_VERIFY(world().daemon.log().contains(QLatin1String("new settings")));
    QCOMPARE(world().syncAndWait(), 200);
}

void TestAsDaemonLife::settingsThatChangeDuringASynchronisationAreUsedForIt()
{
    world().deliver(1);
    world().server.deliverText(QStringLiteral("bob"), QStringLiteral("For Bob"));
    QVERIFY(world().daemon.start());
    world().server.fault("delay", "FolderSync", {{"seconds", 20}});
    const int id = world().sync();
    QVERIFY(world().faultsAreTaken());
    StoreFixture::Account bob = world().settings();
    bob.username = QStringLiteral("bob");
    world().changeSettings(world().account, bob);
    QCOMPARE(world().codeOf(id, 10000), 200);
    QCOMPARE(world().subjects(), QStringList({QStringLiteral("For Bob")}));
    QCOMPARE(world().listener.completionsOf(id), 1);
}

void TestAsDaemonLife::anAccountThatGoesDuringItsSynchronisation_data()
{
    QTest::addColumn<bool>("isRemoved");
    QTest::newRow("removed") << true;
    QTest::newRow("disabled") << false;
}

void TestAsDaemonLife::anAccountThatGoesDuringItsSynchronisation()
{
    QFETCH(bool, isRemoved);
    world().deliver(250);
    QVERIFY(world().startDaemon());
    world().server.fault("delay", "Sync", {{"seconds", 20}, {"count", -1}});
    const int id = world().sync();
    QVERIFY(world().passDelaysUntil([this] { return world().messageCount() >= 100; }));
    if (isRemoved)
        QVERIFY(QMailStore::instance()->removeAccount(world().account));
    else
        world().setEnabled(world().account, false);
    const int count = world().messageCount();
    QCOMPARE(world().codeOf(id), 1030);
    QTRY_COMPARE(world().listener.count(QStringLiteral("syncCompleted")), 1);
    // The store tells other processes of a change within a second of it.
    QTRY_VERIFY(world().daemon.log().contains(QLatin1String("is not served any more")));
    QCOMPARE(world().sync(), -1);
    // The answer that was under way has come by the time that the server takes another request.
    world().server.clearFaults();
    world().server.endDelays();
    StoreFixture::Account bob = world().settings();
    bob.username = QStringLiteral("bob");
    QCOMPARE(world().codeOf(world().sync(StoreFixture::addAccount(bob))), 200);
    // Nothing has come since; what was just being written may have been taken back.
    QVERIFY(world().messageCount() <= count);
    QVERIFY(count < 250);
}

void TestAsDaemonLife::anAccountThatIsEnabledAgainIsServed()
{
    world().deliver(3);
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    world().setEnabled(world().account, false);
    QCOMPARE(world().sync(), -1);
    world().setEnabled(world().account, true);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 3);
}

void TestAsDaemonLife::twoAccountsAreSynchronisedAtOnce()
{
    StoreFixture::Account bob = world().settings();
    bob.username = QStringLiteral("bob");
    const QMailAccountId other = StoreFixture::addAccount(bob);
    world().deliver(3);
    world().server.deliverText(QStringLiteral("bob"), QStringLiteral("For Bob"));
    QVERIFY(world().daemon.start());
    world().server.fault("delay", "FolderSync",
                         {{"seconds", 20}, {"user", QStringLiteral("alice")}});
    const int first = world().sync();
    QVERIFY(world().faultsAreTaken());
    const int second = world().sync(other);
    QCOMPARE(world().codeOf(second), 200);
    QCOMPARE(world().listener.codeOf(first), 0);
    world().server.endDelays();
    QCOMPARE(world().codeOf(first), 200);
    QCOMPARE(world().messageCount(), 3);
}

QTEST_GUILESS_MAIN(TestAsDaemonLife)
#include "tst_asdaemonlife.moc"
