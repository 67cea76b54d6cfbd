// SPDX-License-Identifier: LGPL-2.1-or-later
// What a person sees who sets the first account up: nothing runs but the bus, something is missing,
// a server keeps silent, something was typed wrong.
#include "accounts/actions/synchronisation.h"
#include "accounts/setup/accountbook.h"
#include "daemon/store/accountwipe.h"
#include "eas/result.h"
#include "plugin/settings/orvconfiguration.h"
#include "tests/accounts/accountprogram.h"
#include "tests/accounts/busservice.h"
#include "tests/accounts/terminal.h"
#include "tests/support/easserver.h"
#include "tests/support/messageserver.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <qmailstore.h>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <csignal>
#include <memory>
#include <unistd.h>

using AccountProgram::Program;
using AccountProgram::Run;
using AccountProgram::words;

namespace {

const QByteArray Password = "Account-Passw0rd";
const QByteArray Wrong = "Not-the-Passw0rd";

Run run(const QStringList &arguments, const QByteArray &input = Password)
{
    return AccountProgram::run(arguments, input);
}

/** Takes connections and never says a word. */
class SilentServer : public QTcpServer
{
public:
    SilentServer()
    {
        if (!listen(QHostAddress::LocalHost))
            qFatal("cannot listen");
    }
};

/** A place like that in which cron runs its lines: `runtime` is the user's runtime folder. */
QStringList cronsPlace(const QString &runtime)
{
    return words("--dev-bind / / --tmpfs /run --die-with-parent --bind")
        + QStringList {runtime, QStringLiteral("/run/user/%1").arg(getuid())};
}

/** A line of a crontab, run there with as little of an environment as cron gives. */
Run runByCron(const QString &line, const QString &runtime)
{
    QProcessEnvironment environment;
    for (const char *name :
         {"HOME", "QMF_DATA", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
        if (qEnvironmentVariableIsSet(name))
            environment.insert(QLatin1String(name), qEnvironmentVariable(name));
    }
    environment.insert(QStringLiteral("PATH"),
                       QFileInfo(Program).path() + QStringLiteral(":/usr/bin:/bin"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral("bwrap"),
                  cronsPlace(runtime) + words("/bin/sh -c") + QStringList(line));
    Run run;
    if (QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 90000))
        run.exit = process.exitCode();
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

quint16 portOfNobody()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/** One that a daemon has taken, which does not end it. */
struct EndlessSynchronisation
{
    explicit EndlessSynchronisation(const QMailAccountId &account)
        : task(account)
    {
    }
    bool start()
    {
        if (!messageServer.start())
            return false;
        task.start();
        return QTest::qWaitFor([this] { return !daemon.calls().isEmpty(); }, 30000);
    }

    ScriptedDaemon daemon;
    MessageServer messageServer;
    Accounts::Synchronisation task;
    QSignalSpy finished {&task, &Accounts::Task::finished};
};

} // namespace

class TestFirstRun : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void addStartsWhatIsNeededAndBringsTheMail();
    void addShowsTheFirstSynchronisation();
    void installedFileStartsTheMessageServerBesideAnothers();

    void missingPartIsNamed_data();
    void missingPartIsNamed();
    void daemonThatDoesNotStartIsNamed();
    void addWithoutCheckStartsWhatIsNeededAndAsksNoServer();
    void lineForACrontabFetchesTheMail();

    void syncTellsTheDaemonsReason();
    void addTellsTheDaemonsReason();
    void firstSynchronisationIsCancelledAndTheAccountKept();
    void secondCancellationDoesNotWaitForTheMessageServer();
    void synchronisationEndsWithTheMessageServer();
    void testTellsWhatWentWrongLast();
    void testTellsWhatIsMissing();
    void testAndSyncSayThatTheAccountWasWiped();

    void failureIsNamed_data();
    void failureIsNamed();
    void webServerIsNamedAsNoActiveSyncServer();
    void silentServerIsGivenUpAfterTwentySeconds();
    void waitIsShownAndCancelledByInterrupt();
    void passwordAloneIsAskedForAgain();
    void emptyPasswordChangesTheUserName();
    void serverAloneIsAskedForAgain();
    void passwordThatCannotBeKeptIsAskedForAgain();
    void promptEndsAtAnInterruptAfterAWait();

private:
    QStringList addArguments(quint16 port, const char *more = "--password-stdin") const;
    QMailAccountId account() const { return Accounts::AccountBook::find(QStringLiteral("Demo")); }
    void addAccount(quint16 port);
    static int messages(const QMailAccountId &id)
    {
        return QMailStore::instance()->countMessages(QMailMessageKey::parentAccountId(id));
    }

    std::unique_ptr<EasServer> m_server;
};

void TestFirstRun::initTestCase()
{
    QVERIFY(Accounts::AccountBook::open().ok());
    EasServer::require();
    m_server = std::make_unique<EasServer>();
    m_server->addArguments(
        {QStringLiteral("--users"), QStringLiteral("alice:") + QString::fromUtf8(Password)});
    QVERIFY(m_server->start());
    for (const char *subject : {"One", "Two", "Three"})
        m_server->deliverText(QStringLiteral("alice"), QLatin1String(subject));
}

void TestFirstRun::init()
{
    StoreFixture::clear();
    m_server->clearFaults();
    m_server->clearLog();
}

QStringList TestFirstRun::addArguments(quint16 port, const char *more) const
{
    return words("add --email alice@example.test --user alice --server 127.0.0.1 --encryption none")
        + words(more)
        + QStringList {QStringLiteral("--port"), QString::number(port), QStringLiteral("Demo")};
}

void TestFirstRun::addAccount(quint16 port)
{
    Accounts::AccountDetails details;
    details.name = QStringLiteral("Demo");
    details.settings = {QStringLiteral("alice"),
                        QString::fromUtf8(Password),
                        QStringLiteral("127.0.0.1"),
                        port,
                        0,
                        QStringLiteral("alice@example.test"),
                        QString()};
    QMailAccountId id;
    QVERIFY(Accounts::AccountBook::add(details, &id).ok());
    Accounts::AccountBook::announce();
}

void TestFirstRun::addStartsWhatIsNeededAndBringsTheMail()
{
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    QVERIFY(!messageServer.isRunning());
    const Run added = run(addArguments(m_server->port()));
    QVERIFY2(added.exit == 0, added.err.constData());
    QCOMPARE(added.err, QByteArray());
    QVERIFY2(added.out.contains("\"Demo\" is ready"), added.out.constData());
    QCOMPARE(added.lastLine(), QByteArray("3 messages have come."));
    QVERIFY2(added.out.contains("3 messages, 3 unread"), added.out.constData());
    QTRY_COMPARE(messages(account()), 3);
    QVERIFY(messageServer.isRunning());
    QVERIFY(daemon.isRunning());
}

void TestFirstRun::addShowsTheFirstSynchronisation()
{
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    Terminal terminal(Program, addArguments(m_server->port(), ""));
    QVERIFY(terminal.waitFor("Password: "));
    terminal.type(Password);
    QVERIFY(terminal.waitFor("is ready", 30000));
    QVERIFY(terminal.waitFor("Demo [", 30000));
    QVERIFY(terminal.waitFor("3 messages have come.", 60000));
    QCOMPARE(terminal.finish(), 0);
}

void TestFirstRun::installedFileStartsTheMessageServerBesideAnothers()
{
    const QString file = qEnvironmentVariable("ORVMAIL_BUILD_DIR")
        + QStringLiteral("/packaging/orvmail-messageserver.service");
    QVERIFY(QFile::exists(file));
    const QString name = QStringLiteral("org.qt.messageserver");
    const auto startIt = [&name] {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("StartServiceByName"));
        call.setArguments({name, 0u});
        return QDBusConnection::sessionBus().call(call).type() == QDBusMessage::ReplyMessage;
    };
    {
        const BusService ours = BusService::fromFile(name, file);
        QVERIFY(startIt());
        QVERIFY(ours.isRunning());
    }
    QVERIFY(!startIt());
    const BusService another = BusService::messageServer();
    const BusService ours = BusService::fromFile(name, file);
    QVERIFY(startIt());
    QVERIFY(ours.isRunning());
}

void TestFirstRun::missingPartIsNamed_data()
{
    QTest::addColumn<bool>("hasServer");
    QTest::addColumn<bool>("hasDaemon");
    QTest::addColumn<QString>("environment");
    QTest::addColumn<QByteArray>("says");
    const QString usual;
    QTest::newRow("message server") << false << true << usual << QByteArray("messageserver5");
    QTest::newRow("daemon") << true << false << usual << QByteArray("asdaemon");
    QTest::newRow("plugin") << true << true << QStringLiteral("QT_PLUGIN_PATH=/nonexistent")
                            << QByteArray("has not loaded the plugin");
}

void TestFirstRun::missingPartIsNamed()
{
    QFETCH(bool, hasServer);
    QFETCH(bool, hasDaemon);
    QFETCH(QString, environment);
    QFETCH(QByteArray, says);
    std::unique_ptr<BusService> messageServer, daemon;
    if (hasServer)
        messageServer.reset(new BusService(BusService::messageServer(environment)));
    if (hasDaemon)
        daemon.reset(new BusService(BusService::daemon()));
    const Run added = run(addArguments(m_server->port()));
    QCOMPARE(added.exit, 0);
    QVERIFY(account().isValid());
    const QByteArray line = added.lastLine();
    QVERIFY2(line.startsWith("The account is saved, but its mail does not come yet: "),
             added.out.constData());
    QVERIFY2(line.contains(says), line.constData());
    QVERIFY2(!line.contains("127.0.0.1"), line.constData());

    // No server is blamed, nor asked.
    m_server->clearLog();
    const Run synced = run(words("sync Demo"));
    QCOMPARE(synced.exit, 1);
    QVERIFY2(synced.err.count('\n') == 1 && synced.err.contains(says), synced.err.constData());
    QVERIFY2(!synced.err.contains("127.0.0.1"), synced.err.constData());
    QCOMPARE(synced.out, QByteArray());
    QCOMPARE(m_server->log().size(), 0);
}

void TestFirstRun::daemonThatDoesNotStartIsNamed()
{
    addAccount(m_server->port());
    const BusService messageServer = BusService::messageServer();
    const BusService daemon(QStringLiteral("com.tarvo.asdbus"), QStringLiteral("/bin/false"));
    const Run synced = run(words("sync Demo"));
    QCOMPARE(synced.exit, 1);
    QVERIFY2(synced.err.contains("the ActiveSync daemon does not start"), synced.err.constData());
    QVERIFY2(!synced.err.contains("127.0.0.1"), synced.err.constData());
}

void TestFirstRun::addWithoutCheckStartsWhatIsNeededAndAsksNoServer()
{
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    const Run added = run(addArguments(m_server->port(), "--password-stdin --no-check"));
    QCOMPARE(added.exit, 0);
    QVERIFY(messageServer.isRunning());
    QCOMPARE(m_server->log().size(), 0);
}

void TestFirstRun::lineForACrontabFetchesTheMail()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (QProcess::execute(QStringLiteral("bwrap"), cronsPlace(runtime) + words("true")) != 0)
        QSKIP("no namespaces of its own here");
    const QRegularExpressionMatch line =
        QRegularExpression(QStringLiteral(R"(\*/15( \*){4} (orvmail-account(?: \S+)*))"))
            .match(QString::fromUtf8(run(words("--help")).out));
    QVERIFY(line.hasMatch());
    addAccount(m_server->port());
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    const Run ran = runByCron(line.captured(2), runtime);
    QVERIFY2(ran.exit == 0, ran.err.constData());
    QCOMPARE(ran.out + ran.err, QByteArray());
    QTRY_COMPARE(messages(account()), 3);
}

void TestFirstRun::syncTellsTheDaemonsReason()
{
    const quint16 port = portOfNobody();
    addAccount(port);
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    const Run synced = run(words("sync Demo"));
    QCOMPARE(synced.exit, 1);
    QVERIFY2(synced.err.contains("127.0.0.1 refuses the connection; check server, port"),
             synced.err.constData());
    QVERIFY2(!synced.err.contains("Cannot determine"), synced.err.constData());
    QCOMPARE(synced.out, QByteArray());
}

void TestFirstRun::addTellsTheDaemonsReason()
{
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    // The login is good; what comes after it fails.
    m_server->fault("http", "Sync", {{"status", 403}, {"count", 100}});
    const Run added = run(addArguments(m_server->port()));
    QCOMPARE(added.exit, 0);
    QVERIFY(account().isValid());
    const QByteArray line = added.lastLine();
    QVERIFY2(line.startsWith("The account is saved, but its mail does not come yet: "),
             added.out.constData());
    QVERIFY2(line.contains(": 127.0.0.1 forbids it to this device or this user (HTTP 403); ask"),
             line.constData());
}

void TestFirstRun::firstSynchronisationIsCancelledAndTheAccountKept()
{
    const ScriptedDaemon daemon;
    const BusService messageServer = BusService::messageServer();
    Terminal terminal(Program, addArguments(m_server->port(), ""));
    QVERIFY(terminal.waitFor("Password: "));
    terminal.type(Password);
    QVERIFY(terminal.waitFor("Demo [", 30000));
    QTRY_VERIFY_WITH_TIMEOUT(!daemon.calls().isEmpty(), 30000);
    terminal.type("\x03");
    QVERIFY(terminal.waitFor("The account is saved, but its mail does not come yet: cancelled."));
    QCOMPARE(terminal.finish(), 0);
    QVERIFY(account().isValid());
}

void TestFirstRun::secondCancellationDoesNotWaitForTheMessageServer()
{
    addAccount(m_server->port());
    EndlessSynchronisation endless(account());
    QVERIFY(endless.start());
    QCOMPARE(::kill(pid_t(endless.messageServer.processId()), SIGSTOP), 0);
    endless.task.cancel();
    QCOMPARE(endless.finished.count(), 0);
    endless.task.cancel();
    QTRY_COMPARE(endless.finished.count(), 1);
    QCOMPARE(endless.task.outcome().code, int(Eas::Cancelled));
    ::kill(pid_t(endless.messageServer.processId()), SIGCONT);
}

void TestFirstRun::synchronisationEndsWithTheMessageServer()
{
    addAccount(m_server->port());
    EndlessSynchronisation endless(account());
    QVERIFY(endless.start());
    endless.messageServer.kill();
    QTRY_COMPARE(endless.finished.count(), 1);
    QVERIFY2(endless.task.outcome().text.startsWith(
                 QLatin1String("the message server has ended in the middle of it")),
             qPrintable(endless.task.outcome().text));
}

void TestFirstRun::testTellsWhatWentWrongLast()
{
    addAccount(m_server->port());
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    m_server->fault("http", "Sync", {{"status", 403}, {"count", 100}});
    QCOMPARE(run(words("sync Demo")).exit, 1);
    const Run tested = run(words("test Demo"));
    QCOMPARE(tested.exit, 0);
    QVERIFY2(tested.lastLine().startsWith("But what was last done for it failed: ")
                 && tested.lastLine().contains("HTTP 403"),
             tested.out.constData());
    m_server->clearFaults();
    QCOMPARE(run(words("sync Demo")).exit, 0);
    const Run again = run(words("test Demo --json"));
    QCOMPARE(again.exit, 0);
    QVERIFY(!again.json().object().contains(QLatin1String("problem")));
}

void TestFirstRun::testTellsWhatIsMissing()
{
    addAccount(m_server->port());
    const Run tested = run(words("test Demo"));
    QCOMPARE(tested.exit, 0);
    QVERIFY(tested.out.contains("accepts the login"));
    QVERIFY2(tested.lastLine().startsWith("But no mail can come: ")
                 && tested.lastLine().contains("messageserver5"),
             tested.out.constData());
}

void TestFirstRun::testAndSyncSayThatTheAccountWasWiped()
{
    addAccount(m_server->port());
    QVERIFY(Store::AccountWipe::forget(account()).ok());
    Accounts::AccountBook::announce();
    for (const char *command : {"test Demo", "sync Demo"}) {
        const Run refused = run(words(command));
        QCOMPARE(refused.exit, 1);
        QVERIFY2(refused.err.contains("\"Demo\" was wiped"), refused.err.constData());
        QVERIFY2(!refused.err.contains("refuses"), refused.err.constData());
    }
    QCOMPARE(m_server->log().size(), 0);
    QCOMPARE(run(words("set Demo --enabled on --password-stdin")).exit, 0);
    const Run again = run(words("test Demo"));
    QCOMPARE(again.exit, 0);
    QVERIFY(again.out.contains("accepts the login"));
}

void TestFirstRun::failureIsNamed_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<quint16>("port");
    QTest::addColumn<QByteArray>("says");
    QTest::newRow("name") << QStringLiteral("nowhere.invalid") << quint16(443)
                          << QByteArray("no connection to nowhere.invalid:443 (there is no host");
    const quint16 nobody = portOfNobody();
    QTest::newRow("refused") << QStringLiteral("127.0.0.1") << nobody
                             << "no connection to 127.0.0.1:" + QByteArray::number(nobody)
            + " (Connection refused";
}

void TestFirstRun::failureIsNamed()
{
    QFETCH(QString, host);
    QFETCH(quint16, port);
    QFETCH(QByteArray, says);
    const Run refused = run(words("add --email alice@example.test --password-stdin --server")
                            + QStringList {host, QStringLiteral("--port"), QString::number(port)});
    QCOMPARE(refused.exit, 1);
    QCOMPARE(refused.err.count('\n'), 1);
    QVERIFY2(refused.err.contains(says), refused.err.constData());
    QVERIFY(!account().isValid());
}

void TestFirstRun::webServerIsNamedAsNoActiveSyncServer()
{
    QTcpServer web;
    QVERIFY(web.listen(QHostAddress::LocalHost));
    connect(&web, &QTcpServer::newConnection, &web, [&web] {
        QTcpSocket *connection = web.nextPendingConnection();
        connect(connection, &QTcpSocket::readyRead, connection, [connection] {
            connection->write("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
        });
    });
    const Run refused = run(addArguments(web.serverPort()));
    QCOMPARE(refused.exit, 1);
    QVERIFY2(refused.err.contains("is no ActiveSync server"), refused.err.constData());
    QVERIFY(!account().isValid());
}

void TestFirstRun::silentServerIsGivenUpAfterTwentySeconds()
{
    SilentServer silent;
    QElapsedTimer time;
    time.start();
    const Run refused = run(addArguments(silent.serverPort()));
    QCOMPARE(refused.exit, 1);
    QVERIFY2(refused.err.contains("does not answer (no answer within 20 s)"),
             refused.err.constData());
    QVERIFY2(time.elapsed() >= 20000 && time.elapsed() < 40000,
             qPrintable(QString::number(time.elapsed())));
    QVERIFY(!account().isValid());

    time.start();
    const Run sooner = run(addArguments(silent.serverPort(), "--password-stdin --timeout 1"));
    QVERIFY2(sooner.err.contains("no answer within 1 s"), sooner.err.constData());
    QVERIFY(time.elapsed() < 15000);
    QCOMPARE(run(addArguments(silent.serverPort(), "--password-stdin --timeout soon")).exit, 2);
}

void TestFirstRun::waitIsShownAndCancelledByInterrupt()
{
    SilentServer silent;
    Terminal terminal(Program, addArguments(silent.serverPort(), ""));
    QVERIFY(terminal.waitFor("Password: "));
    terminal.type(Password);
    QVERIFY(terminal.waitFor("Waiting for 127.0.0.1... 1 s (Ctrl-C cancels)"));
    QVERIFY(terminal.waitFor("2 s"));
    terminal.type("\x03");
    QVERIFY(terminal.waitFor("cancelled; nothing was saved"));
    QCOMPARE(terminal.finish(), 1);
    QVERIFY(!account().isValid());
}

void TestFirstRun::passwordAloneIsAskedForAgain()
{
    Terminal terminal(Program, addArguments(m_server->port(), ""));
    QVERIFY(terminal.waitFor("Password: "));
    terminal.type(Wrong);
    QVERIFY(terminal.waitFor("refuses user name or password"));
    QVERIFY(terminal.waitFor("Password: "));
    QVERIFY(!terminal.echoes());
    terminal.type(Password);
    QVERIFY(terminal.waitFor("is ready"));
    QCOMPARE(terminal.finish(), 0);
    for (const char *other : {"Mail address", "User name", "Server ["})
        QVERIFY2(!terminal.screen().contains(other), terminal.screen().constData());
    QVERIFY(account().isValid());
}

void TestFirstRun::emptyPasswordChangesTheUserName()
{
    QStringList arguments = addArguments(m_server->port(), "");
    arguments.replaceInStrings(QStringLiteral("alice"), QStringLiteral("alyce"));
    Terminal terminal(Program, arguments);
    QVERIFY(terminal.waitFor("Password: "));
    terminal.type(Password);
    QVERIFY(terminal.waitFor("refuses user name or password"));
    QVERIFY(terminal.waitFor("Password: "));
    terminal.type("");
    QVERIFY(terminal.waitFor("User name [alyce]: "));
    terminal.type("alice");
    QVERIFY(terminal.waitFor("Password: "));
    terminal.type(Password);
    QVERIFY(terminal.waitFor("is ready"));
    QCOMPARE(terminal.finish(), 0);
    QCOMPARE(Accounts::AccountBook::details(account()).settings.userName, QStringLiteral("alice"));
}

void TestFirstRun::serverAloneIsAskedForAgain()
{
    const quint16 nobody = portOfNobody();
    Terminal terminal(Program, addArguments(nobody, ""));
    QVERIFY(terminal.waitFor("Password: "));
    terminal.type(Password);
    QVERIFY(terminal.waitFor("Connection refused"));
    QVERIFY(terminal.waitFor("Server [127.0.0.1:" + QByteArray::number(nobody) + "]: "));
    terminal.type("localhost:" + QByteArray::number(m_server->port()));
    QVERIFY(terminal.waitFor("is ready"));
    QCOMPARE(terminal.finish(), 0);
    QCOMPARE(terminal.screen().count("Password: "), 1);
    const AccountSettings saved = Accounts::AccountBook::details(account()).settings;
    QCOMPARE(saved.server, QStringLiteral("localhost"));
    QCOMPARE(saved.port, int(m_server->port()));
}

void TestFirstRun::passwordThatCannotBeKeptIsAskedForAgain()
{
    Terminal terminal(Program, addArguments(m_server->port(), ""));
    QVERIFY(terminal.waitFor("Password: "));
    terminal.type("\xd0\x9f\xd0\xb0\xd1\x80\xd0\xbe\xd0\xbb\xd1\x8c");
    QVERIFY(terminal.waitFor("cannot keep this password"));
    QVERIFY(terminal.waitFor("Password: "));
    QCOMPARE(m_server->log().size(), 0);
    terminal.type(Password);
    QVERIFY(terminal.waitFor("is ready"));
    QCOMPARE(terminal.finish(), 0);
}

void TestFirstRun::promptEndsAtAnInterruptAfterAWait()
{
    Terminal terminal(Program, addArguments(portOfNobody(), ""));
    QVERIFY(terminal.waitFor("Password: "));
    terminal.type(Password);
    QVERIFY(terminal.waitFor("Server ["));
    terminal.type("\x03");
    QCOMPARE(terminal.finish(), -1);
    QVERIFY(!account().isValid());
}

QTEST_GUILESS_MAIN(TestFirstRun)
#include "tst_firstrun.moc"
