// SPDX-License-Identifier: LGPL-2.1-or-later
// What "status" and "outbox" tell a person, with the real message server, daemon and a mail server.
#include "daemon/store/accountwipe.h"
#include "daemon/store/state/syncstatedb.h"
#include "tests/accounts/accountprogram.h"
#include "tests/accounts/busservice.h"
#include "tests/accounts/terminal.h"
#include "tests/daemon/sendingworld.h"
#include "tests/support/messageserver.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <qmailserviceaction.h>
#include <qmailstore.h>
#include <QTest>

#include <memory>

using AccountProgram::commandsIn;
using AccountProgram::Program;
using AccountProgram::Run;
using AccountProgram::run;
using AccountProgram::type;
using AccountProgram::verifyRefused;
using AccountProgram::words;

class TestAccountStatusCommands : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void allIsWell();
    void statusAsJsonHasEveryKey();
    void unknownAccountIsRefused();
    void withoutADaemonWhatIsKnownIsTold();
    void withoutAMessageServerThatIsTold();
    void withoutASessionBusNothingIsSaidToBeMissing();
    void pluginThatIsNotLoadedIsTold();
    void wipedAccountIsTold();
    void whatTheBusCanStartIsTold();
    void nothingIsStarted();
    void failedSynchronisationIsToldInWords();
    void refusedPasswordIsToldAndTheWayBackWorks();
    void commandsThatAreToldWorkAsTheyStand();
    void failedSynchronisationIsToldWhateverElseSucceeds();
    void memoryThatCannotBeReadIsTold();
    void pushIsTold();
    void pushThatDoesNotWorkIsToldWhateverElseSucceeds();
    void watchTellsEachChangeUntilAnInterrupt();
    void watchTellsOfADaemonThatEnds();

    void outboxTellsWhatWaitsAndWhy();
    void refusedMailIsToldOnceAndNotOfTheAccount();
    void outboxIsToldWithoutADaemon();
    void retrySendsWhatWasGivenUp();
    void retryTellsWhyItFailedAgain();
    void retryEndsWithTheMessageServer();
    void whatIsDeletedMeanwhileIsNotToldAsSent();
    void retryWithoutAMessageServerLeavesTheMailAsItIs();
    void retryLooksForAnUncertainMailAndAsksWhereItCannotBeFound();
    void whatIsTakenBackDuringTheQuestionIsNotSent();
    void whatMayHaveBeenSentIsSentAgainOnlyByAPersonsWish();
    void toDraftsKeepsAMailFromBeingSent_data();
    void toDraftsKeepsAMailFromBeingSent();
    void draftThatMayHaveBeenSentIsLookedForFirst();
    void draftThatMayHaveBeenSentAndIsEditedGoesAsAnotherMail();
    void whatIsBeingSentIsLeftAlone();
    void whatIsNextToBeSentIsLeftAlone();
    void whileAnotherMailIsBeingSentNoDraftIsMade();
    void mailThatDoesNotWaitIsRefused();

private:
    SendingWorld &world() { return *m_world; }
    void setPassword(const QString &password);
    /** A message of the outbox that the message server does not try any more. */
    QMailMessageId addGivenUp();
    /** One that the server has, though nobody here can know that. */
    QMailMessageId addUncertain();
    /** One of which that cannot be found out either. */
    QMailMessageId addDoubtful();
    /** The next sending lasts until EasServer::endDelays(), with a daemon that has the patience. */
    void holdNextSending();
    /** As a mail program does. */
    void transmit(const QMailMessageId &id);
    static QStringList onMail(const char *command, const QMailMessageId &id)
    {
        return words("outbox")
            + QStringList {QLatin1String(command), QString::number(id.toULongLong())};
    }
    /** What docs/status.md says of an exit code. */
    static QByteArray pageOn(int exit);
    static QJsonObject accountOf(const Run &run)
    {
        return run.json().object()[QStringLiteral("accounts")].toArray().first().toObject();
    }

    std::unique_ptr<SendingWorld> m_world;
    std::unique_ptr<MessageServer> m_messageServer;
};

void TestAccountStatusCommands::initTestCase()
{
    EasServer::require();
    MessageServer::require();
}

void TestAccountStatusCommands::init()
{
    m_world = std::make_unique<SendingWorld>();
    world().daemon.setPatience(4);
    QVERIFY(world().begin());
    QCOMPARE(world().syncAndWait(), 200);
    m_messageServer = std::make_unique<MessageServer>();
    QVERIFY(m_messageServer->start());
}

void TestAccountStatusCommands::cleanup()
{
    m_messageServer.reset();
    const int code = m_world ? m_world->endDaemon() : 0;
    m_world.reset();
    QCOMPARE(code, 0);
}

QByteArray TestAccountStatusCommands::pageOn(int exit)
{
    QFile page(qEnvironmentVariable("ORVMAIL_SOURCE_DIR") + QStringLiteral("/docs/status.md"));
    const QByteArray row = "| " + QByteArray::number(exit) + " | ";
    QByteArray line;
    if (page.open(QIODevice::ReadOnly)) {
        do
            line = page.readLine();
        while (!line.isEmpty() && !line.startsWith(row));
    }
    return line;
}

void TestAccountStatusCommands::setPassword(const QString &password)
{
    StoreFixture::Account settings = world().settings();
    settings.password = password;
    world().changeSettings(world().account, settings);
}

QMailMessageId TestAccountStatusCommands::addGivenUp()
{
    QMailMessage message = world().draft(QStringLiteral("Given up"));
    message.setCustomField(QStringLiteral("dontSend"), QStringLiteral("true"));
    message.setCustomField(QStringLiteral("orvmail-send-failure"),
                           QStringLiteral("403 the server answered HTTP 403"));
    return world().add(message);
}

QMailMessageId TestAccountStatusCommands::addUncertain()
{
    world().server.fault(SendingWorld::sendFault(
        "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 5}}));
    const QMailMessageId id = world().add(world().draft(QStringLiteral("Uncertain")));
    const int code = world().sendAndWait(id);
    if (code != 901 || world().sent().size() != 1)
        qFatal("the sending ended with %d", code);
    SendingWorld::setField(id, "dontSend", QStringLiteral("true"));
    world().setOutbox(id, true);
    return id;
}

QMailMessageId TestAccountStatusCommands::addDoubtful()
{
    world().setOption("client_id_memory", false);
    world().setOption("no_mime", true);
    world().server.fault(SendingWorld::sendFault("reset", {{QStringLiteral("late"), true}}));
    const QMailMessageId id = world().add(world().draft(QStringLiteral("Doubtful")));
    const int code = world().sendAndWait(id);
    if (code != 902)
        qFatal("the sending ended with %d", code);
    world().setOutbox(id, true);
    return id;
}

void TestAccountStatusCommands::holdNextSending()
{
    QCOMPARE(world().endDaemon(), 0);
    world().daemon.setPatience(120);
    QVERIFY(world().startDaemon());
    // The message server sends what waits when a daemon announces itself.
    QVERIFY(m_messageServer->settle());
    world().server.fault(SendingWorld::sendFault("delay", {{QStringLiteral("seconds"), 100}}));
}

void TestAccountStatusCommands::transmit(const QMailMessageId &id)
{
    world().setOutbox(id, true);
    QMailTransmitAction action;
    action.transmitMessage(id);
    QTRY_VERIFY_WITH_TIMEOUT(action.activity() == QMailServiceAction::Successful
                                 || action.activity() == QMailServiceAction::Failed,
                             60000);
    QCOMPARE(action.activity(), QMailServiceAction::Successful);
}

void TestAccountStatusCommands::allIsWell()
{
    const Run told = run(words("status Test"));
    QVERIFY2(told.exit == 0, told.out.constData());
    QCOMPARE(told.err, QByteArray());
    for (const char *text : {"message server  running", "plugin          loaded, version ",
                             "daemon          running, version ", ", successfully",
                             "push          off", "all at the server", "mail to send  none"})
        QVERIFY2(told.out.contains(text), told.out.constData());
    QVERIFY2(!told.out.contains(" ! "), told.out.constData());
    QCOMPARE(run(words("status")).out, told.out);
}

void TestAccountStatusCommands::statusAsJsonHasEveryKey()
{
    const Run told = run(words("status --json"));
    QCOMPARE(told.exit, 0);
    const QJsonObject object = told.json().object();
    QCOMPARE(object.keys(), words("accounts daemon messageServer plugin pluginVersion"));
    QCOMPARE(object[QStringLiteral("messageServer")].toString(), QStringLiteral("running"));
    QCOMPARE(object[QStringLiteral("plugin")].toString(), QStringLiteral("loaded"));
    const QJsonObject daemon = object[QStringLiteral("daemon")].toObject();
    QCOMPARE(daemon.keys(), words("since state version"));
    QVERIFY(daemon[QStringLiteral("since")].toDouble() > 0);
    const QJsonObject account = accountOf(told);
    QCOMPARE(account.keys(),
             words("changes email enabled error id live loginRefusedAt name outbox policyUnmetAt "
                   "problems push sync wiped"));
    QCOMPARE(account[QStringLiteral("live")].toBool(), true);
    const QJsonObject sync = account[QStringLiteral("sync")].toObject();
    QCOMPARE(sync.keys(), words("at code running succeededAt text"));
    QCOMPARE(sync[QStringLiteral("code")].toInt(), 200);
    QCOMPARE(account[QStringLiteral("push")].toObject().keys(),
             words("code on retryAt since state text"));
    QCOMPARE(account[QStringLiteral("problems")].toArray(), QJsonArray());
}

void TestAccountStatusCommands::unknownAccountIsRefused()
{
    verifyRefused(run(words("status Nobody")), "there is no account \"Nobody\"");
    verifyRefused(run(words("outbox Nobody")), "there is no account \"Nobody\"");
}

void TestAccountStatusCommands::withoutADaemonWhatIsKnownIsTold()
{
    const QMailMessageId id = addGivenUp();
    // The message server has it started as soon as it hears of the account.
    m_messageServer.reset();
    QCOMPARE(world().endDaemon(), 0);
    const Run told = run(words("status Test"));
    QCOMPARE(told.exit, 4);
    QVERIFY2(told.out.contains("daemon          absent"), told.out.constData());
    QVERIFY2(told.out.contains(", successfully"), told.out.constData());
    QVERIFY2(told.out.contains("was not sent, and is not tried again by itself"),
             told.out.constData());
    const QJsonObject account = accountOf(run(words("status Test --json")));
    QCOMPARE(account[QStringLiteral("live")].toBool(), false);
    QCOMPARE(account[QStringLiteral("sync")].toObject()[QStringLiteral("code")].toInt(), 200);
    const QJsonObject mail = account[QStringLiteral("outbox")].toArray().first().toObject();
    QCOMPARE(quint64(mail[QStringLiteral("message")].toDouble()), id.toULongLong());
}

void TestAccountStatusCommands::withoutAMessageServerThatIsTold()
{
    m_messageServer.reset();
    const Run told = run(words("status"));
    QCOMPARE(told.exit, 4);
    QVERIFY2(told.out.contains("message server  absent"), told.out.constData());
    QVERIFY2(told.out.contains("daemon          running"), told.out.constData());
}

void TestAccountStatusCommands::withoutASessionBusNothingIsSaidToBeMissing()
{
    const QByteArray bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/none");
    const Run told = run(words("status"));
    const Run object = run(words("status --json"));
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
    QCOMPARE(told.exit, 4);
    for (const char *part : {"message server  ", "daemon          "})
        QVERIFY2(told.out.contains(part + QByteArray("not known: there is no session bus here; ")),
                 told.out.constData());
    QVERIFY2(!told.out.contains("install"), told.out.constData());
    QCOMPARE(object.json().object()[QStringLiteral("messageServer")].toString(),
             QStringLiteral("absent"));
}

void TestAccountStatusCommands::pluginThatIsNotLoadedIsTold()
{
    m_messageServer = std::make_unique<MessageServer>();
    m_messageServer->setEnvironment(QStringLiteral("QT_PLUGIN_PATH"),
                                    QStringLiteral("/nonexistent"));
    QVERIFY(m_messageServer->start());
    const Run told = run(words("status"));
    QVERIFY2(told.out.contains("plugin          not loaded by the message server"),
             told.out.constData());
    QCOMPARE(told.exit, 4);
    const QByteArray help = run(words("help status")).out.simplified();
    for (const QByteArray &page : {pageOn(4), help})
        QVERIFY2(page.contains("the message server has not loaded the plugin"), page.constData());
}

/** It is not enabled any more, and is told of all the same. */
void TestAccountStatusCommands::wipedAccountIsTold()
{
    QVERIFY(Store::AccountWipe::forget(world().account).ok());
    const Run told = run(words("status"));
    QVERIFY2(told.out.contains("(not enabled)") && told.out.contains(" was wiped"),
             told.out.constData());
    QCOMPARE(told.exit, 3);
    const QByteArray row = pageOn(3);
    QVERIFY2(row.contains("wiped") && !row.contains("an enabled account needs you"),
             row.constData());
}

void TestAccountStatusCommands::whatTheBusCanStartIsTold()
{
    m_messageServer.reset();
    QCOMPARE(world().endDaemon(), 0);
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    const Run told = run(words("status --json"));
    QCOMPARE(told.exit, 4);
    const QJsonObject object = told.json().object();
    QCOMPARE(object[QStringLiteral("messageServer")].toString(), QStringLiteral("activatable"));
    QCOMPARE(object[QStringLiteral("plugin")].toString(), QStringLiteral("unknown"));
    QCOMPARE(object[QStringLiteral("daemon")].toObject()[QStringLiteral("state")].toString(),
             QStringLiteral("activatable"));
}

void TestAccountStatusCommands::nothingIsStarted()
{
    m_messageServer.reset();
    QCOMPARE(world().endDaemon(), 0);
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    const QMailMessageId id = addGivenUp();
    for (const QStringList &arguments : {words("status"), words("outbox"), onMail("to-drafts", id)})
        run(arguments);
    QVERIFY(!daemon.isRunning());
    QVERIFY(!messageServer.isRunning());
}

void TestAccountStatusCommands::failedSynchronisationIsToldInWords()
{
    world().server.fault("http", "Sync", {{"status", 403}, {"count", -1}});
    QCOMPARE(world().syncAndWait(), 403);
    const Run told = run(words("status Test"));
    QCOMPARE(told.exit, 3);
    QVERIFY2(told.out.contains("failed: 127.0.0.1 forbids it to this device or this user (HTTP "
                               "403). (last successfully "),
             told.out.constData());
    QVERIFY2(told.out.contains("ask its administrator"), told.out.constData());
    world().server.clearFaults();
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(run(words("status Test")).exit, 0);
}

void TestAccountStatusCommands::refusedPasswordIsToldAndTheWayBackWorks()
{
    setPassword(QStringLiteral("Tr0mbone"));
    QCOMPARE(world().syncAndWait(), 401);
    const Run told = run(words("status Test"));
    QCOMPARE(told.exit, 3);
    QVERIFY2(told.out.contains("refuses the user name or the password since "),
             told.out.constData());
    QVERIFY2(told.out.contains("\"orvmail-account set Test --ask-password\""),
             told.out.constData());
    QVERIFY(!told.out.contains("Tr0mbone"));
    QVERIFY(accountOf(run(words("status --json")))[QStringLiteral("loginRefusedAt")].toDouble()
            > 0);
    const Run set = run(words("set Test --password-stdin"), "secret");
    QVERIFY2(set.exit == 0, set.err.constData());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(run(words("status Test")).exit, 0);
}

void TestAccountStatusCommands::commandsThatAreToldWorkAsTheyStand()
{
    const QString name = QStringLiteral("My Work");
    QMailAccount renamed(world().account);
    renamed.setName(name);
    QVERIFY(QMailStore::instance()->updateAccount(&renamed));
    const QMailMessageId id = addGivenUp();
    setPassword(QStringLiteral("Tr0mbone"));
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_VERIFY(run(words("status")).out.contains("tells more"));
    QStringList told = commandsIn(run(words("status")).out);
    QCOMPARE(told,
             (QStringList {QStringLiteral("orvmail-account outbox 'My Work'"),
                           QStringLiteral("orvmail-account set 'My Work' --ask-password")}));
    QCOMPARE(type(told.first()), 0);
    QCOMPARE(type(told.last(), "secret"), 0);

    const QStringList set {QStringLiteral("set"), name};
    told = commandsIn(run(set + words("--favourite Nowhere")).err);
    QCOMPARE(told, QStringList(QStringLiteral("orvmail-account folders 'My Work'")));
    QCOMPARE(type(told.first()), 0);

    QCOMPARE(run(set + words("--enabled off")).exit, 0);
    told = commandsIn(run(onMail("retry", id)).err);
    QCOMPARE(told, QStringList(QStringLiteral("orvmail-account set 'My Work' --enabled on")));
    QCOMPARE(type(told.first()), 0);

    QVERIFY(Store::AccountWipe::forget(world().account).ok());
    told = commandsIn(run({QStringLiteral("sync"), name}).err);
    QCOMPARE(
        told,
        QStringList(QStringLiteral("orvmail-account set 'My Work' --ask-password --enabled on")));
    QCOMPARE(commandsIn(run(words("status")).out), told);
    QCOMPARE(type(told.first(), "secret"), 0);
}

void TestAccountStatusCommands::failedSynchronisationIsToldWhateverElseSucceeds()
{
    world().server.fault("http", "Sync", {{"status", 403}, {"count", -1}});
    QCOMPARE(world().syncAndWait(), 403);
    QCOMPARE(world().sendAndWait(world().add(world().draft())), 200);
    const QJsonObject account = accountOf(run(words("status --json")));
    QCOMPARE(account[QStringLiteral("error")].toObject()[QStringLiteral("code")].toInt(), 0);
    const Run told = run(words("status"));
    QCOMPARE(told.exit, 3);
    QVERIFY2(told.out.contains("The last synchronisation failed: "), told.out.constData());
}

void TestAccountStatusCommands::memoryThatCannotBeReadIsTold()
{
    m_messageServer.reset();
    QCOMPARE(world().endDaemon(), 0);
    const QByteArray content = QByteArray("this is no database, is it? ").repeated(1000);
    for (const char *suffix : {"-wal", "-shm"})
        QFile::remove(Store::SyncStateDb::defaultPath() + QLatin1String(suffix));
    QFile file(Store::SyncStateDb::defaultPath());
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
    file.close();
    const Run told = run(words("status"));
    QVERIFY2(told.out.contains("What the daemon has noted cannot be read: "), told.out.constData());
    verifyRefused(run(words("outbox")), "sync state: ");
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), content);
}

void TestAccountStatusCommands::pushIsTold()
{
    world().setPush(true);
    QTRY_COMPARE(world().pings(), 1);
    QTRY_VERIFY(run(words("status")).out.contains("push          on, connected since "));
    world().server.fault("http", "Ping", {{"status", 403}, {"count", -1}});
    world().server.control("ping-end");
    QTRY_VERIFY(run(words("status")).out.contains("push          on, not connected until "));
    const Run told = run(words("status"));
    QVERIFY2(told.out.contains("forbids it to this device"), told.out.constData());
    QCOMPARE(told.exit, 3);
}

void TestAccountStatusCommands::pushThatDoesNotWorkIsToldWhateverElseSucceeds()
{
    world().setPush(true);
    QTRY_COMPARE(world().pings(), 1);
    world().server.fault("http", "Ping", {{"status", 403}, {"count", -1}});
    world().server.control("ping-end");
    QTRY_VERIFY(run(words("status")).out.contains("push          on, not connected until "));
    QCOMPARE(world().sendAndWait(world().add(world().draft())), 200);
    const Run told = run(words("status"));
    QCOMPARE(told.exit, 3);
    QVERIFY2(told.out.contains("Push does not work: "), told.out.constData());
}

void TestAccountStatusCommands::watchTellsEachChangeUntilAnInterrupt()
{
    Terminal terminal(Program, words("status --watch"));
    QVERIFY(terminal.waitFor("all at the server", 30000));
    world().server.fault("http", "Sync", {{"status", 403}, {"count", -1}});
    QCOMPARE(world().syncAndWait(), 403);
    QVERIFY(terminal.waitFor("(HTTP 403)", 30000));
    world().add(world().draft());
    // No event loop turns while the terminal is waited for.
    QMailStore::instance()->flushIpcNotifications();
    QVERIFY(terminal.waitFor("\"orvmail-account outbox Test\" tells more", 30000));
    terminal.type("\x03");
    QCOMPARE(terminal.finish(), 3);
}

void TestAccountStatusCommands::watchTellsOfADaemonThatEnds()
{
    // Without one that starts it again.
    m_messageServer.reset();
    Terminal terminal(Program, words("status --watch"));
    QVERIFY(terminal.waitFor("daemon          running", 30000));
    QCOMPARE(world().endDaemon(), 0);
    QVERIFY(terminal.waitFor("daemon          absent", 30000));
    terminal.type("\x03");
    QCOMPARE(terminal.finish(), 4);
}

void TestAccountStatusCommands::outboxTellsWhatWaitsAndWhy()
{
    QCOMPARE(run(words("outbox Test")).out, QByteArray("Test: nothing waits to be sent.\n"));
    QMailMessage message = world().draft(QStringLiteral("To nobody"));
    message.setTo(QMailAddress(QStringLiteral("nobody@example.test")));
    const QMailMessageId id = world().add(message);
    QCOMPARE(world().sendAndWait(id), 404);
    world().setOutbox(id, true);
    const Run told = run(words("outbox"));
    QCOMPARE(told.exit, 0);
    QVERIFY2(told.out.contains("\"To nobody\"  to nobody@example.test"), told.out.constData());
    QVERIFY2(told.out.contains("was not sent: ") && told.out.contains("check its recipients"),
             told.out.constData());
    const QJsonObject account = run(words("outbox --json")).json().array().first().toObject();
    const QJsonObject mail = account[QStringLiteral("outbox")].toArray().first().toObject();
    QCOMPARE(mail.keys(), words("code message reason state subject text to"));
    QCOMPARE(mail[QStringLiteral("state")].toString(), QStringLiteral("failed"));
    QCOMPARE(mail[QStringLiteral("code")].toInt(), 404);
    QCOMPARE(run(words("status")).exit, 3);
}

void TestAccountStatusCommands::refusedMailIsToldOnceAndNotOfTheAccount()
{
    QMailMessage message = world().draft(QStringLiteral("To nobody"));
    message.setTo(QMailAddress(QStringLiteral("nobody@example.test")));
    const QMailMessageId id = world().add(message);
    QCOMPARE(world().sendAndWait(id), 404);
    world().setOutbox(id, true);
    const Run refused = run(words("status"));
    QCOMPARE(refused.exit, 3);
    QCOMPARE(refused.out.count("status 120"), 1);
    QVERIFY2(refused.out.contains("check its recipients"), refused.out.constData());
    QCOMPARE(run(onMail("to-drafts", id)).exit, 0);
    QTRY_COMPARE(run(words("status")).exit, 0);
    QVERIFY2(!run(words("status")).out.contains("!"), "a mail among the drafts is no trouble");
}

void TestAccountStatusCommands::outboxIsToldWithoutADaemon()
{
    addUncertain();
    m_messageServer.reset();
    QCOMPARE(world().endDaemon(), 0);
    const Run told = run(words("outbox"));
    QCOMPARE(told.exit, 0);
    QVERIFY2(told.out.contains("may have been sent; the server is asked before it goes again"),
             told.out.constData());
}

void TestAccountStatusCommands::retrySendsWhatWasGivenUp()
{
    const QMailMessageId id = addGivenUp();
    const Run sent = run(onMail("retry", id));
    QVERIFY2(sent.exit == 0, sent.err.constData());
    QCOMPARE(sent.lastLine(), QStringLiteral("Mail %1 is sent.").arg(id.toULongLong()).toUtf8());
    QCOMPARE(world().copies(QStringLiteral("bob"), QStringLiteral("Given up")), 1);
    QTRY_VERIFY(!world().isInOutbox(id));
    QCOMPARE(world().sent().size(), 1);
}

void TestAccountStatusCommands::retryTellsWhyItFailedAgain()
{
    const QMailMessageId id = addGivenUp();
    world().server.fault(SendingWorld::sendFault("http", {{QStringLiteral("status"), 507}}));
    verifyRefused(run(onMail("retry", id)), "there is no room left, here or at the server");
    QVERIFY(world().isInOutbox(id));
    QCOMPARE(world().sent().size(), 0);
}

void TestAccountStatusCommands::retryEndsWithTheMessageServer()
{
    holdNextSending();
    const QMailMessageId id = addGivenUp();
    Terminal terminal(Program, onMail("retry", id));
    QTRY_VERIFY(run(words("outbox")).out.contains("is being sent"));
    m_messageServer->kill();
    QCOMPARE(terminal.finish(), 1);
    QVERIFY(world().faultsAreTaken());
    world().server.endDelays();
    QVERIFY2(terminal.screen().contains("the message server has ended"),
             terminal.screen().constData());
}

void TestAccountStatusCommands::whatIsDeletedMeanwhileIsNotToldAsSent()
{
    QCOMPARE(world().endDaemon(), 0);
    world().daemon.setPatience(120);
    world().server.fault(
        SendingWorld::sendFault("delay",
                                {{QStringLiteral("command"), QStringLiteral("OPTIONS")},
                                 {QStringLiteral("seconds"), 100}}));
    // Its announcement would have the message server send the mail before the program does.
    QVERIFY(world().startDaemon());
    QVERIFY(m_messageServer->settle());
    const QMailMessageId id = addGivenUp();
    Terminal terminal(Program, onMail("retry", id));
    QTRY_VERIFY(run(words("outbox")).out.contains("is being sent"));
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                           QMailMessage::Trash, true));
    QVERIFY(world().faultsAreTaken());
    world().server.endDelays();
    QCOMPARE(terminal.finish(), 1);
    QVERIFY2(terminal.screen().contains("was deleted meanwhile, and was not sent"),
             terminal.screen().constData());
    QVERIFY(world().sent().isEmpty());
}

void TestAccountStatusCommands::retryWithoutAMessageServerLeavesTheMailAsItIs()
{
    const QMailMessageId id = addGivenUp();
    m_messageServer.reset();
    verifyRefused(run(onMail("retry", id)), "messageserver5");
    QCOMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    QVERIFY(world().isInOutbox(id));
}

void TestAccountStatusCommands::retryLooksForAnUncertainMailAndAsksWhereItCannotBeFound()
{
    world().setOption("client_id_memory", false);
    world().setOption("no_mime", true);
    const QMailMessageId id = addUncertain();
    verifyRefused(run(onMail("retry", id)), "may have been sent: look in Sent");
    QCOMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    verifyRefused(run(onMail("retry", id)), "--yes");
    QCOMPARE(world().sent().size(), 1);
}

void TestAccountStatusCommands::whatIsTakenBackDuringTheQuestionIsNotSent()
{
    const QMailMessageId id = addDoubtful();
    Terminal terminal(Program, onMail("retry", id));
    QVERIFY2(terminal.waitFor("Send it again?"), terminal.screen().constData());
    QMailStore *store = QMailStore::instance();
    const auto mail = QMailMessageKey::id(id);
    QVERIFY(store->updateMessagesMetaData(mail, QMailMessage::Draft, true));
    QVERIFY(store->updateMessagesMetaData(mail, QMailMessage::Outbox, false));
    terminal.type("y");
    QVERIFY(terminal.finish() > 0);
    QVERIFY2(terminal.screen().contains("nothing was done"), terminal.screen().constData());
    QVERIFY(!world().isInOutbox(id));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().sent().size(), 1);
}

void TestAccountStatusCommands::whatMayHaveBeenSentIsSentAgainOnlyByAPersonsWish()
{
    const QMailMessageId id = addDoubtful();
    QCOMPARE(world().sent().size(), 1);
    QVERIFY(run(words("outbox"))
                .out.contains("may have been sent: look in Sent before you send it again"));
    verifyRefused(run(onMail("retry", id)), "look in Sent before you send it again; --yes");
    QCOMPARE(world().sent().size(), 1);
    QCOMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    const Run sent = run(onMail("retry", id) + words("--yes"));
    QVERIFY2(sent.exit == 0, sent.err.constData());
    QCOMPARE(world().sent().size(), 2);
}

void TestAccountStatusCommands::toDraftsKeepsAMailFromBeingSent_data()
{
    QTest::addColumn<bool>("hasMessageServer");
    QTest::addColumn<bool>("hasDaemon");
    QTest::newRow("all of it runs") << true << true;
    QTest::newRow("no message server") << false << true;
    QTest::newRow("nothing runs") << false << false;
}

void TestAccountStatusCommands::toDraftsKeepsAMailFromBeingSent()
{
    QFETCH(bool, hasMessageServer);
    QFETCH(bool, hasDaemon);
    const QMailMessageId id = addGivenUp();
    if (!hasMessageServer)
        m_messageServer.reset();
    if (!hasDaemon)
        QCOMPARE(world().endDaemon(), 0);
    const Run put = run(onMail("to-drafts", id));
    QVERIFY2(put.exit == 0, put.err.constData());
    QCOMPARE(put.lastLine(),
             QStringLiteral("Mail %1 is among the drafts.").arg(id.toULongLong()).toUtf8());
    QVERIFY(!world().isInOutbox(id));
    QVERIFY(StoreFixture::hasStatus(id, QMailMessage::Draft));
    QCOMPARE(SendingWorld::fieldOf(id, "dontSend"), QString());
    const auto inDrafts =
        QMailMessageKey::id(id)
        & QMailMessageKey::parentFolderId(
            QMailAccount(world().account).standardFolder(QMailFolder::DraftsFolder));
    QCOMPARE(QMailStore::instance()->countMessages(inDrafts), 1);
    if (!hasDaemon)
        QVERIFY(world().startDaemon());
    if (!hasMessageServer)
        QVERIFY((m_messageServer = std::make_unique<MessageServer>())->start());
    // Which puts back into the outbox what nobody pursues, and sends what is there.
    for (int i = 0; i < 2; ++i)
        QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().sent().size(), 0);
    QVERIFY(StoreFixture::hasStatus(id, QMailMessage::Draft));
    QCOMPARE(QMailStore::instance()->countMessages(inDrafts), 1);
    // And it goes when it is sent from there.
    transmit(id);
    QCOMPARE(world().sent().size(), 1);
}

void TestAccountStatusCommands::draftThatMayHaveBeenSentIsLookedForFirst()
{
    const QMailMessageId id = addUncertain();
    const Run put = run(onMail("to-drafts", id));
    QVERIFY2(put.exit == 0, put.err.constData());
    QVERIFY2(put.out.contains("It may have been sent: look in Sent"), put.out.constData());
    // A draft is not taken away, though the server is found to have it.
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(StoreFixture::hasStatus(id, QMailMessage::Draft));
    world().setOption("client_id_memory", false);
    transmit(id);
    QCOMPARE(world().sent().size(), 1);
    QCOMPARE(world().copies(QStringLiteral("bob"), QStringLiteral("Uncertain")), 1);
}

void TestAccountStatusCommands::draftThatMayHaveBeenSentAndIsEditedGoesAsAnotherMail()
{
    const QMailMessageId id = addUncertain();
    QCOMPARE(run(onMail("to-drafts", id)).exit, 0);
    QMailMessage message(id);
    message.setSubject(QStringLiteral("Edited"));
    QVERIFY(QMailStore::instance()->updateMessage(&message));
    transmit(id);
    const QJsonArray sent = world().sent();
    QCOMPARE(sent.size(), 2);
    QVERIFY(world().sentMessage(0).headerFieldText(QStringLiteral("Message-ID"))
            != world().sentMessage(1).headerFieldText(QStringLiteral("Message-ID")));
    QCOMPARE(world().copies(QStringLiteral("bob"), QStringLiteral("Edited")), 1);
}

void TestAccountStatusCommands::whatIsBeingSentIsLeftAlone()
{
    holdNextSending();
    const QMailMessageId id = world().add(world().draft());
    QMailTransmitAction action;
    action.transmitMessage(id);
    QTRY_VERIFY(run(words("outbox")).out.contains("is being sent"));
    verifyRefused(run(onMail("to-drafts", id)), "is being sent just now; nothing was done");
    verifyRefused(run(onMail("retry", id)), "is being sent just now; nothing was done");
    QVERIFY(world().faultsAreTaken());
    world().server.endDelays();
    QTRY_COMPARE_WITH_TIMEOUT(action.activity(), QMailServiceAction::Successful, 30000);
    QCOMPARE(world().sent().size(), 1);
    QTRY_VERIFY(run(words("outbox")).out.contains("nothing waits"));
}

/** The message server has chosen it, and the daemon does not know of it yet. */
void TestAccountStatusCommands::whatIsNextToBeSentIsLeftAlone()
{
    holdNextSending();
    const QMailMessageId first = world().add(world().draft(QStringLiteral("First")));
    const QMailMessageId next = world().add(world().draft(QStringLiteral("Next")));
    QMailTransmitAction action;
    action.transmitMessages(world().account);
    QTRY_VERIFY(!world().isInOutbox(first));
    verifyRefused(run(onMail("to-drafts", next)), "is being sent just now");
    QVERIFY(world().faultsAreTaken());
    world().server.endDelays();
    QTRY_VERIFY_WITH_TIMEOUT(action.activity() == QMailServiceAction::Successful
                                 || action.activity() == QMailServiceAction::Failed,
                             30000);
    // Whichever way it went: it is sent, or it waits.
    const bool isSent = world().copies(QStringLiteral("bob"), QStringLiteral("Next")) == 1;
    QVERIFY(isSent != world().isInOutbox(next));
    QVERIFY(!StoreFixture::hasStatus(next, QMailMessage::Draft));
}

/** The message server tells of a transmission, and not of which mails. */
void TestAccountStatusCommands::whileAnotherMailIsBeingSentNoDraftIsMade()
{
    holdNextSending();
    const QMailMessageId first = world().add(world().draft(QStringLiteral("First")));
    QMailTransmitAction action;
    action.transmitMessage(first);
    QTRY_VERIFY(!world().isInOutbox(first));
    const QMailMessageId other = world().add(world().draft(QStringLiteral("Other")));
    verifyRefused(run(onMail("to-drafts", other)), "another one of the account, is being sent");
    QVERIFY(world().isInOutbox(other));
    QVERIFY(!StoreFixture::hasStatus(other, QMailMessage::Draft));
    QVERIFY(world().faultsAreTaken());
    world().server.endDelays();
    QTRY_COMPARE_WITH_TIMEOUT(action.activity(), QMailServiceAction::Successful, 30000);
    QVERIFY(QTest::qWaitFor([&] { return run(onMail("to-drafts", other)).exit == 0; }, PatienceMs));
    QVERIFY(StoreFixture::hasStatus(other, QMailMessage::Draft));
    QCOMPARE(world().sent().size(), 1);
}

void TestAccountStatusCommands::mailThatDoesNotWaitIsRefused()
{
    world().deliver(1);
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = world().find(QStringLiteral("Mail 1"));
    verifyRefused(run(onMail("to-drafts", id)), "waits to be sent");
    verifyRefused(run(onMail("retry", id)), "waits to be sent");
    verifyRefused(run(words("outbox retry me")), "no mail of the number \"me\"");
    QCOMPARE(run(words("outbox forget 1")).exit, 2);
}

QTEST_GUILESS_MAIN(TestAccountStatusCommands)
#include "tst_accountstatuscommands.moc"
