// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/folderwriter.h"
#include "daemon/store/incoming/foundwriter.h"
#include "daemon/store/incoming/windowwriter.h"
#include "daemon/store/mark.h"
#include "daemon/store/serveruid.h"
#include "tests/store/items.h"
#include "tests/support/chance.h"
#include "tests/support/storefixture.h"

#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QRandomGenerator>
#include <QTest>

using namespace Items;

Q_DECLARE_METATYPE(Eas::FolderId)
Q_DECLARE_METATYPE(Eas::FolderRecord)
Q_DECLARE_METATYPE(QList<Eas::FolderId>)

/** What answers to FolderSync do to the account's folders in the mail store. */
class TestFolderWriter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void foldersGetTheirPlaceNameAndKind();
    void standardFoldersAreNamedByTheAccount();
    void childMayComeBeforeItsParent();
    void childOfAFolderWithoutMailLiesAtTheTop();
    void foldersWithoutMailAreLeftOut();
    void sameAnswerTwiceChangesNothing();
    void renamedAndMovedFolderKeepsItsIdAndMessages();
    void folderOfAnotherNameOrPlaceIsMarked_data();
    void folderOfAnotherNameOrPlaceIsMarked();
    void removedFolderTakesItsMessagesWithIt();
    void whatNoServerHasStaysWhenItsFolderGoes_data();
    void whatNoServerHasStaysWhenItsFolderGoes();
    void whatIsKeptOfAFolderIsNotSent_data();
    void whatIsKeptOfAFolderIsNotSent();
    void whatTheUserDoesWithItMeanwhileStays();
    void folderOfTheUserBelowARemovedOneStays();
    void removedParentTakesItsChildrenWithIt();
    void parentRemovedBeforeItsChildTakesNothingElseWithIt_data();
    void parentRemovedBeforeItsChildTakesNothingElseWithIt();
    void childMovedOutOfARemovedParentStays();
    void parentAndChildCanChangePlaces();
    void circleOfParentsEndsAtTheTop();
    void completeAnswerIsComparedWithWhatIsHere();
    void folderIsFoundAgainAfterTheMemoryWasLost();
    void folderThatVanishedHereIsMadeAnew();
    void foldersOfTheUserAreLeftAlone();
    void choiceNotToSynchroniseAFolderStays();
    void messageMovedIntoARemovedFolderGoesBack_data();
    void messageMovedIntoARemovedFolderGoesBack();
    void hostileNames_data();
    void hostileNames();
    void manyMessagesAreRemovedInShortSteps();
    void nothingIsWrittenForARemovedAccount();
    void folderUnderAnotherIdIsKept();
    void renamingThatWasBrokenOffGoesOn();
    void renamingThatWasBrokenOffGoesOnWithYetOtherIds();
    void whatASearchBroughtIsNotDoubledByARenaming_data();
    void whatASearchBroughtIsNotDoubledByARenaming();
    void folderOfAnotherPlaceNameOrKindIsAnother();
    void randomAnswersMatchAPlainModel();

private:
    int write(const Eas::FolderChanges &changes);
    Eas::FolderChanges changes(const QString &key) const;
    /** The usual folders, one more, and one below that; the server's ids begin with that text. */
    Eas::FolderChanges tree(const char *prefix) const;
    /** A message that the server has brought into the folder. */
    QMailMessageId messageIn(const char *serverId) { return messagesIn(serverId, 1).value(0); }
    QMailMessageIdList messagesIn(const char *serverId, int count);
    static Store::ServerUid uidOf(const QMailMessageId &message)
    {
        return Store::ServerUid(QMailMessageMetaData(message));
    }
    Store::FolderState state(const char *serverId) const;
    QMailFolder folder(const char *serverId) const { return QMailFolder(state(serverId).folderId); }
    Store::AccountKeys keys() const { return {*m_db, m_account}; }
    Store::FolderKeys folders() const { return {*m_db, m_account}; }
    int count() const;

    QMailAccountId m_account;
    std::unique_ptr<Store::SyncStateDb> m_db;
};

void TestFolderWriter::init()
{
    m_account = StoreFixture::addAccount();
    m_db = std::make_unique<Store::SyncStateDb>();
    QVERIFY(m_db->open().ok());
    QVERIFY(keys().open(Store::AccountRecord::read(m_account)).ok());
}

void TestFolderWriter::cleanup()
{
    keys().remove();
    m_db.reset();
    StoreFixture::clear();
}

int TestFolderWriter::write(const Eas::FolderChanges &changes)
{
    return Store::FolderWriter(*m_db, m_account, changes).run().code;
}

Eas::FolderChanges TestFolderWriter::changes(const QString &key) const
{
    Eas::FolderChanges changes;
    changes.syncKey = key;
    return changes;
}

Eas::FolderChanges TestFolderWriter::tree(const char *prefix) const
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder("a"_folder, text("A")));
    answer.added.append(
        Items::folder("below"_folder, text("Below"), Eas::UserMailFolder, "a"_folder));
    for (Eas::FolderRecord &record : answer.added) {
        record.serverId = Eas::FolderId(text(prefix) + record.serverId.text());
        if (record.parentId != Eas::FolderId::Root)
            record.parentId = Eas::FolderId(text(prefix) + record.parentId.text());
    }
    return answer;
}

QMailMessageIdList TestFolderWriter::messagesIn(const char *serverId, int count)
{
    Eas::SyncWindow window = Items::window(Eas::FolderId(text(serverId)), text("1"));
    if (!Store::WindowWriter(*m_db, m_account, window).run().ok())
        return {};
    for (int i = 0; i < count; ++i)
        window.added.append(item(QString::number(5 + i)));
    Store::WindowWriter writer(*m_db, m_account, window);
    return writer.run().ok() ? writer.added() : QMailMessageIdList();
}

Store::FolderState TestFolderWriter::state(const char *serverId) const
{
    return folders().find(Eas::FolderId(text(serverId))).value_or(Store::FolderState());
}

int TestFolderWriter::count() const
{
    return QMailStore::instance()->countFolders(QMailFolderKey::parentAccountId(m_account));
}

void TestFolderWriter::foldersGetTheirPlaceNameAndKind()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder("a"_folder, text("Projekte"), Eas::UserMailFolder, InboxId));
    answer.added.append(Items::folder("j"_folder, text("Junk E-mail")));
    QCOMPARE(write(answer), 200);
    QCOMPARE(count(), 6);
    QCOMPARE(folder("a").displayName(), text("Projekte"));
    QCOMPARE(folder("a").parentFolderId(), state("in").folderId);
    QCOMPARE(folder("a").parentAccountId(), m_account);
    QVERIFY(folder("in").status() & QMailFolder::Incoming);
    QVERIFY(folder("se").status() & QMailFolder::Sent);
    QVERIFY(folder("dr").status() & QMailFolder::Drafts);
    QVERIFY(folder("tr").status() & QMailFolder::Trash);
    QVERIFY(folder("j").status() & QMailFolder::Junk);
    const quint64 all = QMailFolder::SynchronizationEnabled | QMailFolder::Synchronized
        | QMailFolder::MessagesPermitted;
    QCOMPARE(folder("a").status() & all, all);
    QCOMPARE(state("a").parentId, InboxId);
    QCOMPARE(state("a").syncKey, text("0"));
    QCOMPARE(state("in").type, int(Eas::Inbox));
    QCOMPARE(keys().state().folderSyncKey, text("f1"));
    QCOMPARE(folders().find(state("a").folderId)->serverId, "a"_folder);
}

void TestFolderWriter::standardFoldersAreNamedByTheAccount()
{
    QCOMPARE(write(usualFolders()), 200);
    const QMailAccount account(m_account);
    QCOMPARE(account.standardFolder(QMailFolder::InboxFolder), state("in").folderId);
    QCOMPARE(account.standardFolder(QMailFolder::DraftsFolder), state("dr").folderId);
    QCOMPARE(account.standardFolder(QMailFolder::SentFolder), state("se").folderId);
    QCOMPARE(account.standardFolder(QMailFolder::TrashFolder), state("tr").folderId);
    // The account's own settings are as they were.
    QCOMPARE(Store::AccountRecord::read(m_account).password, text("secret"));
}

void TestFolderWriter::childMayComeBeforeItsParent()
{
    Eas::FolderChanges answer = changes(text("f1"));
    answer.complete = true;
    answer.added = {Items::folder("c"_folder, text("C"), Eas::UserMailFolder, "b"_folder),
                    Items::folder("b"_folder, text("B"), Eas::UserMailFolder, "a"_folder),
                    Items::folder("a"_folder, text("A"))};
    QCOMPARE(write(answer), 200);
    QCOMPARE(folder("c").parentFolderId(), state("b").folderId);
    QCOMPARE(folder("b").parentFolderId(), state("a").folderId);
    QVERIFY(!folder("a").parentFolderId().isValid());
}

void TestFolderWriter::childOfAFolderWithoutMailLiesAtTheTop()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder("cal"_folder, text("Calendar"), 8));
    answer.added.append(Items::folder("x"_folder, text("X"), Eas::UserMailFolder, "cal"_folder));
    answer.added.append(
        Items::folder("y"_folder, text("Y"), Eas::UserMailFolder, "missing"_folder));
    QCOMPARE(write(answer), 200);
    QVERIFY(folder("x").id().isValid());
    QVERIFY(!folder("x").parentFolderId().isValid());
    QVERIFY(!folder("y").parentFolderId().isValid());
}

void TestFolderWriter::foldersWithoutMailAreLeftOut()
{
    Eas::FolderChanges answer = usualFolders();
    for (const int type : {7, 8, 9, 10, 11, 13, 14, 19, 99})
        answer.added.append(
            Items::folder(Eas::FolderId(QString::number(type)), text("Other"), type));
    QCOMPARE(write(answer), 200);
    QCOMPARE(count(), 4);
}

void TestFolderWriter::sameAnswerTwiceChangesNothing()
{
    QCOMPARE(write(usualFolders()), 200);
    const QMailFolderId inbox = state("in").folderId;
    QCOMPARE(write(usualFolders()), 200);
    QCOMPARE(count(), 4);
    QCOMPARE(state("in").folderId, inbox);
}

void TestFolderWriter::renamedAndMovedFolderKeepsItsIdAndMessages()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder("a"_folder, text("A")));
    QCOMPARE(write(answer), 200);
    const QMailFolderId id = state("a").folderId;
    const QMailMessageId message = StoreFixture::addMessage(m_account, id);
    Store::FolderState synced = state("a");
    synced.syncKey = text("77");
    QVERIFY(folders().save(synced).ok());
    Eas::FolderChanges update = changes(text("f2"));
    update.updated = {Items::folder("a"_folder, text("Änderung"), Eas::UserMailFolder, InboxId)};
    QCOMPARE(write(update), 200);
    QCOMPARE(state("a").folderId, id);
    QCOMPARE(state("a").syncKey, text("77"));
    QCOMPARE(folder("a").displayName(), text("Änderung"));
    QCOMPARE(folder("a").parentFolderId(), state("in").folderId);
    QCOMPARE(QMailMessageMetaData(message).parentFolderId(), id);
    QCOMPARE(keys().state().folderSyncKey, text("f2"));
}

void TestFolderWriter::folderOfAnotherNameOrPlaceIsMarked_data()
{
    QTest::addColumn<Eas::FolderRecord>("update");
    QTest::addColumn<bool>("isMarked");
    const auto row = [](const char *name, const char *folder, const Eas::FolderId &parent,
                        bool isMarked) {
        QTest::newRow(name) << Items::folder("a"_folder, text(folder), Eas::UserMailFolder, parent)
                            << isMarked;
    };
    row("another name", "B", Eas::FolderId::Root, true);
    row("another place", "A", InboxId, true);
    row("as it was", "A", Eas::FolderId::Root, false);
}

/** What some servers call the attachments there may be others' now. */
void TestFolderWriter::folderOfAnotherNameOrPlaceIsMarked()
{
    QFETCH(Eas::FolderRecord, update);
    QFETCH(bool, isMarked);
    Eas::FolderChanges answer = tree("");
    answer.added.append(
        Items::folder("deep"_folder, text("Deep"), Eas::UserMailFolder, "below"_folder));
    QCOMPARE(write(answer), 200);
    for (const char *id : {"a", "below", "deep"})
        QVERIFY(!Store::RenamedMark.isSet(folder(id)));
    Eas::FolderChanges later = changes(text("f2"));
    later.updated = {update};
    QCOMPARE(write(later), 200);
    for (const char *id : {"a", "below", "deep"})
        QCOMPARE(Store::RenamedMark.isSet(folder(id)), isMarked);
    QVERIFY(!Store::RenamedMark.isSet(folder("in")));
    // It stays, for what has come before stays, too.
    QCOMPARE(write(later), 200);
    QCOMPARE(Store::RenamedMark.isSet(folder("a")), isMarked);
}

void TestFolderWriter::removedFolderTakesItsMessagesWithIt()
{
    QCOMPARE(write(usualFolders()), 200);
    QCOMPARE(messagesIn("se", 120).size(), 120);
    const QMailMessageId other = StoreFixture::addMessage(m_account, state("in").folderId);
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = {"se"_folder, "unknown"_folder};
    QCOMPARE(write(update), 200);
    QCOMPARE(count(), 3);
    QCOMPARE(QMailStore::instance()->queryMessages(QMailMessageKey::parentAccountId(m_account)),
             QMailMessageIdList {other});
    QVERIFY(QMailStore::instance()->messageRemovalRecords(m_account).isEmpty());
    QVERIFY(!folders().find("se"_folder));
    QVERIFY(!QMailAccount(m_account).standardFolder(QMailFolder::SentFolder).isValid());
}

void TestFolderWriter::whatNoServerHasStaysWhenItsFolderGoes_data()
{
    QTest::addColumn<Eas::FolderId>("gone");
    QTest::addColumn<Eas::FolderRecord>("made"); ///< in a complete answer; none: just removed
    QTest::addColumn<Eas::FolderId>("kept");     ///< where what is only here is then; none: locally
    QTest::newRow("the drafts are removed")
        << "dr"_folder << Eas::FolderRecord() << Eas::FolderId();
    QTest::newRow("the drafts are called otherwise")
        << "dr"_folder << Items::folder("entwuerfe"_folder, text("Entwürfe"), Eas::Drafts)
        << "entwuerfe"_folder;
    QTest::newRow("another folder is removed") << "a"_folder << Eas::FolderRecord() << "dr"_folder;
}

void TestFolderWriter::whatNoServerHasStaysWhenItsFolderGoes()
{
    QFETCH(Eas::FolderId, gone);
    QFETCH(Eas::FolderRecord, made);
    QFETCH(Eas::FolderId, kept);
    QCOMPARE(write(tree("")), 200);
    const QByteArray name = gone.text().toUtf8();
    const QMailMessageIdList fetched = messagesIn(name, 70);
    QMailMessageIdList own;
    const quint64 kinds[] = {QMailMessage::Draft, QMailMessage::Outbox,
                             QMailMessage::Sent | QMailMessage::LocalOnly};
    for (int i = 0; i < 60; ++i)
        own.append(StoreFixture::addMessage(m_account, state(name).folderId, text("Own"),
                                            QMailMessage::Outgoing | kinds[i % 3]));
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = {gone};
    if (!made.serverId.isEmpty()) {
        update = tree("");
        update.added.append(made);
        const auto isGone = [&](const auto &one) { return one.serverId == gone; };
        update.added.erase(std::find_if(update.added.begin(), update.added.end(), isGone));
    }
    QCOMPARE(write(update), 200);
    QVERIFY(!folders().find(gone));
    for (const QMailMessageId &id : fetched)
        QVERIFY(!StoreFixture::exists(id));
    const QMailFolderId place = kept.isEmpty() ? QMailFolderId(QMailFolder::LocalStorageFolderId)
                                               : folders().find(kept)->folderId;
    for (int i = 0; i < own.size(); ++i) {
        QVERIFY(StoreFixture::exists(own.at(i)));
        const QMailMessage message(own.at(i));
        QCOMPARE(message.parentFolderId(), place);
        QCOMPARE(message.parentAccountId(), m_account);
        QCOMPARE(message.body().data(), text("Hello.\n"));
        QCOMPARE(message.status()
                     & (QMailMessage::Draft | QMailMessage::Outbox | QMailMessage::Sent),
                 kinds[i % 3] & ~QMailMessage::LocalOnly);
    }
}

void TestFolderWriter::whatIsKeptOfAFolderIsNotSent_data()
{
    QTest::addColumn<Eas::FolderId>("gone");
    QTest::addColumn<bool>("isMadeAnew");
    QTest::addColumn<bool>("isDraft");
    // A move to the inbox takes the mark of drafts from a draft.
    QTest::newRow("the inbox, and there is none any more") << "in"_folder << false << true;
    QTest::newRow("the inbox, and there is another one") << "in"_folder << true << false;
    QTest::newRow("another folder") << "a"_folder << false << true;
}

void TestFolderWriter::whatIsKeptOfAFolderIsNotSent()
{
    QFETCH(Eas::FolderId, gone);
    QFETCH(bool, isMadeAnew);
    QFETCH(bool, isDraft);
    QCOMPARE(write(tree("")), 200);
    const QMailMessageId written = StoreFixture::addMessage(
        m_account, folders().find(gone)->folderId, text("Own"), QMailMessage::Outgoing);
    const QMailMessageId copied = StoreFixture::addMessage(
        m_account, folders().find(gone)->folderId, text("Copy"), QMailMessage::Incoming);
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = {gone};
    if (isMadeAnew)
        update.added = {Items::folder("new"_folder, text("Posteingang"), Eas::Inbox)};
    QCOMPARE(write(update), 200);
    const QMailFolderId inbox = isMadeAnew ? state("new").folderId : state("in").folderId;
    QCOMPARE(QMailMessageMetaData(written).parentFolderId(),
             isMadeAnew ? inbox : state("dr").folderId);
    QCOMPARE(StoreFixture::hasStatus(written, QMailMessage::Draft), isDraft);
    QCOMPARE(QMailMessageMetaData(copied).parentFolderId(),
             inbox.isValid() ? inbox : QMailFolderId(QMailFolder::LocalStorageFolderId));
    QVERIFY(!StoreFixture::hasStatus(copied, QMailMessage::Draft));
}

/** Three drafts that bear no mark any more are to be kept. */
void TestFolderWriter::whatTheUserDoesWithItMeanwhileStays()
{
    QCOMPARE(write(tree("")), 200);
    QMailMessageIdList own;
    for (int i = 0; i < 3; ++i)
        own.append(StoreFixture::addMessage(m_account, state("a").folderId, text("Own"),
                                            QMailMessage::Outgoing));
    QMailStore *store = QMailStore::instance();
    bool isDone = false;
    connect(store, &QMailStore::messagesUpdated, this, [&] {
        if (std::exchange(isDone, true))
            return;
        QMailDisconnected::moveToFolder({own.at(1)}, state("in").folderId);
        QVERIFY(store->updateMessagesMetaData(QMailMessageKey::id(own.at(2)), QMailMessage::Outbox,
                                              true));
    });
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = {"a"_folder};
    const int result = write(update);
    store->disconnect(this);
    QCOMPARE(result, 200);
    QVERIFY(isDone);
    QCOMPARE(QMailMessageMetaData(own.at(0)).parentFolderId(), state("dr").folderId);
    QCOMPARE(QMailMessageMetaData(own.at(1)).parentFolderId(), state("in").folderId);
    QVERIFY(!QMailMessageMetaData(own.at(1)).previousParentFolderId().isValid());
    QCOMPARE(QMailMessageMetaData(own.at(2)).parentFolderId(), state("dr").folderId);
    QVERIFY(StoreFixture::hasStatus(own.at(2), QMailMessage::Outbox));
}

void TestFolderWriter::folderOfTheUserBelowARemovedOneStays()
{
    QCOMPARE(write(tree("")), 200);
    const QMailFolderId own = StoreFixture::addFolder(
        m_account, text("Own"), QMailFolder::StandardFolder(0), state("below").folderId);
    const QMailMessageId message = StoreFixture::addMessage(m_account, own);
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = {"a"_folder};
    QCOMPARE(write(update), 200);
    QCOMPARE(count(), 5);
    QVERIFY(StoreFixture::exists(message));
    QCOMPARE(QMailMessageMetaData(message).parentFolderId(), own);
    QVERIFY(!QMailFolder(own).parentFolderId().isValid());
}

void TestFolderWriter::removedParentTakesItsChildrenWithIt()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder("a"_folder, text("A")));
    answer.added.append(Items::folder("b"_folder, text("B"), Eas::UserMailFolder, "a"_folder));
    answer.added.append(Items::folder("c"_folder, text("C"), Eas::UserMailFolder, "b"_folder));
    QCOMPARE(write(answer), 200);
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = {"a"_folder};
    QCOMPARE(write(update), 200);
    QCOMPARE(count(), 4);
    QCOMPARE(folders().all().size(), 4);
}

void TestFolderWriter::parentRemovedBeforeItsChildTakesNothingElseWithIt_data()
{
    QTest::addColumn<QList<Eas::FolderId>>("removed");
    QTest::newRow("parent first") << QList<Eas::FolderId> {"a"_folder, "b"_folder, "c"_folder};
    QTest::newRow("child first") << QList<Eas::FolderId> {"c"_folder, "b"_folder, "a"_folder};
    QTest::newRow("parent named twice")
        << QList<Eas::FolderId> {"a"_folder, "b"_folder, "a"_folder};
    QTest::newRow("grandchild before the child")
        << QList<Eas::FolderId> {"a"_folder, "c"_folder, "b"_folder};
}

void TestFolderWriter::parentRemovedBeforeItsChildTakesNothingElseWithIt()
{
    QFETCH(QList<Eas::FolderId>, removed);
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder("a"_folder, text("A")));
    answer.added.append(Items::folder("b"_folder, text("B"), Eas::UserMailFolder, "a"_folder));
    answer.added.append(Items::folder("c"_folder, text("C"), Eas::UserMailFolder, "b"_folder));
    QCOMPARE(write(answer), 200);
    const QMailAccountId another = StoreFixture::addAccount();
    const QMailFolderId anothersInbox = StoreFixture::addFolder(another, text("Inbox"));
    const QMailMessageIdList others {
        StoreFixture::addMessage(m_account, state("in").folderId),
        StoreFixture::addMessage(another, anothersInbox),
        StoreFixture::addMessage(another, QMailFolder::LocalStorageFolderId),
    };
    QVERIFY(messageIn("c").isValid());
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = removed;
    QCOMPARE(write(update), 200);
    QCOMPARE(folders().all().size(), 4);
    QCOMPARE(QMailStore::instance()->queryMessages(QMailMessageKey(), QMailMessageSortKey::id()),
             others);
}

void TestFolderWriter::childMovedOutOfARemovedParentStays()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder("a"_folder, text("A")));
    answer.added.append(Items::folder("b"_folder, text("B"), Eas::UserMailFolder, "a"_folder));
    QCOMPARE(write(answer), 200);
    const QMailFolderId b = state("b").folderId;
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = {"a"_folder};
    update.updated = {Items::folder("b"_folder, text("B"))};
    QCOMPARE(write(update), 200);
    QCOMPARE(state("b").folderId, b);
    QVERIFY(!folder("b").parentFolderId().isValid());
    QVERIFY(!state("a").folderId.isValid());
}

void TestFolderWriter::parentAndChildCanChangePlaces()
{
    Eas::FolderChanges answer = changes(text("f1"));
    answer.complete = true;
    answer.added = {Items::folder("a"_folder, text("A")),
                    Items::folder("b"_folder, text("B"), Eas::UserMailFolder, "a"_folder)};
    QCOMPARE(write(answer), 200);
    Eas::FolderChanges update = changes(text("f2"));
    update.updated = {Items::folder("a"_folder, text("A"), Eas::UserMailFolder, "b"_folder),
                      Items::folder("b"_folder, text("B"))};
    QCOMPARE(write(update), 200);
    QVERIFY(!folder("b").parentFolderId().isValid());
    QCOMPARE(folder("a").parentFolderId(), state("b").folderId);
}

void TestFolderWriter::circleOfParentsEndsAtTheTop()
{
    Eas::FolderChanges answer = changes(text("f1"));
    answer.complete = true;
    answer.added = {Items::folder("a"_folder, text("A"), Eas::UserMailFolder, "b"_folder),
                    Items::folder("b"_folder, text("B"), Eas::UserMailFolder, "a"_folder),
                    Items::folder("s"_folder, text("S"), Eas::UserMailFolder, "s"_folder)};
    QCOMPARE(write(answer), 200);
    QCOMPARE(count(), 3);
    // And the other way round, now that they are known.
    answer.added = {Items::folder("b"_folder, text("B"), Eas::UserMailFolder, "a"_folder),
                    Items::folder("a"_folder, text("A"), Eas::UserMailFolder, "b"_folder)};
    QCOMPARE(write(answer), 200);
    QCOMPARE(count(), 2);
    QVERIFY(folder("a").parentFolderId().isValid() != folder("b").parentFolderId().isValid());
}

void TestFolderWriter::completeAnswerIsComparedWithWhatIsHere()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder("a"_folder, text("A")));
    answer.added.append(Items::folder("b"_folder, text("B")));
    QCOMPARE(write(answer), 200);
    const QMailFolderId a = state("a").folderId;
    Eas::FolderChanges again = usualFolders(text("g1"));
    again.added.append(Items::folder("a"_folder, text("A2")));
    again.added.append(Items::folder("c"_folder, text("C")));
    QCOMPARE(write(again), 200);
    QCOMPARE(count(), 6);
    QCOMPARE(state("a").folderId, a);
    QCOMPARE(folder("a").displayName(), text("A2"));
    QVERIFY(!state("b").folderId.isValid());
}

void TestFolderWriter::folderIsFoundAgainAfterTheMemoryWasLost()
{
    QCOMPARE(write(usualFolders()), 200);
    const QMailFolderId inbox = state("in").folderId;
    QVERIFY(keys().remove().ok());
    QVERIFY(keys().open(Store::AccountRecord::read(m_account)).ok());
    QVERIFY(folders().all().isEmpty());
    QCOMPARE(keys().state().folderSyncKey, text("0"));
    QCOMPARE(write(usualFolders()), 200);
    QCOMPARE(count(), 4);
    QCOMPARE(state("in").folderId, inbox);
    QCOMPARE(state("in").syncKey, text("0"));
}

void TestFolderWriter::folderThatVanishedHereIsMadeAnew()
{
    QCOMPARE(write(usualFolders()), 200);
    Store::FolderState synced = state("in");
    synced.syncKey = text("77");
    QVERIFY(folders().save(synced).ok());
    QVERIFY(QMailStore::instance()->removeFolder(state("in").folderId));
    QVERIFY(keys().open(Store::AccountRecord::read(m_account)).ok());
    QCOMPARE(keys().state().folderSyncKey, text("0"));
    QVERIFY(!folders().find(InboxId));
    QCOMPARE(write(usualFolders()), 200);
    QCOMPARE(count(), 4);
    QCOMPARE(state("in").syncKey, text("0"));
    QCOMPARE(QMailAccount(m_account).standardFolder(QMailFolder::InboxFolder),
             state("in").folderId);
}

void TestFolderWriter::foldersOfTheUserAreLeftAlone()
{
    const QMailFolderId own = StoreFixture::addFolder(m_account, text("Own"));
    QCOMPARE(write(usualFolders()), 200);
    QCOMPARE(write(usualFolders(text("f2"))), 200);
    QCOMPARE(count(), 5);
    QCOMPARE(QMailFolder(own).displayName(), text("Own"));
}

void TestFolderWriter::choiceNotToSynchroniseAFolderStays()
{
    QCOMPARE(write(usualFolders()), 200);
    QMailFolder sent = folder("se");
    sent.setStatus(QMailFolder::SynchronizationEnabled, false);
    QVERIFY(QMailStore::instance()->updateFolder(&sent));
    Eas::FolderChanges update = changes(text("f2"));
    update.updated = {Items::folder("se"_folder, text("Sent again"), Eas::SentItems)};
    QCOMPARE(write(update), 200);
    QCOMPARE(folder("se").displayName(), text("Sent again"));
    QVERIFY(!(folder("se").status() & QMailFolder::SynchronizationEnabled));
}

void TestFolderWriter::messageMovedIntoARemovedFolderGoesBack_data()
{
    QTest::addColumn<bool>("isNoted");
    QTest::newRow("by a program that notes where it was") << true;
    QTest::newRow("by its folder alone") << false;
}

void TestFolderWriter::messageMovedIntoARemovedFolderGoesBack()
{
    QFETCH(bool, isNoted);
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder("a"_folder, text("A")));
    QCOMPARE(write(answer), 200);
    Eas::SyncWindow window = Items::window(InboxId, text("1"));
    QVERIFY(Store::WindowWriter(*m_db, m_account, window).run().ok());
    window.added = {item(text("5"))};
    Store::WindowWriter writer(*m_db, m_account, window);
    QVERIFY(writer.run().ok());
    const QMailMessageId message = writer.added().first();
    QMailMessageMetaData moved;
    moved.setParentFolderId(state("a").folderId);
    if (isNoted)
        QMailDisconnected::moveToFolder({message}, state("a").folderId);
    else
        QVERIFY(QMailStore::instance()->updateMessagesMetaData(
            QMailMessageKey::id(message), QMailMessageKey::ParentFolderId, moved));
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = {"a"_folder};
    QCOMPARE(write(update), 200);
    QVERIFY(StoreFixture::exists(message));
    QCOMPARE(QMailMessageMetaData(message).parentFolderId(), state("in").folderId);
    QVERIFY(!QMailMessageMetaData(message).previousParentFolderId().isValid());
}

void TestFolderWriter::hostileNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("empty") << QString() << text("?");
    QTest::newRow("blank") << text(" \t\n") << text("?");
    QTest::newRow("huge") << QString(3000000, QLatin1Char('n')) << QString(255, QLatin1Char('n'));
    QTest::newRow("slashes") << text("a/../b\\c") << text("a/../b\\c");
    QTest::newRow("SQL") << text("'; DROP TABLE mailfolders; --")
                         << text("'; DROP TABLE mailfolders; --");
    QTest::newRow("line breaks") << text("a\r\nb") << text("a  b");
    QTest::newRow("NUL") << text("a") + QChar(0) + text("b") << text("a b");
    QTest::newRow("emoji") << text("🎉 Prüf") << text("🎉 Prüf");
}

void TestFolderWriter::hostileNames()
{
    QFETCH(QString, name);
    QFETCH(QString, shown);
    Eas::FolderChanges answer = changes(text("f1"));
    answer.complete = true;
    answer.added = {Items::folder("x"_folder, name), Items::folder({}, text("no id"))};
    QCOMPARE(write(answer), 200);
    QCOMPARE(folder("x").displayName(), shown);
    QCOMPARE(count(), 1);
}

void TestFolderWriter::manyMessagesAreRemovedInShortSteps()
{
    QCOMPARE(write(usualFolders()), 200);
    QCOMPARE(messagesIn("se", 450).size(), 450);
    // What only this store has is looked at as well.
    for (int i = 0; i < 50; ++i)
        StoreFixture::addMessage(m_account, state("se").folderId);
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = {"se"_folder};
    Store::FolderWriter writer(*m_db, m_account, update);
    qint64 maximum = 0;
    int steps = 0;
    for (bool more = true; more; ++steps) {
        QElapsedTimer timer;
        timer.start();
        more = writer.step();
        maximum = qMax(maximum, timer.elapsed());
    }
    QVERIFY(writer.result().ok());
    QVERIFY(steps > 1);
    qInfo("%d steps, the longest %lld ms", steps, (long long)maximum);
    QVERIFY(maximum < 2000);
}

void TestFolderWriter::nothingIsWrittenForARemovedAccount()
{
    QVERIFY(QMailStore::instance()->removeAccount(m_account));
    QCOMPARE(write(usualFolders()), 1030);
    QCOMPARE(count(), 0);
}

void TestFolderWriter::folderUnderAnotherIdIsKept()
{
    QCOMPARE(write(tree("")), 200);
    const QMailMessageId message = messageIn("a");
    const QMailFolderId a = state("a").folderId;
    const QMailFolderId below = state("below").folderId;
    QCOMPARE(write(tree("new-")), 200);
    QCOMPARE(count(), 6);
    QCOMPARE(state("new-a").folderId, a);
    QCOMPARE(state("new-a").syncKey, text("0"));
    QCOMPARE(state("new-below").folderId, below);
    QCOMPARE(folder("new-below").parentFolderId(), a);
    QVERIFY(!folders().find("a"_folder));
    QCOMPARE(uidOf(message).collectionId(), "new-a"_folder);
    // Another message may have its former id.
    QVERIFY(!uidOf(message).isKnownThere());
}

void TestFolderWriter::renamingThatWasBrokenOffGoesOn()
{
    for (int steps = 0; steps < 8; ++steps) {
        QCOMPARE(write(tree("")), 200);
        const QMailMessageId message = messageIn("a");
        const QMailFolderId a = state("a").folderId;
        const QMailFolderId below = state("below").folderId;
        Store::FolderWriter writer(*m_db, m_account, tree("new-"));
        for (int i = 0; i < steps && writer.step(); ++i) { }
        m_db = std::make_unique<Store::SyncStateDb>();
        QVERIFY(m_db->open().ok());
        QVERIFY(keys().open(Store::AccountRecord::read(m_account)).ok());
        QCOMPARE(write(tree("new-")), 200);
        QCOMPARE(count(), 6);
        QCOMPARE(state("new-a").folderId, a);
        QCOMPARE(state("new-below").folderId, below);
        QCOMPARE(uidOf(message).collectionId(), "new-a"_folder);
        cleanup();
        init();
    }
}

void TestFolderWriter::renamingThatWasBrokenOffGoesOnWithYetOtherIds()
{
    int steps = 0;
    for (bool isDone = false; !isDone; ++steps) {
        QCOMPARE(write(tree("")), 200);
        const QMailMessageIdList messages = messagesIn("a", 45);
        QCOMPARE(messages.size(), 45);
        const QMailMessageId visitor = messageIn("below");
        const QMailFolderId a = state("a").folderId;
        const QMailFolderId below = state("below").folderId;
        // The user has moved one each way.
        for (const auto &[id, from, to] :
             {std::make_tuple(messages.first(), a, below), std::make_tuple(visitor, below, a)}) {
            QMailMessageMetaData where;
            where.setPreviousParentFolderId(from);
            where.setParentFolderId(to);
            QVERIFY(QMailStore::instance()->updateMessagesMetaData(
                QMailMessageKey::id(id), QMailDisconnected::parentFolderProperties(), where));
        }
        const QMailMessageId local =
            StoreFixture::addMessage(m_account, a, QStringLiteral("No server has it"));
        for (const char *id : {"a", "below"}) {
            Store::FolderRenaming renaming(state(id), Eas::FolderId(text("new-") + text(id)));
            isDone = false;
            for (int i = 0; i < steps && !isDone; ++i)
                QVERIFY(renaming.step(folders(), m_account, &isDone).ok());
        }
        QCOMPARE(write(tree("other-")), 200);
        QCOMPARE(count(), 6);
        QCOMPARE(state("other-a").folderId, a);
        QCOMPARE(state("other-below").folderId, below);
        for (const QMailMessageId &message : messages) {
            QCOMPARE(uidOf(message).collectionId(), "other-a"_folder);
            QVERIFY(!uidOf(message).isKnownThere());
        }
        QCOMPARE(uidOf(visitor).collectionId(), "other-below"_folder);
        QVERIFY(QMailMessageMetaData(local).serverUid().isEmpty());
        cleanup();
        init();
    }
    QVERIFY(steps > 3);
}

void TestFolderWriter::whatASearchBroughtIsNotDoubledByARenaming_data()
{
    QTest::addColumn<bool>("isWhole");
    QTest::newRow("of a folder that is here as a whole") << true;
    QTest::newRow("of a folder of which the last days are here") << false;
}

void TestFolderWriter::whatASearchBroughtIsNotDoubledByARenaming()
{
    QFETCH(bool, isWhole);
    QCOMPARE(write(tree("")), 200);
    const QMailMessageId shown = messageIn("a");
    Store::FolderState folder = state("a");
    folder.filter = isWhole ? 0 : 4;
    QVERIFY(folders().save(folder).ok());
    Store::FoundItem found {Store::ServerUid::item("a"_folder, text("9")), item(text("9"))};
    found.item.subject = QStringLiteral("Found");
    Store::FoundWriter search(*m_db, m_account, {found});
    QVERIFY(search.run().ok());
    const QMailMessageId before = search.messages().value(0);

    QCOMPARE(write(tree("new-")), 200);
    QCOMPARE(uidOf(shown).collectionId(), "new-a"_folder);
    // Only what is here as a whole shows the message again, by which it would be recognised.
    QCOMPARE(QMailStore::instance()->countMessages(QMailMessageKey::id(before)), int(isWhole));
    if (isWhole)
        return;
    found.uid = Store::ServerUid::item("new-a"_folder, text("9"));
    Store::FoundWriter searchAgain(*m_db, m_account, {found});
    QVERIFY(searchAgain.run().ok());
    QCOMPARE(QMailStore::instance()->countMessages(
                 QMailMessageKey::parentFolderId(state("new-a").folderId)),
             2);
}

void TestFolderWriter::folderOfAnotherPlaceNameOrKindIsAnother()
{
    QCOMPARE(write(tree("")), 200);
    const QMailFolderIdList before {state("a").folderId, state("below").folderId,
                                    state("se").folderId};
    Eas::FolderChanges answer = changes(text("g1"));
    answer.complete = true;
    answer.added = {Items::folder("1"_folder, text("Other name")),
                    Items::folder("2"_folder, folder("below").displayName()),
                    Items::folder("3"_folder, folder("se").displayName())};
    QCOMPARE(write(answer), 200);
    QCOMPARE(count(), 3);
    for (const char *id : {"1", "2", "3"})
        QVERIFY(!before.contains(state(id).folderId));
}

void TestFolderWriter::randomAnswersMatchAPlainModel()
{
    QRandomGenerator random(testSeed());
    QMap<Eas::FolderId, Eas::FolderRecord> model;
    QHash<Eas::FolderId, QMailFolderId> ids;
    for (int round = 0; round < 40; ++round) {
        Eas::FolderChanges answer = changes(QString::number(round));
        QSet<Eas::FolderId> used;
        for (int i = random.bounded(6); i > 0; --i) {
            const Eas::FolderId id(QString::number(random.bounded(12)));
            if (used.contains(id))
                continue;
            used.insert(id);
            const QList<Eas::FolderId> others = model.keys();
            const Eas::FolderId parent = others.isEmpty() || random.bounded(2)
                ? Eas::FolderId::Root
                : others.at(random.bounded(others.size()));
            const bool leaf = std::none_of(model.begin(), model.end(), [&](const auto &record) {
                return record.parentId == id;
            });
            if (model.contains(id) && leaf && random.bounded(3) == 0) {
                model.remove(id);
                ids.remove(id);
                answer.removed.append(id);
            } else if ((leaf || parent == Eas::FolderId::Root) && parent != id) {
                const auto record = Items::folder(id, QString::number(random.bounded(99)),
                                                  Eas::UserMailFolder, parent);
                (model.contains(id) ? answer.updated : answer.added).append(record);
                model.insert(id, record);
            }
        }
        if (random.bounded(5) == 0) {
            answer = changes(answer.syncKey);
            answer.complete = true;
            answer.added = model.values();
        }
        QCOMPARE(write(answer), 200);
        QCOMPARE(count(), model.size());
        for (const Eas::FolderRecord &record : qAsConst(model)) {
            const QByteArray id = record.serverId.text().toLatin1();
            QCOMPARE(folder(id).displayName(), record.displayName);
            QCOMPARE(folder(id).parentFolderId(),
                     state(record.parentId.text().toLatin1()).folderId);
            if (ids.contains(record.serverId))
                QCOMPARE(state(id).folderId, ids.value(record.serverId));
            ids.insert(record.serverId, state(id).folderId);
        }
    }
}

QTEST_GUILESS_MAIN(TestFolderWriter)
#include "tst_folderwriter.moc"
