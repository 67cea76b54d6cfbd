// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What a session does for its commands: asks for the version, provisions, remembers, and refuses on
// its own.
#include "eas/foldersynccommand.h"
#include "eas/httpchannel.h"
#include "eas/optionscommand.h"
#include "eas/synccommand.h"
#include "tests/eas/sessionfixture.h"
#include "tests/support/folderliteral.h"

#include <QSignalSpy>
#include <QtTest>

using namespace Eas;

namespace {

QByteArray folders(int status = 1)
{
    return ScriptedServer::document(
        "<FolderSync xmlns=\"FolderHierarchy:\"><Status>" + QByteArray::number(status)
        + "</Status><SyncKey>k</SyncKey><Changes><Count>0</Count></Changes></FolderSync>");
}

QByteArray policy(const QByteArray &content, const QByteArray &status = "1")
{
    return ScriptedServer::document(
        "<Provision xmlns=\"Provision:\"><Status>1</Status><Policies><Policy>"
        "<PolicyType>MS-EAS-Provisioning-WBXML</PolicyType><Status>"
        + status + "</Status>" + content + "</Policy></Policies></Provision>");
}

QByteArray key(const QByteArray &value)
{
    return "<PolicyKey>" + value + "</PolicyKey>";
}

QByteArray document(const QByteArray &settings)
{
    return "<Data><EASProvisionDoc>" + settings + "</EASProvisionDoc></Data>";
}

} // namespace

class TestSession : public QObject
{
    Q_OBJECT

private slots:
    void theVersionIsAskedForOnce();
    void theBestCommonVersionIsTaken_data();
    void theBestCommonVersionIsTaken();
    void whatIsNoActiveSyncServer_data();
    void whatIsNoActiveSyncServer();
    void aWrongPasswordIsOneRequest_data();
    void aWrongPasswordIsOneRequest();
    void wrongSettingsSendNothing();
    void everyRequestSaysWhoAsks();
    void commandsThatWaitForTheVersionAllGoOn();
    void commandsThatWaitAllEndWhenItFails();
    void anAbortedCommandEndsWhileItWaits();
    void theLastOneThatWaitsTakesTheStageAlong();
    void provisioningIsDoneWhenDemanded_data();
    void provisioningIsDoneWhenDemanded();
    void provisioningIsDoneOnceForOneCommand();
    void aServerWithoutAPolicyIsTakenAtItsWord();
    void aPolicyThatIsNotMetIsNotAcknowledged();
    void settingsThatDemandNothing();
    void provisioningCanFail_data();
    void provisioningCanFail();
    void oddProvisioningAnswersAreTaken_data();
    void oddProvisioningAnswersAreTaken();
    void aWipeIsAskedForAndToldToTheCaller_data();
    void aWipeIsAskedForAndToldToTheCaller();
    void aFailedProvisioningSaysNothingOfTheCommand();
    void aWipeByStatusThatProvisioningDoesNotKnowOfIsNone();
    void theDeviceIsDescribedWhenTheServerAsks();
    void theStateIsKeptAndTakenUpAgain();
    void theVersionIsAskedForAgainWhenTheServerHasChanged();
    void aRedirectIsRemembered();
    void aRememberedRedirectThatLeadsNowhereIsLeft();
    void aRememberedUrlThatDoesNotFitTheSettingsIsDropped();
    void abortingEndsACommandOnceAsCancelled();
    void deletingACommandIsSilent();
    void deletingTheSessionEndsItsCommands();
    void aCommandWithoutASessionEnds();
    void retryAfterReachesTheCaller();
    void retryAfterBindsTheWholeAccount();
    void aShortRetryAfterIsWaitedFor();
    void anAddressThatHasWorkedFailsInPassing_data();
    void anAddressThatHasWorkedFailsInPassing();
    void twoCommandsAtOnce();
};

void TestSession::theVersionIsAskedForOnce()
{
    SessionFixture fixture("");
    fixture.server.enqueue(ScriptedServer::options());
    fixture.server.enqueue(folders());
    fixture.server.enqueue(folders());
    QSignalSpy changed(fixture.session.get(), &Session::stateChanged);
    for (int i = 0; i < 2; ++i) {
        FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
        QVERIFY(fixture.run(&command));
        QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    }
    QCOMPARE(fixture.commands(), (QList<QByteArray> {"OPTIONS", "FolderSync", "FolderSync"}));
    QCOMPARE(fixture.session->state().protocolVersion, QStringLiteral("14.1"));
    QCOMPARE(changed.size(), 1);
    QCOMPARE(fixture.server.connections(), 1);
}

void TestSession::theBestCommonVersionIsTaken_data()
{
    QTest::addColumn<QByteArray>("offered");
    QTest::addColumn<QString>("taken");
    QTest::newRow("all") << QByteArray("2.5,12.0,12.1,14.0,14.1,16.0,16.1") << "14.1";
    QTest::newRow("blanks") << QByteArray(" 12.1 , 14.0 ") << "14.0";
    QTest::newRow("old") << QByteArray("2.5,12.0,12.1") << "12.1";
    QTest::newRow("too old") << QByteArray("2.0,2.5,12.0") << "";
    QTest::newRow("too new") << QByteArray("16.0,16.1") << "";
    QTest::newRow("nothing") << QByteArray() << "";
    QTest::newRow("rubbish") << QByteArray("114.1,14.10,,") << "";
}

void TestSession::theBestCommonVersionIsTaken()
{
    QFETCH(QByteArray, offered);
    QFETCH(QString, taken);
    SessionFixture fixture("");
    fixture.server.enqueue(ScriptedServer::options(offered));
    OptionsCommand command(fixture.session.get());
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.version(), taken);
    QCOMPARE(command.result().code, taken.isEmpty() ? int(NotActiveSync) : int(Success));
    QVERIFY(taken.isEmpty() || command.commands().contains(QStringLiteral("FolderSync")));
}

void TestSession::whatIsNoActiveSyncServer_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("a web server") << ScriptedServer::http(200, "<html>",
                                                          {{"Allow", "GET, OPTIONS"}});
    QTest::newRow("no such page") << ScriptedServer::http(404);
    QTest::newRow("no such method") << ScriptedServer::http(405);
    QTest::newRow("method not known") << ScriptedServer::http(501);
    QTest::newRow("moved") << ScriptedServer::http(301, {}, {{"Location", "http://127.0.0.1:1/"}});
}

void TestSession::whatIsNoActiveSyncServer()
{
    QFETCH(QByteArray, answer);
    SessionFixture fixture("");
    QCOMPARE(fixture.syncFolders({answer}).code, int(NotActiveSync));
    QCOMPARE(fixture.server.requests().size(), 1);
}

void TestSession::aWrongPasswordIsOneRequest_data()
{
    QTest::addColumn<QByteArray>("version");
    QTest::newRow("at first") << QByteArray();
    QTest::newRow("later") << QByteArray("14.1");
}

void TestSession::aWrongPasswordIsOneRequest()
{
    QFETCH(QByteArray, version);
    SessionFixture fixture(version);
    fixture.server.setAnswer([](const SeenRequest &) {
        return ScriptedAnswer {
            ScriptedServer::http(401, {}, {{"WWW-Authenticate", "Basic realm=\"x\""}}), false};
    });
    QCOMPARE(fixture.syncFolders().code, int(LoginRefused));
    QTest::qWait(20);
    QCOMPARE(fixture.server.requests().size(), 1);
}

void TestSession::wrongSettingsSendNothing()
{
    ScriptedServer server;
    const Credentials alice {QStringLiteral("alice"), {}, {}};
    const int port = server.serverPort();
    const QString host = QStringLiteral("127.0.0.1");
    const QList<QPair<ServerAddress, Credentials>> settings = {
        {{{}, port, 0}, alice},
        {{QStringLiteral("not a host"), port, 0}, alice},
        {{host, 0, 0}, alice},
        {{host, port, 7}, alice},
        {{host, port, 0}, {}}};
    for (const auto &setting : settings) {
        Session session(setting.first, setting.second, {});
        FolderSyncCommand command(&session, QStringLiteral("0"));
        QVERIFY(SessionFixture::run(&command));
        QCOMPARE(command.result().code, int(BadConfiguration));
        QVERIFY(command.result().text.contains(QLatin1Char(':')));
    }
    QCOMPARE(server.connections(), 0);
}

void TestSession::everyRequestSaysWhoAsks()
{
    SessionFixture fixture("14.0");
    SessionState state = fixture.session->state();
    state.policyKey = QStringLiteral("4711");
    fixture.session->setState(state);
    QVERIFY(fixture.syncFolders({folders()}).ok());
    const SeenRequest &seen = fixture.server.requests().first();
    QCOMPARE(seen.method, QByteArray("POST"));
    QCOMPARE(seen.target,
             QByteArray("/Microsoft-Server-ActiveSync?Cmd=FolderSync&User=EXAMPLE%5Calice&DeviceId="
                        "device1&DeviceType=kind"));
    QCOMPARE(seen.headers.value("ms-asprotocolversion"), QByteArray("14.0"));
    QCOMPARE(seen.headers.value("x-ms-policykey"), QByteArray("4711"));
    QCOMPARE(seen.headers.value("user-agent"), QByteArray("agent/1"));
    QCOMPARE(seen.headers.value("content-type"), QByteArray("application/vnd.ms-sync.wbxml"));
    QCOMPARE(seen.headers.value("authorization"),
             "Basic " + QByteArray("EXAMPLE\\alice:secret").toBase64());
}

void TestSession::commandsThatWaitForTheVersionAllGoOn()
{
    SessionFixture fixture("");
    fixture.server.enqueue(ScriptedServer::options());
    fixture.server.setAnswer([](const SeenRequest &) { return ScriptedAnswer {folders(), false}; });
    FolderSyncCommand one(fixture.session.get(), QStringLiteral("0"));
    FolderSyncCommand two(fixture.session.get(), QStringLiteral("0"));
    one.start();
    two.start();
    QTRY_VERIFY(one.isFinished() && two.isFinished());
    QVERIFY(one.result().ok() && two.result().ok());
    QCOMPARE(fixture.commands(), (QList<QByteArray> {"OPTIONS", "FolderSync", "FolderSync"}));
}

void TestSession::commandsThatWaitAllEndWhenItFails()
{
    SessionFixture fixture("");
    fixture.server.enqueue(ScriptedServer::http(401));
    FolderSyncCommand one(fixture.session.get(), QStringLiteral("0"));
    FolderSyncCommand two(fixture.session.get(), QStringLiteral("0"));
    one.start();
    two.start();
    QTRY_VERIFY(one.isFinished() && two.isFinished());
    QCOMPARE(one.result().code, int(LoginRefused));
    QCOMPARE(two.result().code, int(LoginRefused));
    QCOMPARE(fixture.server.requests().size(), 1);
}

void TestSession::anAbortedCommandEndsWhileItWaits()
{
    SessionFixture fixture("");
    FolderSyncCommand one(fixture.session.get(), QStringLiteral("0"));
    FolderSyncCommand two(fixture.session.get(), QStringLiteral("0"));
    QSignalSpy ended(&one, &Command::finished);
    one.start();
    two.start();
    QTRY_COMPARE(fixture.server.requests().size(), 1);
    one.abort();
    one.abort();
    QVERIFY(ended.isEmpty());
    QTRY_COMPARE(ended.size(), 1);
    QCOMPARE(one.result().code, int(Cancelled));
    QVERIFY(!two.isFinished());
}

void TestSession::theLastOneThatWaitsTakesTheStageAlong()
{
    SessionFixture fixture("");
    FolderSyncCommand one(fixture.session.get(), QStringLiteral("0"));
    one.start();
    QTRY_COMPARE(fixture.server.requests().size(), 1);
    one.abort();
    QTRY_VERIFY(one.isFinished());
    // The next one asks for the version again.
    const Result two = fixture.syncFolders({ScriptedServer::options(), folders()});
    QVERIFY2(two.ok(), qPrintable(two.text));
}

void TestSession::provisioningIsDoneWhenDemanded_data()
{
    QTest::addColumn<QByteArray>("demand");
    QTest::newRow("449") << ScriptedServer::http(449);
    QTest::newRow("142") << folders(142);
    QTest::newRow("143") << folders(143);
    QTest::newRow("144") << folders(144);
}

void TestSession::provisioningIsDoneWhenDemanded()
{
    QFETCH(QByteArray, demand);
    SessionFixture fixture;
    fixture.server.enqueue(demand);
    fixture.server.enqueue(
        policy(key("11") + document("<DevicePasswordEnabled>0</DevicePasswordEnabled>")));
    fixture.server.enqueue(policy(key("22")));
    fixture.server.enqueue(folders());
    QSignalSpy changed(fixture.session.get(), &Session::stateChanged);
    const Result command = fixture.syncFolders();
    QVERIFY2(command.ok(), qPrintable(command.text));
    QCOMPARE(fixture.commands(),
             (QList<QByteArray> {"FolderSync", "Provision", "Provision", "FolderSync"}));
    QCOMPARE(
        fixture.xml(1),
        QByteArray(
            "<Provision xmlns=\"Provision:\"><DeviceInformation "
            "xmlns=\"Settings:\"><Set><Model>kind</Model>"
            "<UserAgent>agent/1</UserAgent></Set></DeviceInformation><Policies><Policy>"
            "<PolicyType>MS-EAS-Provisioning-WBXML</PolicyType></Policy></Policies></Provision>"));
    QCOMPARE(
        fixture.xml(2),
        QByteArray("<Provision "
                   "xmlns=\"Provision:\"><Policies><Policy><PolicyType>MS-EAS-Provisioning-WBXML</"
                   "PolicyType>"
                   "<PolicyKey>11</PolicyKey><Status>1</Status></Policy></Policies></Provision>"));
    const auto sentKey = [&fixture](int i) {
        return fixture.server.requests().at(i).headers.value("x-ms-policykey");
    };
    QCOMPARE(sentKey(0), QByteArray("0"));
    QCOMPARE(sentKey(1), QByteArray("0"));
    QCOMPARE(sentKey(2), QByteArray("11"));
    QCOMPARE(sentKey(3), QByteArray("22"));
    QCOMPARE(fixture.session->state().policyKey, QStringLiteral("22"));
    QCOMPARE(changed.size(), 1);
}

void TestSession::provisioningIsDoneOnceForOneCommand()
{
    SessionFixture fixture("12.1");
    QCOMPARE(fixture
                 .syncFolders({ScriptedServer::http(449), policy(key("11")), policy(key("22")),
                               ScriptedServer::http(449)})
                 .code,
             int(PolicyDemanded));
    QCOMPARE(fixture.commands(),
             (QList<QByteArray> {"FolderSync", "Provision", "Provision", "FolderSync"}));
    QVERIFY(!fixture.xml(1).contains("DeviceInformation"));
}

void TestSession::aServerWithoutAPolicyIsTakenAtItsWord()
{
    SessionFixture fixture;
    QVERIFY(fixture.syncFolders({folders(142), policy({}, "2"), folders()}).ok());
    QCOMPARE(fixture.session->state().policyKey, QStringLiteral("0"));
}

void TestSession::aPolicyThatIsNotMetIsNotAcknowledged()
{
    SessionFixture fixture;
    fixture.server.enqueue(folders(142));
    fixture.server.enqueue(policy(
        key("11")
        + document("<DevicePasswordEnabled>1</DevicePasswordEnabled><AllowCamera>1</AllowCamera>"
                   "<RequireDeviceEncryption>1</RequireDeviceEncryption>")));
    QTest::ignoreMessage(
        QtWarningMsg,
        QRegularExpression(QStringLiteral("DevicePasswordEnabled=1, RequireDeviceEncryption=1")));
    const Result command = fixture.syncFolders();
    QCOMPARE(command.code, int(PolicyDemanded));
    QVERIFY2(command.text.contains(QLatin1String("DevicePasswordEnabled=1")),
             qPrintable(command.text));
    QCOMPARE(fixture.commands(), (QList<QByteArray> {"FolderSync", "Provision"}));
    QCOMPARE(fixture.session->state().policyKey, QStringLiteral("0"));
    // The policy may be another one by the next time.
    QVERIFY(fixture
                .syncFolders({folders(142),
                              policy(key("12") + document("<AllowCamera>1</AllowCamera>")),
                              policy(key("22")), folders()})
                .ok());
    QCOMPARE(fixture.session->state().policyKey, QStringLiteral("22"));
}

void TestSession::settingsThatDemandNothing()
{
    SessionFixture fixture;
    fixture.server.enqueue(folders(142));
    fixture.server.enqueue(policy(
        key("11")
        + document("<DevicePasswordEnabled>0</DevicePasswordEnabled><MinDevicePasswordLength>8</"
                   "MinDevicePasswordLength>"
                   "<MaxInactivityTimeDeviceLock>60</"
                   "MaxInactivityTimeDeviceLock><AttachmentsEnabled>1</AttachmentsEnabled>"
                   "<MaxAttachmentSize/><AllowBluetooth>2</AllowBluetooth><MaxEmailAgeFilter>0</"
                   "MaxEmailAgeFilter>"
                   "<MaxEmailBodyTruncationSize>-1</"
                   "MaxEmailBodyTruncationSize><MaxCalendarAgeFilter>4</MaxCalendarAgeFilter>"
                   "<UnapprovedInROMApplicationList/><ApprovedApplicationList/>")));
    fixture.server.enqueue(policy(key("22")));
    fixture.server.enqueue(folders());
    QVERIFY(fixture.syncFolders().ok());
    QVERIFY(fixture.xml(2).contains("<Status>1</Status>"));
}

void TestSession::provisioningCanFail_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("code");
    QTest::newRow("server error") << policy({}, "3") << int(ServerFailed);
    QTest::newRow("server error, with a policy")
        << policy(key("11") + document({}), "3") << int(ServerFailed);
    QTest::newRow("protocol error, with a policy") << ScriptedServer::document(
        "<Provision xmlns=\"Provision:\"><Status>2</Status><Policies><Policy>" + key("11")
        + document({}) + "</Policy></Policies></Provision>")
                                                   << int(ServerFailed);
    QTest::newRow("no policy at all, and no status")
        << ScriptedServer::document("<Provision xmlns=\"Provision:\"><Policies/></Provision>")
        << int(InvalidAnswer);
    QTest::newRow("no key") << policy({}) << int(InvalidAnswer);
    QTest::newRow("login refused meanwhile") << ScriptedServer::http(401) << int(LoginRefused);
    QTest::newRow("rubbish") << ScriptedServer::http(200, "<html>") << int(InvalidAnswer);
    QTest::newRow("not provisionable") << ScriptedServer::document(
        "<Provision xmlns=\"Provision:\"><Status>141</Status></Provision>")
                                       << int(PolicyDemanded);
    QTest::newRow("demands itself") << ScriptedServer::http(449) << int(PolicyDemanded);
}

void TestSession::provisioningCanFail()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, code);
    SessionFixture fixture;
    const Result command = fixture.syncFolders({folders(142), answer});
    QCOMPARE(command.code, code);
    QCOMPARE(fixture.commands(), (QList<QByteArray> {"FolderSync", "Provision"}));
    // The next command tries again.
    const Result next = fixture.syncFolders({folders()});
    QVERIFY(next.ok());
}

void TestSession::oddProvisioningAnswersAreTaken_data()
{
    const auto answer = [](const QByteArray &content) {
        return ScriptedServer::document("<Provision xmlns=\"Provision:\">" + content
                                        + "</Provision>");
    };
    const QByteArray type = "<PolicyType>MS-EAS-Provisioning-WBXML</PolicyType>";
    const QByteArray ok = "<Status>1</Status>";
    const QByteArray content = key("11") + document("<AllowCamera>1</AllowCamera>");
    QTest::addColumn<QByteArray>("answered");
    QTest::newRow("no status of its own")
        << answer("<Policies><Policy>" + type + ok + content + "</Policy></Policies>");
    QTest::newRow("no status at all")
        << answer("<Policies><Policy>" + type + content + "</Policy></Policies>");
    QTest::newRow("no status of the policy")
        << answer(ok + "<Policies><Policy>" + type + content + "</Policy></Policies>");
    QTest::newRow("the policy's status above the policy")
        << answer(ok + "<Policies>" + ok + "<Policy>" + type + content + "</Policy></Policies>");
    QTest::newRow("the policy's status below the policies")
        << answer("<Policies><Policy>" + type + content + "</Policy></Policies>" + ok);
    QTest::newRow("the policy's status at its end")
        << answer(ok + "<Policies><Policy>" + type + content + ok + "</Policy></Policies>");
    QTest::newRow("the policy's status within its data")
        << answer(ok + "<Policies><Policy>" + type + key("11") + "<Data>" + ok
                  + "<EASProvisionDoc/></Data></Policy></Policies>");
    QTest::newRow("the device's status before")
        << answer("<DeviceInformation xmlns=\"Settings:\"><Status>2</Status></DeviceInformation>"
                  "<Policies xmlns=\"Provision:\"><Policy>"
                  + type + content + "</Policy></Policies>");
}

void TestSession::oddProvisioningAnswersAreTaken()
{
    QFETCH(QByteArray, answered);
    SessionFixture fixture;
    const Result command = fixture.syncFolders(
        {folders(142), answered,
         ScriptedServer::document("<Provision xmlns=\"Provision:\"><Policies><Policy>"
                                  "<PolicyType>MS-EAS-Provisioning-WBXML</PolicyType>"
                                  + key("22") + "</Policy></Policies></Provision>"),
         folders()});
    QVERIFY2(command.ok(), qPrintable(command.text));
    QCOMPARE(fixture.session->state().policyKey, QStringLiteral("22"));
}

void TestSession::aWipeIsAskedForAndToldToTheCaller_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("a new policy") << 142;
    QTest::newRow("a wipe") << 140;
}

void TestSession::aWipeIsAskedForAndToldToTheCaller()
{
    QFETCH(int, status);
    SessionFixture fixture;
    fixture.server.enqueue(folders(status));
    fixture.server.enqueue(ScriptedServer::document(
        "<Provision xmlns=\"Provision:\"><Status>1</Status><RemoteWipe/></Provision>"));
    QSignalSpy wipe(fixture.session.get(), &Session::wipeRequested);
    const Result command = fixture.syncFolders();
    QCOMPARE(command.code, int(Forbidden));
    QCOMPARE(command.outcome, Outcome::WipeWanted);
    QCOMPARE(wipe.size(), 1);
    QCOMPARE(fixture.commands(), (QList<QByteArray> {"FolderSync", "Provision"}));
}

void TestSession::aFailedProvisioningSaysNothingOfTheCommand()
{
    SessionFixture fixture;
    fixture.server.enqueue(
        ScriptedServer::document("<Sync xmlns=\"AirSync:\"><Status>142</Status></Sync>"));
    fixture.server.enqueue(
        ScriptedServer::document("<Provision xmlns=\"Provision:\"><Status>3</Status></Provision>"));
    SyncRequest request;
    request.syncKey = QStringLiteral("1");
    SyncCommand command(fixture.session.get(), {request});
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(ServerFailed));
    QCOMPARE(command.result().outcome, Outcome::Unspecified);
    QCOMPARE(fixture.commands(), (QList<QByteArray> {"Sync", "Provision"}));
}

void TestSession::aWipeByStatusThatProvisioningDoesNotKnowOfIsNone()
{
    SessionFixture fixture;
    fixture.server.enqueue(folders(140));
    fixture.server.enqueue(policy(key("11") + document({})));
    fixture.server.enqueue(policy(key("22")));
    fixture.server.enqueue(folders(140));
    QSignalSpy wipe(fixture.session.get(), &Session::wipeRequested);
    QCOMPARE(fixture.syncFolders().code, int(Forbidden));
    QCOMPARE(fixture.commands(),
             (QList<QByteArray> {"FolderSync", "Provision", "Provision", "FolderSync"}));
    // A server that cannot say it by Provision, because it fails, is not believed either.
    QCOMPARE(fixture.syncFolders({folders(140), ScriptedServer::http(500)}).code,
             int(ServerFailed));
    QCOMPARE(wipe.size(), 0);
}

void TestSession::theDeviceIsDescribedWhenTheServerAsks()
{
    SessionFixture fixture;
    QVERIFY(fixture
                .syncFolders({folders(165),
                              ScriptedServer::document(
                                  "<Settings xmlns=\"Settings:\"><Status>1</Status></Settings>"),
                              folders()})
                .ok());
    QCOMPARE(fixture.commands(), (QList<QByteArray> {"FolderSync", "Settings", "FolderSync"}));
    QCOMPARE(fixture.xml(1),
             QByteArray("<Settings xmlns=\"Settings:\"><DeviceInformation><Set><Model>kind</Model>"
                        "<UserAgent>agent/1</UserAgent></Set></DeviceInformation></Settings>"));
}

void TestSession::theStateIsKeptAndTakenUpAgain()
{
    SessionFixture fixture("");
    SessionState state;
    state.protocolVersion = QStringLiteral("12.1");
    state.policyKey = QStringLiteral("5");
    fixture.session->setState(state);
    QVERIFY(fixture.session->state() == state);
    QCOMPARE(fixture.session->version(), 121);
    QVERIFY(fixture.syncFolders({folders()}).ok());
    QCOMPARE(fixture.commands(), QList<QByteArray> {"FolderSync"});
    QCOMPARE(fixture.server.requests().first().headers.value("x-ms-policykey"), QByteArray("5"));
}

void TestSession::theVersionIsAskedForAgainWhenTheServerHasChanged()
{
    SessionFixture fixture;
    QCOMPARE(fixture.syncFolders({ScriptedServer::http(400)}).code, int(NotActiveSync));
    QVERIFY(fixture.syncFolders({ScriptedServer::options("12.1"), folders()}).ok());
    QCOMPARE(fixture.session->version(), 121);
}

void TestSession::aRedirectIsRemembered()
{
    SessionFixture fixture("");
    ScriptedServer other;
    other.enqueue(ScriptedServer::options());
    other.enqueue(folders());
    const QByteArray to = "http://127.0.0.1:" + QByteArray::number(other.serverPort()) + "/there";
    QVERIFY(fixture.syncFolders({ScriptedServer::http(451, {}, {{"X-MS-Location", to}})}).ok());
    QCOMPARE(fixture.server.requests().size(), 1);
    QCOMPARE(other.requests().size(), 2);
    QCOMPARE(fixture.session->state().url, QUrl(QString::fromLatin1(to)));
}

void TestSession::aRememberedRedirectThatLeadsNowhereIsLeft()
{
    SessionFixture fixture;
    SessionState state = fixture.session->state();
    state.url = QUrl(QStringLiteral("http://127.0.0.1:1/gone"));
    fixture.session->setState(state);
    QCOMPARE(fixture.syncFolders().code, int(NoConnection));
    QVERIFY(fixture.session->state().url.isEmpty());
    QVERIFY(fixture.syncFolders({folders()}).ok());
    // But one that led up to TLS is not left for a connection without.
    state.url = QUrl(QStringLiteral("https://127.0.0.1:1/gone"));
    fixture.session->setState(state);
    QCOMPARE(fixture.syncFolders().code, int(NoConnection));
    QCOMPARE(fixture.session->state().url, state.url);
}

void TestSession::aRememberedUrlThatDoesNotFitTheSettingsIsDropped()
{
    SessionFixture fixture;
    SessionState state = fixture.session->state();
    state.url = QUrl(QStringLiteral("http://elsewhere.invalid/"));
    fixture.session->setState(state);
    QVERIFY(fixture.session->state().url.isEmpty());
    const Result command = fixture.syncFolders({folders()});
    QVERIFY(command.ok());
}

void TestSession::abortingEndsACommandOnceAsCancelled()
{
    SessionFixture fixture;
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
    QSignalSpy ended(&command, &Command::finished);
    command.start();
    QTRY_COMPARE(fixture.server.requests().size(), 1);
    fixture.session->abortAll();
    command.abort();
    QTRY_COMPARE(ended.size(), 1);
    QCOMPARE(command.result().code, int(Cancelled));
    QVERIFY(fixture.syncFolders({folders()}).ok());
    QCOMPARE(ended.size(), 1);
}

void TestSession::deletingACommandIsSilent()
{
    SessionFixture fixture("");
    auto *waits = new FolderSyncCommand(fixture.session.get(), QStringLiteral("0"));
    waits->start();
    QTRY_COMPARE(fixture.server.requests().size(), 1);
    delete waits;
    fixture.server.enqueue(ScriptedServer::options());
    auto *runs = new FolderSyncCommand(fixture.session.get(), QStringLiteral("0"));
    runs->start();
    QTRY_COMPARE(fixture.server.requests().size(), 3);
    delete runs;
    fixture.server.enqueue(folders());
    // One that deletes itself when it has ended.
    QPointer<FolderSyncCommand> last =
        new FolderSyncCommand(fixture.session.get(), QStringLiteral("0"));
    connect(last, &Command::finished, this, [&last] { delete last; });
    last->start();
    QTRY_VERIFY(!last);
}

void TestSession::deletingTheSessionEndsItsCommands()
{
    for (const char *version : {"", "14.1"}) {
        SessionFixture fixture(version);
        FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
        QSignalSpy ended(&command, &Command::finished);
        command.start();
        QTRY_COMPARE(fixture.server.requests().size(), 1);
        fixture.session.reset();
        QTRY_COMPARE(ended.size(), 1);
        QCOMPARE(command.result().code, int(Cancelled));
    }
}

void TestSession::aCommandWithoutASessionEnds()
{
    SessionFixture fixture;
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
    fixture.session.reset();
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(Cancelled));
}

void TestSession::retryAfterReachesTheCaller()
{
    SessionFixture fixture;
    const Result command =
        fixture.syncFolders({ScriptedServer::http(503, {}, {{"Retry-After", "77"}})});
    QCOMPARE(command.code, int(ServerFailed));
    QCOMPARE(command.retryAfter, 77);
    QCOMPARE(fixture.server.requests().size(), 1);
}

void TestSession::retryAfterBindsTheWholeAccount()
{
    SessionFixture fixture;
    qint64 now = 1000;
    fixture.session->setClock([&now] { return now; });
    QCOMPARE(fixture.syncFolders({ScriptedServer::http(503, {}, {{"Retry-After", "77"}})}).code,
             int(ServerFailed));
    // Another command, of whoever, is not sent.
    now += 60 * 1000;
    SyncRequest request;
    request.collectionId = "5"_folder;
    request.syncKey = QStringLiteral("0");
    SyncCommand other(fixture.session.get(), {request});
    QVERIFY(fixture.run(&other));
    QCOMPARE(other.result().code, int(ServerFailed));
    QCOMPARE(other.result().retryAfter, 17);
    QVERIFY(!other.isAnswerLost());
    QCOMPARE(fixture.server.requests().size(), 1);
    now += 17 * 1000;
    const Result last = fixture.syncFolders({folders()});
    QVERIFY2(last.ok(), qPrintable(last.text));
    QCOMPARE(fixture.server.requests().size(), 2);
}

void TestSession::aShortRetryAfterIsWaitedFor()
{
    SessionFixture fixture;
    QCOMPARE(fixture.syncFolders({ScriptedServer::http(503, {}, {{"Retry-After", "1"}})}).code,
             int(ServerFailed));
    fixture.server.enqueue(folders());
    QElapsedTimer timer;
    timer.start();
    FolderSyncCommand stopped(fixture.session.get(), QStringLiteral("0"));
    stopped.start();
    stopped.abort();
    const Result next = fixture.syncFolders();
    QVERIFY2(next.ok(), qPrintable(next.text));
    QVERIFY2(timer.elapsed() >= 900, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(stopped.result().code, int(Cancelled));
    QCOMPARE(fixture.server.requests().size(), 2);
}

void TestSession::anAddressThatHasWorkedFailsInPassing_data()
{
    QTest::addColumn<QByteArray>("answer");
    for (int status : {301, 302, 400, 404, 405, 410})
        QTest::newRow(QByteArray::number(status).constData()) << ScriptedServer::http(status);
}

void TestSession::anAddressThatHasWorkedFailsInPassing()
{
    QFETCH(QByteArray, answer);
    SessionFixture fixture;
    QVERIFY(fixture.syncFolders({folders()}).ok());
    QVERIFY(fixture.session->state().hasWorked);
    QCOMPARE(fixture.syncFolders({answer}).code, int(ServerFailed));
    // Nor is a page in the place of the versions, which are asked for again.
    const Result portal = fixture.syncFolders({ScriptedServer::http(200, "<html>")});
    QCOMPARE(fixture.commands().last(), QByteArray("OPTIONS"));
    QCOMPARE(portal.code, int(ServerFailed));
    const Result again = fixture.syncFolders({ScriptedServer::options(), folders()});
    QVERIFY2(again.ok(), qPrintable(again.text));
}

void TestSession::twoCommandsAtOnce()
{
    SessionFixture fixture;
    FolderSyncCommand waits(fixture.session.get(), QStringLiteral("0"));
    waits.start();
    QTRY_COMPARE(fixture.server.requests().size(), 1);
    QVERIFY(fixture.syncFolders({folders()}).ok());
    QVERIFY(!waits.isFinished());
    QCOMPARE(fixture.server.connections(), 2);
}

QTEST_GUILESS_MAIN(TestSession)
#include "tst_session.moc"
