// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/folderwriter.h"
#include "daemon/store/incoming/windowwriter.h"
#include "daemon/store/serveruid.h"
#include "tests/store/items.h"
#include "tests/support/chance.h"
#include "tests/support/smalldisk.h"
#include "tests/support/storefixture.h"

#include <QFile>
#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

using namespace Items;

namespace {

constexpr int LastKey = 40;
constexpr int PerWindow = 15;

/** The window that a server sends for a key: adds messages, changes some, removes some. */
Eas::SyncWindow windowAfter(int key)
{
    Eas::SyncWindow window = Items::window(InboxId, QString::number(key + 1));
    window.moreAvailable = key + 1 < LastKey;
    for (int i = 0; i < PerWindow; ++i) {
        const int id = key * PerWindow + i;
        window.added.append(item(QString::number(id), QStringLiteral("Message %1").arg(id)));
    }
    if (key > 2) {
        window.changed.append(readChange(QString::number((key - 1) * PerWindow + 3), true));
        window.changed.append(item(QString::number((key - 1) * PerWindow + 4), text("Changed")));
        window.removed.append(QString::number((key - 1) * PerWindow + 5));
    }
    return window;
}

/** The subjects in the folder by server id after the window for `key` was written. */
QMap<QString, QString> subjectsAt(int key)
{
    QMap<QString, QString> subjects;
    for (int k = 1; k < key; ++k) {
        const Eas::SyncWindow window = windowAfter(k);
        for (const Eas::MailItem &item : window.added + window.changed) {
            if (item.subject)
                subjects.insert(item.serverId, *item.subject);
        }
        for (const QString &id : window.removed)
            subjects.remove(id);
    }
    return subjects;
}

/** The window of a reconciliation after a key: the messages 50 to 249, 20 at a time. */
Eas::SyncWindow reconcilingWindowAfter(const QString &key)
{
    const int first = key == text("0") ? 0 : key.mid(1).toInt();
    Eas::SyncWindow window =
        Items::window(InboxId, QStringLiteral("f%1").arg(first ? first + 20 : 50));
    for (int id = first; first && id < first + 20; ++id)
        window.added.append(item(QString::number(id), QStringLiteral("Message %1").arg(id)));
    window.moreAvailable = first + 20 < 250;
    return window;
}

Store::SyncStateDb &openedDb(const QMailAccountId &account)
{
    static Store::SyncStateDb db;
    if (!db.open().ok()
        || !Store::AccountKeys(db, account).open(Store::AccountRecord::read(account)).ok())
        qFatal("cannot open the daemon's memory");
    return db;
}

QMailAccountId onlyAccount()
{
    return QMailStore::instance()
        ->queryAccounts(
            QMailAccountKey::status(QMailAccount::Enabled, QMailDataComparator::Includes))
        .value(0);
}

/** Synchronises until there is nothing more to come, from wherever an earlier run got to. */
int synchronise(bool reconciling)
{
    const QMailAccountId account = onlyAccount();
    Store::SyncStateDb &db = openedDb(account);
    ::write(STDOUT_FILENO, "ready\n", 6);
    forever {
        const Store::FolderState state = *Store::FolderKeys(db, account).find(InboxId);
        const QString key = state.syncKey;
        Eas::SyncWindow window =
            reconciling ? reconcilingWindowAfter(key) : windowAfter(key.toInt());
        if (key == (reconciling ? text("f250") : QString::number(LastKey))) {
            if (!state.reconciling)
                return 0;
            // Killed between the last key and the end: the server has nothing more to say.
            window = Items::window(InboxId, QString());
            window.unchanged = true;
        }
        Store::WindowWriter writer(db, account, window);
        if (!writer.run().ok())
            return 1;
    }
}

/** Marks every message as read while somebody else writes; ends when its input does. */
int readEverything()
{
    QMailStore *store = QMailStore::instance();
    const QMailAccountId account = onlyAccount();
    ::fcntl(STDIN_FILENO, F_SETFL, O_NONBLOCK);
    ::write(STDOUT_FILENO, "ready\n", 6);
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) != 0) {
        const QMailMessageKey unread = QMailMessageKey::parentAccountId(account)
            & QMailMessageKey::status(QMailMessage::Read, QMailDataComparator::Excludes);
        for (const QMailMessageId &id : store->queryMessages(unread)) {
            if (!store->updateMessagesMetaData(QMailMessageKey::id(id), QMailMessage::Read, true))
                return 1;
        }
    }
    return 0;
}

/** Fills a small disk with windows; 0 if the error was right and all was well with room again. */
int fillTheDisk()
{
    SyncedAccount account;
    QFile ballast(QMail::dataPath() + text("ballast"));
    if (!ballast.open(QIODevice::WriteOnly) || ballast.write(QByteArray(3000000, 'b')) < 0
        || !ballast.flush())
        return 10;
    int key = 1;
    Eas::Result result;
    while (result.ok() && key < 400) {
        result = Store::WindowWriter(account.db, account.id, windowAfter(key)).run();
        if (result.ok())
            ++key;
    }
    std::printf("full at key %d: %d %s\n", key, result.code, qPrintable(result.text));
    std::fflush(stdout);
    if (result.code != Eas::NoRoom)
        return 11;
    if (account.state().syncKey != QString::number(key))
        return 12;
    if (!ballast.remove())
        return 13;
    // The same window again, now that there is room.
    result = Store::WindowWriter(account.db, account.id, windowAfter(key)).run();
    if (!result.ok() || account.state().syncKey != QString::number(key + 1))
        return 14;
    QMap<QString, QString> subjects;
    for (const QMailMessageId &id : account.messages()) {
        const QMailMessage message(id);
        if (message.body().data() != text("How are you?\n"))
            return 15;
        subjects.insert(Store::ServerUid(message).itemId(), message.subject());
    }
    if (subjects != subjectsAt(key + 1) || account.messages().size() != subjects.size())
        return 16;
    return 0;
}

/** Starts this program again with the argument, and waits until it is at work. */
void startSelf(QProcess &process, const QString &argument)
{
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(), {argument});
    QTRY_VERIFY_WITH_TIMEOUT(process.canReadLine() || process.state() == QProcess::NotRunning,
                             30000);
}

} // namespace

/** What is in the mail store after the daemon was killed, hindered, or out of room. */
class TestDurability : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { m_account = std::make_unique<SyncedAccount>(); }
    void cleanup() { m_account.reset(); }

    void killedAtAnyInstantNothingIsLostOrDoubled();
    void killedInAReconciliationEverythingKeepsItsPlace();
    void userReadsWhileMessagesArrive();
    void fullDiskIsToldAndLeavesTheKey();

private:
    void killUntilDone(const QString &argument);
    QMap<QString, QString> subjects() const;

    QRandomGenerator m_random;
    std::unique_ptr<SyncedAccount> m_account;
};

void TestDurability::initTestCase()
{
    m_random.seed(testSeed());
}

QMap<QString, QString> TestDurability::subjects() const
{
    QMap<QString, QString> found;
    for (const QMailMessageId &id : m_account->messages()) {
        const QMailMessage message(id);
        found.insert(Store::ServerUid(message).itemId(), message.subject());
        if (message.body().data().isEmpty())
            found.insert(text("without body"), message.subject());
    }
    return found;
}

/** Runs the work in processes that are killed at random instants, until one gets to the end. */
void TestDurability::killUntilDone(const QString &argument)
{
    int kills = 0;
    for (int patience = 0; patience < 400; ++patience) {
        QProcess worker;
        startSelf(worker, argument);
        // Longer and longer, so that it ends on a slow machine, too.
        worker.waitForFinished(m_random.bounded(30 + 10 * patience));
        if (worker.state() != QProcess::NotRunning) {
            worker.kill();
            QVERIFY(worker.waitForFinished());
            ++kills;
            continue;
        }
        QCOMPARE(worker.exitStatus(), QProcess::NormalExit);
        QCOMPARE(worker.exitCode(), 0);
        tellRounds(kills);
        QVERIFY(kills > 0);
        return;
    }
    QFAIL("the work does not come to an end");
}

void TestDurability::killedAtAnyInstantNothingIsLostOrDoubled()
{
    killUntilDone(text("--synchronise"));
    QCOMPARE(m_account->state().syncKey, QString::number(LastKey));
    QCOMPARE(subjects(), subjectsAt(LastKey));
    QCOMPARE(m_account->messages().size(), subjectsAt(LastKey).size());
    QCOMPARE(QMailStore::instance()->countMessages(), subjectsAt(LastKey).size());
}

void TestDurability::killedInAReconciliationEverythingKeepsItsPlace()
{
    Eas::SyncWindow window = Items::window(InboxId, text("2"));
    for (int id = 1; id <= 200; ++id)
        window.added.append(item(QString::number(id), QStringLiteral("Message %1").arg(id)));
    QCOMPARE(m_account->write(window), 200);
    QHash<QString, QMailMessageId> before;
    for (const QMailMessageId &id : m_account->messages())
        before.insert(QMailMessageMetaData(id).serverUid(), id);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    killUntilDone(text("--fresh"));
    QCOMPARE(m_account->messages().size(), 200);
    QCOMPARE(m_account->state().syncKey, text("f250"));
    QVERIFY(!m_account->state().reconciling);
    for (int id = 50; id < 250; ++id) {
        const QMailMessageMetaData message = m_account->metaData(QString::number(id));
        QCOMPARE(message.subject(), QStringLiteral("Message %1").arg(id));
        if (id <= 200)
            QCOMPARE(message.id(), before.value(message.serverUid()));
    }
}

void TestDurability::userReadsWhileMessagesArrive()
{
    QProcess user;
    startSelf(user, text("--read"));
    for (int key = 1; key < LastKey; ++key)
        QCOMPARE(m_account->write(windowAfter(key)), 200);
    const QMailMessageKey unread =
        QMailMessageKey::status(QMailMessage::Read, QMailDataComparator::Excludes);
    QTRY_COMPARE_WITH_TIMEOUT(QMailStore::instance()->countMessages(unread), 0, 30000);
    user.closeWriteChannel();
    QVERIFY(user.waitForFinished());
    QCOMPARE(user.exitCode(), 0);
    QCOMPARE(subjects(), subjectsAt(LastKey));
    // What the user read is still to be told, except where the server knew.
    const QMailMessageKey unsent =
        QMailMessageKey::status(QMailMessage::ReadElsewhere, QMailDataComparator::Excludes);
    QVERIFY(QMailStore::instance()->countMessages(unsent) > 500);
}

void TestDurability::fullDiskIsToldAndLeavesTheKey()
{
    m_account.reset();
    QProcess worker;
    worker.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    worker.start(QCoreApplication::applicationFilePath(), {text("--full-disk")});
    QVERIFY(worker.waitForFinished(90000));
    const QByteArray output = worker.readAllStandardOutput();
    if (worker.exitCode() == 77)
        QSKIP("mounting a small disk is not permitted here");
    qInfo("%s", output.trimmed().constData());
    QCOMPARE(worker.exitStatus(), QProcess::NormalExit);
    QCOMPARE(worker.exitCode(), 0);
}

int main(int argc, char **argv)
{
    const QByteArray mode = argc > 1 ? argv[1] : "";
    std::unique_ptr<QTemporaryDir> disk;
    if (mode == "--full-disk") {
        disk = std::make_unique<QTemporaryDir>();
        disk->setAutoRemove(false); // what is mounted there cannot be removed
        // Before there is a second thread, which would keep the process in its place.
        if (!mountSmallDisk(QFile::encodeName(disk->path()).constData(), "size=7m"))
            return 77;
        qputenv("QMF_DATA", QFile::encodeName(disk->path()));
    }
    QCoreApplication application(argc, argv);
    if (mode == "--synchronise" || mode == "--fresh")
        return synchronise(mode == "--fresh");
    if (mode == "--read")
        return readEverything();
    if (mode == "--full-disk")
        return fillTheDisk();
    TestDurability test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_durability.moc"
