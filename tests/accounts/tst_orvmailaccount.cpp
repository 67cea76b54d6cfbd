// SPDX-License-Identifier: LGPL-2.1-or-later
// The program as it is built, run as a process, against the test server and the real mail store.
#include "accounts/folderview.h"
#include "accounts/setup/accountbook.h"
#include "daemon/store/accountwipe.h"
#include "daemon/store/state/accountkeys.h"
#include "daemon/store/state/syncstatedb.h"
#include "daemon/store/storeindexes.h"
#include "plugin/settings/orvconfiguration.h"
#include "tests/accounts/accountprogram.h"
#include "tests/accounts/terminal.h"
#include "tests/support/easserver.h"
#include "tests/support/messageserver.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QProcess>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace AccountProgram;

namespace {

const QByteArray Password = "Account-Passw0rd \"x\" \xc3\xa4";
const QByteArray OtherPassword = "Other-Passw0rd";

/** What the mail store holds by now; it is another process that writes it. */
AccountSettings stored(const QMailAccountId &id)
{
    return readSettings(QMailAccountConfiguration(id));
}

} // namespace

class TestOrvmailAccount : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void helpIsThereForEveryCommand_data();
    void helpIsThereForEveryCommand();
    void wrongUsageEndsWithTwo_data();
    void wrongUsageEndsWithTwo();
    void programLoadsNoWidgets();
    void windowIsAProgramOfItsOwn();
    void windowWithoutADisplayIsRefused();
    void windowTellsHelpAndVersionWithoutADisplay();

    void addSavesTheAccountAndListsItsFolders();
    void addTellsTheCommandThatBringsTheMail();
    void addMarksTheAccountAsTheFormDoes();
    void secondAccountOfAMailboxDoesNotDisturbTheFirst();
    void addedAccountIsTakenUpWithoutARestart();
    void addTakesThePortBehindTheServer();
    void addGivesJson();
    void addWithoutCheckAsksNoServer();
    void addRefusesAWrongLogin();
    void addRefusesAnUnknownHost();
    void addRefusesAnUntrustedCertificate();
    void addRefusesATakenName();
    void addRefusesAPasswordThatTheStoreCannotKeep();
    void addWithoutServerSearchesAndSavesNothing();
    void addNeedsAPasswordFromSomewhere();
    void passwordCommandGivesItsFirstLine();
    void passwordCommandSetsANewPassword();
    void failedPasswordCommandSavesNothing_data();
    void failedPasswordCommandSavesNothing();
    void addAsksForWhatIsMissing();
    void interruptedPasswordPromptGivesTheEchoBack();

    void storeThatCannotBeOpened_data();
    void storeThatCannotBeOpened();
    void storeBelongsToItsOwnerAlone();
    void openStoreIsClosedToOthers();

    void listAndShowTellAllButThePassword();
    void unknownAccountIsRefused();

    void setChangesOnlyWhatIsNamed();
    void setTurnsPushOnAndOff();
    void setKeepsMailForSoLong();
    void setSwitchesNotifications();
    void setTakesANewPassword();
    void setLeavesWhatAnotherProgramHasChanged_data();
    void setLeavesWhatAnotherProgramHasChanged();
    void setDoesNotUndoAWipe();
    void setEncryptionMovesTheUsualPortAlone();
    void setWithRefusedLoginChangesNothing();
    void setDisablesAndEnables();
    void accountIsNamedAsOneTypesIt_data();
    void accountIsNamedAsOneTypesIt();
    void setMakesFavourites();
    void setRefusesAnUnknownFolderWhole();
    void setRefusesATakenNameWhole();
    void setRefusesATakenName();

    void foldersAreListedWithTheirCounts();
    void namesFromTheServerDoNotSteerTheTerminal();
    void testTellsVersionOrReason();

    void storeShowsAndDropsTheIndexes();
    void lockedStoreKeepsItsIndexes();

    void removeTakesMailAndSettings();
    void removeLeavesNoPasswordInTheStoresFiles();
    void removeAsksFirst();

    void syncNeedsAMessageServer();
    void syncTellsWhatHasChanged();
    void syncShowsAProgressBar();
    void syncTellsWhyItFailed();
    void syncOfAllTakesEachEnabledAccount();
    void syncOfAllGoesOnBehindAFailure();
    void syncOfAllGoesOnBehindWhatSomebodyElseCancelled();
    void syncOfAllEndsAtAnInterrupt();
    void quietSyncPrintsOnlyWhatFails();
    void syncOfAllWithoutAccountsIsNoFailure();
    void syncIsCancelledByInterrupt();

    void nothingPrintedHoldsAPassword();

private:
    QStringList addArguments(const QString &name = QStringLiteral("Demo")) const;
    /** With the password of a command. */
    QStringList addByCommand(const QString &command) const;
    void addThreeAccounts();
    QMailAccountId account(const char *name = "Demo") const;
    void addAccount();
    bool startMessageServer();

    std::unique_ptr<EasServer> m_server;
    std::unique_ptr<MessageServer> m_messageServer;
};

void TestOrvmailAccount::initTestCase()
{
    QVERIFY(Accounts::AccountBook::open().ok());
    EasServer::require();
    m_server = std::make_unique<EasServer>();
    m_server->addArguments({QStringLiteral("--users"),
                            QStringLiteral("alice:") + QString::fromUtf8(Password),
                            QStringLiteral("bob:") + QString::fromUtf8(OtherPassword)});
    QVERIFY(m_server->start());
}

void TestOrvmailAccount::init()
{
    StoreFixture::clear();
    m_server->clearFaults();
    m_server->clearLog();
}

void TestOrvmailAccount::cleanup()
{
    m_messageServer.reset();
}

QStringList TestOrvmailAccount::addArguments(const QString &name) const
{
    return words("add --email alice@example.test --user alice --server 127.0.0.1 --encryption none"
                 " --password-stdin --port")
        + QStringList {QString::number(m_server->port()), name};
}

QMailAccountId TestOrvmailAccount::account(const char *name) const
{
    return Accounts::AccountBook::find(QLatin1String(name));
}

void TestOrvmailAccount::addAccount()
{
    QCOMPARE(run(addArguments() + words("--no-check"), Password).exit, 0);
    QVERIFY(account().isValid());
}

bool TestOrvmailAccount::startMessageServer()
{
    m_messageServer = std::make_unique<MessageServer>();
    return m_messageServer->start();
}

void TestOrvmailAccount::helpIsThereForEveryCommand_data()
{
    QTest::addColumn<QString>("mentions");
    QTest::newRow("add") << QStringLiteral("--no-check");
    QTest::newRow("list") << QStringLiteral("--json");
    QTest::newRow("show") << QStringLiteral("ACCOUNT");
    QTest::newRow("set") << QStringLiteral("--favourite");
    QTest::newRow("remove") << QStringLiteral("--yes");
    QTest::newRow("test") << QStringLiteral("ACCOUNT");
    QTest::newRow("sync") << QStringLiteral("ACCOUNT");
    QTest::newRow("folders") << QStringLiteral("ACCOUNT");
    QTest::newRow("status") << QStringLiteral("--watch");
    QTest::newRow("store") << QStringLiteral("--drop-indexes");
    QTest::newRow("outbox") << QStringLiteral("to-drafts MESSAGE");
}

void TestOrvmailAccount::helpIsThereForEveryCommand()
{
    QFETCH(QString, mentions);
    const Run help = run({QLatin1String(QTest::currentDataTag()), QStringLiteral("--help")});
    QCOMPARE(help.exit, 0);
    QVERIFY(help.out.startsWith(QByteArray("Usage: orvmail-account ") + QTest::currentDataTag()
                                + " [options]"));
    QVERIFY(help.out.contains(mentions.toUtf8()));
    QVERIFY(help.err.isEmpty());
    QCOMPARE(run({QStringLiteral("help"), QLatin1String(QTest::currentDataTag())}).out, help.out);
    QVERIFY(run({QStringLiteral("--help")}).out.contains(QTest::currentDataTag()));
}

void TestOrvmailAccount::wrongUsageEndsWithTwo_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("says");
    const auto row = [](const char *name, const char *arguments, const char *says) {
        QTest::newRow(name) << QString::fromLatin1(arguments) << QString::fromLatin1(says);
    };
    row("no command", "", "no command");
    row("unknown command", "frobnicate", "frobnicate");
    row("help about an unknown command", "help frobnicate", "frobnicate");
    row("unknown option", "list --frobnicate", "frobnicate");
    row("no account", "show", "which account");
    row("too many", "show a b", "too many");
    row("port 0", "add --email a@b --port 0", "from 1 to 65535");
    row("port 70000", "add --email a@b --port 70000", "from 1 to 65535");
    row("port abc", "add --email a@b --port abc", "from 1 to 65535");
    row("two ports", "add --email a@b --server a.b:8443 --port 443 --password-stdin",
        "8443 and 443");
    row("port 70000 behind the server", "add --email a@b --server a.b:70000", "from 1 to 65535");
    row("bad address", "add --email nonsense", "no mail address");
    row("two signs", "add --email a@b@c", "no mail address");
    row("encryption", "add --email a@b --encryption rot13", "rot13");
    row("push", "add --email a@b --push maybe", "maybe");
    row("notifications", "add --email a@b --notifications maybe", "maybe");
    row("keep", "add --email a@b --keep 5", "--keep");
    row("no address", "add --password-stdin", "--email");
    row("two passwords", "add --email a@b --password-stdin --password-command true", "give one");
    row("password on the command line", "add --email a@b --password=Typed-Passw0rd", "password");
    row("server is no host", "add --email a@b --server a..b --no-check --password-stdin", "host");
    row("server is a URL", "add --email a@b --server https://a.b/ --no-check --password-stdin",
        "the name alone");
}

void TestOrvmailAccount::wrongUsageEndsWithTwo()
{
    QFETCH(QString, arguments);
    QFETCH(QString, says);
    const Run wrong = run(arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts), Password);
    QCOMPARE(wrong.exit, 2);
    QCOMPARE(wrong.errorLines(), 1);
    QVERIFY2(wrong.err.contains(says.toUtf8()), wrong.err.constData());
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
}

void TestOrvmailAccount::programLoadsNoWidgets()
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LD_TRACE_LOADED_OBJECTS"), QStringLiteral("1"));
    process.setProcessEnvironment(environment);
    process.start(Program, QStringList());
    QVERIFY(process.waitForFinished());
    const QByteArray libraries = process.readAllStandardOutput();
    QVERIFY(libraries.contains("libQmfClient"));
    QVERIFY(!libraries.contains("libQt5Gui"));
    QVERIFY(!libraries.contains("libQt5Widgets"));
}

void TestOrvmailAccount::windowIsAProgramOfItsOwn()
{
    QProcess process;
    process.start(Program, words("--window"));
    QVERIFY(process.waitForStarted());
    const auto program = [&process] {
        return QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(process.processId()));
    };
    const auto maps = [&process] {
        QFile file(QStringLiteral("/proc/%1/maps").arg(process.processId()));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    QTRY_VERIFY(program().endsWith(QLatin1String("/orvmail-account-window")));
    QTRY_VERIFY(maps().contains("liborvmail-settings.so"));
    process.kill();
    QVERIFY(process.waitForFinished());
}

void TestOrvmailAccount::windowWithoutADisplayIsRefused()
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    process.setProcessEnvironment(environment);
    process.start(Program, words("--window"));
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 1);
    const QByteArray error = process.readAllStandardError();
    QCOMPARE(error.count('\n'), 1);
    QVERIFY2(error.contains("no display"), error.constData());
}

void TestOrvmailAccount::windowTellsHelpAndVersionWithoutADisplay()
{
    const auto told = [](const char *option) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        process.setProcessEnvironment(environment);
        process.start(Program + QLatin1String("-window"), {QLatin1String(option)});
        return process.waitForFinished() && process.exitCode() == 0
            ? process.readAllStandardOutput()
            : QByteArray();
    };
    QVERIFY(told("--help").startsWith("Usage: orvmail-account-window [options]\n"));
    QVERIFY(told("--version").startsWith("orvmail-account-window "));
}

void TestOrvmailAccount::addSavesTheAccountAndListsItsFolders()
{
    const Run added = run(addArguments(), Password);
    QVERIFY2(added.exit == 0, added.err.constData());
    QVERIFY(added.err.isEmpty());
    QVERIFY(added.out.contains("\"Demo\" is ready"));
    for (const char *folder : {"Inbox", "Sent", "Drafts", "Trash"})
        QVERIFY2(added.out.contains(folder), folder);
    QVERIFY(m_server->requestCount("OPTIONS") >= 1);
    QCOMPARE(m_server->requestCount("FolderSync"), 1);
    Store::SyncStateDb memory;
    QVERIFY(memory.open().ok());
    QVERIFY(m_server->requests("FolderSync").first()[QLatin1String("device")].toString()
            == memory.deviceId());

    const AccountSettings saved = stored(account());
    QCOMPARE(saved.email, QStringLiteral("alice@example.test"));
    QCOMPARE(saved.userName, QStringLiteral("alice"));
    QCOMPARE(saved.password, QString::fromUtf8(Password));
    QCOMPARE(saved.server, QStringLiteral("127.0.0.1"));
    QCOMPARE(saved.port, int(m_server->port()));
    QCOMPARE(saved.encryption, 0);
}

/** No message server is there. */
void TestOrvmailAccount::addTellsTheCommandThatBringsTheMail()
{
    const Run added = run(addArguments(QStringLiteral("My Work")), Password);
    QVERIFY2(added.exit == 0, added.err.constData());
    const QStringList commands = commandsIn(added.lastLine());
    QCOMPARE(commands, QStringList(QStringLiteral("orvmail-account sync 'My Work'")));
    // It is understood, and refused for the same reason.
    QCOMPARE(type(commands.first()), 1);
}

void TestOrvmailAccount::addMarksTheAccountAsTheFormDoes()
{
    addAccount();
    const QMailAccount stored(account());
    QCOMPARE(stored.status() & ~(QMailAccount::SynchronizationEnabled | QMailAccount::Synchronized),
             QMailAccount::Enabled | QMailAccount::CanTransmit | QMailAccount::CanRetrieve
                 | QMailAccount::MessageSource | QMailAccount::MessageSink
                 | QMailAccount::UseSmartReply | QMailAccount::UserEditable);
    QCOMPARE(stored.messageType(), QMailMessage::Email);
    QCOMPARE(stored.customField(QStringLiteral("HostName")), QStringLiteral("127.0.0.1"));
    QCOMPARE(stored.customField(QStringLiteral("UserName")), QStringLiteral("alice"));
    QCOMPARE(stored.customField(QStringLiteral("service")), QStringLiteral("orvmail"));
    QCOMPARE(stored.fromAddress().address(), QStringLiteral("alice@example.test"));
    const QMailAccountConfiguration configuration(account());
    const OrvConfiguration config(configuration);
    QCOMPARE(config.version(), 100);
    QCOMPARE(config.type(), QMailServiceConfiguration::SourceAndSink);
}

void TestOrvmailAccount::secondAccountOfAMailboxDoesNotDisturbTheFirst()
{
    addAccount();
    QCOMPARE(run(addArguments(QStringLiteral("Second")), Password).exit, 0);
    QCOMPARE(m_server->requestCount("OPTIONS"), 1);
    QCOMPARE(m_server->requestCount("FolderSync"), 0);
}

void TestOrvmailAccount::addedAccountIsTakenUpWithoutARestart()
{
    ScriptedDaemon daemon;
    daemon.answer(ScriptedDaemon::Answer().completing(200));
    QVERIFY(startMessageServer());
    const Run result = run(addArguments(), Password);
    QVERIFY2(result.exit == 0, result.err.constData());
    QVERIFY(result.out.contains("Inbox"));
    const ScriptedDaemon::Call call = daemon.waitForCall("folderSync");
    QVERIFY(call.isValid());
    QCOMPARE(call.accountId(), account().toULongLong());
}

void TestOrvmailAccount::addTakesThePortBehindTheServer()
{
    const auto portOf = [](const char *command) {
        const Run done =
            run(words(command) + words("--json --no-check --password-stdin"), Password);
        const QJsonObject object = done.json().object();
        const QJsonObject account = object.contains(QLatin1String("account"))
            ? object[QLatin1String("account")].toObject()
            : object;
        return account[QLatin1String("server")].toString() == QLatin1String("mail.example.test")
            ? account[QLatin1String("port")].toInt()
            : 0;
    };
    QCOMPARE(portOf("add A --email a@b.test --server mail.example.test"), 443);
    QCOMPARE(portOf("add B --email a@b.test --server mail.example.test:8443"), 8443);
    QCOMPARE(portOf("add C --email a@b.test --server mail.example.test:8080 --encryption none"),
             8080);
    QCOMPARE(portOf("add D --email a@b.test --server mail.example.test:81 --port 81"), 81);
    QCOMPARE(portOf("set A --server mail.example.test:444"), 444);
}

void TestOrvmailAccount::addGivesJson()
{
    const Run added = run(addArguments() + words("--json"), Password);
    QCOMPARE(added.exit, 0);
    const QJsonObject object = added.json().object();
    QCOMPARE(object[QLatin1String("account")].toObject()[QLatin1String("name")].toString(),
             QStringLiteral("Demo"));
    QVERIFY(object[QLatin1String("folders")].toArray().contains(QStringLiteral("Inbox")));
}

void TestOrvmailAccount::addWithoutCheckAsksNoServer()
{
    addAccount();
    QCOMPARE(m_server->log().size(), 0);
}

void TestOrvmailAccount::addRefusesAWrongLogin()
{
    const Run refused = run(addArguments() + words("--json"), OtherPassword);
    verifyRefused(refused, "user name or password");
    QCOMPARE(refused.json().object()[QLatin1String("code")].toInt(), 401);
    QCOMPARE(refused.json().object()[QLatin1String("setting")].toString(),
             QStringLiteral("password"));
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
    QCOMPARE(m_server->requestCount("OPTIONS"), 1);
}

void TestOrvmailAccount::addRefusesAnUnknownHost()
{
    const Run refused =
        run(words("add --email alice@example.test --server nowhere.invalid --password-stdin"),
            Password);
    verifyRefused(refused, "no connection to nowhere.invalid:443");
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
}

void TestOrvmailAccount::addRefusesAnUntrustedCertificate()
{
    QTemporaryDir folder;
    const QStringList certificate = EasServer::makeCertificate(folder.path());
    QCOMPARE(certificate.size(), 2);
    EasServer server;
    server.addArguments(QStringList(QStringLiteral("--tls")) + certificate);
    QVERIFY(server.start());
    const Run refused =
        run(words("add --email alice@example.test --server 127.0.0.1 --password-stdin --port")
                + QStringList(QString::number(server.port())),
            Password);
    verifyRefused(refused, "certificate is not trusted");
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
}

void TestOrvmailAccount::addRefusesATakenName()
{
    addAccount();
    const Run refused = run(addArguments(), Password);
    verifyRefused(refused, "\"Demo\" already");
    QCOMPARE(Accounts::AccountBook::accounts().size(), 1);
    QCOMPARE(m_server->log().size(), 0);
}

void TestOrvmailAccount::addRefusesAPasswordThatTheStoreCannotKeep()
{
    verifyRefused(run(addArguments() + words("--no-check"), "\xe6\x97\xa5\xe6\x9c\xac"),
                  "cannot keep this password");
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
}

void TestOrvmailAccount::addWithoutServerSearchesAndSavesNothing()
{
    verifyRefused(run(words("add --email alice@nowhere.invalid --password-stdin"), Password),
                  "--server");
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
}

void TestOrvmailAccount::addNeedsAPasswordFromSomewhere()
{
    QStringList arguments = addArguments();
    arguments.removeAll(QStringLiteral("--password-stdin"));
    const Run refused = run(arguments);
    QCOMPARE(refused.exit, 2);
    QVERIFY(refused.err.contains("--password-stdin"));
}

QStringList TestOrvmailAccount::addByCommand(const QString &command) const
{
    QStringList arguments = addArguments();
    arguments.removeAll(QStringLiteral("--password-stdin"));
    return arguments << QStringLiteral("--password-command") << command;
}

void TestOrvmailAccount::passwordCommandGivesItsFirstLine()
{
    QTemporaryDir place;
    QFile file(place.filePath(QStringLiteral("a secret")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(Password + "\nanother line\n");
    file.close();
    const Run added = run(addByCommand(QStringLiteral("cat '%1' | cat").arg(file.fileName())));
    QVERIFY2(added.exit == 0, added.err.constData());
    QCOMPARE(stored(account()).password, QString::fromUtf8(Password));
    QVERIFY(m_server->requestCount("OPTIONS") >= 1);
}

void TestOrvmailAccount::passwordCommandSetsANewPassword()
{
    addAccount();
    const QStringList set = words("set Demo --user bob --password-command");
    // Its standard input is ours.
    const Run saved = run(QStringList(set) << QStringLiteral("head -n 1"), OtherPassword);
    QVERIFY2(saved.exit == 0, saved.err.constData());
    QCOMPARE(stored(account()).password, QString::fromUtf8(OtherPassword));
    verifyRefused(run(QStringList(set) << QStringLiteral("echo Not-the-Passw0rd")),
                  "user name or password");
    QCOMPARE(stored(account()).password, QString::fromUtf8(OtherPassword));
}

void TestOrvmailAccount::failedPasswordCommandSavesNothing_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("says");
    const auto row = [](const char *name, const char *command, const char *says) {
        QTest::newRow(name) << QString::fromLatin1(command) << QString::fromLatin1(says);
    };
    row("it fails", "echo Typed-Passw0rd; exit 3", "failed with exit status 3");
    row("it is not there", "no-such-command-here 2>&-", "failed with exit status 127");
    row("it prints nothing", "true", "printed no password");
    row("it prints an empty line", "echo; echo Typed-Passw0rd", "printed no password");
    row("it is killed", "kill -KILL $$", "ended by a signal");
}

void TestOrvmailAccount::failedPasswordCommandSavesNothing()
{
    QFETCH(QString, command);
    QFETCH(QString, says);
    const Run refused = run(addByCommand(command));
    verifyRefused(refused, says.toUtf8().constData());
    QVERIFY(!refused.err.contains("echo"));
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
    QCOMPARE(m_server->log().size(), 0);
}

void TestOrvmailAccount::addAsksForWhatIsMissing()
{
    Terminal terminal(Program,
                      words("add --server 127.0.0.1 --encryption none --port")
                          + QStringList {QString::number(m_server->port())});
    QVERIFY(terminal.waitFor("Mail address: "));
    QVERIFY(terminal.echoes());
    terminal.type("alice@example.test");
    QVERIFY(terminal.waitFor("User name [alice@example.test]: "));
    terminal.type("alice");
    QVERIFY(terminal.waitFor("Password: "));
    QVERIFY(!terminal.echoes());
    terminal.type(Password);
    QVERIFY(terminal.waitFor("is ready"));
    QCOMPARE(terminal.finish(), 0);
    everythingPrinted += terminal.screen();
    const AccountSettings saved = stored(account("alice@example.test"));
    QCOMPARE(saved.password, QString::fromUtf8(Password));
    QCOMPARE(saved.userName, QStringLiteral("alice"));
}

void TestOrvmailAccount::interruptedPasswordPromptGivesTheEchoBack()
{
    Terminal terminal(Program,
                      words("add --email alice@example.test --user alice --server 127.0.0.1"));
    QVERIFY(terminal.waitFor("Password: "));
    QVERIFY(!terminal.echoes());
    terminal.type("\x03");
    QCOMPARE(terminal.finish(), -1);
    QVERIFY(terminal.echoes());
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
}

void TestOrvmailAccount::storeThatCannotBeOpened_data()
{
    QTest::addColumn<QString>("obstacle");
    QTest::newRow("file in place of the folder") << QStringLiteral("");
    QTest::newRow("file in place of a folder in it") << QStringLiteral("/database");
    QTest::newRow("folder in place of the database") << QStringLiteral("/database/qmailstore.db/x");
    QTest::newRow("database that is none") << QStringLiteral("/database/qmailstore.db");
}

void TestOrvmailAccount::storeThatCannotBeOpened()
{
    QFETCH(QString, obstacle);
    QTemporaryDir folder;
    const QString store = folder.filePath(QStringLiteral("store"));
    QDir().mkpath(QFileInfo(store + obstacle).path());
    QFile file(store + obstacle);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("This is no database.\n");
    file.close();
    const Run refused = run(words("list"), QByteArray(), store);
    verifyRefused(refused, "store");
    QVERIFY(refused.out.isEmpty());
}

void TestOrvmailAccount::storeBelongsToItsOwnerAlone()
{
    QTemporaryDir folder;
    const QString store = folder.filePath(QStringLiteral("new/store"));
    QCOMPARE(run(addArguments() + words("--no-check"), Password, store).exit, 0);
    QVERIFY(!(QFile(store).permissions() & QFileDevice::Permissions(0x0077)));
    QDirIterator entries(store, QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    int files = 0;
    while (entries.hasNext()) {
        const QFileInfo entry(entries.next());
        QVERIFY2(!(entry.permissions() & QFileDevice::Permissions(0x0077)),
                 qPrintable(entry.filePath()));
        files += entry.isFile();
    }
    QVERIFY(files > 0);
}

void TestOrvmailAccount::openStoreIsClosedToOthers()
{
    QTemporaryDir folder;
    QFile::setPermissions(folder.path(), QFileDevice::Permissions(0x7755));
    QCOMPARE(run(words("list"), QByteArray(), folder.path()).exit, 0);
    QVERIFY(!(QFile(folder.path()).permissions() & QFileDevice::Permissions(0x0077)));
}

void TestOrvmailAccount::listAndShowTellAllButThePassword()
{
    addAccount();
    const Run list = run(words("list"));
    QCOMPARE(list.exit, 0);
    QVERIFY(list.out.contains("Demo") && list.out.contains("alice@example.test"));
    const QJsonArray array = run(words("list --json")).json().array();
    QCOMPARE(array.size(), 1);
    const QJsonObject shown = run(words("show Demo --json")).json().object();
    QCOMPARE(array.first().toObject(), shown);
    QCOMPARE(shown[QLatin1String("server")].toString(), QStringLiteral("127.0.0.1"));
    QCOMPARE(shown[QLatin1String("port")].toInt(), int(m_server->port()));
    QCOMPARE(shown[QLatin1String("encryption")].toString(), QStringLiteral("none"));
    QCOMPARE(shown[QLatin1String("push")].toBool(), false);
    QCOMPARE(shown[QLatin1String("keepDays")].toInt(), 30);
    QCOMPARE(shown[QLatin1String("notifications")].toBool(), true);
    QVERIFY(!shown.contains(QLatin1String("password")));
    const QString number = QString::number(account().toULongLong());
    QCOMPARE(run({QStringLiteral("show"), number}).out, run(words("show Demo")).out);
}

void TestOrvmailAccount::unknownAccountIsRefused()
{
    for (const char *command :
         {"show", "set --push on", "remove --yes", "test", "sync", "folders"}) {
        const Run refused = run(words(command) + words("Nobody"));
        verifyRefused(refused, "\"Nobody\"");
    }
}

void TestOrvmailAccount::setChangesOnlyWhatIsNamed()
{
    addAccount();
    const QJsonObject before = run(words("show Demo --json")).json().object();
    QCOMPARE(run(words("set Demo --domain EXAMPLE --full-name Alice --no-check")).exit, 0);
    QJsonObject after = run(words("show Demo --json")).json().object();
    QCOMPARE(after[QLatin1String("domain")].toString(), QStringLiteral("EXAMPLE"));
    QCOMPARE(after[QLatin1String("fullName")].toString(), QStringLiteral("Alice"));
    after[QLatin1String("domain")] = before[QLatin1String("domain")];
    after[QLatin1String("fullName")] = before[QLatin1String("fullName")];
    QCOMPARE(after, before);
    QCOMPARE(stored(account()).password, QString::fromUtf8(Password));
    QCOMPARE(run(words("set Demo")).exit, 2);
}

void TestOrvmailAccount::setTurnsPushOnAndOff()
{
    addAccount();
    QCOMPARE(run(words("set Demo --push on")).exit, 0);
    QTRY_COMPARE(QMailAccount(account()).customField(QStringLiteral("pushEnabled")),
                 QStringLiteral("1"));
    QCOMPARE(run(words("set Demo --push off")).exit, 0);
    QTRY_VERIFY(!QMailAccount(account()).customFields().contains(QStringLiteral("pushEnabled")));
}

void TestOrvmailAccount::setKeepsMailForSoLong()
{
    addAccount();
    const auto keepDays = [this] {
        return QMailAccountConfiguration(account())
            .serviceConfiguration(QStringLiteral("orvmail"))
            .value(QStringLiteral("keepDays"));
    };
    QCOMPARE(run(words("set Demo --keep 7")).exit, 0);
    QTRY_COMPARE(keepDays(), QStringLiteral("7"));
    QCOMPARE(run(words("set Demo --keep all")).exit, 0);
    QTRY_COMPARE(keepDays(), QStringLiteral("0"));
    QVERIFY(run(words("show Demo")).out.contains("all"));
}

void TestOrvmailAccount::setSwitchesNotifications()
{
    addAccount();
    const auto areOn = [this] { return Store::AccountRecord::read(account()).notifications; };
    QVERIFY(areOn());
    QVERIFY(run(words("show Demo")).out.contains("notifications on"));
    QCOMPARE(run(words("set Demo --notifications off")).exit, 0);
    QTRY_VERIFY(!areOn());
    QVERIFY(run(words("show Demo")).out.contains("notifications off"));
    // What is not named stays as it is.
    QCOMPARE(run(words("set Demo --keep 7")).exit, 0);
    QVERIFY(!areOn());
    QCOMPARE(run(words("set Demo --notifications on")).exit, 0);
    QTRY_VERIFY(areOn());
}

void TestOrvmailAccount::setTakesANewPassword()
{
    addAccount();
    QCOMPARE(run(words("set Demo --user bob --password-stdin"), OtherPassword).exit, 0);
    QTRY_COMPARE(stored(account()).password, QString::fromUtf8(OtherPassword));
    QTRY_COMPARE(stored(account()).userName, QStringLiteral("bob"));
    QTRY_COMPARE(QMailAccount(account()).customField(QStringLiteral("UserName")),
                 QStringLiteral("bob"));
}

void TestOrvmailAccount::setLeavesWhatAnotherProgramHasChanged_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("meanwhile");
    // With a look at the server, and without.
    for (const char *option : {"--timeout 20", "--no-check"}) {
        for (const char *meanwhile :
             {"--keep 7", "--push on", "--enabled off", "--name Other", "--notifications off"})
            QTest::addRow("%s %s", option, meanwhile) << option << meanwhile;
    }
}

void TestOrvmailAccount::setLeavesWhatAnotherProgramHasChanged()
{
    QFETCH(QString, option);
    QFETCH(QString, meanwhile);
    addAccount();
    const QString number = QString::number(account().toULongLong());
    const QStringList show {QStringLiteral("show"), number, QStringLiteral("--json")};
    Terminal terminal(Program,
                      words("set --user bob --ask-password") + words(qPrintable(option))
                          + QStringList(number));
    QVERIFY(terminal.waitFor("Password: "));
    const QByteArray before = run(show).out;
    QCOMPARE(run(QStringList {QStringLiteral("set"), number} + words(qPrintable(meanwhile))).exit,
             0);
    const QByteArray changed = run(show).out;
    QVERIFY(changed != before);
    terminal.type(OtherPassword);
    QCOMPARE(terminal.finish(), 1);
    everythingPrinted += terminal.screen();
    QVERIFY2(terminal.screen().contains("another program has changed this account meanwhile"),
             terminal.screen().constData());
    QCOMPARE(run(show).out, changed);
    QCOMPARE(stored(QMailAccountId(number.toULongLong())).password, QString::fromUtf8(Password));
}

void TestOrvmailAccount::setDoesNotUndoAWipe()
{
    addAccount();
    Terminal terminal(Program, words("set Demo --ask-password"));
    QVERIFY(terminal.waitFor("Password: "));
    QVERIFY(Store::AccountWipe::forget(account()).ok());
    terminal.type(Password);
    QCOMPARE(terminal.finish(), 1);
    everythingPrinted += terminal.screen();
    QVERIFY2(terminal.screen().contains("was wiped: 127.0.0.1 had its mail"),
             terminal.screen().constData());
    QVERIFY(Accounts::AccountBook::details(account()).wiped);
    QCOMPARE(stored(account()).password, QString());
    const QJsonObject shown = run(words("show Demo --json")).json().object();
    QCOMPARE(shown[QLatin1String("enabled")].toBool(), false);
}

void TestOrvmailAccount::setEncryptionMovesTheUsualPortAlone()
{
    addAccount();
    QCOMPARE(run(words("set Demo --encryption tls --no-check")).exit, 0);
    QTRY_COMPARE(stored(account()).encryption, 1);
    QCOMPARE(stored(account()).port, int(m_server->port()));
    QCOMPARE(run(words("set Demo --port 443 --no-check")).exit, 0);
    QCOMPARE(run(words("set Demo --encryption none --no-check")).exit, 0);
    QTRY_COMPARE(stored(account()).encryption, 0);
    QCOMPARE(stored(account()).port, 80);
}

void TestOrvmailAccount::setWithRefusedLoginChangesNothing()
{
    addAccount();
    const QByteArray before = run(words("show Demo --json")).out;
    const Run refused = run(words("set Demo --push on --password-stdin"), "Not-the-Passw0rd");
    QCOMPARE(refused.exit, 1);
    QCOMPARE(run(words("show Demo --json")).out, before);
    QCOMPARE(stored(account()).password, QString::fromUtf8(Password));
}

void TestOrvmailAccount::setDisablesAndEnables()
{
    addAccount();
    QCOMPARE(run(words("set Demo --enabled off")).exit, 0);
    QTRY_VERIFY(!(QMailAccount(account()).status() & QMailAccount::Enabled));
    QCOMPARE(run(words("set Demo --domain X --no-check")).exit, 0);
    QTRY_COMPARE(stored(account()).domain, QStringLiteral("X"));
    QVERIFY(!(QMailAccount(account()).status() & QMailAccount::Enabled));
    QCOMPARE(run(words("sync Demo")).exit, 1);
    QCOMPARE(run(words("set Demo --enabled on")).exit, 0);
    QTRY_VERIFY(QMailAccount(account()).status() & QMailAccount::Enabled);
}

void TestOrvmailAccount::accountIsNamedAsOneTypesIt_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("typed");
    const QString number = QStringLiteral("NUMBER");
    const auto row = [](const QString &name, const QString &typed) {
        QTest::newRow(qPrintable(name.simplified())) << name << typed;
    };
    row(QStringLiteral("Work"), QStringLiteral("Work"));
    row(QStringLiteral("me+1@example.test"), QStringLiteral("me+1@example.test"));
    row(QStringLiteral("B\u00fcro"), QStringLiteral("B\u00fcro"));
    row(QStringLiteral("My Work"), QStringLiteral("'My Work'"));
    row(QStringLiteral("$HOME; exit 3"), QStringLiteral("'$HOME; exit 3'"));
    row(QStringLiteral("~"), QStringLiteral("'~'"));
    row(QStringLiteral("Anna's"), number);
    row(QStringLiteral("the \"other\""), number);
    row(QStringLiteral("--json"), number);
    row(QStringLiteral("two\nlines"), number);
}

void TestOrvmailAccount::accountIsNamedAsOneTypesIt()
{
    QFETCH(QString, name);
    QFETCH(QString, typed);
    addAccount();
    const QString number = QString::number(account().toULongLong());
    QCOMPARE(run({QStringLiteral("set"), number, QStringLiteral("--enabled"), QStringLiteral("off"),
                  QStringLiteral("--name=") + name})
                 .exit,
             0);
    const Run refused = run({QStringLiteral("sync"), number});
    verifyRefused(refused, "is not enabled");
    typed.replace(QLatin1String("NUMBER"), number);
    const QStringList commands = commandsIn(refused.err);
    QCOMPARE(commands,
             QStringList(QStringLiteral("orvmail-account set %1 --enabled on").arg(typed)));
    QCOMPARE(type(commands.first()), 0);
    const QJsonObject shown =
        run({QStringLiteral("show"), number, QStringLiteral("--json")}).json().object();
    QCOMPARE(shown[QLatin1String("enabled")].toBool(), true);
}

void TestOrvmailAccount::setMakesFavourites()
{
    addAccount();
    StoreFixture::addStandardFolders(account());
    const QMailFolderId work = StoreFixture::addFolder(account(), QStringLiteral("Work"));
    const QMailFolderId old = StoreFixture::addFolder(account(), QStringLiteral("Old"),
                                                      QMailFolder::StandardFolder(0), work);
    QCOMPARE(run(words("set Demo --favourite Sent --favourite Work/Old")).exit, 0);
    const QMailFolderId sent = Accounts::findFolder(account(), QStringLiteral("Sent"));
    QTRY_VERIFY(QMailFolder(sent).status() & QMailFolder::Favourite);
    QTRY_VERIFY(QMailFolder(old).status() & QMailFolder::Favourite);
    // In the store itself, which this process's copies follow.
    QCOMPARE(QMailStore::instance()->countFolders(
                 QMailFolderKey::parentAccountId(account())
                 & QMailFolderKey::status(QMailFolder::Favourite, QMailDataComparator::Includes)),
             2);
    QVERIFY(!(QMailFolder(work).status() & QMailFolder::Favourite));
    QVERIFY(QMailFolder(sent).status() & QMailFolder::Sent);
    QCOMPARE(run(words("set Demo --no-favourite Sent")).exit, 0);
    QTRY_VERIFY(!(QMailFolder(sent).status() & QMailFolder::Favourite));
}

void TestOrvmailAccount::setRefusesAnUnknownFolderWhole()
{
    addAccount();
    StoreFixture::addStandardFolders(account());
    verifyRefused(run(words("set Demo --push on --favourite Sent --favourite Nowhere")),
                  "\"Nowhere\"");
    const QMailFolderId sent = Accounts::findFolder(account(), QStringLiteral("Sent"));
    QVERIFY(!(QMailFolder(sent).status() & QMailFolder::Favourite));
    QVERIFY(QMailAccount(account()).customField(QStringLiteral("pushEnabled")).isEmpty());
}

void TestOrvmailAccount::setRefusesATakenNameWhole()
{
    addAccount();
    StoreFixture::addStandardFolders(account());
    QCOMPARE(run(addArguments(QStringLiteral("Second")) + words("--no-check"), Password).exit, 0);
    const Run refused = run(words("set Demo --name Second --push on --favourite Sent"));
    QCOMPARE(refused.exit, 1);
    const QMailFolderId sent = Accounts::findFolder(account(), QStringLiteral("Sent"));
    QVERIFY(!(QMailFolder(sent).status() & QMailFolder::Favourite));
    QVERIFY(QMailAccount(account()).customField(QStringLiteral("pushEnabled")).isEmpty());
}

void TestOrvmailAccount::setRefusesATakenName()
{
    addAccount();
    QCOMPARE(run(addArguments(QStringLiteral("Second")) + words("--no-check"), Password).exit, 0);
    const Run refused = run(words("set Second --name Demo"));
    QCOMPARE(refused.exit, 1);
    QVERIFY(account("Second").isValid());
    QCOMPARE(run(words("set Second --name Third")).exit, 0);
    QTRY_VERIFY(account("Third").isValid());
}

void TestOrvmailAccount::foldersAreListedWithTheirCounts()
{
    addAccount();
    QVERIFY(run(words("folders Demo")).out.contains("sync"));
    StoreFixture::addStandardFolders(account());
    const QMailFolderId inbox = Accounts::findFolder(account(), QStringLiteral("Inbox"));
    StoreFixture::addMessage(account(), inbox);
    StoreFixture::addMessage(account(), inbox, QStringLiteral("Seen"),
                             QMailMessage::Incoming | QMailMessage::Read);
    const QJsonArray folders = run(words("folders Demo --json")).json().array();
    QCOMPARE(folders.size(), 6);
    for (const QJsonValue &value : folders) {
        const QJsonObject folder = value.toObject();
        const bool isInbox = folder[QLatin1String("path")].toString() == QLatin1String("Inbox");
        QCOMPARE(folder[QLatin1String("total")].toInt(), isInbox ? 2 : 0);
        QCOMPARE(folder[QLatin1String("unread")].toInt(), isInbox ? 1 : 0);
    }
}

void TestOrvmailAccount::namesFromTheServerDoNotSteerTheTerminal()
{
    addAccount();
    StoreFixture::addFolder(account(), QStringLiteral("In\033[2Jbox\nremove: done\r"));
    const Run shown = run(words("folders Demo"));
    QCOMPARE(shown.exit, 0);
    QCOMPARE(shown.out.count('\n'), 1);
    QVERIFY(!shown.out.contains('\033'));
    QVERIFY(!shown.out.contains('\r'));
    QVERIFY(shown.out.contains("In [2Jbox remove: done"));
}

void TestOrvmailAccount::testTellsVersionOrReason()
{
    addAccount();
    const Run good = run(words("test Demo --json"));
    QCOMPARE(good.exit, 0);
    QCOMPARE(good.json().object()[QLatin1String("version")].toString(), QStringLiteral("14.1"));
    // Asking for the folder tree would make the server forget how far the account has come.
    QCOMPARE(m_server->requestCount("FolderSync"), 0);
    QCOMPARE(run(words("set Demo --user bob --no-check")).exit, 0);
    verifyRefused(run(words("test Demo")), "user name or password");
}

void TestOrvmailAccount::storeShowsAndDropsTheIndexes()
{
    using Store::StoreIndexes;
    while (StoreIndexes().makeNext() == StoreIndexes::Outcome::Changed) { }
    const QJsonArray names = QJsonArray::fromStringList(StoreIndexes::names());
    QCOMPARE(run(words("store --json")).json()[QStringLiteral("indexes")].toArray(), names);
    QCOMPARE(run(words("store")).out.trimmed().split('\n').size(), names.size());
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());

    const Run dropped = run(words("store --drop-indexes --json"));
    QCOMPARE(dropped.exit, 0);
    QCOMPARE(dropped.json()[QStringLiteral("dropped")].toArray(), names);
    QCOMPARE(StoreIndexes().present(), QStringList());
    // Once more, there is nothing to do.
    const Run again = run(words("store --drop-indexes --json"));
    QCOMPARE(again.exit, 0);
    QCOMPARE(again.json()[QStringLiteral("dropped")].toArray(), QJsonArray());
    QVERIFY(run(words("store --drop-indexes")).out.contains("no indexes"));
    QVERIFY(run(words("store")).out.contains("no indexes"));
    QVERIFY(run(words("store --json")).json()[QStringLiteral("indexes")].toArray().isEmpty());
}

void TestOrvmailAccount::lockedStoreKeepsItsIndexes()
{
    using Store::StoreIndexes;
    while (StoreIndexes().makeNext() == StoreIndexes::Outcome::Changed) { }
    QVERIFY(QSqlQuery(QMail::createDatabase()).exec(QStringLiteral("BEGIN IMMEDIATE")));
    const Run refused = run(words("store --drop-indexes"));
    QVERIFY(QSqlQuery(QMail::createDatabase()).exec(QStringLiteral("ROLLBACK")));
    verifyRefused(refused, "locked");
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
}

void TestOrvmailAccount::removeTakesMailAndSettings()
{
    addAccount();
    const QMailAccountId id = account();
    StoreFixture::addStandardFolders(id);
    const QMailFolderId inbox = Accounts::findFolder(id, QStringLiteral("Inbox"));
    const QMailMessageId message = StoreFixture::addMessage(id, inbox);
    const auto contentFiles = [] {
        return QDir(qEnvironmentVariable("QMF_DATA") + QStringLiteral("/mail"))
            .entryList(QDir::Files)
            .size();
    };
    QVERIFY(contentFiles() > 0);
    Store::SyncStateDb memory;
    QVERIFY(memory.open().ok());
    Store::AccountKeys keys(memory, id);
    QVERIFY(keys.open(Store::AccountRecord::read(id)).ok());
    Store::AccountState state;
    state.folderSyncKey = QStringLiteral("7");
    QVERIFY(keys.save(state).ok());
    QCOMPARE(run(words("remove Demo")).exit, 2);
    QVERIFY(account().isValid());
    QCOMPARE(run(words("remove Demo --yes")).exit, 0);
    QTRY_VERIFY(!account().isValid());
    QVERIFY(!StoreFixture::exists(message));
    QCOMPARE(QMailStore::instance()->countFolders(QMailFolderKey::parentAccountId(id)), 0);
    QVERIFY(QMailAccountConfiguration(id).services().isEmpty());
    QCOMPARE(contentFiles(), 0);
    QCOMPARE(keys.state().folderSyncKey, QStringLiteral("0"));
}

void TestOrvmailAccount::removeLeavesNoPasswordInTheStoresFiles()
{
    const QByteArray password = "Removed-Passw0rd-of-an-account";
    // In another process: whoever closes a database's file loses the locks that it has on it.
    const auto filesWithIt = [&password] {
        QProcess grep;
        grep.start(QStringLiteral("grep"),
                   {QStringLiteral("-rlaF"), QStringLiteral("-e"), QString::fromLatin1(password),
                    QStringLiteral("-e"), QString::fromLatin1(password.toBase64()),
                    qEnvironmentVariable("QMF_DATA")});
        return grep.waitForFinished() ? QString::fromUtf8(grep.readAll())
                                      : QStringLiteral("no grep");
    };
    QVERIFY(startMessageServer());
    QCOMPARE(run(addArguments() + words("--no-check --enabled off"), password).exit, 0);
    QVERIFY(filesWithIt().contains(QLatin1String("qmailstore.db")));
    QCOMPARE(run(words("remove Demo --yes")).exit, 0);
    QCOMPARE(filesWithIt(), QString());
}

void TestOrvmailAccount::removeAsksFirst()
{
    addAccount();
    Terminal no(Program, words("remove Demo"));
    QVERIFY(no.waitFor("(yes/no)"));
    QVERIFY(no.screen().contains("Messages here: 0."));
    QVERIFY(no.screen().contains("The password is erased."));
    no.type("");
    QCOMPARE(no.finish(), 1);
    QVERIFY(account().isValid());
    Terminal yes(Program, words("remove Demo"));
    QVERIFY(yes.waitFor("(yes/no)"));
    yes.type("yes");
    QCOMPARE(yes.finish(), 0);
    QVERIFY(!account().isValid());
    everythingPrinted += no.screen() + yes.screen();
}

void TestOrvmailAccount::syncNeedsAMessageServer()
{
    addAccount();
    verifyRefused(run(words("sync Demo")), "messageserver5");
}

void TestOrvmailAccount::syncTellsWhatHasChanged()
{
    addAccount();
    StoreFixture::addStandardFolders(account());
    ScriptedDaemon daemon;
    QVERIFY(startMessageServer());
    Background sync(words("sync Demo --json"));
    const ScriptedDaemon::Call call = daemon.waitForCall("sync", 20000);
    QVERIFY(call.isValid());
    const QMailFolderId inbox = Accounts::findFolder(account(), QStringLiteral("Inbox"));
    StoreFixture::addMessage(account(), inbox, QStringLiteral("New one"));
    // The rest of the synchronisation has nothing to wait for.
    daemon.answer(ScriptedDaemon::Answer().completing(200));
    daemon.complete(call.requestId, 200);
    const Run result = sync.result();
    QVERIFY2(result.exit == 0, result.err.constData());
    const QJsonArray folders = result.json().object()[QLatin1String("folders")].toArray();
    QCOMPARE(folders.size(), 1);
    QCOMPARE(folders.first().toObject()[QLatin1String("path")].toString(), QStringLiteral("Inbox"));
    QCOMPARE(folders.first().toObject()[QLatin1String("new")].toInt(), 1);
}

void TestOrvmailAccount::syncShowsAProgressBar()
{
    addAccount();
    ScriptedDaemon daemon;
    QVERIFY(startMessageServer());
    Terminal terminal(Program, words("sync Demo"));
    const ScriptedDaemon::Call call = daemon.waitForCall("sync", 20000);
    QVERIFY(call.isValid());
    QVERIFY(terminal.waitFor("Demo [..............................] 0 %"));
    daemon.answer(ScriptedDaemon::Answer().completing(200));
    daemon.complete(call.requestId, 200);
    QVERIFY(terminal.waitFor("\r\033[K", 20000));
    QVERIFY(terminal.waitFor("Nothing has changed."));
    QCOMPARE(terminal.finish(), 0);
}

void TestOrvmailAccount::syncTellsWhyItFailed()
{
    addAccount();
    ScriptedDaemon daemon;
    daemon.answer(ScriptedDaemon::Answer().completing(401));
    QVERIFY(startMessageServer());
    verifyRefused(run(words("sync Demo")), "user name or password");
}

/** The second is not enabled. */
void TestOrvmailAccount::addThreeAccounts()
{
    addAccount();
    QCOMPARE(run(addArguments(QStringLiteral("Idle")) + words("--no-check --enabled off"), Password)
                 .exit,
             0);
    QCOMPARE(run(addArguments(QStringLiteral("Last")) + words("--no-check"), Password).exit, 0);
}

void TestOrvmailAccount::syncOfAllTakesEachEnabledAccount()
{
    addThreeAccounts();
    ScriptedDaemon daemon;
    daemon.answer(ScriptedDaemon::Answer().completing(200));
    QVERIFY(startMessageServer());
    const Run result = run(words("sync"));
    QVERIFY2(result.exit == 0, result.err.constData());
    QCOMPARE(result.out, QByteArray("Demo:\nNothing has changed.\nLast:\nNothing has changed.\n"));
    QSet<qulonglong> called;
    for (const ScriptedDaemon::Call &call : daemon.calls("sync"))
        called.insert(call.accountId());
    QCOMPARE(called, (QSet<qulonglong> {account().toULongLong(), account("Last").toULongLong()}));
}

void TestOrvmailAccount::syncOfAllGoesOnBehindAFailure()
{
    addThreeAccounts();
    ScriptedDaemon daemon;
    daemon.answer(ScriptedDaemon::Answer().completing(200));
    daemon.answerOnce("sync", ScriptedDaemon::Answer().completing(401));
    QVERIFY(startMessageServer());
    const Run result = run(words("sync --json"));
    verifyRefused(result, "Demo: ");
    QVERIFY(result.err.contains("user name or password"));
    const QJsonArray accounts = result.json().array();
    QCOMPARE(accounts.size(), 2);
    QCOMPARE(accounts[0].toObject()[QLatin1String("code")].toInt(), 401);
    QCOMPARE(accounts[1].toObject()[QLatin1String("name")].toString(), QStringLiteral("Last"));
    QVERIFY(!accounts[1].toObject().contains(QLatin1String("error")));
}

void TestOrvmailAccount::syncOfAllGoesOnBehindWhatSomebodyElseCancelled()
{
    addThreeAccounts();
    ScriptedDaemon daemon;
    daemon.answer(ScriptedDaemon::Answer().completing(200));
    daemon.answerOnce("sync", ScriptedDaemon::Answer().completing(int(Activesync::Cancelled)));
    QVERIFY(startMessageServer());
    const Run result = run(words("sync --json"));
    verifyRefused(result, "Demo: cancelled");
    QCOMPARE(result.json().array().size(), 2);
}

void TestOrvmailAccount::syncOfAllEndsAtAnInterrupt()
{
    addThreeAccounts();
    ScriptedDaemon daemon;
    QVERIFY(startMessageServer());
    Background sync(words("sync --json"));
    QTRY_VERIFY_WITH_TIMEOUT(!daemon.calls().isEmpty(), 20000);
    sync.interrupt();
    const Run result = sync.result();
    verifyRefused(result, "Demo: cancelled");
    QCOMPARE(result.json().array().size(), 1);
    QCOMPARE(daemon.calls("sync").size(), 1);
}

void TestOrvmailAccount::quietSyncPrintsOnlyWhatFails()
{
    addThreeAccounts();
    ScriptedDaemon daemon;
    daemon.answer(ScriptedDaemon::Answer().completing(200));
    QVERIFY(startMessageServer());
    daemon.answerOnce("sync", ScriptedDaemon::Answer().completing(401));
    const Run bad = run(words("sync -q"));
    verifyRefused(bad, "Demo: ");
    QCOMPARE(bad.out, QByteArray());
    const Run good = run(words("sync --quiet"));
    QCOMPARE(good.exit, 0);
    QCOMPARE(good.out + good.err, QByteArray());
}

void TestOrvmailAccount::syncOfAllWithoutAccountsIsNoFailure()
{
    const Run result = run(words("sync"));
    QCOMPARE(result.exit, 0);
    QVERIFY(result.out.contains("no enabled account"));
}

void TestOrvmailAccount::syncIsCancelledByInterrupt()
{
    addAccount();
    ScriptedDaemon daemon;
    QVERIFY(startMessageServer());
    Background sync(words("sync Demo"));
    QTRY_VERIFY_WITH_TIMEOUT(!daemon.calls().isEmpty(), 20000);
    sync.interrupt();
    const Run result = sync.result();
    verifyRefused(result, "cancelled");
    QVERIFY(daemon.waitForCall("abortRequest").isValid());
}

void TestOrvmailAccount::nothingPrintedHoldsAPassword()
{
    QVERIFY(everythingPrinted.size() > 10000);
    for (const QByteArray &password :
         {Password, OtherPassword, QByteArray("Typed-Passw0rd"), QByteArray("Not-the-Passw0rd"),
          QByteArray("Removed-Passw0rd")}) {
        QVERIFY(!everythingPrinted.contains(password));
        QVERIFY(!everythingPrinted.contains(password.toBase64()));
    }
}

QTEST_GUILESS_MAIN(TestOrvmailAccount)
#include "tst_orvmailaccount.moc"
