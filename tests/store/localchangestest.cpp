// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/localchanges.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/windowwriter.h"
#include "tests/store/items.h"
#include "tests/support/storefixture.h"

#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QTest>

using namespace Items;
using Store::FolderLocalChanges;
using Store::LocalChanges;

namespace {

using Message = QMailMessageMetaData;

const QString in = QStringLiteral("in");
const QString trash = QStringLiteral("tr");

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

/** What the user did in the mail store, as it is carried to the server. */
class LocalChangesTest : public QObject
{
    Q_OBJECT

private slots:
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
    void movedBackIsNoMove();
    void deletedDuringItsMoveIsDeletedWhereItLies();
    void refusedMoveGoesBack();
    void flagsOfAMovedMessageGoToItsFolderAtTheServer();
    void deletionsAreNamedByFolder();
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
    bool isOutstanding() { return QMailDisconnected::updatesOutstanding(m_account->id); }

    std::unique_ptr<SyncedAccount> m_account;
    std::unique_ptr<LocalChanges> m_changes;
};

void LocalChangesTest::init()
{
    m_account = std::make_unique<SyncedAccount>();
    m_changes = std::make_unique<LocalChanges>(m_account->db, m_account->id);
    Eas::SyncWindow window = Items::window(in, text("2"));
    for (int id = 1; id <= 5; ++id)
        window.added.append(item(QString::number(id), QStringLiteral("Message %1").arg(id)));
    QCOMPARE(m_account->write(window), 200);
}

void LocalChangesTest::cleanup()
{
    m_changes.reset();
    m_account.reset();
}

void LocalChangesTest::set(int id, quint64 mask, bool value)
{
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(message(id).id()),
                                                           mask, value));
}

void LocalChangesTest::moveToTrash(int id)
{
    QMailDisconnected::moveToStandardFolder({message(id).id()}, QMailFolder::TrashFolder);
    QCOMPARE(message(id).parentFolderId(), m_account->folderId(trash));
}

void LocalChangesTest::remove(int id)
{
    QVERIFY(
        QMailStore::instance()->removeMessage(message(id).id(), QMailStore::CreateRemovalRecord));
}

void LocalChangesTest::nothingDoneMeansNothingToCarry()
{
    QVERIFY(collect().isEmpty());
    QVERIFY(!isOutstanding());
}

void LocalChangesTest::readAndImportantAreFlags()
{
    set(1, Message::Read, true);
    set(2, Message::Important, true);
    set(3, Message::Read | Message::Important, true);
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, in);
    QCOMPARE(changes.first().flags.size(), 3);
    QVERIFY(changes.first().moves.isEmpty());
    for (const Store::FlagChange &change : changes.first().flags) {
        const int id = change.serverId.toInt();
        QCOMPARE(change.id, message(id).id());
        QCOMPARE(change.read, id == 2 ? std::nullopt : std::make_optional(true));
        QCOMPARE(change.important, id == 1 ? std::nullopt : std::make_optional(true));
    }
}

void LocalChangesTest::aFlagThatStandsIsSaidAgainWhereNothingIsLost()
{
    Eas::MailItem dated = Items::flagChange(text("3"), true);
    dated.hasFlagDates = true;
    Eas::SyncWindow window = Items::window(in, text("3"));
    window.changed = {Items::flagChange(text("2"), true), dated};
    QCOMPARE(m_account->write(window), 200);
    for (int id = 1; id <= 3; ++id)
        set(id, Message::Read, true);
    const QList<FolderLocalChanges> changes = collect();
    for (const Store::FlagChange &change : changes.first().flags) {
        QCOMPARE(change.keepsFlag, change.serverId == text("2"));
        QVERIFY(!change.important);
    }
    // Once it has no dates any more, nothing can be lost.
    window = Items::window(in, text("4"));
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

void LocalChangesTest::acknowledgedFlagsSurviveUndo()
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

void LocalChangesTest::unacknowledgedFlagsAreUndone()
{
    set(1, Message::Read | Message::Important, true);
    QMailDisconnected::rollBackUpdates(m_account->id);
    QVERIFY(!(message(1).status() & (Message::Read | Message::Important)));
    QVERIFY(collect().isEmpty());
}

void LocalChangesTest::flagChangedAgainDuringTheUploadStaysAChange()
{
    set(1, Message::Read, true);
    const auto uploaded = collect().first().flags;
    set(1, Message::Read, false);
    QVERIFY(collect().isEmpty());
    QVERIFY(m_changes->acknowledgeFlags(uploaded).ok());
    QCOMPARE(collect().first().flags.first().read, std::make_optional(false));
}

void LocalChangesTest::thousandFlagsAreAcknowledgedAtOnce()
{
    Eas::SyncWindow window = Items::window(in, text("3"));
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

void LocalChangesTest::moveNamesBothFolders()
{
    moveToTrash(1);
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, in);
    QCOMPARE(changes.first().moves.size(), 1);
    const Store::Move move = changes.first().moves.first();
    QCOMPARE(move.id, message(1).id());
    QCOMPARE(move.collectionId, in);
    QCOMPARE(move.serverId, text("1"));
    QCOMPARE(move.destination, trash);
}

void LocalChangesTest::acknowledgedMoveIsKnownByItsNewId()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    QVERIFY(m_changes->acknowledgeMove(move, text("77")).ok());
    QVERIFY(m_changes->acknowledgeMove(move, text("77")).ok());
    QVERIFY(collect().isEmpty());
    QVERIFY(!isOutstanding());
    QCOMPARE(m_account->metaData(text("77"), trash).id(), id);
    QVERIFY(!m_account->metaData(text("77"), trash).previousParentFolderId().isValid());
    // What both folders' synchronisations bring of it changes nothing.
    Eas::SyncWindow gone = Items::window(in, text("3"));
    gone.removed = QStringList(text("1"));
    Eas::SyncWindow come = Items::window(trash, text("2"));
    come.added = {item(text("77"), text("Message 1"))};
    QCOMPARE(m_account->write(gone), 200);
    QCOMPARE(m_account->write(come), 200);
    QCOMPARE(m_account->messages(trash), QMailMessageIdList {id});
}

void LocalChangesTest::acknowledgedMoveSurvivesUndo()
{
    moveToTrash(1);
    const QMailMessageId id = message(1).id();
    QVERIFY(m_changes->acknowledgeMove(collect().first().moves.first(), text("77")).ok());
    QMailDisconnected::rollBackUpdates(m_account->id);
    QCOMPARE(Message(id).parentFolderId(), m_account->folderId(trash));
}

void LocalChangesTest::acknowledgedMoveIsRememberedUntilItsFolderShowsIt()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    QVERIFY(m_changes->acknowledgeMove(collect().first().moves.first(), text("77")).ok());
    QCOMPARE(m_account->db.moved(m_account->id, trash), QMailMessageIdList {id});
    // That it left its former folder, and other news, say nothing about it.
    Eas::SyncWindow gone = Items::window(in, text("3"));
    gone.removed = QStringList(text("1"));
    QCOMPARE(m_account->write(gone), 200);
    Eas::SyncWindow other = Items::window(trash, text("2"));
    other.added = {item(text("78"), text("Other"))};
    QCOMPARE(m_account->write(other), 200);
    QCOMPARE(m_account->db.moved(m_account->id, trash), QMailMessageIdList {id});
    Eas::SyncWindow shown = Items::window(trash, text("3"));
    shown.added = {item(text("77"), text("Message 1"))};
    QCOMPARE(m_account->write(shown), 200);
    QVERIFY(m_account->db.moved(m_account->id, trash).isEmpty());
    QCOMPARE(m_account->messages(trash).size(), 2);
}

void LocalChangesTest::moveThatWasBroughtByASynchronisationIsOneMessage()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    Eas::SyncWindow come = Items::window(trash, text("2"));
    come.added = {item(text("77"), text("Message 1"))};
    QCOMPARE(m_account->write(come), 200);
    QVERIFY(m_changes->acknowledgeMove(move, text("77")).ok());
    QCOMPARE(m_account->messages(trash), QMailMessageIdList {id});
    // The server has told of it, and will tell of its end.
    QVERIFY(m_account->db.moved(m_account->id, trash).isEmpty());
}

void LocalChangesTest::movedOnDuringTheUploadIsAnotherMove()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    QMailDisconnected::moveToFolder({id}, m_account->folderId(text("dr")));
    QVERIFY(m_changes->acknowledgeMove(move, text("77")).ok());
    QCOMPARE(Message(id).parentFolderId(), m_account->folderId(text("dr")));
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, trash);
    QCOMPARE(changes.first().moves.first().serverId, text("77"));
    QCOMPARE(changes.first().moves.first().destination, text("dr"));
}

void LocalChangesTest::movedBackIsNoMove()
{
    const QMailMessageId id = message(1).id();
    moveToTrash(1);
    QMailDisconnected::moveToFolder({id}, m_account->folderId());
    QVERIFY(collect().isEmpty());
}

void LocalChangesTest::deletedDuringItsMoveIsDeletedWhereItLies()
{
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    QVERIFY(QMailStore::instance()->removeMessage(move.id, QMailStore::CreateRemovalRecord));
    QVERIFY(m_changes->acknowledgeMove(move, text("77")).ok());
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, trash);
    QCOMPARE(changes.first().deletions, QStringList(text("77")));
    QCOMPARE(QMailStore::instance()->countMessages(), 4);
}

void LocalChangesTest::refusedMoveGoesBack()
{
    moveToTrash(1);
    const Store::Move move = collect().first().moves.first();
    QVERIFY(m_changes->revertMove(move).ok());
    QVERIFY(collect().isEmpty());
    QCOMPARE(message(1).parentFolderId(), m_account->folderId());
    QVERIFY(!(message(1).status() & Message::Trash));
}

void LocalChangesTest::flagsOfAMovedMessageGoToItsFolderAtTheServer()
{
    moveToTrash(1);
    set(1, Message::Read, true);
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().collectionId, in);
    QCOMPARE(changes.first().flags.size(), 1);
    QCOMPARE(changes.first().moves.size(), 1);
}

void LocalChangesTest::deletionsAreNamedByFolder()
{
    Eas::SyncWindow window = Items::window(trash, text("2"));
    window.added = {item(text("1"), text("In the trash"))};
    QCOMPARE(m_account->write(window), 200);
    remove(1);
    remove(2);
    QVERIFY(QMailStore::instance()->removeMessage(m_account->metaData(text("1"), trash).id(),
                                                  QMailStore::CreateRemovalRecord));
    const QList<FolderLocalChanges> changes = collect();
    QCOMPARE(changes.size(), 2);
    QStringList deleted = changes.first().deletions;
    deleted.sort();
    QCOMPARE(changes.first().collectionId, in);
    QCOMPARE(deleted, QStringList({text("1"), text("2")}));
    QCOMPARE(changes.last().collectionId, trash);
    QCOMPARE(changes.last().deletions, QStringList(text("1")));
}

void LocalChangesTest::acknowledgedDeletionIsForgotten()
{
    remove(1);
    remove(2);
    QVERIFY(m_changes->acknowledgeDeletions(in, {text("1")}).ok());
    QCOMPARE(collect().first().deletions, QStringList(text("2")));
    QVERIFY(m_changes->acknowledgeDeletions(in, {}).ok());
    QCOMPARE(collect().first().deletions, QStringList(text("2")));
    QVERIFY(m_changes->acknowledgeDeletions(in, {text("2"), text("unknown")}).ok());
    QVERIFY(collect().isEmpty());
    QVERIFY(!isOutstanding());
}

void LocalChangesTest::removalRecordWithoutIdIsIgnored()
{
    const QMailMessageId draft =
        StoreFixture::addMessage(m_account->id, m_account->folderId(text("dr")));
    QVERIFY(QMailStore::instance()->removeMessage(draft, QMailStore::CreateRemovalRecord));
    QVERIFY(collect().isEmpty());
}

void LocalChangesTest::messageOfTheUserAloneIsNoBusinessOfTheServer()
{
    StoreFixture::addMessage(m_account->id, m_account->folderId(text("dr")), text("Draft"),
                             Message::Read | Message::Draft);
    StoreFixture::addMessage(m_account->id, m_account->folderId(text("dr")), text("Draft"),
                             Message::Read | Message::Draft, text("foreign-uid"));
    QVERIFY(collect().isEmpty());
}

void LocalChangesTest::messageGoneAtTheServerGoesHere()
{
    const QMailMessageId id = message(1).id();
    QVERIFY(m_changes->dropMessage(id).ok());
    QVERIFY(m_changes->dropMessage(id).ok());
    QCOMPARE(m_account->messages().size(), 4);
    QVERIFY(collect().isEmpty());
}

void LocalChangesTest::nothingIsAcknowledgedForARemovedAccount()
{
    set(1, Message::Read, true);
    const auto flags = collect().first().flags;
    QVERIFY(QMailStore::instance()->removeAccount(m_account->id));
    QCOMPARE(m_changes->acknowledgeFlags(flags).code, 1030);
}

QTEST_GUILESS_MAIN(LocalChangesTest)
#include "localchangestest.moc"
