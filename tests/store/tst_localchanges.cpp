// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/windowwriter.h"
#include "daemon/store/localchanges.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/storeindexes.h"
#include "tests/store/items.h"
#include "tests/store/sqltrace.h"
#include "tests/support/storefixture.h"

#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

using namespace Items;
using Store::FolderLocalChanges;
using Store::LocalChanges;
using Store::ServerUid;

namespace {

using Message = QMailMessageMetaData;

const Eas::FolderId TrashId = "tr"_folder;

/** Writes to the mail store while this process does, as another one may. */
class OtherConnection
{
public:
    OtherConnection()
    {
        auto base = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
        base.setDatabaseName(qEnvironmentVariable("QMF_DATA")
                             + QStringLiteral("/database/qmailstore.db"));
        if (!base.open())
            qFatal("cannot open the mail store's database");
    }
    ~OtherConnection() { QSqlDatabase::removeDatabase(m_name); }
    OtherConnection(const OtherConnection &) = delete;
    OtherConnection &operator=(const OtherConnection &) = delete;

    void moveTo(const QMailMessageId &id, const QMailFolderId &folder) const
    {
        QSqlQuery query(QSqlDatabase::database(m_name));
        const QString sql =
            QStringLiteral("UPDATE mailmessages SET parentfolderid = %1 WHERE id = %2")
                .arg(folder.toULongLong())
                .arg(id.toULongLong());
        if (!query.exec(sql) || query.numRowsAffected() != 1)
            qFatal("cannot move a message: %s", qPrintable(query.lastError().text()));
    }

private:
    const QString m_name = QStringLiteral("other");
};

} // namespace

/** What the user did in the mail store, as it is carried to the server. */
class TestLocalChanges : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase_data();
    void init();
    void cleanup();

    void nothingDoneMeansNothingToCarry();
    void readAndImportantAreFlags();
    void aFlagThatStandsIsSaidAgainWhereNothingIsLost();
    void acknowledgedFlagsSurviveUndo();
    void unacknowledgedFlagsAreUndone();
    void flagChangedAgainDuringTheUploadStaysAChange();
    void thousandFlagsAreAcknowledgedAtOnce();
    void moveNamesBothFolders();
    void acknowledgedMoveIsKnownByItsNewId();
    void acknowledgedMoveSurvivesUndo();
    void acknowledgedMoveIsRememberedUntilItsFolderShowsIt();
    void moveThatWasBroughtByASynchronisationIsOneMessage();
    void movedOnDuringTheUploadIsAnotherMove();
    void movedOnAndBackDuringTheUploadItHasItsNewId();
    void movedBackIsNoMove();
    void deletedDuringItsMoveIsDeletedWhereItLies();
    void outOfRangeDuringItsMoveIsNotDeleted();
    void refusedMoveGoesBack();
    void flagsOfAMovedMessageGoToItsFolderAtTheServer();
    void deletionsAreNamedByFolder();
    void whatIsDeletedFromTheTrashIsErasedWhereTheServerHasIt();
    void acknowledgedDeletionIsForgotten();
    void removalRecordWithoutIdIsIgnored();
    void messageOfTheUserAloneIsNoBusinessOfTheServer();
    void messageGoneAtTheServerGoesHere();
    void nothingIsAcknowledgedForARemovedAccount();

private:
    QList<FolderLocalChanges> collect() { return m_changes->collect(); }
    Message message(int id) { return m_account->metaData(QString::number(id)); }
    void set(int id, quint64 mask, bool value);
    void moveToTrash(int id);
    void remove(int id);
    QMailMessageIdList acknowledged()
    {
        return Store::UnconfirmedMessages(m_account->db, m_account->id).acknowledgedMoves(TrashId);
    }
    bool isOutstanding() { return QMailDisconnected::updatesOutstanding(m_account->id); }

    std::unique_ptr<SyncedAccount> m_account;
    std::unique_ptr<LocalChanges> m_changes;
    std::unique_ptr<Store::Moves> m_moves;
};

void TestLocalChanges::initTestCase_data()
{
    QTest::addColumn<bool>("hasIndexes");
    QTest::newRow("with indexes") << true;
    QTest::newRow("without indexes") << false;
}

void TestLocalChanges::init()
{
    using Store::StoreIndexes;
    QFETCH_GLOBAL(bool, hasIndexes);
    StoreIndexes().drop();
    while (hasIndexes && StoreIndexes().makeNext() == StoreIndexes::Outcome::Changed) { }
    m_account = std::make_unique<SyncedAccount>();
    m_changes = std::make_unique<LocalChanges>(m_account->db, m_account->id);
    m_moves = std::make_unique<Store::Moves>(m_account->db, m_account->id);
    Eas::SyncWindow window = Items::window(InboxId, text("2"));
    for (int id = 1; id <= 5; ++id)
        window.added.append(item(QString::number(id), QStringLiteral("Message %1").arg(id)));
    QCOMPARE(m_account->write(window), 200);
}

void TestLocalChanges::cleanup()
{
    m_moves.reset();
    m_changes.reset();
    m_account.reset();
}

void TestLocalChanges::set(int id, quint64 mask, bool value)
{
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(message(id).id()),
                                                           mask, value));
}

void TestLocalChanges::moveToTrash(int id)
{
    QMailDisconnected::moveToStandardFolder({message(id).id()}, QMailFolder::TrashFolder);
    QCOMPARE(message(id).parentFolderId(), m_account->folderId(TrashId));
}

void TestLocalChanges::remove(int id)
{
    QVERIFY(
        QMailStore::instance()->removeMessage(message(id).id(), QMailStore::CreateRemovalRecord));
}

void TestLocalChanges::nothingDoneMeansNothingToCarry()
{
    QVERIFY(collect().isEmpty());
    QVERIFY(!isOutstanding());
}

void TestLocalChanges::readAndImportantAreFlags()
{
    set(1, Message::Read, true);
    set(2, Message::Important, true);
    set(3, Message::Read | Message::Important, true);
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, InboxId);
    QCOMPARE(changes.first().flags.size(), 3);
    QVERIFY(changes.first().moves.isEmpty());
    for (const Store::FlagChange &change : changes.first().flags) {
        const int id = change.uid.itemId().toInt();
        QCOMPARE(change.id, message(id).id());
        QCOMPARE(change.read, id == 2 ? std::nullopt : std::make_optional(true));
        QCOMPARE(change.important, id == 1 ? std::nullopt : std::make_optional(true));
    }
}

void TestLocalChanges::aFlagThatStandsIsSaidAgainWhereNothingIsLost()
{
    Eas::MailItem dated = Items::flagChange(text("3"), true);
    dated.hasFlagDates = true;
    Eas::SyncWindow window = changing(text("3"), {Items::flagChange(text("2"), true), dated});
    QCOMPARE(m_account->write(window), 200);
    for (int id = 1; id <= 3; ++id)
        set(id, Message::Read, true);
    const QList<FolderLocalChanges> changes = collect();
    for (const Store::FlagChange &change : changes.first().flags) {
        QCOMPARE(change.keepsFlag, change.uid.itemId() == text("2"));
        QVERIFY(!change.important);
    }
    // Once it has no dates any more, nothing can be lost.
    window = Items::window(InboxId, text("4"));
    window.changed = {Items::flagChange(text("3"), true)};
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(collect().first().flags.last().keepsFlag, true);
    // What the user does to the flag is another matter.
    set(2, Message::Important, false);
    QCOMPARE(collect().first().flags.at(1).keepsFlag, false);
    QCOMPARE(collect().first().flags.at(1).important, std::make_optional(false));
    // Of a flag that an earlier version has stored, nothing is known.
    QMailMessageMetaData before = message(3);
    for (const QString &field : before.customFields().keys())
        before.removeCustomField(field);
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(before.id()),
                                                           QMailMessageKey::Custom, before));
    QCOMPARE(collect().first().flags.last().keepsFlag, false);
}

void TestLocalChanges::acknowledgedFlagsSurviveUndo()
{
    set(1, Message::Read | Message::Important, true);
    QVERIFY(m_changes->acknowledgeFlags(collect().first().flags).ok());
    QVERIFY(collect().isEmpty());
    QVERIFY(!isOutstanding());
    QMailDisconnected::rollBackUpdates(m_account->id);
    QVERIFY(message(1).status() & Message::Read);
    QVERIFY(message(1).status() & Message::Important);
    set(1, Message::Read | Message::Important, false);
    const auto flags = collect().first().flags;
    QCOMPARE(flags.first().read, std::make_optional(false));
    QCOMPARE(flags.first().important, std::make_optional(false));
    QVERIFY(m_changes->acknowledgeFlags(flags).ok());
    QVERIFY(collect().isEmpty());
}

void TestLocalChanges::unacknowledgedFlagsAreUndone()
{
    set(1, Message::Read | Message::Important, true);
    QMailDisconnected::rollBackUpdates(m_account->id);
    QVERIFY(!(message(1).status() & (Message::Read | Message::Important)));
    QVERIFY(collect().isEmpty());
}

void TestLocalChanges::flagChangedAgainDuringTheUploadStaysAChange()
{
    set(1, Message::Read, true);
    const auto uploaded = collect().first().flags;
    set(1, Message::Read, false);
    QVERIFY(collect().isEmpty());
    QVERIFY(m_changes->acknowledgeFlags(uploaded).ok());
    QCOMPARE(collect().first().flags.first().read, std::make_optional(false));
}

void TestLocalChanges::thousandFlagsAreAcknowledgedAtOnce()
{
    Eas::SyncWindow window = Items::window(InboxId, text("3"));
    for (int id = 10; id < 1200; ++id)
        window.added.append(item(QString::number(id)));
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::parentAccountId(m_account->id), Message::Read, true));
    const auto flags = collect().first().flags;
    QCOMPARE(flags.size(), 1195);
    QVERIFY(m_changes->acknowledgeFlags(flags).ok());
    QVERIFY(collect().isEmpty());
}

void TestLocalChanges::moveNamesBothFolders()
{
    moveToTrash(1);
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, InboxId);
    QCOMPARE(changes.first().moves.size(), 1);
    const Store::Move move = changes.first().moves.first();
    QCOMPARE(move.id, message(1).id());
    QVERIFY(move.from == ServerUid::item(InboxId, text("1")));
    QCOMPARE(move.destination, TrashId);
}

void TestLocalChanges::acknowledgedMoveIsKnownByItsNewId()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    QVERIFY(m_moves->acknowledge(move, text("77")).ok());
    QVERIFY(m_moves->acknowledge(move, text("77")).ok());
    QVERIFY(collect().isEmpty());
    QVERIFY(!isOutstanding());
    QCOMPARE(m_account->metaData(text("77"), TrashId).id(), id);
    QVERIFY(!m_account->metaData(text("77"), TrashId).previousParentFolderId().isValid());
    // What both folders' synchronisations bring of it changes nothing.
    Eas::SyncWindow gone = removing(text("3"), {text("1")});
    Eas::SyncWindow come = adding(text("2"), {item(text("77"), text("Message 1"))}, TrashId);
    QCOMPARE(m_account->write(gone), 200);
    QCOMPARE(m_account->write(come), 200);
    QCOMPARE(m_account->messages(TrashId), QMailMessageIdList {id});
}

void TestLocalChanges::acknowledgedMoveSurvivesUndo()
{
    moveToTrash(1);
    const QMailMessageId id = message(1).id();
    QVERIFY(m_moves->acknowledge(collect().first().moves.first(), text("77")).ok());
    QMailDisconnected::rollBackUpdates(m_account->id);
    QCOMPARE(Message(id).parentFolderId(), m_account->folderId(TrashId));
}

void TestLocalChanges::acknowledgedMoveIsRememberedUntilItsFolderShowsIt()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    QVERIFY(m_moves->acknowledge(collect().first().moves.first(), text("77")).ok());
    QCOMPARE(acknowledged(), QMailMessageIdList {id});
    // That it left its former folder, and other news, say nothing about it.
    QCOMPARE(m_account->write(removing(text("3"), {text("1")})), 200);
    QCOMPARE(m_account->write(adding(text("2"), {item(text("78"), text("Other"))}, TrashId)), 200);
    QCOMPARE(acknowledged(), QMailMessageIdList {id});
    QCOMPARE(m_account->write(adding(text("3"), {item(text("77"), text("Message 1"))}, TrashId)),
             200);
    QVERIFY(acknowledged().isEmpty());
    QCOMPARE(m_account->messages(TrashId).size(), 2);
}

void TestLocalChanges::moveThatWasBroughtByASynchronisationIsOneMessage()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    QCOMPARE(m_account->write(adding(text("2"), {item(text("77"), text("Message 1"))}, TrashId)),
             200);
    QVERIFY(m_moves->acknowledge(move, text("77")).ok());
    QCOMPARE(m_account->messages(TrashId), QMailMessageIdList {id});
    // The server has told of it, and will tell of its end.
    QVERIFY(acknowledged().isEmpty());
}

void TestLocalChanges::movedOnDuringTheUploadIsAnotherMove()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    QMailDisconnected::moveToFolder({id}, m_account->folderId("dr"_folder));
    QVERIFY(m_moves->acknowledge(move, text("77")).ok());
    QCOMPARE(Message(id).parentFolderId(), m_account->folderId("dr"_folder));
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, TrashId);
    QVERIFY(changes.first().moves.first().from == ServerUid::item(TrashId, text("77")));
    QCOMPARE(changes.first().moves.first().destination, "dr"_folder);
}

/** Another process moves it back between the two writes by which it is looked for in both places.
 */
void TestLocalChanges::movedOnAndBackDuringTheUploadItHasItsNewId()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    QMailDisconnected::moveToFolder({id}, m_account->folderId("dr"_folder));
    const OtherConnection other;
    int writes = 0;
    {
        const SqlTrace trace([&](const QString &statement) {
            if (statement.startsWith(text("BEGIN")) && ++writes == 2)
                other.moveTo(id, m_account->folderId(TrashId));
        });
        QVERIFY(m_moves->acknowledge(move, text("77")).ok());
    }
    QVERIFY(writes >= 2);
    const Message after = Store::currentMessage(id);
    QCOMPARE(after.parentFolderId(), m_account->folderId(TrashId));
    QVERIFY(ServerUid(after) == ServerUid::item(TrashId, text("77")));
    QVERIFY(!after.previousParentFolderId().isValid());
}

void TestLocalChanges::movedBackIsNoMove()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    QMailDisconnected::moveToFolder({id}, m_account->folderId());
    QVERIFY(collect().isEmpty());
}

void TestLocalChanges::deletedDuringItsMoveIsDeletedWhereItLies()
{
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    QVERIFY(QMailStore::instance()->removeMessage(move.id, QMailStore::CreateRemovalRecord));
    QVERIFY(m_moves->acknowledge(move, text("77")).ok());
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, TrashId);
    QVERIFY(changes.first().deletions == QList<ServerUid> {ServerUid::item(TrashId, text("77"))});
    QCOMPARE(QMailStore::instance()->countMessages(), 4);
}

void TestLocalChanges::outOfRangeDuringItsMoveIsNotDeleted()
{
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    Eas::SyncWindow window = Items::window(InboxId, text("3"));
    window.outOfRange = QStringList {text("1")};
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_moves->acknowledge(move, text("77")).ok());
    QVERIFY(collect().isEmpty());
    QVERIFY(QMailStore::instance()->messageRemovalRecords(m_account->id).isEmpty());
    QCOMPARE(QMailStore::instance()->countMessages(), 4);
}

void TestLocalChanges::refusedMoveGoesBack()
{
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    QVERIFY(m_moves->revert(move).ok());
    QVERIFY(collect().isEmpty());
    QCOMPARE(message(1).parentFolderId(), m_account->folderId());
    QVERIFY(!(message(1).status() & Message::Trash));
}

void TestLocalChanges::flagsOfAMovedMessageGoToItsFolderAtTheServer()
{
    moveToTrash(1);
    set(1, Message::Read, true);
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, InboxId);
    QCOMPARE(changes.first().flags.size(), 1);
    QCOMPARE(changes.first().moves.size(), 1);
}

void TestLocalChanges::deletionsAreNamedByFolder()
{
    QCOMPARE(m_account->write(adding(text("2"), {item(text("1"), text("In the trash"))}, TrashId)),
             200);
    remove(1);
    remove(2);
    QVERIFY(QMailStore::instance()->removeMessage(m_account->metaData(text("1"), TrashId).id(),
                                                  QMailStore::CreateRemovalRecord));
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 2);
    const QList<ServerUid> deleted = changes.first().deletions;
    QCOMPARE(changes.first().collectionId, InboxId);
    QCOMPARE(deleted.size(), 2);
    QVERIFY(deleted.contains(ServerUid::item(InboxId, text("1"))));
    QVERIFY(deleted.contains(ServerUid::item(InboxId, text("2"))));
    QCOMPARE(changes.last().collectionId, TrashId);
    QVERIFY(changes.last().deletions == QList<ServerUid> {ServerUid::item(TrashId, text("1"))});
}

void TestLocalChanges::whatIsDeletedFromTheTrashIsErasedWhereTheServerHasIt()
{
    moveToTrash(1);
    moveToTrash(2);
    QMailDisconnected::moveToFolder({message(2).id()}, m_account->folderId());
    for (const int id : {1, 2, 3})
        remove(id);
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, InboxId);
    QVERIFY(changes.first().erasures == QList<ServerUid> {ServerUid::item(InboxId, text("1"))});
    QVERIFY((changes.first().deletions
             == QList<ServerUid> {ServerUid::item(InboxId, text("2")),
                                  ServerUid::item(InboxId, text("3"))}));
    QCOMPARE(m_changes->count(), 3);
    QVERIFY(m_changes->acknowledgeDeletions(changes.first().erasures).ok());
    QCOMPARE(m_changes->count(), 2);
    QVERIFY(collect().first().erasures.isEmpty());
}

void TestLocalChanges::acknowledgedDeletionIsForgotten()
{
    remove(1);
    remove(2);
    const ServerUid second = ServerUid::item(InboxId, text("2"));
    QVERIFY(m_changes->acknowledgeDeletions({ServerUid::item(InboxId, text("1"))}).ok());
    QVERIFY(collect().first().deletions == QList<ServerUid> {second});
    QVERIFY(m_changes->acknowledgeDeletions({}).ok());
    QVERIFY(collect().first().deletions == QList<ServerUid> {second});
    QVERIFY(
        m_changes->acknowledgeDeletions({second, ServerUid::item(InboxId, text("unknown"))}).ok());
    QVERIFY(collect().isEmpty());
    QVERIFY(!isOutstanding());
}

void TestLocalChanges::removalRecordWithoutIdIsIgnored()
{
    const QMailMessageId draft =
        StoreFixture::addMessage(m_account->id, m_account->folderId("dr"_folder));
    QVERIFY(QMailStore::instance()->removeMessage(draft, QMailStore::CreateRemovalRecord));
    QVERIFY(collect().isEmpty());
}

void TestLocalChanges::messageOfTheUserAloneIsNoBusinessOfTheServer()
{
    StoreFixture::addMessage(m_account->id, m_account->folderId("dr"_folder), text("Draft"),
                             Message::Read | Message::Draft);
    StoreFixture::addMessage(m_account->id, m_account->folderId("dr"_folder), text("Draft"),
                             Message::Read | Message::Draft, text("foreign-uid"));
    QVERIFY(collect().isEmpty());
}

void TestLocalChanges::messageGoneAtTheServerGoesHere()
{
    const QMailMessageId id = message(1).id();
    QVERIFY(m_changes->dropMessage(id).ok());
    QVERIFY(m_changes->dropMessage(id).ok());
    QCOMPARE(m_account->messages().size(), 4);
    QVERIFY(collect().isEmpty());
}

void TestLocalChanges::nothingIsAcknowledgedForARemovedAccount()
{
    set(1, Message::Read, true);
    const auto flags = collect().first().flags;
    QVERIFY(QMailStore::instance()->removeAccount(m_account->id));
    QCOMPARE(m_changes->acknowledgeFlags(flags).code, 1030);
}

QTEST_GUILESS_MAIN(TestLocalChanges)
#include "tst_localchanges.moc"
