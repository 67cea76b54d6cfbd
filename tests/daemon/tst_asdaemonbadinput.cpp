// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/storelock.h"

#include <qmailmessage.h>
#include <qmailstore.h>
#include <QTest>

#include <algorithm>
#include <memory>

/** What can be wrong with an account, its server and the mail store, and what a person is told. */
class TestAsDaemonBadInput : public DaemonFixture<DaemonWorld>
{
    Q_OBJECT

private slots:
    void wrongSettingsFailWithOneWarning_data();
    void wrongSettingsFailWithOneWarning();
    void aWrongPasswordCostsOneRequest();
    void severalRequestsShareOneRefusal();
    void aServerThatIsDownIsNoConnection();
    void aBrokenAnswerFailsAndTheNextSynchronisationWorks_data();
    void aBrokenAnswerFailsAndTheNextSynchronisationWorks();
    void aCertificateThatIsNotTrustedIsAConfigurationError_data();
    void aCertificateThatIsNotTrustedIsAConfigurationError();
    void httpStatuses_data();
    void httpStatuses();
    void aRefusedKeyKeepsTheMessages();
    void aKeyRefusedAmongTheWindowsReconcilesTheFolder();
    void aTreeThatFailsDoesNotHoldUpTheFolders_data();
    void aTreeThatFailsDoesNotHoldUpTheFolders();
    void aServerThatWantsAPauseIsLeftAloneAfterItsTree();
    void aKeyThatTheServerFailsOverIsReplaced_data();
    void aKeyThatTheServerFailsOverIsReplaced();
    void aServerThatFailsOverEverythingKeepsItsKeys();
    void aBusyServerKeepsItsKeys();
    void aRefusedFolderKeyKeepsTheFolders();
    void aChangedTreeIsFetchedBeforeTheFolder();
    void moreWithoutItemsEnds_data();
    void moreWithoutItemsEnds();
    void oneBadFolderDoesNotHoldUpTheOthers();
    void aPassingFailureIsTriedAgain();
    void aLockedStoreFailsAndTheNextRunRepeatsTheWindow();
    void aStoreThatIsLockedFromTheBeginningFails();
    void aServerThatKeepsSilentIsATimeout_data();
    void aServerThatKeepsSilentIsATimeout();
    void aPolicyThatIsNotMetFails();
    void aWipeRemovesTheMailAndDisablesTheAccount();
    void aWipeLeavesOtherAccountsAlone();

private:
    bool begin() override
    {
        world().daemon.hurry();
        return world().begin();
    }
    QJsonObject fault(const char *kind, const QJsonObject &more = {}) const
    {
        QJsonObject description = more;
        description[QStringLiteral("kind")] = QLatin1String(kind);
        return description;
    }
    QJsonObject refusedCollection(int status) const
    {
        return fault("collection_status",
                     {{QStringLiteral("command"), QStringLiteral("Sync")},
                      {QStringLiteral("status"), status}});
    }
    QMailMessageIdList messageIds()
    {
        return QMailStore::instance()->queryMessages(
            QMailMessageKey::parentAccountId(world().account));
    }
};

void TestAsDaemonBadInput::wrongSettingsFailWithOneWarning_data()
{
    QTest::addColumn<QString>("server");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("field");
    QTest::newRow("no server") << QString() << 80 << QStringLiteral("server");
    QTest::newRow("blanks") << QStringLiteral("   ") << 80 << QStringLiteral("server");
    QTest::newRow("not a host") << QStringLiteral("not a host") << 80 << QStringLiteral("server");
    QTest::newRow("an address") << QStringLiteral("http://127.0.0.1/x") << 80
                                << QStringLiteral("server");
    QTest::newRow("port 0") << QStringLiteral("127.0.0.1") << 0 << QStringLiteral("port");
    QTest::newRow("port too large")
        << QStringLiteral("127.0.0.1") << 65536 << QStringLiteral("port");
}

void TestAsDaemonBadInput::wrongSettingsFailWithOneWarning()
{
    QFETCH(QString, server);
    QFETCH(int, port);
    QFETCH(QString, field);
    StoreFixture::Account settings = world().settings();
    settings.server = server;
    settings.port = port;
    const QMailAccountId bad = StoreFixture::addAccount(settings);
    const int failed = world().sync(bad);
    const int good = world().sync();
    QCOMPARE(world().codeOf(failed), 60006);
    QCOMPARE(world().codeOf(good), 200);
    // An account's name may be an address, which is not for a log.
    const QString warning = QStringLiteral("account %1 %2: ").arg(bad.toULongLong()).arg(field);
    const QStringList lines = world().daemon.log().split(QLatin1Char('\n'));
    const auto isWarning = [&warning](const QString &line) { return line.contains(warning); };
    QCOMPARE(int(std::count_if(lines.begin(), lines.end(), isWarning)), 1);
}

void TestAsDaemonBadInput::aWrongPasswordCostsOneRequest()
{
    StoreFixture::Account settings = world().settings();
    settings.password = QStringLiteral("wrong");
    world().changeSettings(world().account, settings);
    QCOMPARE(world().syncAndWait(), 401);
    QCOMPARE(world().server.log().size(), 1);
    // Asked by a person once more: one more request.
    QCOMPARE(world().syncAndWait(), 401);
    QCOMPARE(world().server.log().size(), 2);
}

void TestAsDaemonBadInput::severalRequestsShareOneRefusal()
{
    // Slow enough that all of them are there when the server refuses the first.
    world().server.fault(
        fault("delay", {{QStringLiteral("seconds"), 1}, {QStringLiteral("count"), -1}}));
    world().server.fault(
        fault("http", {{QStringLiteral("status"), 401}, {QStringLiteral("count"), -1}}));
    QList<int> ids;
    for (int i = 0; i < 12; ++i)
        ids.append(world().sync());
    for (int id : qAsConst(ids))
        QCOMPARE(world().codeOf(id), 401);
    QCOMPARE(world().server.log().size(), 1);
}

void TestAsDaemonBadInput::aServerThatIsDownIsNoConnection()
{
    world().deliver(2);
    QVERIFY(world().server.stop());
    QCOMPARE(world().syncAndWait(), 902);
    QVERIFY(world().server.start());
    QCOMPARE(world().syncAndWait(), 200);
}

void TestAsDaemonBadInput::aBrokenAnswerFailsAndTheNextSynchronisationWorks_data()
{
    QTest::addColumn<QJsonObject>("fault");
    QTest::addColumn<int>("code");
    const auto damaged = [this](const char *how) {
        return fault("damage", {{QStringLiteral("how"), QLatin1String(how)}});
    };
    QTest::newRow("rubbish") << fault("rubbish") << 501;
    QTest::newRow("truncated") << damaged("truncated") << 501;
    QTest::newRow("deep") << damaged("deep") << 501;
    QTest::newRow("length") << damaged("length") << 501;
    QTest::newRow("cut") << fault("cut", {{QStringLiteral("bytes"), 20}}) << 902;
    QTest::newRow("reset") << fault("reset") << 902;
    QTest::newRow("reset late") << fault("reset", {{QStringLiteral("late"), true}}) << 902;
}

void TestAsDaemonBadInput::aBrokenAnswerFailsAndTheNextSynchronisationWorks()
{
    QFETCH(QJsonObject, fault);
    QFETCH(int, code);
    world().deliver(3, QStringLiteral("Old"));
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageIdList before = messageIds();
    world().deliver(2, QStringLiteral("New"));
    for (const char *command : {"Sync", "FolderSync"}) {
        fault[QStringLiteral("command")] = QLatin1String(command);
        fault[QStringLiteral("count")] = -1;
        world().server.fault(fault);
        QCOMPARE(world().syncAndWait(), code);
        QCOMPARE(messageIds().mid(0, before.size()), before);
        // Where there is a connection, the folders are looked at though their tree could not be.
        const bool isTreeAlone = code == 501 && qstrcmp(command, "FolderSync") == 0;
        QCOMPARE(world().messageCount(), isTreeAlone ? 5 : 3);
        world().server.clearFaults();
    }
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 5);
    QCOMPARE(world().differentSubjects(), 5);
}

void TestAsDaemonBadInput::aCertificateThatIsNotTrustedIsAConfigurationError_data()
{
    QTest::addColumn<QString>("names");
    QTest::addColumn<int>("days");
    QTest::addColumn<QString>("reason");
    const QString here = QStringLiteral("DNS:localhost,IP:127.0.0.1");
    QTest::newRow("self-signed") << here << 2 << QStringLiteral("self-signed");
    QTest::newRow("another host") << QStringLiteral("DNS:elsewhere.test") << 2
                                  << QStringLiteral("host name did not match");
    QTest::newRow("expired") << here << -1 << QStringLiteral("expired");
}

void TestAsDaemonBadInput::aCertificateThatIsNotTrustedIsAConfigurationError()
{
    QFETCH(QString, names);
    QFETCH(int, days);
    QFETCH(QString, reason);
    const QStringList files =
        EasServer::makeCertificate(qEnvironmentVariable("ORVMAIL_TEST_PLACE"), names, days);
    if (files.isEmpty())
        QSKIP("there is no openssl to make a certificate with");
    EasServer server;
    server.addArguments({QStringLiteral("--tls"), files.at(0), files.at(1)});
    QVERIFY(server.start());
    StoreFixture::Account settings = world().settings();
    settings.port = server.port();
    settings.encryption = 1;
    const QMailAccountId account = StoreFixture::addAccount(settings);
    QCOMPARE(world().codeOf(world().sync(account)), 60006);
    const QString log = world().daemon.log();
    QVERIFY2(log.contains(QLatin1String("certificate is not trusted")), qPrintable(log));
    QVERIFY2(log.contains(reason), qPrintable(log));
    QCOMPARE(server.log().size(), 0);
    QCOMPARE(world().syncAndWait(), 200);
    world().changeSettings(account, world().settings());
    QCOMPARE(world().codeOf(world().sync(account)), 200);
}

void TestAsDaemonBadInput::httpStatuses_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("code");
    QTest::newRow("403") << 403 << 403;
    QTest::newRow("404") << 404 << 400;
    QTest::newRow("500") << 500 << 500;
    QTest::newRow("502") << 502 << 500;
    QTest::newRow("503") << 503 << 500;
    QTest::newRow("507") << 507 << 507;
}

void TestAsDaemonBadInput::httpStatuses()
{
    QFETCH(int, status);
    QFETCH(int, code);
    world().server.fault(
        fault("http", {{QStringLiteral("status"), status}, {QStringLiteral("count"), -1}}));
    QCOMPARE(world().syncAndWait(), code);
    world().server.clearFaults();
    QCOMPARE(world().syncAndWait(), 200);
}

void TestAsDaemonBadInput::aRefusedKeyKeepsTheMessages()
{
    world().deliver(150);
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageIdList before = messageIds();
    QCOMPARE(before.size(), 150);
    world().changeAtServer("delete", QStringLiteral("Mail 1"));
    world().deliver(1, QStringLiteral("New"));
    world().server.fault(refusedCollection(3));
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 200);
    const QString anew =
        world().server.requests("Sync").at(1)[QStringLiteral("request")].toString();
    QVERIFY2(anew.contains(QLatin1String("SyncKey>0<")), qPrintable(anew));
    const QMailMessageIdList after = messageIds();
    QCOMPARE(after.size(), 150);
    QSet<QMailMessageId> kept(after.cbegin(), after.cend());
    kept.intersect(QSet<QMailMessageId>(before.cbegin(), before.cend()));
    QCOMPARE(kept.size(), 149);
    QVERIFY(world().subjects().contains(QStringLiteral("New 1")));
    QVERIFY(!world().subjects().contains(QStringLiteral("Mail 1")));
}

void TestAsDaemonBadInput::aKeyRefusedAmongTheWindowsReconcilesTheFolder()
{
    QCOMPARE(world().syncAndWait(), 200);
    world().deliver(800);
    world().server.clearLog();
    QJsonObject late = refusedCollection(3);
    late[QStringLiteral("after")] = 3;
    world().server.fault(late);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().faultsAreTaken());
    // Most come once more; that is no reason to give up.
    QCOMPARE(messageIds().size(), 800);
    QVERIFY(world().server.requestCount("Sync") > 6);
}

void TestAsDaemonBadInput::aTreeThatFailsDoesNotHoldUpTheFolders_data()
{
    QTest::addColumn<QJsonObject>("fault");
    QTest::addColumn<int>("code");
    QTest::newRow("its own status") << fault("status", {{QStringLiteral("status"), 10}}) << 500;
    QTest::newRow("HTTP") << fault("http", {{QStringLiteral("status"), 500}}) << 500;
    QTest::newRow("rubbish") << fault("rubbish") << 501;
    QTest::newRow("truncated") << fault("damage",
                                        {{QStringLiteral("how"), QStringLiteral("truncated")}})
                               << 501;
}

void TestAsDaemonBadInput::aTreeThatFailsDoesNotHoldUpTheFolders()
{
    QFETCH(QJsonObject, fault);
    QFETCH(int, code);
    world().deliver(1, QStringLiteral("Old"));
    QCOMPARE(world().syncAndWait(), 200);
    world().deliver(1, QStringLiteral("New"));
    fault[QStringLiteral("command")] = QStringLiteral("FolderSync");
    fault[QStringLiteral("count")] = -1;
    world().server.fault(fault);
    QCOMPARE(world().syncAndWait(), code);
    QCOMPARE(world().subjects(), (QStringList {QStringLiteral("New 1"), QStringLiteral("Old 1")}));
    // Who asked for the tree is told; who asked for a folder alone has it.
    const int tree = world().proxy.folderSync(world().account.toULongLong(), QDBus::Block).value();
    const int inbox = world().syncFolders(
        {QString::number(world().folder(QStringLiteral("Inbox")).toULongLong())});
    QCOMPARE(world().codeOf(tree), code);
    QCOMPARE(world().codeOf(inbox), 200);
}

void TestAsDaemonBadInput::aServerThatWantsAPauseIsLeftAloneAfterItsTree()
{
    world().deliver(1);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.fault(fault("http",
                               {{QStringLiteral("command"), QStringLiteral("FolderSync")},
                                {QStringLiteral("status"), 503},
                                {QStringLiteral("retry_after"), 3600}}));
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 500);
    QCOMPARE(world().server.requestCount("Sync"), 0);
}

void TestAsDaemonBadInput::aKeyThatTheServerFailsOverIsReplaced_data()
{
    QTest::addColumn<QJsonObject>("fault");
    QTest::addColumn<bool>("hasChanges");
    const QJsonObject half =
        fault("damage", {{QStringLiteral("how"), QStringLiteral("truncated")}});
    const QJsonObject failed = fault("http", {{QStringLiteral("status"), 500}});
    const QJsonObject refused = refusedCollection(5);
    QTest::newRow("half a document") << half << false;
    QTest::newRow("HTTP") << failed << false;
    QTest::newRow("a status") << refused << false;
    QTest::newRow("the whole request wanted") << refusedCollection(13) << false;
    QTest::newRow("half a document, and something to carry") << half << true;
    QTest::newRow("HTTP, and something to carry") << failed << true;
}

void TestAsDaemonBadInput::aKeyThatTheServerFailsOverIsReplaced()
{
    QFETCH(QJsonObject, fault);
    QFETCH(bool, hasChanges);
    world().deliver(3, QStringLiteral("Old"));
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageIdList before = messageIds();
    world().deliver(2, QStringLiteral("New"));
    if (hasChanges)
        QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(before.first()),
                                                       QMailMessage::Read, true);
    const QString inbox = QString::number(world().folder(QStringLiteral("Inbox")).toULongLong());
    // The fourth answer of the folder is to no key; a look and the changes come before.
    fault[QStringLiteral("command")] = QStringLiteral("Sync");
    fault[QStringLiteral("count")] = hasChanges ? 5 : 3;
    world().server.fault(fault);
    const int code = world().codeOf(world().syncFolders({inbox}));
    QVERIFY(world().faultsAreTaken());
    QCOMPARE(code == 200, !hasChanges);
    QCOMPARE(world().messageCount(), 5);
    QCOMPARE(world().differentSubjects(), 5);
    QCOMPARE(messageIds().mid(0, 3), before);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(messageIds().size(), 5);
    if (hasChanges)
        QVERIFY(world()
                    .server.messages(QStringLiteral("alice"), QStringLiteral("Inbox"))
                    .first()
                    .value(QStringLiteral("read"))
                    .toBool());
}

void TestAsDaemonBadInput::aServerThatFailsOverEverythingKeepsItsKeys()
{
    world().deliver(3);
    QCOMPARE(world().syncAndWait(), 200);
    // As a network's own login page answers.
    world().server.fault(fault("rubbish", {{QStringLiteral("count"), -1}}));
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 501);
    QVERIFY(world().server.log().size() < 10);
    world().server.clearFaults();
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 200);
    // All folders at once, by the keys that they had.
    QCOMPARE(world().server.requestCount("Sync"), 1);
}

void TestAsDaemonBadInput::aBusyServerKeepsItsKeys()
{
    world().deliver(3);
    QCOMPARE(world().syncAndWait(), 200);
    const QString inbox = QString::number(world().folder(QStringLiteral("Inbox")).toULongLong());
    QJsonObject busy = refusedCollection(16);
    busy[QStringLiteral("count")] = 3;
    world().server.fault(busy);
    world().server.clearLog();
    QCOMPARE(world().codeOf(world().syncFolders({inbox})), 500);
    QVERIFY(world().faultsAreTaken());
    QCOMPARE(world().server.requestCount("Sync"), 3);
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("Sync"), 1);
}

void TestAsDaemonBadInput::aRefusedFolderKeyKeepsTheFolders()
{
    world().deliver(2);
    QCOMPARE(world().syncAndWait(), 200);
    const QMailFolderId inbox = world().folder(QStringLiteral("Inbox"));
    const QMailMessageIdList before = messageIds();
    world().server.fault(fault("status",
                               {{QStringLiteral("command"), QStringLiteral("FolderSync")},
                                {QStringLiteral("status"), 9}}));
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("FolderSync"), 2);
    QCOMPARE(world().folder(QStringLiteral("Inbox")), inbox);
    QCOMPARE(messageIds(), before);
}

void TestAsDaemonBadInput::aChangedTreeIsFetchedBeforeTheFolder()
{
    world().deliver(1);
    QCOMPARE(world().syncAndWait(), 200);
    world().deliver(1, QStringLiteral("New"));
    world().server.clearLog();
    world().server.fault(refusedCollection(12));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 2);
    QCOMPARE(world().server.requestCount("FolderSync"), 2);
}

void TestAsDaemonBadInput::moreWithoutItemsEnds_data()
{
    QTest::addColumn<QJsonValue>("item");
    QTest::newRow("nothing") << QJsonValue();
    QTest::newRow("always the same") << QJsonValue(QStringLiteral("77"));
}

void TestAsDaemonBadInput::moreWithoutItemsEnds()
{
    QFETCH(QJsonValue, item);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.clearLog();
    world().server.fault(
        fault("more", {{QStringLiteral("count"), -1}, {QStringLiteral("item"), item}}));
    QCOMPARE(world().syncAndWait(), 501);
    QVERIFY(world().server.requestCount("Sync") < 60);
    world().server.clearFaults();
    world().deliver(2);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 2);
}

void TestAsDaemonBadInput::oneBadFolderDoesNotHoldUpTheOthers()
{
    world().deliver(1, QStringLiteral("In"));
    world().deliver(1, QStringLiteral("Out"), QStringLiteral("Sent"));
    QCOMPARE(world().syncAndWait(), 200);
    world().deliver(1, QStringLiteral("Later"), QStringLiteral("Sent"));
    // The request for all folders, and then those for the inbox, which comes first: three by its
    // key and one by none.
    world().server.fault(
        fault("rubbish",
              {{QStringLiteral("command"), QStringLiteral("Sync")}, {QStringLiteral("count"), 5}}));
    QCOMPARE(world().syncAndWait(), 501);
    QCOMPARE(world().messageCount(), 3);
}

void TestAsDaemonBadInput::aPassingFailureIsTriedAgain()
{
    world().deliver(1);
    world().server.fault(refusedCollection(5));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.control("faults")[QStringLiteral("faults")].toArray().size(), 0);
    QCOMPARE(world().messageCount(), 1);
}

void TestAsDaemonBadInput::aLockedStoreFailsAndTheNextRunRepeatsTheWindow()
{
    QCOMPARE(world().syncAndWait(), 200);
    world().deliver(5);
    world().server.clearLog();
    // Long enough to lock the store while the window is on its way.
    world().server.fault(fault(
        "delay",
        {{QStringLiteral("command"), QStringLiteral("Sync")}, {QStringLiteral("seconds"), 2}}));
    const int id = world().sync();
    QVERIFY(world().faultsAreTaken());
    StoreLock lock;
    QVERIFY(lock.isHeld());
    const int code = world().codeOf(id, 60000);
    lock.release();
    // No code tells a mail store that failed here from a server that did; the log does.
    QCOMPARE(code, 500);
    QVERIFY(world().daemon.log().contains(QLatin1String("another process holds the mail store")));
    QCOMPARE(world().messageCount(), 0);
    const auto window = [this] {
        return world().server.requests("Sync").value(0)[QStringLiteral("request")].toString();
    };
    const QString failed = window();
    QVERIFY(failed.contains(QLatin1String("SyncKey")));
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(window(), failed);
    QCOMPARE(world().messageCount(), 5);
    QCOMPARE(world().differentSubjects(), 5);
}

void TestAsDaemonBadInput::aStoreThatIsLockedFromTheBeginningFails()
{
    world().deliver(2);
    QCOMPARE(world().codeOf(
                 world().proxy.folderSync(world().account.toULongLong(), QDBus::Block).value()),
             200);
    StoreLock lock;
    QVERIFY(lock.isHeld());
    QCOMPARE(world().codeOf(world().sync(), 60000), 500);
    lock.release();
    QCOMPARE(world().messageCount(), 0);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 2);
}

void TestAsDaemonBadInput::aServerThatKeepsSilentIsATimeout_data()
{
    QTest::addColumn<bool>("late");
    QTest::newRow("before it does anything") << false;
    QTest::newRow("when all is done") << true;
}

void TestAsDaemonBadInput::aServerThatKeepsSilentIsATimeout()
{
    QFETCH(bool, late);
    QCOMPARE(world().endDaemon(), 0);
    QVERIFY(world().daemon.start({QStringLiteral("--patience"), QStringLiteral("1")}));
    world().deliver(1);
    world().server.fault(fault("delay",
                               {{QStringLiteral("command"), QStringLiteral("Sync")},
                                {QStringLiteral("seconds"), 600},
                                {QStringLiteral("late"), late}}));
    QCOMPARE(world().syncAndWait(), 901);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 1);
}

void TestAsDaemonBadInput::aPolicyThatIsNotMetFails()
{
    world().deliver(1);
    world().server.control(
        "options",
        {{QStringLiteral("provision"), true},
         {QStringLiteral("policy"),
          QJsonObject {{QStringLiteral("DevicePasswordEnabled"), QStringLiteral("1")}}}});
    QCOMPARE(world().syncAndWait(), 60007);
    QCOMPARE(world().messageCount(), 0);
    QVERIFY(world().daemon.log().contains(QLatin1String("DevicePasswordEnabled=1")));
    world().server.control(
        "options",
        {{QStringLiteral("policy"),
          QJsonObject {{QStringLiteral("DevicePasswordEnabled"), QStringLiteral("0")}}}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 1);
}

void TestAsDaemonBadInput::aWipeRemovesTheMailAndDisablesTheAccount()
{
    world().deliver(120);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 120);
    world().server.control("options", {{QStringLiteral("remote_wipe"), true}});
    QCOMPARE(world().syncAndWait(), 403);
    QTRY_VERIFY_WITH_TIMEOUT(!(QMailAccount(world().account).status() & QMailAccount::Enabled),
                             20000);
    QCOMPARE(world().messageCount(), 0);
    QCOMPARE(QMailStore::instance()->countFolders(QMailFolderKey::parentAccountId(world().account)),
             0);
    const QMailAccountConfiguration configuration(world().account);
    QCOMPARE(configuration.serviceConfiguration(QStringLiteral("orvmail"))
                 .value(QStringLiteral("password")),
             QString());
    // 1: removed.
    const QJsonArray devices =
        world().server.control("devices")[QStringLiteral("devices")].toArray();
    QCOMPARE(devices.first()[QStringLiteral("wiped")].toString(), QStringLiteral("1"));
    QTRY_COMPARE(world().sync(), -1);
    // With a new password the account is as good as new.
    world().changeSettings(world().account, world().settings());
    world().setEnabled(world().account, true);
    int request = 0;
    QVERIFY(QTest::qWaitFor([&] { return (request = world().sync()) > 0; }, PatienceMs));
    QCOMPARE(world().codeOf(request), 200);
    QCOMPARE(world().messageCount(), 120);
}

void TestAsDaemonBadInput::aWipeLeavesOtherAccountsAlone()
{
    StoreFixture::Account settings = world().settings();
    settings.username = QStringLiteral("bob");
    const QMailAccountId other = StoreFixture::addAccount(settings);
    world().deliver(2);
    world().server.deliverText(QStringLiteral("bob"), QStringLiteral("For Bob"),
                               QStringLiteral("Inbox"));
    QCOMPARE(world().codeOf(world().sync(other)), 200);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.control("options", {{QStringLiteral("remote_wipe"), true}});
    QCOMPARE(world().syncAndWait(), 403);
    QTRY_VERIFY_WITH_TIMEOUT(!(QMailAccount(world().account).status() & QMailAccount::Enabled),
                             20000);
    QCOMPARE(world().messageCount(), 0);
    QCOMPARE(QMailStore::instance()->countMessages(QMailMessageKey::parentAccountId(other)), 1);
    QCOMPARE(world().codeOf(world().sync(other)), 200);
}

QTEST_GUILESS_MAIN(TestAsDaemonBadInput)
#include "tst_asdaemonbadinput.moc"
