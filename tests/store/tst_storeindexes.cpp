// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/localchanges.h"
#include "daemon/store/outgoing/outbox.h"
#include "daemon/store/storeindexes.h"
#include "tests/store/items.h"
#include "tests/store/sqltrace.h"
#include "tests/support/chance.h"
#include "tests/support/smalldisk.h"

#include <QDir>
#include <QFile>
#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QProcess>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Items;
using Store::StoreIndexes;

/** The name by which QMF lets its own tests empty the mail store. */
class tst_QMailStore // NOLINT(readability-identifier-naming)
{
public:
    static void clear() { QMailStore::instance()->clearContent(); }
};

namespace {

using Outcome = StoreIndexes::Outcome;

/** As the daemon does at its start; how it ended. */
Outcome makeAll()
{
    Outcome outcome = Outcome::Changed;
    while (outcome == Outcome::Changed)
        outcome = StoreIndexes().makeNext();
    return outcome;
}

/** Asks the mail store's database by a connection of its own; the first value, or the error. */
QString sql(const QString &statement)
{
    const QString connection = QStringLiteral("test");
    QString answer;
    {
        auto base = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        base.setDatabaseName(QMail::dataPath() + QStringLiteral("database/qmailstore.db"));
        base.open();
        QSqlQuery query(base);
        if (!query.exec(statement))
            answer = query.lastError().text();
        else if (query.next())
            answer = query.value(0).toString();
    }
    QSqlDatabase::removeDatabase(connection);
    return answer;
}

bool isSound()
{
    return sql(QStringLiteral("PRAGMA integrity_check")) == QLatin1String("ok");
}

/** Whether it reads through a table that grows with the messages, or through all of an account's;
 * the mail store's names for it in the plan are "t0" and "mm". */
bool isScanOfAll(const QString &statement, const QString &plan)
{
    static const QRegularExpression large(
        QStringLiteral("(FROM|UPDATE) (mailmessages|mailmessagecustom|mailthreadsubjects"
                       "|missingancestors)\\b"));
    static const QRegularExpression scan(
        QStringLiteral("^SCAN (mailmessages|mailthreadsubjects|missingancestors|t0|mm)\\b"
                       "|^SEARCH (?!.*\\borvmail_unsettled_message\\b).*\\(parentaccountid=\\?\\)"),
        QRegularExpression::MultilineOption);
    return large.match(statement).hasMatch() && scan.match(plan).hasMatch();
}

/** What the mail store does after each removal: it looks at each thread and each subject whether a
 * message has it still. No index spares it that. */
bool isClearingUp(const QString &statement)
{
    static const QRegularExpression unused(
        QStringLiteral("^DELETE FROM mail(threadsubjects|subjects) WHERE \\w+ NOT IN "));
    return unused.match(statement).hasMatch();
}

Eas::SyncWindow manyMessages(int count)
{
    Eas::SyncWindow window = Items::window(InboxId, QStringLiteral("2"));
    for (int i = 1; i <= count; ++i)
        window.added.append(item(QString::number(i), QStringLiteral("Message %1").arg(i)));
    return window;
}

/** This program once more, doing what the arguments say. */
class OtherProcess
{
public:
    explicit OtherProcess(const QStringList &arguments)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QCoreApplication::applicationFilePath(), arguments);
    }
    bool isReady() { return m_process.waitForReadyRead(); }
    /** The exit code, or -1 where it was killed. */
    int end()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished(90000);
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

private:
    QProcess m_process;
};

int runOther(const QStringList &arguments)
{
    return OtherProcess(arguments).end();
}

void tellReady()
{
    std::puts("ready");
    std::fflush(stdout);
}

/** Makes and drops them until its input ends; how often, at least once. */
int changeOnAndOn()
{
    QMailStore::instance();
    tellReady();
    pollfd input {STDIN_FILENO, POLLIN, 0};
    int rounds = 0;
    do {
        if (makeAll() != Outcome::Unchanged || StoreIndexes().drop() != Outcome::Changed)
            return 1;
        ++rounds;
    } while (poll(&input, 1, 0) == 0);
    return rounds > 0 ? 0 : 2;
}

/** Lets no file of this process grow beyond so many pages of the write-ahead log. */
void limitFiles(int pages)
{
    const int header = 32;
    const int frame = 24 + 4096;
    const auto bytes = rlim_t(header + pages * frame);
    const rlimit limit = {bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

/** Makes them, and is killed by the system when it writes that page of the write-ahead log. */
int makeUntilPage(int page)
{
    QMailStore::instance();
    sql(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
    limitFiles(page);
    return makeAll() == Outcome::Unchanged ? 0 : 1;
}

/** Makes them on a disk that does not take a page; 0 if it was told and the mail store lives. */
int makeWithoutWriting()
{
    QMailStore *store = QMailStore::instance();
    sql(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
    ::signal(SIGXFSZ, SIG_IGN);
    limitFiles(1);
    StoreIndexes indexes;
    if (indexes.makeNext() != Outcome::Failed || indexes.failure().isEmpty())
        return 1;
    return store->countMessages() > 0 ? 0 : 2;
}

/** Looks into a file that is no database; 0 if that is told. */
int lookIntoDamaged()
{
    QTemporaryDir folder;
    qputenv("QMF_DATA", QFile::encodeName(folder.path()));
    QFile file(folder.filePath(QStringLiteral("database/qmailstore.db")));
    if (!QDir(folder.path()).mkdir(QStringLiteral("database")) || !file.open(QIODevice::WriteOnly)
        || file.write(QByteArray(8192, 'x')) < 0 || !file.flush())
        return 1;
    StoreIndexes shown;
    if (!shown.present().isEmpty() || shown.failure().isEmpty())
        return 2;
    StoreIndexes dropped;
    return dropped.drop() == Outcome::Failed && !dropped.failure().isEmpty() ? 0 : 3;
}

/** A disk with less room than the database is large; 0 if nothing was made, and all with room. */
int fillTheDisk()
{
    SyncedAccount account;
    if (account.write(manyMessages(500)) != Eas::Success)
        return 1;
    QFile ballast(QMail::dataPath() + QStringLiteral("ballast"));
    const qint64 left = 2 * 1024 * 1024 + 100000;
    const qint64 size = QStorageInfo(QMail::dataPath()).bytesAvailable() - left;
    if (size <= 0 || !ballast.open(QIODevice::WriteOnly)
        || ballast.write(QByteArray(int(size), 'b')) != size || !ballast.flush())
        return 2;
    StoreIndexes indexes;
    if (indexes.makeNext() != Outcome::Failed
        || !indexes.failure().startsWith(QLatin1String("disk full")))
        return 3;
    if (!indexes.present().isEmpty() || account.messages().size() != 500)
        return 4;
    if (!ballast.remove())
        return 5;
    return makeAll() == Outcome::Unchanged && StoreIndexes().present() == StoreIndexes::names() ? 0
                                                                                                : 6;
}

} // namespace

/** What the daemon adds to the mail store's database. */
class TestStoreIndexes : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void eachIsUsedByWhatTheMailStoreAsks();
    void whatIsMadeIsDroppedAgain();
    void clearedStoreKeepsThem();
    void storeIsUpgradedWithThem();
    void tableThatIsMadeAnewGetsItsIndex();
    void twoProcessesMakeThemAtOnce();
    void whatAMailProgramRemovesMeanwhileIsRemoved();
    void killedAtAnyPageTheStoreIsSound();
    void lockedStoreIsLeftAlone();
    void fullDiskIsLeftAlone();
    void failedWriteLeavesTheStoreAsItWas();
    void damagedDatabaseIsTold();
    void purgeOfThePackageNamesEach();

private:
    std::unique_ptr<SyncedAccount> m_account;
};

void TestStoreIndexes::init()
{
    m_account = std::make_unique<SyncedAccount>();
    StoreIndexes().drop();
    QCOMPARE(StoreIndexes().present(), QStringList());
}

void TestStoreIndexes::cleanup()
{
    m_account.reset();
}

/** Where the mail store asks in another way one day, this shows that the indexes have to follow. */
void TestStoreIndexes::eachIsUsedByWhatTheMailStoreAsks()
{
    QCOMPARE(makeAll(), Outcome::Unchanged);
    QSet<QString> statements;
    {
        const SqlTrace trace;
        Eas::SyncWindow window = manyMessages(3);
        window.added.first().conversationId = QByteArrayLiteral("conversation");
        QCOMPARE(m_account->write(window), 200);
        QCOMPARE(
            m_account->write(Items::changing(QStringLiteral("3"), {readChange(text("2"), true)})),
            200);
        Eas::MailItem answer = item(text("4"), text("Answer"));
        answer.conversationId = QByteArrayLiteral("conversation");
        // By its subject an answer to the first one as well, which its conversation is not.
        Eas::MailItem other = item(text("5"), text("Re: Message 1"));
        other.conversationId = QByteArrayLiteral("other conversation");
        other.dateReceived = other.dateReceived->addDays(1);
        QCOMPARE(m_account->write(Items::adding(QStringLiteral("4"), {answer, other})), 200);
        QCOMPARE(m_account->write(Items::removing(QStringLiteral("5"), {text("3")})), 200);
        Store::LocalChanges(m_account->db, m_account->id).collect();
        Store::Outbox(m_account->db, Store::AccountRecord::read(m_account->id)).waiting();
        statements = trace.statements();
    }
    QStringList unused = {
        QStringLiteral("orvmail_message_by_server_uid (parentaccountid=? AND serveruid=?)"),
        QStringLiteral("orvmail_thread_by_subject (subjectid=? AND threadid=?)"),
        QStringLiteral("orvmail_message_by_thread (parentthreadid=?)"),
        QStringLiteral("orvmail_message_by_answered (responseid=?)"),
        QStringLiteral("orvmail_missing_ancestor (subjectid=?)"),
        QStringLiteral("orvmail_unsettled_message (parentaccountid=?)"),
        QStringLiteral("orvmail_found_message")};
    const int count = unused.size();
    for (const QString &statement : qAsConst(statements)) {
        const QString plan = SqlTrace::planOf(statement);
        const auto isUsed = [&plan](const QString &search) { return plan.contains(search); };
        unused.erase(std::remove_if(unused.begin(), unused.end(), isUsed), unused.end());
        QVERIFY2(!isScanOfAll(statement, plan) || isClearingUp(statement),
                 qPrintable(statement + QLatin1Char('\n') + plan));
    }
    QVERIFY2(unused.isEmpty(), qPrintable(unused.join(QLatin1Char('\n'))));
    QCOMPARE(count, StoreIndexes::names().size());
}

void TestStoreIndexes::whatIsMadeIsDroppedAgain()
{
    QCOMPARE(StoreIndexes().makeNext(), Outcome::Changed);
    QCOMPARE(StoreIndexes().present().size(), 1);
    QCOMPARE(makeAll(), Outcome::Unchanged);
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
    for (const QString &name : StoreIndexes::names())
        QVERIFY(name.startsWith(QLatin1String("orvmail_")));
    QCOMPARE(StoreIndexes().drop(), Outcome::Changed);
    QCOMPARE(StoreIndexes().drop(), Outcome::Unchanged);
    QCOMPARE(StoreIndexes().present(), QStringList());
    QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM sqlite_master WHERE name LIKE 'orvmail%'")),
             QStringLiteral("0"));
}

void TestStoreIndexes::clearedStoreKeepsThem()
{
    QCOMPARE(m_account->write(manyMessages(5)), 200);
    QCOMPARE(makeAll(), Outcome::Unchanged);
    tst_QMailStore::clear();
    QCOMPARE(QMailStore::instance()->countMessages(), 0);
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
    QVERIFY(isSound());
    m_account.reset();
    m_account = std::make_unique<SyncedAccount>();
    QCOMPARE(m_account->write(manyMessages(5)), 200);
    QCOMPARE(m_account->messages().size(), 5);
}

/** By the one upgrade that QMF has: that of a store of its table's version 107. */
void TestStoreIndexes::storeIsUpgradedWithThem()
{
    QCOMPARE(m_account->write(manyMessages(5)), 200);
    QCOMPARE(makeAll(), Outcome::Unchanged);
    QCOMPARE(sql(QStringLiteral("ALTER TABLE mailaccounts DROP COLUMN iconpath")), QString());
    QCOMPARE(sql(QStringLiteral(
                 "UPDATE versioninfo SET versionNum = 107 WHERE tableName = 'mailaccounts'")),
             QString());
    QCOMPARE(runOther({QStringLiteral("--open")}), 0);
    QCOMPARE(sql(QStringLiteral("SELECT versionNum FROM versioninfo"
                                " WHERE tableName = 'mailaccounts'")),
             QStringLiteral("108"));
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
    QVERIFY(isSound());
    QCOMPARE(m_account->messages().size(), 5);
}

void TestStoreIndexes::tableThatIsMadeAnewGetsItsIndex()
{
    QCOMPARE(makeAll(), Outcome::Unchanged);
    QCOMPARE(sql(QStringLiteral("ALTER TABLE mailthreadsubjects RENAME TO former")), QString());
    QCOMPARE(sql(QStringLiteral("CREATE TABLE mailthreadsubjects (threadid INTEGER,"
                                " subjectid INTEGER, FOREIGN KEY (threadid) REFERENCES"
                                " mailthreads(id), FOREIGN KEY (subjectid) REFERENCES"
                                " mailsubjects(id))")),
             QString());
    QCOMPARE(StoreIndexes().present().size(), StoreIndexes::names().size() - 1);
    QCOMPARE(StoreIndexes().makeNext(), Outcome::Changed);
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
    QCOMPARE(sql(QStringLiteral("DROP TABLE former")), QString());
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
    QVERIFY(isSound());
}

void TestStoreIndexes::twoProcessesMakeThemAtOnce()
{
    QCOMPARE(m_account->write(manyMessages(200)), 200);
    OtherProcess first({QStringLiteral("--make")});
    OtherProcess second({QStringLiteral("--make")});
    QCOMPARE(first.end(), 0);
    QCOMPARE(second.end(), 0);
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
    QVERIFY(isSound());
}

/** A change of the tables is one more reason for a statement to be prepared again. */
void TestStoreIndexes::whatAMailProgramRemovesMeanwhileIsRemoved()
{
    const int count = 100;
    QCOMPARE(m_account->write(manyMessages(count)), 200);
    OtherProcess daemon({QStringLiteral("--on-and-on")});
    QVERIFY(daemon.isReady());
    for (const QMailMessageId &id : m_account->messages())
        QVERIFY(QMailStore::instance()->removeMessage(id, QMailStore::CreateRemovalRecord));
    QCOMPARE(daemon.end(), 0);
    QCOMPARE(m_account->messages().size(), 0);
    QCOMPARE(QMailStore::instance()->messageRemovalRecords(m_account->id).size(), count);
    QVERIFY(isSound());
}

void TestStoreIndexes::killedAtAnyPageTheStoreIsSound()
{
    QCOMPARE(m_account->write(manyMessages(200)), 200);
    int kills = 0;
    // From its first page to one behind its last.
    for (int page = 0; runOther({QStringLiteral("--until-page"), QString::number(page)}) != 0;
         ++page) {
        ++kills;
        QVERIFY(isSound());
        // Who writes next does not wait for the dead one.
        QVERIFY(QMailStore::instance()->updateMessagesMetaData(
            QMailMessageKey::parentAccountId(m_account->id), QMailMessage::Read, kills % 2));
        QVERIFY(kills < 200);
    }
    tellRounds(kills);
    QVERIFY(kills > 3);
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
    QVERIFY(isSound());
    QCOMPARE(m_account->messages().size(), 200);
}

void TestStoreIndexes::lockedStoreIsLeftAlone()
{
    QVERIFY(QSqlQuery(QMail::createDatabase()).exec(QStringLiteral("BEGIN IMMEDIATE")));
    QCOMPARE(StoreIndexes().makeNext(), Outcome::Locked);
    QVERIFY(QSqlQuery(QMail::createDatabase()).exec(QStringLiteral("ROLLBACK")));
    QCOMPARE(makeAll(), Outcome::Unchanged);
    QVERIFY(QSqlQuery(QMail::createDatabase()).exec(QStringLiteral("BEGIN IMMEDIATE")));
    // What is there needs no lock, and what is locked is not dropped by half.
    QCOMPARE(StoreIndexes().makeNext(), Outcome::Unchanged);
    QCOMPARE(StoreIndexes().drop(), Outcome::Locked);
    QVERIFY(QSqlQuery(QMail::createDatabase()).exec(QStringLiteral("ROLLBACK")));
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
}

void TestStoreIndexes::fullDiskIsLeftAlone()
{
    const int code = runOther({QStringLiteral("--full-disk")});
    if (code == 77)
        QSKIP("mounting a small disk is not permitted here");
    QCOMPARE(code, 0);
}

void TestStoreIndexes::failedWriteLeavesTheStoreAsItWas()
{
    QCOMPARE(m_account->write(manyMessages(200)), 200);
    QCOMPARE(runOther({QStringLiteral("--without-writing")}), 0);
    QCOMPARE(StoreIndexes().present(), QStringList());
    QVERIFY(isSound());
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::parentAccountId(m_account->id), QMailMessage::Read, true));
    QCOMPARE(makeAll(), Outcome::Unchanged);
}

void TestStoreIndexes::damagedDatabaseIsTold()
{
    QCOMPARE(runOther({QStringLiteral("--damaged")}), 0);
}

void TestStoreIndexes::purgeOfThePackageNamesEach()
{
    QFile script(QStringLiteral(PURGE_SCRIPT));
    QVERIFY(script.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(script.readAll());
    for (const QString &name : StoreIndexes::names())
        QVERIFY2(text.contains(QStringLiteral("DROP INDEX IF EXISTS %1;").arg(name)),
                 qPrintable(name));
}

int main(int argc, char **argv)
{
    const QByteArray mode = argc > 1 ? argv[1] : "";
    std::unique_ptr<QTemporaryDir> disk;
    if (mode == "--full-disk") {
        disk = std::make_unique<QTemporaryDir>();
        disk->setAutoRemove(false); // what is mounted there cannot be removed
        // Before there is a second thread, which would keep the process in its place.
        if (!mountSmallDisk(QFile::encodeName(disk->path()).constData(), "size=8m"))
            return 77;
        qputenv("QMF_DATA", QFile::encodeName(disk->path()));
    }
    QCoreApplication application(argc, argv);
    if (mode == "--open")
        return QMailStore::instance()->initializationState() == QMailStore::Initialized ? 0 : 1;
    if (mode == "--make")
        return makeAll() == Outcome::Unchanged ? 0 : 1;
    if (mode == "--on-and-on")
        return changeOnAndOn();
    if (mode == "--until-page")
        return makeUntilPage(application.arguments().value(2).toInt());
    if (mode == "--without-writing")
        return makeWithoutWriting();
    if (mode == "--full-disk")
        return fillTheDisk();
    if (mode == "--damaged")
        return lookIntoDamaged();
    TestStoreIndexes test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_storeindexes.moc"
