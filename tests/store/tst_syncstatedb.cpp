// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/accountkeys.h"
#include "daemon/store/state/outgoingtable.h"
#include "daemon/store/state/syncstatedb.h"
#include "daemon/store/state/unconfirmedmessages.h"
#include "tests/store/items.h"
#include "tests/support/storefixture.h"

#include <QDir>
#include <QFileInfo>
#include <qmailstore.h>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using Items::InboxId;
using Items::text;
using Store::AccountRecord;
using Store::SyncStateDb;

/** What the daemon remembers, and when it does not trust its memory. */
class TestSyncStateDb : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void deviceIdIsMadeOnceAndKept();
    void copiedHomeFolderIsAnotherDevice();
    void nobodyElseCanReadIt();
    void accountStateIsKept();
    void anAwaitedTreeIsKnownUntilItIsSaved();
    void folderStateIsKept();
    void renumberingIsKeptUntilTheFolderIsReconciled();
    void emptyTextsAreNoProblem();
    void otherUserOrServerMeansFromTheStart();
    void deletionsAreNotTakenToAnotherMailbox();
    void otherPasswordChangesNothing();
    void vanishedFolderMeansFromTheStart();
    void removedAccountIsForgottenAndNothingIsSavedForIt();
    void vanishedAccountsAreForgotten();
    void unconfirmedMessagesGoWithTheirFolder();
    void unconfirmedMessagesAreFoundByTheirLooks();
    void unconfirmedMessagesOfAnOlderFileAreIndexed();
    void confirmationAndKeyAreSavedTogether();
    void acknowledgedMovesAreRememberedUntilTheyAreShown();
    void outgoingMessagesAreKept();
    void anOutgoingMessageIsReplacedAtOnce();
    void whatAnOlderFileKnowsOfOutgoingMessagesIsKept();
    void lookingChangesNothing();
    void lookingLeavesADamagedFileWhereItIs();
    void lookingFindsNothingWhereNothingIs();
    void damagedFileIsPutAside_data();
    void damagedFileIsPutAside();
    void folderThatCannotBeWrittenIsAnError();
    void lockedFileIsAnErrorAndLaterFine();
    void defaultPlaceIsBesideTheMailStore();

private:
    AccountRecord record() const { return AccountRecord::read(m_account); }
    Store::FolderState folder(const Eas::FolderId &serverId) const;
    Store::AccountKeys keys(SyncStateDb &db) const { return {db, m_account}; }
    Store::AccountKeys keys() const { return keys(*m_db); }
    Store::FolderKeys folders(SyncStateDb &db) const { return {db, m_account}; }
    Store::FolderKeys folders() const { return folders(*m_db); }
    Store::UnconfirmedMessages unconfirmed(SyncStateDb &db) const { return {db, m_account}; }
    Store::UnconfirmedMessages unconfirmed() const { return unconfirmed(*m_db); }
    Store::OutgoingTable sent() const { return {*m_db, m_account}; }
    static Store::Outgoing outgoing(const char *clientId);

    QMailAccountId m_account;
    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_path;
    std::unique_ptr<SyncStateDb> m_db;
};

void TestSyncStateDb::init()
{
    m_account = StoreFixture::addAccount();
    m_directory = std::make_unique<QTemporaryDir>();
    m_path = m_directory->filePath(text("state.db"));
    m_db = std::make_unique<SyncStateDb>(m_path, "machine");
    QVERIFY(m_db->open().ok());
    QVERIFY(keys().open(record()).ok());
}

void TestSyncStateDb::cleanup()
{
    m_db.reset();
    m_directory.reset();
    StoreFixture::clear();
}

Store::FolderState TestSyncStateDb::folder(const Eas::FolderId &serverId) const
{
    Store::FolderState state;
    state.serverId = serverId;
    state.folderId = StoreFixture::addFolder(m_account, serverId.text());
    state.parentId = Eas::FolderId::Root;
    state.type = 12;
    state.syncKey = text("key-1");
    state.filter = 5;
    return state;
}

Store::Outgoing TestSyncStateDb::outgoing(const char *clientId)
{
    Store::Outgoing outgoing;
    outgoing.clientId = text(clientId);
    outgoing.messageId = QMailMessageId(7);
    outgoing.rfcId = QByteArray("<") + clientId + "@example.com>";
    outgoing.created = 123;
    outgoing.leftAt = 12345;
    outgoing.state = Store::Outgoing::Uncertain;
    outgoing.print = "print";
    outgoing.earlierIds = {"<a@example.com>", "<b@example.com>"};
    return outgoing;
}

void TestSyncStateDb::deviceIdIsMadeOnceAndKept()
{
    const QString id = m_db->deviceId();
    QVERIFY(QRegularExpression(text("^[A-Z0-9]{32}$")).match(id).hasMatch());
    SyncStateDb again(m_path, "machine");
    QVERIFY(again.open().ok());
    QCOMPARE(again.deviceId(), id);
    SyncStateDb other(m_directory->filePath(text("other.db")), "machine");
    QVERIFY(other.open().ok());
    QVERIFY(other.deviceId() != id);
}

void TestSyncStateDb::copiedHomeFolderIsAnotherDevice()
{
    QVERIFY(keys().save({text("7"), text("policy")}).ok());
    QVERIFY(folders().save(folder(InboxId)).ok());
    const QString id = m_db->deviceId();
    m_db.reset();
    SyncStateDb copy(m_path, "another machine");
    QVERIFY(copy.open().ok());
    QCOMPARE(copy.deviceId().size(), 32);
    QVERIFY(copy.deviceId() != id);
    QVERIFY(keys(copy).open(record()).ok());
    QCOMPARE(keys(copy).state().folderSyncKey, text("0"));
    QCOMPARE(keys(copy).state().policyKey, QString());
    QCOMPARE(folders(copy).find(InboxId)->syncKey, text("0"));
}

void TestSyncStateDb::nobodyElseCanReadIt()
{
    QVERIFY(folders().save(folder(InboxId)).ok());
    const QStringList names = QDir(m_directory->path()).entryList(QDir::Files);
    QVERIFY(names.contains(text("state.db")));
    for (const QString &name : names) {
        struct stat info = {};
        QCOMPARE(::stat(QFile::encodeName(m_directory->filePath(name)).constData(), &info), 0);
        QCOMPARE(info.st_mode & 0777, mode_t(0600));
    }
}

void TestSyncStateDb::accountStateIsKept()
{
    QVERIFY(keys().save({text("7"), text("policy")}).ok());
    SyncStateDb again(m_path, "machine");
    QVERIFY(again.open().ok());
    QVERIFY(keys(again).open(record()).ok());
    const Store::AccountState state = keys(again).state();
    QCOMPARE(state.folderSyncKey, text("7"));
    QCOMPARE(state.policyKey, text("policy"));
}

void TestSyncStateDb::anAwaitedTreeIsKnownUntilItIsSaved()
{
    QVERIFY(keys().save({text("7"), text("policy")}).ok());
    QVERIFY(!keys().isTreeAwaited());
    QVERIFY(keys().awaitTree().ok());
    QVERIFY(keys().awaitTree().ok());
    SyncStateDb again(m_path, "machine");
    QVERIFY(again.open().ok());
    QVERIFY(keys(again).open(record()).ok());
    QVERIFY(keys(again).isTreeAwaited());
    // It came with the same key: there was nothing new.
    QVERIFY(keys(again).saveTree(text("7")).ok());
    QVERIFY(!keys(again).isTreeAwaited());
    QVERIFY(keys(again).awaitTree().ok());
    QVERIFY(keys(again).awaitTree(false).ok());
    QVERIFY(!keys(again).isTreeAwaited());
    // Another key than the one that it was asked for with owes nothing.
    QVERIFY(keys(again).awaitTree().ok());
    QVERIFY(keys(again).save({text("8"), text("policy")}).ok());
    QVERIFY(!keys(again).isTreeAwaited());
    QVERIFY(keys(again).saveTree(text("9")).ok());
    QCOMPARE(keys(again).state().folderSyncKey, text("9"));
    QCOMPARE(keys(again).state().policyKey, text("policy"));
    QVERIFY(keys(again).remove().ok());
    QCOMPARE(keys(again).saveTree(text("9")).code, 1030);
}

void TestSyncStateDb::folderStateIsKept()
{
    const Store::FolderState saved = folder("mail%2Fä'\""_folder);
    QVERIFY(folders().save(saved).ok());
    SyncStateDb again(m_path, "machine");
    QVERIFY(again.open().ok());
    QVERIFY(keys(again).open(record()).ok());
    QCOMPARE(folders(again).all().size(), 1);
    const auto state = folders(again).find(saved.serverId);
    QVERIFY(state);
    QCOMPARE(state->folderId, saved.folderId);
    QCOMPARE(state->parentId, saved.parentId);
    QCOMPARE(state->type, 12);
    QCOMPARE(state->syncKey, text("key-1"));
    QCOMPARE(state->filter, 5);
    QVERIFY(!state->reconciling);
    QCOMPARE(folders(again).find(saved.folderId)->serverId, saved.serverId);
    QVERIFY(!folders(again).find(QMailFolderId(123456)));
}

void TestSyncStateDb::renumberingIsKeptUntilTheFolderIsReconciled()
{
    Store::FolderState state = folder(InboxId);
    state.reconciling = true;
    for (const bool isRenumbered : {false, true}) {
        state.renumbered = isRenumbered;
        QVERIFY(folders().save(state).ok());
        QVERIFY(folders().find(InboxId)->reconciling);
        QCOMPARE(folders().find(InboxId)->renumbered, isRenumbered);
    }
    state.reconciling = false;
    QVERIFY(folders().save(state).ok());
    QVERIFY(!folders().find(InboxId)->reconciling);
    QVERIFY(!folders().find(InboxId)->renumbered);
}

void TestSyncStateDb::emptyTextsAreNoProblem()
{
    QVERIFY(keys().save(Store::AccountState()).ok());
    Store::FolderState state = folder(InboxId);
    state.parentId = {};
    state.syncKey.clear();
    QVERIFY(folders().save(state).ok());
    QCOMPARE(folders().find(InboxId)->syncKey, text("0"));
    QCOMPARE(keys().state().folderSyncKey, text("0"));
}

void TestSyncStateDb::otherUserOrServerMeansFromTheStart()
{
    const auto change = [](AccountRecord record, int what) {
        (what == 0 ? record.server : what == 1 ? record.userName : record.domain) += text("x");
        return record;
    };
    QVERIFY(folders().save(folder(InboxId)).ok());
    AccountRecord current = record();
    for (int what = 0; what < 3; ++what) {
        QVERIFY(keys().save({text("7"), text("p")}).ok());
        Store::FolderState state = *folders().find(InboxId);
        state.syncKey = text("key-2");
        QVERIFY(folders().save(state).ok());
        current = change(current, what);
        QVERIFY(keys().open(current).ok());
        QCOMPARE(keys().state().folderSyncKey, text("0"));
        QCOMPARE(keys().state().policyKey, QString());
        // The folder is still known: it is reconciled, not fetched anew.
        QCOMPARE(folders().find(InboxId)->syncKey, text("0"));
    }
}

void TestSyncStateDb::deletionsAreNotTakenToAnotherMailbox()
{
    QMailStore *store = QMailStore::instance();
    const Store::FolderState inbox = folder(InboxId);
    QVERIFY(folders().save(inbox).ok());
    const QMailMessageId id = StoreFixture::addMessage(m_account, inbox.folderId, text("Hello"), 0,
                                                       text("in\x1f"
                                                            "7"));
    QVERIFY(store->removeMessage(id, QMailStore::CreateRemovalRecord));
    AccountRecord current = record();
    current.password += text("x");
    QVERIFY(keys().open(current).ok());
    QCOMPARE(store->messageRemovalRecords(m_account).size(), 1);
    QVERIFY(!folders().find(InboxId)->reconciling);
    current.userName += text("x");
    QVERIFY(keys().open(current).ok());
    QVERIFY(store->messageRemovalRecords(m_account).isEmpty());
    QVERIFY(folders().find(InboxId)->reconciling);
    QVERIFY(folders().find(InboxId)->renumbered);
}

void TestSyncStateDb::otherPasswordChangesNothing()
{
    QVERIFY(keys().save({text("7"), QString()}).ok());
    AccountRecord changed = record();
    changed.password += text("x");
    changed.port = 443;
    changed.pushEnabled = true;
    changed.keepDays = 3;
    QVERIFY(keys().open(changed).ok());
    QCOMPARE(keys().state().folderSyncKey, text("7"));
}

void TestSyncStateDb::vanishedFolderMeansFromTheStart()
{
    QVERIFY(keys().save({text("7"), text("p")}).ok());
    const Store::FolderState gone = folder("a"_folder);
    QVERIFY(folders().save(gone).ok());
    QVERIFY(folders().save(folder("b"_folder)).ok());
    QVERIFY(QMailStore::instance()->removeFolder(gone.folderId));
    QVERIFY(keys().open(record()).ok());
    QCOMPARE(keys().state().folderSyncKey, text("0"));
    QCOMPARE(keys().state().policyKey, text("p"));
    QVERIFY(!folders().find("a"_folder));
    QCOMPARE(folders().find("b"_folder)->syncKey, text("key-1"));
}

void TestSyncStateDb::removedAccountIsForgottenAndNothingIsSavedForIt()
{
    const Store::FolderState state = folder(InboxId);
    QVERIFY(folders().save(state).ok());
    QVERIFY(keys().remove().ok());
    QVERIFY(folders().all().isEmpty());
    QCOMPARE(folders().save(state).code, 1030);
    QCOMPARE(keys().save(Store::AccountState()).code, 1030);
    QVERIFY(folders().all().isEmpty());
}

void TestSyncStateDb::vanishedAccountsAreForgotten()
{
    QVERIFY(folders().save(folder(InboxId)).ok());
    QVERIFY(Store::AccountKeys::removeVanished(*m_db).ok());
    QCOMPARE(folders().all().size(), 1);
    QVERIFY(QMailStore::instance()->removeAccount(m_account));
    QVERIFY(Store::AccountKeys::removeVanished(*m_db).ok());
    QVERIFY(folders().all().isEmpty());
}

void TestSyncStateDb::unconfirmedMessagesGoWithTheirFolder()
{
    const Store::FolderState state = folder(InboxId);
    const QList<Store::Unconfirmed> messages {{QMailMessageId(11), "x"}, {QMailMessageId(12), "y"}};
    QVERIFY(unconfirmed().replace(state, messages).ok());
    QCOMPARE(unconfirmed().of(InboxId).size(), 2);
    QVERIFY(unconfirmed().folders() == QSet<Eas::FolderId> {InboxId});
    QVERIFY(folders().remove(InboxId).ok());
    QVERIFY(unconfirmed().of(InboxId).isEmpty());
    QVERIFY(unconfirmed().folders().isEmpty());
}

void TestSyncStateDb::unconfirmedMessagesAreFoundByTheirLooks()
{
    const Store::FolderState state = folder(InboxId);
    const Store::FolderState other = folder("other"_folder);
    const QMailMessageIdList ids {QMailMessageId(11), QMailMessageId(12), QMailMessageId(13)};
    QVERIFY(unconfirmed().replace(state, {{ids[0], "x"}, {ids[1], "y"}, {ids[2], "x"}}).ok());
    QVERIFY(unconfirmed().replace(other, {{QMailMessageId(10), "x"}}).ok());
    QMailMessageIdList alike;
    QVERIFY(unconfirmed().readAlike(InboxId, "x", &alike).ok());
    QCOMPARE(alike, QMailMessageIdList({ids[2], ids[0]}));
    alike.clear();
    QVERIFY(unconfirmed().readAlike(InboxId, "z", &alike).ok());
    QVERIFY(alike.isEmpty());
    QList<Store::Unconfirmed> some;
    QVERIFY(unconfirmed().readSome(InboxId, {}, 1, &some).ok());
    QVERIFY(unconfirmed().readSome(InboxId, ids[0], 1, &some).ok());
    QVERIFY(unconfirmed().readSome(InboxId, ids[1], 2, &some).ok());
    QVERIFY(unconfirmed().readSome(InboxId, ids[2], 1, &some).ok());
    QCOMPARE(some.size(), 3);
    for (int i = 0; i < some.size(); ++i)
        QCOMPARE(some[i].messageId, ids[i]);
    QCOMPARE(some[1].fingerprint, QByteArray("y"));
}

void TestSyncStateDb::unconfirmedMessagesOfAnOlderFileAreIndexed()
{
    const QString index = text("unconfirmed_by_fingerprint");
    QVERIFY(unconfirmed().replace(folder(InboxId), {{QMailMessageId(11), "x"}}).ok());
    m_db.reset();
    {
        QSqlDatabase raw = QSqlDatabase::addDatabase(text("QSQLITE"), text("older"));
        raw.setDatabaseName(m_path);
        QVERIFY(raw.open());
        QVERIFY(QSqlQuery(raw).exec(text("DROP INDEX ") + index));
        SyncStateDb reopened(m_path, "machine");
        QVERIFY(reopened.open().ok());
        QMailMessageIdList alike;
        QVERIFY(unconfirmed(reopened).readAlike(InboxId, "x", &alike).ok());
        QCOMPARE(alike, QMailMessageIdList {QMailMessageId(11)});
        QSqlQuery query(raw);
        QVERIFY(query.exec(text("SELECT name FROM sqlite_master WHERE type = 'index'"
                                " AND tbl_name = 'unconfirmed' AND sql IS NOT NULL")));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString(), index);
    }
    QSqlDatabase::removeDatabase(text("older"));
}

void TestSyncStateDb::confirmationAndKeyAreSavedTogether()
{
    Store::FolderState state = folder(InboxId);
    const QList<Store::Unconfirmed> messages {{QMailMessageId(11), "x"}, {QMailMessageId(12), "y"}};
    QVERIFY(unconfirmed().replace(state, messages).ok());
    state.syncKey = text("key-2");
    QVERIFY(unconfirmed().confirm(state, {QMailMessageId(11)}).ok());
    QCOMPARE(folders().find(InboxId)->syncKey, text("key-2"));
    QCOMPARE(unconfirmed().of(InboxId).size(), 1);
    QCOMPARE(unconfirmed().of(InboxId).first().messageId, QMailMessageId(12));
    QCOMPARE(unconfirmed().of(InboxId).first().fingerprint, QByteArray("y"));
    // Another reconciliation replaces what was noted.
    QVERIFY(unconfirmed().replace(state, {{QMailMessageId(13), "z"}}).ok());
    QCOMPARE(unconfirmed().of(InboxId).size(), 1);
    // Of a removed account neither is saved.
    QVERIFY(keys().remove().ok());
    QCOMPARE(unconfirmed().replace(state, messages).code, 1030);
    QVERIFY(unconfirmed().of(InboxId).isEmpty());
}

void TestSyncStateDb::acknowledgedMovesAreRememberedUntilTheyAreShown()
{
    const Store::FolderState state = folder(InboxId);
    const QMailMessageId shown(11);
    const QMailMessageId other(12);
    QVERIFY(folders().save(state).ok());
    QVERIFY(unconfirmed().addAcknowledgedMove(InboxId, shown).ok());
    QVERIFY(unconfirmed().addAcknowledgedMove(InboxId, other).ok());
    QVERIFY(unconfirmed().addAcknowledgedMove(InboxId, other).ok());
    {
        SyncStateDb again(m_path, "machine");
        QVERIFY(again.open().ok());
        QVERIFY(keys(again).open(record()).ok());
        QCOMPARE(unconfirmed(again).acknowledgedMoves(InboxId),
                 (QMailMessageIdList {shown, other}));
    }
    QVERIFY(unconfirmed().acknowledgedMoves("other"_folder).isEmpty());
    QVERIFY(unconfirmed().destinations() == QSet<Eas::FolderId> {InboxId});
    QVERIFY(unconfirmed().confirm(state, {shown, QMailMessageId(13)}).ok());
    QCOMPARE(unconfirmed().acknowledgedMoves(InboxId), QMailMessageIdList {other});
    QVERIFY(unconfirmed().endAcknowledgedMove(InboxId, other).ok());
    QVERIFY(unconfirmed().acknowledgedMoves(InboxId).isEmpty());
    QVERIFY(unconfirmed().destinations().isEmpty());

    // What is reconciled as a whole, or gone, needs no look at single ones.
    QVERIFY(unconfirmed().addAcknowledgedMove(InboxId, other).ok());
    QVERIFY(unconfirmed().replace(state, {}).ok());
    QVERIFY(unconfirmed().acknowledgedMoves(InboxId).isEmpty());
    QVERIFY(unconfirmed().addAcknowledgedMove(InboxId, other).ok());
    QVERIFY(folders().remove(InboxId).ok());
    QVERIFY(unconfirmed().acknowledgedMoves(InboxId).isEmpty());
}

void TestSyncStateDb::outgoingMessagesAreKept()
{
    QVERIFY(sent().save(outgoing("one")).ok());
    Store::Outgoing other = outgoing("two");
    other.messageId = QMailMessageId(8);
    other.print.clear();
    other.earlierIds.clear();
    QVERIFY(sent().save(other).ok());
    m_db = std::make_unique<SyncStateDb>(m_path, "machine");
    QVERIFY(m_db->open().ok());
    const auto kept = sent().find(QMailMessageId(7));
    QVERIFY(kept);
    QCOMPARE(kept->clientId, text("one"));
    QCOMPARE(kept->rfcId, QByteArray("<one@example.com>"));
    QCOMPARE(kept->state, Store::Outgoing::Uncertain);
    QCOMPARE(kept->leftAt, qint64(12345));
    QCOMPARE(kept->print, QByteArray("print"));
    QCOMPARE(kept->earlierIds, QList<QByteArray>({"<a@example.com>", "<b@example.com>"}));
    const auto bare = sent().find(text("two"));
    QVERIFY(bare);
    QCOMPARE(bare->print, QByteArray());
    QVERIFY(bare->earlierIds.isEmpty());
}

void TestSyncStateDb::anOutgoingMessageIsReplacedAtOnce()
{
    QVERIFY(sent().save(outgoing("one")).ok());
    QVERIFY(sent().replace(text("one"), outgoing("two")).ok());
    QCOMPARE(sent().all().size(), 1);
    QCOMPARE(sent().all().first().clientId, text("two"));
    // What cannot be saved replaces nothing.
    Store::Outgoing unnamed = outgoing("three");
    unnamed.clientId = QString();
    QVERIFY(!sent().replace(text("two"), unnamed).ok());
    QCOMPARE(sent().all().first().clientId, text("two"));
}

void TestSyncStateDb::whatAnOlderFileKnowsOfOutgoingMessagesIsKept()
{
    QVERIFY(sent().save(outgoing("one")).ok());
    m_db.reset();
    {
        QSqlDatabase raw = QSqlDatabase::addDatabase(text("QSQLITE"), text("older"));
        raw.setDatabaseName(m_path);
        QVERIFY(raw.open());
        for (const char *column : {"print", "earlier_ids"})
            QVERIFY(QSqlQuery(raw).exec(text("ALTER TABLE outgoing DROP COLUMN ") + text(column)));
    }
    QSqlDatabase::removeDatabase(text("older"));
    m_db = std::make_unique<SyncStateDb>(m_path, "machine");
    QVERIFY(m_db->open().ok());
    const auto kept = sent().find(text("one"));
    QVERIFY(kept);
    QCOMPARE(kept->rfcId, QByteArray("<one@example.com>"));
    QVERIFY(kept->print.isEmpty());
    QVERIFY(kept->earlierIds.isEmpty());
    QVERIFY(sent().save(outgoing("one")).ok());
    QCOMPARE(sent().find(text("one"))->print, QByteArray("print"));
}

void TestSyncStateDb::lookingChangesNothing()
{
    QVERIFY(sent().save(outgoing("one")).ok());
    const QString device = m_db->deviceId();
    SyncStateDb look(m_path, "another machine");
    QVERIFY(look.openToRead().ok());
    QVERIFY(Store::OutgoingTable(look, m_account).find(text("one")));
    QVERIFY(!Store::OutgoingTable(look, m_account).save(outgoing("two")).ok());
    m_db = std::make_unique<SyncStateDb>(m_path, "machine");
    QVERIFY(m_db->open().ok());
    QCOMPARE(m_db->deviceId(), device);
}

void TestSyncStateDb::lookingLeavesADamagedFileWhereItIs()
{
    const QString path = m_directory->filePath(text("damaged.db"));
    const QByteArray content = QByteArray("this is no database, is it? ").repeated(1000);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    file.write(content);
    file.close();
    SyncStateDb look(path, "machine");
    QCOMPARE(look.openToRead().code, 500);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), content);
}

void TestSyncStateDb::lookingFindsNothingWhereNothingIs()
{
    const QString path = m_directory->filePath(text("none.db"));
    SyncStateDb look(path, "machine");
    QVERIFY(look.openToRead().ok());
    QVERIFY(!Store::OutgoingTable(look, m_account).find(text("one")));
    QVERIFY(!QFileInfo::exists(path));
}

void TestSyncStateDb::damagedFileIsPutAside_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("noise") << QByteArray("this is no database, is it? ").repeated(1000);
    QTest::newRow("header alone") << QByteArray("SQLite format 3\0", 16) + QByteArray(5000, '\xff');
}

void TestSyncStateDb::damagedFileIsPutAside()
{
    QFETCH(QByteArray, content);
    m_db.reset();
    QFile::remove(m_path + text("-wal"));
    QFile::remove(m_path + text("-shm"));
    QFile file(m_path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    m_db = std::make_unique<SyncStateDb>(m_path, "machine");
    QVERIFY(m_db->open().ok());
    QCOMPARE(m_db->deviceId().size(), 32);
    QVERIFY(QFileInfo::exists(m_path + text(".damaged")));
    QVERIFY(keys().open(record()).ok());
}

void TestSyncStateDb::folderThatCannotBeWrittenIsAnError()
{
    SyncStateDb nowhere(m_directory->filePath(text("missing/folder/state.db")));
    QCOMPARE(nowhere.open().code, 500);
    QVERIFY(nowhere.deviceId().isEmpty());
}

void TestSyncStateDb::lockedFileIsAnErrorAndLaterFine()
{
    SyncStateDb second(m_path, "machine");
    QVERIFY(second.open().ok());
    {
        QSqlDatabase raw = QSqlDatabase::addDatabase(text("QSQLITE"), text("locker"));
        raw.setDatabaseName(m_path);
        QVERIFY(raw.open());
        QVERIFY(raw.exec(text("BEGIN EXCLUSIVE")).isActive());
        QElapsedTimer timer;
        timer.start();
        const Eas::Result result = keys(second).save(Store::AccountState());
        QCOMPARE(result.code, 500);
        QVERIFY(!result.text.isEmpty());
        QVERIFY(timer.elapsed() < 5000);
        raw.exec(text("ROLLBACK"));
        raw.close();
    }
    QSqlDatabase::removeDatabase(text("locker"));
    QVERIFY(keys(second).save(Store::AccountState()).ok());
}

void TestSyncStateDb::defaultPlaceIsBesideTheMailStore()
{
    QCOMPARE(QFileInfo(SyncStateDb::defaultPath()).fileName(), text("asdaemon.db"));
    QVERIFY(QFileInfo(SyncStateDb::defaultPath())
                .absolutePath()
                .startsWith(qEnvironmentVariable("QMF_DATA")));
}

QTEST_GUILESS_MAIN(TestSyncStateDb)
#include "tst_syncstatedb.moc"
