// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/folderwriter.h"
#include "daemon/store/foundwriter.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/windowwriter.h"
#include "tests/store/items.h"
#include "tests/support/chance.h"

#include "tests/support/storefixture.h"
#include <qmaildisconnected.h>

#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QRandomGenerator>
#include <QTest>

using namespace Items;

namespace {

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

/** What answers to FolderSync do to the account's folders in the mail store. */
class FolderWriterTest : public QObject
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
    void removedFolderTakesItsMessagesWithIt();
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
        return Store::ServerUid::split(QMailMessageMetaData(message).serverUid());
    }
    Store::FolderState state(const char *serverId) const;
    QMailFolder folder(const char *serverId) const { return QMailFolder(state(serverId).folderId); }
    int count() const;

    QMailAccountId m_account;
    std::unique_ptr<Store::SyncStateDb> m_db;
};

void FolderWriterTest::init()
{
    m_account = StoreFixture::addAccount();
    m_db = std::make_unique<Store::SyncStateDb>();
    QVERIFY(m_db->open().ok());
    QVERIFY(m_db->openAccount(Store::AccountRecord::read(m_account)).ok());
}

void FolderWriterTest::cleanup()
{
    m_db->removeAccount(m_account);
    m_db.reset();
    StoreFixture::clear();
}

int FolderWriterTest::write(const Eas::FolderChanges &changes)
{
    return Store::FolderWriter(*m_db, m_account, changes).run().code;
}

Eas::FolderChanges FolderWriterTest::changes(const QString &key) const
{
    Eas::FolderChanges changes;
    changes.syncKey = key;
    return changes;
}

Eas::FolderChanges FolderWriterTest::tree(const char *prefix) const
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder(text("a"), text("A")));
    answer.added.append(
        Items::folder(text("below"), text("Below"), Eas::UserMailFolder, text("a")));
    for (Eas::FolderRecord &record : answer.added) {
        record.serverId.prepend(text(prefix));
        if (record.parentId != text("0"))
            record.parentId.prepend(text(prefix));
    }
    return answer;
}

QMailMessageIdList FolderWriterTest::messagesIn(const char *serverId, int count)
{
    Eas::SyncWindow window = Items::window(text(serverId), text("1"));
    if (!Store::WindowWriter(*m_db, m_account, window).run().ok())
        return {};
    for (int i = 0; i < count; ++i)
        window.added.append(item(QString::number(5 + i)));
    Store::WindowWriter writer(*m_db, m_account, window);
    return writer.run().ok() ? writer.added() : QMailMessageIdList();
}

Store::FolderState FolderWriterTest::state(const char *serverId) const
{
    return m_db->folder(m_account, QLatin1String(serverId)).value_or(Store::FolderState());
}

int FolderWriterTest::count() const
{
    return QMailStore::instance()->countFolders(QMailFolderKey::parentAccountId(m_account));
}

void FolderWriterTest::foldersGetTheirPlaceNameAndKind()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(
        Items::folder(text("a"), text("Projekte"), Eas::UserMailFolder, text("in")));
    answer.added.append(Items::folder(text("j"), text("Junk E-mail")));
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
    QCOMPARE(state("a").parentId, text("in"));
    QCOMPARE(state("a").syncKey, text("0"));
    QCOMPARE(state("in").type, int(Eas::Inbox));
    QCOMPARE(m_db->account(m_account).folderSyncKey, text("f1"));
    QCOMPARE(m_db->folder(state("a").folderId)->serverId, text("a"));
}

void FolderWriterTest::standardFoldersAreNamedByTheAccount()
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

void FolderWriterTest::childMayComeBeforeItsParent()
{
    Eas::FolderChanges answer = changes(text("f1"));
    answer.complete = true;
    answer.added = {Items::folder(text("c"), text("C"), Eas::UserMailFolder, text("b")),
                    Items::folder(text("b"), text("B"), Eas::UserMailFolder, text("a")),
                    Items::folder(text("a"), text("A"))};
    QCOMPARE(write(answer), 200);
    QCOMPARE(folder("c").parentFolderId(), state("b").folderId);
    QCOMPARE(folder("b").parentFolderId(), state("a").folderId);
    QVERIFY(!folder("a").parentFolderId().isValid());
}

void FolderWriterTest::childOfAFolderWithoutMailLiesAtTheTop()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder(text("cal"), text("Calendar"), 8));
    answer.added.append(Items::folder(text("x"), text("X"), Eas::UserMailFolder, text("cal")));
    answer.added.append(Items::folder(text("y"), text("Y"), Eas::UserMailFolder, text("missing")));
    QCOMPARE(write(answer), 200);
    QVERIFY(folder("x").id().isValid());
    QVERIFY(!folder("x").parentFolderId().isValid());
    QVERIFY(!folder("y").parentFolderId().isValid());
}

void FolderWriterTest::foldersWithoutMailAreLeftOut()
{
    Eas::FolderChanges answer = usualFolders();
    for (const int type : {7, 8, 9, 10, 11, 13, 14, 19, 99})
        answer.added.append(Items::folder(QString::number(type), text("Other"), type));
    QCOMPARE(write(answer), 200);
    QCOMPARE(count(), 4);
}

void FolderWriterTest::sameAnswerTwiceChangesNothing()
{
    QCOMPARE(write(usualFolders()), 200);
    const QMailFolderId inbox = state("in").folderId;
    QCOMPARE(write(usualFolders()), 200);
    QCOMPARE(count(), 4);
    QCOMPARE(state("in").folderId, inbox);
}

void FolderWriterTest::renamedAndMovedFolderKeepsItsIdAndMessages()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder(text("a"), text("A")));
    QCOMPARE(write(answer), 200);
    const QMailFolderId id = state("a").folderId;
    const QMailMessageId message = StoreFixture::addMessage(m_account, id);
    Store::FolderState synced = state("a");
    synced.syncKey = text("77");
    QVERIFY(m_db->saveFolder(m_account, synced).ok());
    Eas::FolderChanges update = changes(text("f2"));
    update.updated = {Items::folder(text("a"), text("Änderung"), Eas::UserMailFolder, text("in"))};
    QCOMPARE(write(update), 200);
    QCOMPARE(state("a").folderId, id);
    QCOMPARE(state("a").syncKey, text("77"));
    QCOMPARE(folder("a").displayName(), text("Änderung"));
    QCOMPARE(folder("a").parentFolderId(), state("in").folderId);
    QCOMPARE(QMailMessageMetaData(message).parentFolderId(), id);
    QCOMPARE(m_db->account(m_account).folderSyncKey, text("f2"));
}

void FolderWriterTest::removedFolderTakesItsMessagesWithIt()
{
    QCOMPARE(write(usualFolders()), 200);
    for (int i = 0; i < 120; ++i)
        StoreFixture::addMessage(m_account, state("se").folderId);
    const QMailMessageId other = StoreFixture::addMessage(m_account, state("in").folderId);
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = QStringList {text("se"), text("unknown")};
    QCOMPARE(write(update), 200);
    QCOMPARE(count(), 3);
    QCOMPARE(QMailStore::instance()->queryMessages(QMailMessageKey::parentAccountId(m_account)),
             QMailMessageIdList {other});
    QVERIFY(QMailStore::instance()->messageRemovalRecords(m_account).isEmpty());
    QVERIFY(!m_db->folder(m_account, text("se")));
    QVERIFY(!QMailAccount(m_account).standardFolder(QMailFolder::SentFolder).isValid());
}

void FolderWriterTest::removedParentTakesItsChildrenWithIt()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder(text("a"), text("A")));
    answer.added.append(Items::folder(text("b"), text("B"), Eas::UserMailFolder, text("a")));
    answer.added.append(Items::folder(text("c"), text("C"), Eas::UserMailFolder, text("b")));
    QCOMPARE(write(answer), 200);
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = QStringList(text("a"));
    QCOMPARE(write(update), 200);
    QCOMPARE(count(), 4);
    QCOMPARE(m_db->folders(m_account).size(), 4);
}

void FolderWriterTest::parentRemovedBeforeItsChildTakesNothingElseWithIt_data()
{
    QTest::addColumn<QStringList>("removed");
    QTest::newRow("parent first") << QStringList {text("a"), text("b"), text("c")};
    QTest::newRow("child first") << QStringList {text("c"), text("b"), text("a")};
    QTest::newRow("parent named twice") << QStringList {text("a"), text("b"), text("a")};
    QTest::newRow("grandchild before the child") << QStringList {text("a"), text("c"), text("b")};
}

void FolderWriterTest::parentRemovedBeforeItsChildTakesNothingElseWithIt()
{
    QFETCH(QStringList, removed);
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder(text("a"), text("A")));
    answer.added.append(Items::folder(text("b"), text("B"), Eas::UserMailFolder, text("a")));
    answer.added.append(Items::folder(text("c"), text("C"), Eas::UserMailFolder, text("b")));
    QCOMPARE(write(answer), 200);
    const QMailAccountId another = StoreFixture::addAccount();
    const QMailFolderId anothersInbox = StoreFixture::addFolder(another, text("Inbox"));
    const QMailMessageIdList others {
        StoreFixture::addMessage(m_account, state("in").folderId),
        StoreFixture::addMessage(another, anothersInbox),
        StoreFixture::addMessage(another, QMailFolder::LocalStorageFolderId),
    };
    StoreFixture::addMessage(m_account, state("c").folderId);
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = removed;
    QCOMPARE(write(update), 200);
    QCOMPARE(m_db->folders(m_account).size(), 4);
    QCOMPARE(QMailStore::instance()->queryMessages(QMailMessageKey(), QMailMessageSortKey::id()),
             others);
}

void FolderWriterTest::childMovedOutOfARemovedParentStays()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder(text("a"), text("A")));
    answer.added.append(Items::folder(text("b"), text("B"), Eas::UserMailFolder, text("a")));
    QCOMPARE(write(answer), 200);
    const QMailFolderId b = state("b").folderId;
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = QStringList(text("a"));
    update.updated = {Items::folder(text("b"), text("B"))};
    QCOMPARE(write(update), 200);
    QCOMPARE(state("b").folderId, b);
    QVERIFY(!folder("b").parentFolderId().isValid());
    QVERIFY(!state("a").folderId.isValid());
}

void FolderWriterTest::parentAndChildCanChangePlaces()
{
    Eas::FolderChanges answer = changes(text("f1"));
    answer.complete = true;
    answer.added = {Items::folder(text("a"), text("A")),
                    Items::folder(text("b"), text("B"), Eas::UserMailFolder, text("a"))};
    QCOMPARE(write(answer), 200);
    Eas::FolderChanges update = changes(text("f2"));
    update.updated = {Items::folder(text("a"), text("A"), Eas::UserMailFolder, text("b")),
                      Items::folder(text("b"), text("B"))};
    QCOMPARE(write(update), 200);
    QVERIFY(!folder("b").parentFolderId().isValid());
    QCOMPARE(folder("a").parentFolderId(), state("b").folderId);
}

void FolderWriterTest::circleOfParentsEndsAtTheTop()
{
    Eas::FolderChanges answer = changes(text("f1"));
    answer.complete = true;
    answer.added = {Items::folder(text("a"), text("A"), Eas::UserMailFolder, text("b")),
                    Items::folder(text("b"), text("B"), Eas::UserMailFolder, text("a")),
                    Items::folder(text("s"), text("S"), Eas::UserMailFolder, text("s"))};
    QCOMPARE(write(answer), 200);
    QCOMPARE(count(), 3);
    // And the other way round, now that they are known.
    answer.added = {Items::folder(text("b"), text("B"), Eas::UserMailFolder, text("a")),
                    Items::folder(text("a"), text("A"), Eas::UserMailFolder, text("b"))};
    QCOMPARE(write(answer), 200);
    QCOMPARE(count(), 2);
    QVERIFY(folder("a").parentFolderId().isValid() != folder("b").parentFolderId().isValid());
}

void FolderWriterTest::completeAnswerIsComparedWithWhatIsHere()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder(text("a"), text("A")));
    answer.added.append(Items::folder(text("b"), text("B")));
    QCOMPARE(write(answer), 200);
    const QMailFolderId a = state("a").folderId;
    Eas::FolderChanges again = usualFolders(text("g1"));
    again.added.append(Items::folder(text("a"), text("A2")));
    again.added.append(Items::folder(text("c"), text("C")));
    QCOMPARE(write(again), 200);
    QCOMPARE(count(), 6);
    QCOMPARE(state("a").folderId, a);
    QCOMPARE(folder("a").displayName(), text("A2"));
    QVERIFY(!state("b").folderId.isValid());
}

void FolderWriterTest::folderIsFoundAgainAfterTheMemoryWasLost()
{
    QCOMPARE(write(usualFolders()), 200);
    const QMailFolderId inbox = state("in").folderId;
    QVERIFY(m_db->removeAccount(m_account).ok());
    QVERIFY(m_db->openAccount(Store::AccountRecord::read(m_account)).ok());
    QVERIFY(m_db->folders(m_account).isEmpty());
    QCOMPARE(m_db->account(m_account).folderSyncKey, text("0"));
    QCOMPARE(write(usualFolders()), 200);
    QCOMPARE(count(), 4);
    QCOMPARE(state("in").folderId, inbox);
    QCOMPARE(state("in").syncKey, text("0"));
}

void FolderWriterTest::folderThatVanishedHereIsMadeAnew()
{
    QCOMPARE(write(usualFolders()), 200);
    Store::FolderState synced = state("in");
    synced.syncKey = text("77");
    QVERIFY(m_db->saveFolder(m_account, synced).ok());
    QVERIFY(QMailStore::instance()->removeFolder(state("in").folderId));
    QVERIFY(m_db->openAccount(Store::AccountRecord::read(m_account)).ok());
    QCOMPARE(m_db->account(m_account).folderSyncKey, text("0"));
    QVERIFY(!m_db->folder(m_account, text("in")));
    QCOMPARE(write(usualFolders()), 200);
    QCOMPARE(count(), 4);
    QCOMPARE(state("in").syncKey, text("0"));
    QCOMPARE(QMailAccount(m_account).standardFolder(QMailFolder::InboxFolder),
             state("in").folderId);
}

void FolderWriterTest::foldersOfTheUserAreLeftAlone()
{
    const QMailFolderId own = StoreFixture::addFolder(m_account, text("Own"));
    QCOMPARE(write(usualFolders()), 200);
    QCOMPARE(write(usualFolders(text("f2"))), 200);
    QCOMPARE(count(), 5);
    QCOMPARE(QMailFolder(own).displayName(), text("Own"));
}

void FolderWriterTest::choiceNotToSynchroniseAFolderStays()
{
    QCOMPARE(write(usualFolders()), 200);
    QMailFolder sent = folder("se");
    sent.setStatus(QMailFolder::SynchronizationEnabled, false);
    QVERIFY(QMailStore::instance()->updateFolder(&sent));
    Eas::FolderChanges update = changes(text("f2"));
    update.updated = {Items::folder(text("se"), text("Sent again"), Eas::SentItems)};
    QCOMPARE(write(update), 200);
    QCOMPARE(folder("se").displayName(), text("Sent again"));
    QVERIFY(!(folder("se").status() & QMailFolder::SynchronizationEnabled));
}

void FolderWriterTest::messageMovedIntoARemovedFolderGoesBack()
{
    Eas::FolderChanges answer = usualFolders();
    answer.added.append(Items::folder(text("a"), text("A")));
    QCOMPARE(write(answer), 200);
    Eas::SyncWindow window = Items::window(text("in"), text("1"));
    QVERIFY(Store::WindowWriter(*m_db, m_account, window).run().ok());
    window.added = {item(text("5"))};
    Store::WindowWriter writer(*m_db, m_account, window);
    QVERIFY(writer.run().ok());
    const QMailMessageId message = writer.added().first();
    QMailDisconnected::moveToFolder({message}, state("a").folderId);
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = QStringList(text("a"));
    QCOMPARE(write(update), 200);
    QCOMPARE(QMailMessageMetaData(message).parentFolderId(), state("in").folderId);
    QVERIFY(!QMailMessageMetaData(message).previousParentFolderId().isValid());
}

void FolderWriterTest::hostileNames_data()
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

void FolderWriterTest::hostileNames()
{
    QFETCH(QString, name);
    QFETCH(QString, shown);
    Eas::FolderChanges answer = changes(text("f1"));
    answer.complete = true;
    answer.added = {Items::folder(text("x"), name), Items::folder(QString(), text("no id"))};
    QCOMPARE(write(answer), 200);
    QCOMPARE(folder("x").displayName(), shown);
    QCOMPARE(count(), 1);
}

void FolderWriterTest::manyMessagesAreRemovedInShortSteps()
{
    QCOMPARE(write(usualFolders()), 200);
    for (int i = 0; i < 500; ++i)
        StoreFixture::addMessage(m_account, state("se").folderId);
    Eas::FolderChanges update = changes(text("f2"));
    update.removed = QStringList(text("se"));
    Store::FolderWriter writer(*m_db, m_account, update);
    qint64 longest = 0;
    int steps = 0;
    for (bool more = true; more; ++steps) {
        QElapsedTimer timer;
        timer.start();
        more = writer.step();
        longest = qMax(longest, timer.elapsed());
    }
    QVERIFY(writer.result().ok());
    QVERIFY(steps > 1);
    qInfo("%d steps, the longest %lld ms", steps, (long long)longest);
    QVERIFY(longest < 2000);
}

void FolderWriterTest::nothingIsWrittenForARemovedAccount()
{
    QVERIFY(QMailStore::instance()->removeAccount(m_account));
    QCOMPARE(write(usualFolders()), 1030);
    QCOMPARE(count(), 0);
}

void FolderWriterTest::folderUnderAnotherIdIsKept()
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
    QVERIFY(!m_db->folder(m_account, text("a")));
    QCOMPARE(uidOf(message).collectionId, text("new-a"));
    // Another message may have its former id.
    QVERIFY(!uidOf(message).isKnownThere());
}

void FolderWriterTest::renamingThatWasBrokenOffGoesOn()
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
        QVERIFY(m_db->openAccount(Store::AccountRecord::read(m_account)).ok());
        QCOMPARE(write(tree("new-")), 200);
        QCOMPARE(count(), 6);
        QCOMPARE(state("new-a").folderId, a);
        QCOMPARE(state("new-below").folderId, below);
        QCOMPARE(uidOf(message).collectionId, text("new-a"));
        cleanup();
        init();
    }
}

void FolderWriterTest::renamingThatWasBrokenOffGoesOnWithYetOtherIds()
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
            Store::FolderRenaming renaming(state(id), text("new-") + text(id));
            isDone = false;
            for (int i = 0; i < steps && !isDone; ++i)
                QVERIFY(renaming.step(*m_db, m_account, &isDone).ok());
        }
        QCOMPARE(write(tree("other-")), 200);
        QCOMPARE(count(), 6);
        QCOMPARE(state("other-a").folderId, a);
        QCOMPARE(state("other-below").folderId, below);
        for (const QMailMessageId &message : messages) {
            QCOMPARE(uidOf(message).collectionId, text("other-a"));
            QVERIFY(!uidOf(message).isKnownThere());
        }
        QCOMPARE(uidOf(visitor).collectionId, text("other-below"));
        QVERIFY(QMailMessageMetaData(local).serverUid().isEmpty());
        cleanup();
        init();
    }
    QVERIFY(steps > 3);
}

void FolderWriterTest::whatASearchBroughtIsNotDoubledByARenaming_data()
{
    QTest::addColumn<bool>("isWhole");
    QTest::newRow("of a folder that is here as a whole") << true;
    QTest::newRow("of a folder of which the last days are here") << false;
}

void FolderWriterTest::whatASearchBroughtIsNotDoubledByARenaming()
{
    QFETCH(bool, isWhole);
    QCOMPARE(write(tree("")), 200);
    const QMailMessageId shown = messageIn("a");
    Store::FolderState folder = state("a");
    folder.filter = isWhole ? 0 : 4;
    QVERIFY(m_db->saveFolder(m_account, folder).ok());
    Store::FoundItem found {text("a"), text("9"), text("a+9"), item(text("9"))};
    found.item.subject = QStringLiteral("Found");
    Store::FoundWriter search(*m_db, m_account, {found});
    QVERIFY(search.run().ok());
    const QMailMessageId before = search.messages().value(0);

    QCOMPARE(write(tree("new-")), 200);
    QCOMPARE(uidOf(shown).collectionId, text("new-a"));
    // Only what is here as a whole shows the message again, by which it would be recognised.
    QCOMPARE(QMailStore::instance()->countMessages(QMailMessageKey::id(before)), int(isWhole));
    if (isWhole)
        return;
    found.collectionId = text("new-a");
    Store::FoundWriter searchAgain(*m_db, m_account, {found});
    QVERIFY(searchAgain.run().ok());
    QCOMPARE(QMailStore::instance()->countMessages(
                 QMailMessageKey::parentFolderId(state("new-a").folderId)),
             2);
}

void FolderWriterTest::folderOfAnotherPlaceNameOrKindIsAnother()
{
    QCOMPARE(write(tree("")), 200);
    const QMailFolderIdList before {state("a").folderId, state("below").folderId,
                                    state("se").folderId};
    Eas::FolderChanges answer = changes(text("g1"));
    answer.complete = true;
    answer.added = {Items::folder(text("1"), text("Other name")),
                    Items::folder(text("2"), folder("below").displayName()),
                    Items::folder(text("3"), folder("se").displayName())};
    QCOMPARE(write(answer), 200);
    QCOMPARE(count(), 3);
    for (const char *id : {"1", "2", "3"})
        QVERIFY(!before.contains(state(id).folderId));
}

void FolderWriterTest::randomAnswersMatchAPlainModel()
{
    QRandomGenerator random(testSeed());
    QMap<QString, Eas::FolderRecord> model;
    QHash<QString, QMailFolderId> ids;
    for (int round = 0; round < 40; ++round) {
        Eas::FolderChanges answer = changes(QString::number(round));
        QSet<QString> used;
        for (int i = random.bounded(6); i > 0; --i) {
            const QString id = QString::number(random.bounded(12));
            if (used.contains(id))
                continue;
            used.insert(id);
            const QStringList others = model.keys();
            const QString parent = others.isEmpty() || random.bounded(2)
                ? text("0")
                : others.at(random.bounded(others.size()));
            const bool leaf = std::none_of(model.begin(), model.end(), [&](const auto &record) {
                return record.parentId == id;
            });
            if (model.contains(id) && leaf && random.bounded(3) == 0) {
                model.remove(id);
                ids.remove(id);
                answer.removed.append(id);
            } else if ((leaf || parent == text("0")) && parent != id) {
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
            const QByteArray id = record.serverId.toLatin1();
            QCOMPARE(folder(id).displayName(), record.displayName);
            QCOMPARE(folder(id).parentFolderId(), state(record.parentId.toLatin1()).folderId);
            if (ids.contains(record.serverId))
                QCOMPARE(state(id).folderId, ids.value(record.serverId));
            ids.insert(record.serverId, state(id).folderId);
        }
    }
}

QTEST_GUILESS_MAIN(FolderWriterTest)
#include "folderwritertest.moc"
