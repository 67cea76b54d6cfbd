// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/support/chance.h"

#include <QDeadlineTimer>
#include <qmaildisconnected.h>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QTest>

#include <algorithm>
#include <functional>
#include <memory>

namespace {

const QString Mail1 = QStringLiteral("Mail 1");
const QString Mail2 = QStringLiteral("Mail 2");
const QString Mail3 = QStringLiteral("Mail 3");
const QString Inbox = QStringLiteral("Inbox");
const QString Drafts = QStringLiteral("Drafts");
const QString Trash = QStringLiteral("Trash");

} // namespace

/** What the user did in the mail store reaches the server with the next synchronisation. */
class TestLocalChanges : public DaemonFixture<DaemonWorld>
{
    Q_OBJECT

private slots:
    void init();

    void readAndImportantTravelAndAreAcknowledged();
    void clearedFlagsTravelToo();
    void aFlaggedMessageThatIsReadStaysFlagged_data();
    void aFlaggedMessageThatIsReadStaysFlagged();
    void aDeletionGoesToTheServersTrash();
    void aDeletionFromTheTrashIsForGood();
    void whatIsDeletedBeforeItsMoveToTheTrashIsToldIsGoneForGood_data();
    void whatIsDeletedBeforeItsMoveToTheTrashIsToldIsGoneForGood();
    void whatIsDeletedWhileMailComesIsDeleted();
    void deletionsOfWhatTheServerNeverHadAreForgotten();
    void aMoveTravelsAndTheMessageKeepsItsId();
    void aMessageThatIsGoneAtTheServerGoesHereToo();
    void theLastActionHereWinsOnFlags();
    void flagsOfBothSidesStay_data();
    void flagsOfBothSidesStay();
    void whatWasDeletedThereIsNotFlagged();
    void whatTheServerRefusesForAMomentIsCarriedAgain();
    void aMoveThatTheServerRefusesGoesBack();
    void aThousandFlagsAreOneRequest();
    void aKeyThatTheServerCallsNotImplementedReconcilesTheFolder();
    void specificFoldersCarryThemAsWell();
    void anotherUploadFollowsARequestThatJoinsALateOne();
    void aCutAnswerCarriesTheSameChangesAgain();
    void aMoveWhoseAnswerIsLostKeepsTheMessagesId_data();
    void aMoveWhoseAnswerIsLostKeepsTheMessagesId();
    void aMovedMessageThatIsTakenAwayAtOnceGoesHereToo_data();
    void aMovedMessageThatIsTakenAwayAtOnceGoesHereToo();
    void aMovedMessageThatTheServerDoesNotShowStays();
    void aMovedMessageStaysUntilTheServerSaysThatItIsGone();
    void whatLeavesTheRangeWhileItIsMovedStaysAtTheServer();
    void onlySoManyMovedMessagesAreAskedForAtOnce();
    void aKilledDaemonLosesAndDoublesNothing();
    void whatIsDeletedOfAHalfWrittenWindowIsDeleted();
    void aServerThatLostItsMemoryChangesNothingHere();
    void onAServerThatLostItsMemoryAllGoesOnAtOnce_data();
    void onAServerThatLostItsMemoryAllGoesOnAtOnce();
    void aServerThatNumbersItsItemsAnewIsToldNothingOfOthers_data();
    void aServerThatNumbersItsItemsAnewIsToldNothingOfOthers();
    void whatLeavesAFolderThatIsSwitchedOffIsMovedOrComesBack_data();
    void whatLeavesAFolderThatIsSwitchedOffIsMovedOrComesBack();
    void whatWaitsInAFolderThatIsSwitchedOffDoesNotFetchIt_data();
    void whatWaitsInAFolderThatIsSwitchedOffDoesNotFetchIt();
    void aDaemonThatIsKilledWhileAServerCallsAllOtherwiseLosesNothing();
    void theTreeThatARefusedMoveAsksForIsNotMissed();

private:
    using Message = QMailMessageMetaData;

    static void set(const QMailMessageIdList &ids, quint64 flag, bool value)
    {
        QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(ids), flag, value);
    }
    /** All messages of the account, with what they are. */
    static QMap<QMailMessageId, QString> everything()
    {
        QMap<QMailMessageId, QString> found;
        for (const QMailMessageId &id : QMailStore::instance()->queryMessages()) {
            const QMailMessage message(id);
            found.insert(id, message.subject() + QLatin1Char('|') + message.body().data());
        }
        return found;
    }
    /**
     * As the message server does it for a mail program: the store remembers the origin. Only these
     * two properties are written: what this process knows of the others may be old, because a
     * daemon that was killed told nobody of its last changes.
     */
    void move(const QMailMessageId &id, const QString &from, const QString &to)
    {
        Message where;
        where.setPreviousParentFolderId(world().folder(from));
        where.setParentFolderId(world().folder(to));
        QVERIFY(QMailStore::instance()->updateMessagesMetaData(
            QMailMessageKey::id(id), QMailDisconnected::parentFolderProperties(), where));
    }
    /** Switches a folder on or off, as a mail program does. */
    void setEnabled(const QString &name, bool enabled)
    {
        QMailFolder folder(world().folder(name));
        folder.setStatus(QMailFolder::SynchronizationEnabled, enabled);
        QVERIFY(QMailStore::instance()->updateFolder(&folder));
        QMailStore::instance()->flushIpcNotifications();
    }
    /** Whether a synchronisation in the server's log names the folder. */
    bool isAskedFor(const QString &name)
    {
        const QString id = QStringLiteral("<AirSync:CollectionId>%1<")
                               .arg(world().server.folderId(QStringLiteral("alice"), name));
        const QList<QJsonObject> requests = world().server.requests("Sync");
        return std::any_of(requests.cbegin(), requests.cend(), [&id](const QJsonObject &request) {
            return request.value(QStringLiteral("request")).toString().contains(id);
        });
    }
    /** Synchronises, and does something between the move at the server and our hearing of it. */
    void syncAndMeanwhile(const QString &subject, const std::function<void()> &meanwhile)
    {
        world().server.fault("delay", "MoveItems", {{"seconds", 20}, {"late", true}});
        const int request = world().sync();
        QTRY_VERIFY(!world().atServer(subject, Drafts).isEmpty());
        meanwhile();
        world().server.endDelays();
        QCOMPARE(world().codeOf(request), 200);
    }
};

void TestLocalChanges::init()
{
    DaemonFixture::init();
    world().deliver(3);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.clearLog();
}

void TestLocalChanges::readAndImportantTravelAndAreAcknowledged()
{
    const QMailMessageId first = world().find(Mail1);
    const QMailMessageId second = world().find(Mail2);
    set({first}, Message::Read, true);
    set({second}, Message::Important, true);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().isReadAtServer(Mail1));
    QVERIFY(!world().isReadAtServer(Mail2));
    QCOMPARE(world().atServer(Mail1).value(QStringLiteral("flag")).toInt(), 0);
    QCOMPARE(world().atServer(Mail2).value(QStringLiteral("flag")).toInt(), 2);
    QVERIFY(StoreFixture::hasStatus(first, Message::ReadElsewhere));
    QVERIFY(StoreFixture::hasStatus(second, Message::ImportantElsewhere));

    // Acknowledged is acknowledged: the next synchronisation has nothing to carry.
    const int requests = world().server.requestCount("Sync");
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("Sync"), requests + 1);
}

void TestLocalChanges::clearedFlagsTravelToo()
{
    const QMailMessageId first = world().find(Mail1);
    set({first}, Message::Read | Message::Important, true);
    QCOMPARE(world().syncAndWait(), 200);
    set({first}, Message::Read | Message::Important, false);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(!world().isReadAtServer(Mail1));
    QCOMPARE(world().atServer(Mail1).value(QStringLiteral("flag")).toInt(), 0);
    QVERIFY(!StoreFixture::hasStatus(first, Message::ReadElsewhere));
    QVERIFY(!StoreFixture::hasStatus(first, Message::ImportantElsewhere));
}

void TestLocalChanges::aFlaggedMessageThatIsReadStaysFlagged_data()
{
    QTest::addColumn<bool>("bareReadUnflags");
    QTest::addColumn<bool>("isOurs");
    QTest::newRow("flagged there") << false << false;
    QTest::newRow("flagged here") << false << true;
    QTest::newRow("flagged there; a server that forgets what is not said again") << true << false;
    QTest::newRow("flagged here; a server that forgets what is not said again") << true << true;
}

void TestLocalChanges::aFlaggedMessageThatIsReadStaysFlagged()
{
    QFETCH(bool, bareReadUnflags);
    QFETCH(bool, isOurs);
    world().server.control("options", {{QStringLiteral("bare_read_unflags"), bareReadUnflags}});
    if (isOurs)
        set({world().find(Mail1)}, Message::Important, true);
    else
        world().changeAtServer("flag", Mail1, {{"flag", 2}});
    QCOMPARE(world().syncAndWait(), 200);
    for (const bool isRead : {true, false}) {
        set({world().find(Mail1), world().find(Mail2)}, Message::Read, isRead);
        QCOMPARE(world().syncAndWait(), 200);
        QCOMPARE(world().isReadAtServer(Mail1), isRead);
        QCOMPARE(world().atServer(Mail1).value(QStringLiteral("flag")).toInt(), 2);
        QCOMPARE(world().atServer(Mail2).value(QStringLiteral("flag")).toInt(), 0);
        QVERIFY(StoreFixture::hasStatus(world().find(Mail1), Message::Important));
    }
}

void TestLocalChanges::aDeletionGoesToTheServersTrash()
{
    QVERIFY(QMailStore::instance()->removeMessages(QMailMessageKey::id(world().find(Mail1)),
                                                   QMailStore::CreateRemovalRecord));
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().atServer(Mail1).isEmpty());
    QVERIFY(!world().atServer(Mail1, Trash).isEmpty());
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    QCOMPARE(world().subjects(), QStringList({Mail2, Mail3}));
    QCOMPARE(world().subjects(Trash), QStringList {Mail1});
}

void TestLocalChanges::aDeletionFromTheTrashIsForGood()
{
    move(world().find(Mail1), Inbox, Trash);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(!world().atServer(Mail1, Trash).isEmpty());
    QVERIFY(QMailStore::instance()->removeMessages(QMailMessageKey::id(world().find(Mail1)),
                                                   QMailStore::CreateRemovalRecord));
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().atServer(Mail1, Trash).isEmpty());
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    QVERIFY(world().subjects(Trash).isEmpty());
}

void TestLocalChanges::whatIsDeletedBeforeItsMoveToTheTrashIsToldIsGoneForGood_data()
{
    QTest::addColumn<int>("lost");
    QTest::newRow("all answers come") << 0;
    QTest::newRow("the first answer is lost") << 1;
    QTest::newRow("the second answer is lost") << 2;
}

void TestLocalChanges::whatIsDeletedBeforeItsMoveToTheTrashIsToldIsGoneForGood()
{
    QFETCH(int, lost);
    move(world().find(Mail1), Inbox, Trash);
    for (const QString &subject : {Mail1, Mail2})
        QVERIFY(QMailStore::instance()->removeMessages(QMailMessageKey::id(world().find(subject)),
                                                       QMailStore::CreateRemovalRecord));
    if (lost > 0)
        world().server.fault("cut", "Sync", {{"bytes", 5}, {"after", lost - 1}});
    QCOMPARE(world().syncAndWait() == 200, lost == 0);
    QVERIFY(world().faultsAreTaken());
    for (int i = 0; i < 2; ++i)
        QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    QVERIFY(world().atServer(Mail1, Trash).isEmpty());
    QVERIFY(!world().atServer(Mail2, Trash).isEmpty());
    QCOMPARE(world().server.messages(QStringLiteral("alice"), Trash).size(), 1);
    QCOMPARE(world().server.messages(QStringLiteral("alice"), Inbox).size(), 1);
    QCOMPARE(world().subjects(Trash), QStringList {Mail2});
    QCOMPARE(world().subjects(), QStringList {Mail3});
}

void TestLocalChanges::whatIsDeletedWhileMailComesIsDeleted()
{
    QMailStore *store = QMailStore::instance();
    world().deliver(150, QStringLiteral("New"));
    const int request = world().sync();
    int removed = 0;
    while (world().listener.completionsOf(request) == 0) {
        for (const QMailMessageId &id :
             store->queryMessages(QMailMessageKey::parentFolderId(world().folder(Inbox)))) {
            QVERIFY(store->removeMessage(id, QMailStore::CreateRemovalRecord));
            ++removed;
        }
        QTest::qWait(1);
    }
    QCOMPARE(world().codeOf(request), 200);
    QVERIFY(removed > 3);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(store->countMessages(), 153);
    QCOMPARE(world().subjects(Trash).size(), removed);
    QCOMPARE(world().server.messages(QStringLiteral("alice"), Trash).size(), removed);
    QCOMPARE(world().subjects().size(), 153 - removed);
}

void TestLocalChanges::deletionsOfWhatTheServerNeverHadAreForgotten()
{
    // A mail program saves a draft again: the old one goes, with a record.
    const QMailFolderId folder = world().folder(Drafts);
    const QMailMessageId old =
        StoreFixture::addMessage(world().account, folder, QStringLiteral("Old draft"));
    StoreFixture::addMessage(world().account, folder, QStringLiteral("New draft"));
    QMailStore *store = QMailStore::instance();
    for (const QMailMessageId &id : {old, world().find(Mail1)})
        QVERIFY(store->removeMessages(QMailMessageKey::id(id), QMailStore::CreateRemovalRecord));
    QCOMPARE(store->messageRemovalRecords(world().account).size(), 2);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(store->messageRemovalRecords(world().account).isEmpty());
    QVERIFY(world().atServer(Mail1).isEmpty());
    QVERIFY(world().find(QStringLiteral("New draft")).isValid());
}

void TestLocalChanges::aMoveTravelsAndTheMessageKeepsItsId()
{
    const QMailMessageId id = world().find(Mail2);
    move(id, Inbox, Drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().atServer(Mail2).isEmpty());
    QVERIFY(!world().atServer(Mail2, Drafts).isEmpty());
    QCOMPARE(world().find(Mail2), id);
    // Asked by key, because the store's client library remembers what it has read before.
    QCOMPARE(QMailStore::instance()->countMessages(
                 QMailMessageKey::previousParentFolderId(world().folder(Inbox))),
             0);
    QCOMPARE(world().messageCount(), 3);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 3);
    QCOMPARE(world().find(Mail2), id);
}

void TestLocalChanges::aMessageThatIsGoneAtTheServerGoesHereToo()
{
    set({world().find(Mail1)}, Message::Read, true);
    move(world().find(Mail2), Inbox, Drafts);
    for (const QString &subject : {Mail1, Mail2})
        world().changeAtServer("delete", subject);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(), QStringList {Mail3});
    QCOMPARE(world().messageCount(), 1);
}

void TestLocalChanges::theLastActionHereWinsOnFlags()
{
    set({world().find(Mail1)}, Message::Important, true);
    world().changeAtServer("flag", Mail1, {{"read", true}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().atServer(Mail1).value(QStringLiteral("flag")).toInt(), 2);
    QVERIFY(StoreFixture::hasStatus(world().find(Mail1), Message::Important));
    QVERIFY(StoreFixture::hasStatus(world().find(Mail1), Message::Read));
}

void TestLocalChanges::flagsOfBothSidesStay_data()
{
    QTest::addColumn<bool>("lenient");
    QTest::newRow("a server that tells what another did") << false;
    QTest::newRow("a server that does not, once we changed the item, too") << true;
}

void TestLocalChanges::flagsOfBothSidesStay()
{
    QFETCH(bool, lenient);
    world().server.control("options",
                           {{QStringLiteral("own_changes_hide"), lenient},
                            {QStringLiteral("responses_alone"), lenient}});
    set({world().find(Mail1)}, Message::Important, true);
    set({world().find(Mail2)}, Message::Read, true);
    world().changeAtServer("flag", Mail1, {{"read", true}});
    world().changeAtServer("flag", Mail2, {{"flag", 2}});
    QCOMPARE(world().syncAndWait(), 200);
    for (const QString &subject : {Mail1, Mail2}) {
        QVERIFY(world().isReadAtServer(subject));
        QCOMPARE(world().atServer(subject).value(QStringLiteral("flag")).toInt(), 2);
        QVERIFY(StoreFixture::hasStatus(world().find(subject), Message::Read));
        QVERIFY(StoreFixture::hasStatus(world().find(subject), Message::Important));
    }
}

void TestLocalChanges::whatWasDeletedThereIsNotFlagged()
{
    set({world().find(Mail1), world().find(Mail2)}, Message::Important, true);
    world().changeAtServer("delete", Mail1);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(!world().find(Mail1).isValid());
    QCOMPARE(world().atServer(Mail2).value(QStringLiteral("flag")).toInt(), 2);
}

void TestLocalChanges::aKeyThatTheServerCallsNotImplementedReconcilesTheFolder()
{
    set({world().find(Mail1)}, Message::Important, true);
    const QMailMessageId second = world().find(Mail2);
    // The look, the upload, and the folder's own step: all with the key that is not understood.
    world().server.fault("http", "Sync", {{"status", 501}, {"count", 3}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(), QStringList({Mail1, Mail2, Mail3}));
    QCOMPARE(world().find(Mail2), second);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().atServer(Mail1).value(QStringLiteral("flag")).toInt(), 2);
}

void TestLocalChanges::whatTheServerRefusesForAMomentIsCarriedAgain()
{
    // A conflict, and an item that is locked.
    for (const char *command : {"Sync", "MoveItems"}) {
        const bool isSync = qstrcmp(command, "Sync") == 0;
        world().server.fault({{QStringLiteral("kind"), QStringLiteral("item_status")},
                              {QStringLiteral("command"), QString::fromLatin1(command)},
                              {QStringLiteral("after"), isSync ? 1 : 0}, // the look before it
                              {QStringLiteral("status"), 7}});
    }
    const QMailMessageId id = world().find(Mail2);
    set({world().find(Mail1)}, Message::Important, true);
    QVERIFY(QMailStore::instance()->removeMessages(QMailMessageKey::id(world().find(Mail3)),
                                                   QMailStore::CreateRemovalRecord));
    move(id, Inbox, Drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().faultsAreTaken());
    // What the user did stays done here, and is not taken for known to the server.
    QVERIFY(!StoreFixture::hasStatus(world().find(Mail1), Message::ImportantElsewhere));
    QCOMPARE(world().subjects(), QStringList {Mail1});
    QCOMPARE(world().subjects(Drafts), QStringList {Mail2});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().atServer(Mail1).value(QStringLiteral("flag")).toInt(), 2);
    QVERIFY(StoreFixture::hasStatus(world().find(Mail1), Message::ImportantElsewhere));
    QVERIFY(world().atServer(Mail3).isEmpty());
    QVERIFY(!world().atServer(Mail2, Drafts).isEmpty());
    QCOMPARE(world().find(Mail2), id);
}

void TestLocalChanges::aMoveThatTheServerRefusesGoesBack()
{
    const QMailMessageId id = world().find(Mail2);
    world().server.fault("item_status", "MoveItems", {{"status", 5}});
    move(id, Inbox, Drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(), (QStringList {Mail1, Mail2, Mail3}));
    QCOMPARE(world().find(Mail2), id);
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("MoveItems"), 0);
}

void TestLocalChanges::aThousandFlagsAreOneRequest()
{
    world().deliver(997, QStringLiteral("Many"));
    QCOMPARE(world().codeOf(world().sync(), 120000), 200);
    QCOMPARE(world().messageCount(), 1000);
    world().server.clearLog();
    QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::parentAccountId(world().account), Message::Read, true);
    QCOMPARE(world().codeOf(world().sync(), 120000), 200);
    // One to ask first what others did, one with the flags, one to ask what is new.
    QCOMPARE(world().server.requestCount("Sync"), 3);
    for (const QJsonObject &message : world().server.messages(QStringLiteral("alice"), Inbox))
        QVERIFY(message.value(QStringLiteral("read")).toBool());
}

void TestLocalChanges::specificFoldersCarryThemAsWell()
{
    set({world().find(Mail1)}, Message::Read, true);
    const QString number = QString::number(world().folder(Inbox).toULongLong());
    QCOMPARE(world().codeOf(world().syncFolders({number}, 0, 5)), 200);
    QVERIFY(world().isReadAtServer(Mail1));
}

void TestLocalChanges::anotherUploadFollowsARequestThatJoinsALateOne()
{
    set({world().find(Mail1)}, Message::Read, true);
    world().server.fault("delay", "Sync", {{"seconds", 20}});
    const int first = world().sync();
    QVERIFY(world().faultsAreTaken());
    set({world().find(Mail2)}, Message::Read, true);
    const int second = world().sync();
    world().server.endDelays();
    QCOMPARE(world().codeOf(first), 200);
    QCOMPARE(world().codeOf(second), 200);
    QVERIFY(world().isReadAtServer(Mail1));
    QVERIFY(world().isReadAtServer(Mail2));
}

void TestLocalChanges::aCutAnswerCarriesTheSameChangesAgain()
{
    set({world().find(Mail1)}, Message::Read, true);
    QVERIFY(QMailStore::instance()->removeMessages(QMailMessageKey::id(world().find(Mail2)),
                                                   QMailStore::CreateRemovalRecord));
    world().server.fault("cut", "Sync", {{"bytes", 5}});
    world().syncAndWait();
    world().server.clearFaults();
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().isReadAtServer(Mail1));
    QVERIFY(world().atServer(Mail2).isEmpty());
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    QVERIFY(StoreFixture::hasStatus(world().find(Mail1), Message::ReadElsewhere));
    QCOMPARE(world().messageCount(), 3);
}

void TestLocalChanges::aMoveWhoseAnswerIsLostKeepsTheMessagesId_data()
{
    QTest::addColumn<bool>("kill");
    QTest::newRow("the connection is cut") << false;
    QTest::newRow("the daemon is killed") << true;
}

void TestLocalChanges::aMoveWhoseAnswerIsLostKeepsTheMessagesId()
{
    QFETCH(bool, kill);
    world().deliver(1, QStringLiteral("Draft"), Drafts);
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = world().find(Mail2);
    move(id, Inbox, Drafts);
    world().server.fault(qPrintable(kill ? QStringLiteral("delay") : QStringLiteral("reset")),
                         "MoveItems", {{"seconds", 30}, {"late", true}});
    const int request = world().sync();
    QTRY_VERIFY(!world().atServer(Mail2, Drafts).isEmpty());
    if (kill) {
        world().daemon.kill();
        world().listener.clear();
        QVERIFY(world().daemon.start());
    } else {
        QVERIFY(world().codeOf(request) != 0);
    }
    // Between the two, the person goes on. The other flag is nothing that a server tells of.
    const QMailMessageId draft = world().find(QStringLiteral("Draft 1"));
    set({id, draft}, Message::Important, true);
    set({id}, Message::CalendarInvitation, true);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().find(Mail2), id);
    QCOMPARE(world().subjects(Drafts), (QStringList {QStringLiteral("Draft 1"), Mail2}));
    QCOMPARE(world().messageCount(), 4);
    QVERIFY(world().atServer(Mail2).isEmpty());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().atServer(Mail2, Drafts).value(QStringLiteral("flag")).toInt(), 2);
    QCOMPARE(world().find(Mail2), id);
    QVERIFY(StoreFixture::hasStatus(id, Message::CalendarInvitation));
}

void TestLocalChanges::aMovedMessageThatIsTakenAwayAtOnceGoesHereToo_data()
{
    QTest::addColumn<bool>("movesOn");
    QTest::addColumn<bool>("missingIsFine");
    QTest::newRow("deleted") << false << false;
    QTest::newRow("moved on") << true << false;
    QTest::newRow("deleted at a server that has no status for it") << false << true;
}

void TestLocalChanges::aMovedMessageThatIsTakenAwayAtOnceGoesHereToo()
{
    QFETCH(bool, movesOn);
    QFETCH(bool, missingIsFine);
    world().server.control("options", {{QStringLiteral("missing_is_fine"), missingIsFine}});
    move(world().find(Mail2), Inbox, Drafts);
    syncAndMeanwhile(Mail2, [&] {
        if (movesOn) {
            world().server.control("move",
                                   {{QStringLiteral("user"), QStringLiteral("alice")},
                                    {QStringLiteral("folder"), Drafts},
                                    {QStringLiteral("id"),
                                     world().atServer(Mail2, Drafts).value(QStringLiteral("id"))},
                                    {QStringLiteral("target"), Trash}});
        } else {
            world().changeAtServer("delete", Mail2, {}, Drafts);
        }
    });
    QVERIFY(world().subjects(Drafts).isEmpty());
    QCOMPARE(world().subjects(), (QStringList {Mail1, Mail3}));
    QCOMPARE(world().subjects(Trash), movesOn ? QStringList {Mail2} : QStringList());
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
}

void TestLocalChanges::aMovedMessageThatTheServerDoesNotShowStays()
{
    world().server.control("options", {{QStringLiteral("moves_are_known"), true}});
    const QMailMessageId id = world().find(Mail2);
    move(id, Inbox, Drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(Drafts), QStringList {Mail2});
    QCOMPARE(world().find(Mail2), id);
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);

    // Asked once, and from then on told as of any other.
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
    world().changeAtServer("delete", Mail2, {}, Drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().subjects(Drafts).isEmpty());
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
}

void TestLocalChanges::aMovedMessageStaysUntilTheServerSaysThatItIsGone()
{
    move(world().find(Mail2), Inbox, Drafts);
    world().server.fault("http", "ItemOperations", {{"status", 500}});
    syncAndMeanwhile(Mail2, [this] { world().changeAtServer("delete", Mail2, {}, Drafts); });
    QVERIFY(world().faultsAreTaken());
    QCOMPARE(world().subjects(Drafts), QStringList {Mail2});

    // Also by a daemon that only remembers that it has to ask.
    QCOMPARE(world().endDaemon(), 0);
    world().listener.clear();
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().subjects(Drafts).isEmpty());
    QCOMPARE(world().messageCount(), 2);
}

void TestLocalChanges::whatLeavesTheRangeWhileItIsMovedStaysAtTheServer()
{
    world().keepDays(3);
    QCOMPARE(world().syncAndWait(), 200);
    set({world().find(Mail2)}, Message::Read, true);
    move(world().find(Mail2), Inbox, Trash);
    const double longAgo = QDateTime::currentSecsSinceEpoch() - 10 * 86400;
    world().changeAtServer("flag", Mail2, {{"received", longAgo}});
    // With the news that is asked for before the flag goes up, the server says that it is too old.
    for (int i = 0; i < 3; ++i)
        QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().atServer(Mail2).isEmpty());
    QVERIFY(!world().atServer(Mail2, Trash).isEmpty());
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    QCOMPARE(world().subjects(), (QStringList {Mail1, Mail3}));
}

void TestLocalChanges::onlySoManyMovedMessagesAreAskedForAtOnce()
{
    world().server.control("options", {{QStringLiteral("moves_are_known"), true}});
    world().deliver(27, QStringLiteral("Many"));
    QCOMPARE(world().syncAndWait(), 200);
    const auto all =
        QMailStore::instance()->queryMessages(QMailMessageKey::parentAccountId(world().account));
    for (const QMailMessageId &id : all)
        move(id, Inbox, Drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 20);
    for (int i = 0; i < 2; ++i)
        QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 30);
    QCOMPARE(world().subjects(Drafts).size(), 30);
}

void TestLocalChanges::aKilledDaemonLosesAndDoublesNothing()
{
    const QMailMessageId first = world().find(Mail1);
    const QMailMessageId second = world().find(Mail2);
    for (int round = 0; round < 6; ++round) {
        const bool read = round % 2 == 0;
        set({first}, Message::Read, read);
        const QString from = round % 2 == 0 ? Inbox : Drafts;
        const QString to = round % 2 == 0 ? Drafts : Inbox;
        move(world().find(Mail2), from, to);
        world().server.clearLog();
        world().sync();
        // Killed as soon as the server has heard of something: what it says is lost.
        const char *command = round < 3 ? "Sync" : "MoveItems";
        QTRY_VERIFY2(world().server.requestCount(command) > 0, qPrintable(QString::number(round)));
        world().daemon.kill();
        // A new daemon counts its requests from 1 again.
        world().listener.clear();
        QVERIFY(world().daemon.start());
        QCOMPARE(world().syncAndWait(), 200);
        QCOMPARE(world().isReadAtServer(Mail1), read);
        QVERIFY(world().atServer(Mail2, from).isEmpty());
        QVERIFY(!world().atServer(Mail2, to).isEmpty());
        QCOMPARE(world().subjects(to).count(Mail2), 1);
        QCOMPARE(world().find(Mail2), second);
        QCOMPARE(world().messageCount(), 3);
    }
}

void TestLocalChanges::whatIsDeletedOfAHalfWrittenWindowIsDeleted()
{
    QMailStore *store = QMailStore::instance();
    world().deliver(80, QStringLiteral("New"));
    world().sync();
    // A look at once after the other: the window is written in a moment.
    const QDeadlineTimer deadline(10000);
    while (world().messageCount() == 3 && !deadline.hasExpired())
        continue;
    world().daemon.kill();
    const int written = world().messageCount();
    QVERIFY2(written > 3 && written < 83, qPrintable(QString::number(written)));
    const QString deleted = QStringLiteral("New 1");
    QVERIFY(store->removeMessage(world().find(deleted), QMailStore::CreateRemovalRecord));
    world().listener.clear();
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().atServer(deleted).isEmpty());
    QVERIFY(!world().atServer(deleted, Trash).isEmpty());
    QCOMPARE(world().subjects(Trash), QStringList {deleted});
    QCOMPARE(world().subjects().size(), 82);
    QVERIFY(store->messageRemovalRecords(world().account).isEmpty());
}

void TestLocalChanges::aServerThatLostItsMemoryChangesNothingHere()
{
    const QString projects = QStringLiteral("Projects");
    const QJsonObject alice {{QStringLiteral("user"), QStringLiteral("alice")}};
    for (const QString &path : {projects, projects + QStringLiteral("/Old")}) {
        world().createFolder(path);
        world().deliver(2, path, path);
    }
    world().deliver(3);
    world().deliver(1, QStringLiteral("Gone"));
    for (int alike = 0; alike < 2; ++alike)
        world().deliver(1, QStringLiteral("Same"));
    QCOMPARE(world().syncAndWait(), 200);
    const QMailFolderIdList folders = QMailStore::instance()->queryFolders();
    QMap<QMailMessageId, QString> before = everything();
    QCOMPARE(before.size(), 13);

    // Done here while nobody could be told of it.
    const QMailMessageId read = world().find(Mail1);
    const QMailMessageId important = world().find(projects + QStringLiteral("/Old 1"));
    const QMailMessageId moved = world().find(projects + QStringLiteral(" 2"));
    set({read}, Message::Read, true);
    set({important}, Message::Important, true);
    move(moved, projects, Drafts);
    world().changeAtServer("delete", QStringLiteral("Gone 1"));
    before.remove(world().find(QStringLiteral("Gone 1")));
    world().server.control("renumber", alice);
    world().deliver(1, QStringLiteral("New"));
    QCOMPARE(world().syncAndWait(), 200);

    QMap<QMailMessageId, QString> after = everything();
    QVERIFY(after.take(world().find(QStringLiteral("New 1"))).startsWith(QLatin1String("New 1")));
    QCOMPARE(after, before);
    QCOMPARE(QMailStore::instance()->queryFolders(), folders);
    QVERIFY(StoreFixture::hasStatus(read, Message::Read)
            && StoreFixture::hasStatus(read, Message::ReadElsewhere));
    QVERIFY(StoreFixture::hasStatus(important, Message::Important)
            && StoreFixture::hasStatus(important, Message::ImportantElsewhere));
    QCOMPARE(Message(moved).parentFolderId(), world().folder(Drafts));

    // All ids are the right ones: what was done reached the very messages that it was done to.
    QCOMPARE(world().server.messages(QStringLiteral("alice"), Inbox).size(), 9);
    int readThere = 0;
    for (const QJsonObject &one : world().server.messages(QStringLiteral("alice"), Inbox))
        readThere += one.value(QStringLiteral("read")).toBool();
    QCOMPARE(readThere, 1);
    const QString old = projects + QStringLiteral("/Old");
    QCOMPARE(
        world().atServer(old + QStringLiteral(" 1"), old).value(QStringLiteral("flag")).toInt(), 2);
    QCOMPARE(
        world().atServer(old + QStringLiteral(" 2"), old).value(QStringLiteral("flag")).toInt(), 0);
    QVERIFY(!world().atServer(projects + QStringLiteral(" 2"), Drafts).isEmpty());
    QCOMPARE(world().server.messages(QStringLiteral("alice"), projects).size(), 1);
}

void TestLocalChanges::onAServerThatLostItsMemoryAllGoesOnAtOnce_data()
{
    QTest::addColumn<bool>("flags");
    QTest::addColumn<bool>("moves");
    QTest::newRow("nothing was done here") << false << false;
    QTest::newRow("a message was read") << true << false;
    QTest::newRow("a message was moved") << false << true;
    QTest::newRow("both") << true << true;
}

/** Also where only one folder was asked for: its id is another one when the tree has come. */
void TestLocalChanges::onAServerThatLostItsMemoryAllGoesOnAtOnce()
{
    QFETCH(bool, flags);
    QFETCH(bool, moves);
    const QMap<QMailMessageId, QString> before = everything();
    if (flags)
        set({world().find(Mail1)}, Message::Read, true);
    if (moves)
        move(world().find(Mail2), Inbox, Drafts);
    world().server.control("renumber", {{QStringLiteral("user"), QStringLiteral("alice")}});
    world().deliver(1, QStringLiteral("Elsewhere"), Trash);
    const QString number = QString::number(world().folder(Inbox).toULongLong());
    QCOMPARE(world().codeOf(world().syncFolders({number}, 0, 5)), 200);
    QCOMPARE(world().isReadAtServer(Mail1), flags);
    QCOMPARE(world().atServer(Mail2).isEmpty(), moves);
    QCOMPARE(world().atServer(Mail2, Drafts).isEmpty(), !moves);
    QCOMPARE(world().find(Mail2).isValid(), true);
    QMap<QMailMessageId, QString> after = everything();
    // What the other folders have is here as well: nothing would tell of it later.
    QVERIFY(after.remove(world().find(QStringLiteral("Elsewhere 1"))));
    QCOMPARE(after, before);
}

void TestLocalChanges::aServerThatNumbersItsItemsAnewIsToldNothingOfOthers_data()
{
    QTest::addColumn<bool>("deletes");
    QTest::addColumn<bool>("reads");
    QTest::addColumn<bool>("isOtherServer");
    QTest::newRow("a message was deleted") << true << true << false;
    QTest::newRow("a message was moved") << false << true << false;
    QTest::newRow("nothing was done but that a message was deleted") << true << false << false;
    QTest::newRow("nothing was done but that a message was moved") << false << false << false;
    QTest::newRow("a message was deleted, and the account is another server's now")
        << true << true << true;
    QTest::newRow("a message was moved, and the account is another server's now")
        << false << true << true;
}

/** The first message has the last one's number then, and the other way round. */
void TestLocalChanges::aServerThatNumbersItsItemsAnewIsToldNothingOfOthers()
{
    QFETCH(bool, deletes);
    QFETCH(bool, reads);
    QFETCH(bool, isOtherServer);
    QCOMPARE(world().endDaemon(), 0);
    const QMailMessageId first = world().find(Mail1);
    if (deletes)
        QVERIFY(QMailStore::instance()->removeMessage(first, QMailStore::CreateRemovalRecord));
    else
        move(first, Inbox, Drafts);
    set({world().find(Mail2)}, Message::Read, reads);
    world().server.control(
        "renumber",
        {{QStringLiteral("user"), QStringLiteral("alice")}, {QStringLiteral("folders"), false}});
    if (isOtherServer) {
        StoreFixture::Account settings = world().settings();
        settings.server = QStringLiteral("localhost");
        world().changeSettings(world().account, settings);
    }
    QVERIFY(world().startDaemon());
    for (int i = 0; i < 2; ++i)
        QCOMPARE(world().syncAndWait(), 200);
    // A move is carried once its message was recognised, and a deletion comes to nothing.
    QVERIFY(!world().atServer(Mail3).isEmpty());
    QVERIFY(!world().atServer(Mail1, deletes ? Inbox : Drafts).isEmpty());
    QCOMPARE(world().isReadAtServer(Mail2), reads);
    QVERIFY(!world().isReadAtServer(Mail3));
    QVERIFY(world().subjects(Trash).isEmpty());
    QCOMPARE(world().subjects(),
             deletes ? QStringList({Mail1, Mail2, Mail3}) : QStringList({Mail2, Mail3}));
    QCOMPARE(world().subjects(Drafts), deletes ? QStringList() : QStringList {Mail1});
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
}

void TestLocalChanges::whatLeavesAFolderThatIsSwitchedOffIsMovedOrComesBack_data()
{
    QTest::addColumn<bool>("isOtherServer");
    QTest::newRow("the server knows it") << false;
    QTest::newRow("the account is another server's now") << true;
}

/** Nothing would tell what another server calls the message. */
void TestLocalChanges::whatLeavesAFolderThatIsSwitchedOffIsMovedOrComesBack()
{
    QFETCH(bool, isOtherServer);
    const QString projects = QStringLiteral("Projects");
    const QString plan = QStringLiteral("Plan 1");
    world().createFolder(projects);
    world().deliver(1, QStringLiteral("Plan"), projects);
    QCOMPARE(world().syncAndWait(), 200);
    setEnabled(projects, false);
    QCOMPARE(world().endDaemon(), 0);
    move(world().find(plan), projects, Drafts);
    if (isOtherServer) {
        StoreFixture::Account settings = world().settings();
        settings.server = QStringLiteral("localhost");
        world().changeSettings(world().account, settings);
    }
    QVERIFY(world().startDaemon());
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(world().subjects(isOtherServer ? projects : Drafts), QStringList {plan});
    QCOMPARE(world().subjects(isOtherServer ? Drafts : projects), QStringList());
    QCOMPARE(world().atServer(plan, projects).isEmpty(), !isOtherServer);
    QCOMPARE(world().server.requestCount("MoveItems"), isOtherServer ? 0 : 1);
    // Switched on, it is known again.
    setEnabled(projects, true);
    QCOMPARE(world().syncAndWait(), 200);
    if (isOtherServer)
        move(world().find(plan), projects, Drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(!world().atServer(plan, Drafts).isEmpty());
    QCOMPARE(world().subjects(Drafts), QStringList {plan});
}

void TestLocalChanges::whatWaitsInAFolderThatIsSwitchedOffDoesNotFetchIt_data()
{
    QTest::addColumn<bool>("moves");
    QTest::addColumn<bool>("reads");
    QTest::addColumn<bool>("deletes");
    QTest::newRow("a message was moved") << true << false << false;
    QTest::newRow("a message was read") << false << true << false;
    QTest::newRow("a message was deleted") << false << false << true;
    QTest::newRow("a message was read and moved") << true << true << false;
}

/** The server has forgotten its key, and the account keeps less than lies in it. */
void TestLocalChanges::whatWaitsInAFolderThatIsSwitchedOffDoesNotFetchIt()
{
    QFETCH(bool, moves);
    QFETCH(bool, reads);
    QFETCH(bool, deletes);
    const QString projects = QStringLiteral("Projects");
    const QString plan = QStringLiteral("Plan 1");
    const QString old = QStringLiteral("Old 1");
    const QString fresh = QStringLiteral("New 1");
    world().createFolder(projects);
    world().deliver(1, QStringLiteral("Plan"), projects);
    world().deliver(1, QStringLiteral("Old"), projects);
    const double longAgo = QDateTime::currentSecsSinceEpoch() - 10 * 86400;
    world().changeAtServer("flag", old, {{"received", longAgo}}, projects);
    QCOMPARE(world().syncAndWait(), 200);
    setEnabled(projects, false);
    QCOMPARE(world().endDaemon(), 0);
    QCOMPARE(world().subjects(projects), QStringList({old, plan}));
    set({world().find(plan)}, Message::Read, reads);
    if (moves)
        move(world().find(plan), projects, Drafts);
    if (deletes)
        QVERIFY(QMailStore::instance()->removeMessage(world().find(plan),
                                                      QMailStore::CreateRemovalRecord));
    world().keepDays(3);
    world().deliver(1, QStringLiteral("New"), projects);
    world().server.control(
        "forget",
        {{QStringLiteral("user"), QStringLiteral("alice")}, {QStringLiteral("folder"), projects}});

    QVERIFY(world().startDaemon());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(projects), deletes ? QStringList {old} : QStringList({old, plan}));
    QCOMPARE(world().subjects(Drafts), QStringList());
    QVERIFY(!world().atServer(plan, projects).isEmpty());
    QCOMPARE(world().server.requestCount("MoveItems"), 0);
    // What waits there is no reason to ask for the folder again.
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(isAskedFor(Inbox));
    QVERIFY(!isAskedFor(projects));

    // Switched on, it is as on any day: all of the last three that is not deleted.
    setEnabled(projects, true);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(projects),
             deletes ? QStringList {fresh} : QStringList({fresh, plan}));
    QCOMPARE(world().atServer(plan, projects).isEmpty(), deletes);
    QCOMPARE(world().atServer(plan, Trash).isEmpty(), !deletes);
    if (!deletes)
        QCOMPARE(world().atServer(plan, projects).value(QStringLiteral("read")).toBool(), reads);
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
}

void TestLocalChanges::aDaemonThatIsKilledWhileAServerCallsAllOtherwiseLosesNothing()
{
    const QJsonObject alice {{QStringLiteral("user"), QStringLiteral("alice")}};
    world().deliver(100, QStringLiteral("Many"));
    world().deliver(30, QStringLiteral("Draft"), Drafts);
    QCOMPARE(world().syncAndWait(), 200);
    move(world().find(Mail2), Inbox, Drafts);
    QCOMPARE(world().syncAndWait(), 200);
    const QMap<QMailMessageId, QString> before = everything();
    const QMailFolderIdList folders = QMailStore::instance()->queryFolders();
    QCOMPARE(before.size(), 133);
    int rounds = 0;
    for (const int nameless : {1, 10, 40, 80, 110, 125}) {
        const bool isRead = rounds++ % 2 == 0;
        const bool isRenumberedTwice = nameless % 20 == 0;
        set({world().find(Mail1)}, Message::Read, isRead);
        move(world().find(Mail2), isRead ? Drafts : Inbox, isRead ? Inbox : Drafts);
        world().server.control("renumber", alice);
        world().sync();
        const auto key =
            QMailMessageKey::serverUid(QString(2, QChar(0x1f)), QMailDataComparator::Includes);
        const QDeadlineTimer deadline(20000);
        while (QMailStore::instance()->countMessages(key) < nameless)
            QVERIFY2(!deadline.hasExpired(), qPrintable(QString::number(nameless)));
        world().daemon.kill();
        if (isRenumberedTwice)
            world().server.control("renumber", alice);
        world().listener.clear();
        QVERIFY(world().daemon.start());
        QCOMPARE(world().syncAndWait(), 200);
        QCOMPARE(QMailStore::instance()->countMessages(key), 0);
        QCOMPARE(everything(), before);
        QCOMPARE(QMailStore::instance()->queryFolders(), folders);
        // What had no name yet when the synchronisation began goes up after it.
        const QString to = isRead ? Inbox : Drafts;
        QCOMPARE(world().syncAndWait(), 200);
        QCOMPARE(world().isReadAtServer(Mail1), isRead);
        QVERIFY(!world().atServer(Mail2, to).isEmpty());
        QVERIFY(world().atServer(Mail2, isRead ? Drafts : Inbox).isEmpty());
        QCOMPARE(everything(), before);
        QCOMPARE(Message(world().find(Mail2)).parentFolderId(), world().folder(to));
        QCOMPARE(world().server.messages(QStringLiteral("alice"), Inbox).size()
                     + world().server.messages(QStringLiteral("alice"), Drafts).size(),
                 133);
    }
    tellRounds(rounds);
}

void TestLocalChanges::theTreeThatARefusedMoveAsksForIsNotMissed()
{
    const QString fresh = QStringLiteral("Fresh");
    world().server.control("options", {{QStringLiteral("forgetful_folders"), true}});
    QCOMPARE(world().syncAndWait(), 200);
    world().createFolder(fresh);
    world().deliver(1, QStringLiteral("Within"), fresh);
    move(world().find(Mail2), Inbox, Drafts);
    world().changeAtServer("delete", Mail2);
    // What the server tells once is lost, and comes all the same.
    world().server.fault("reset", "FolderSync", {{"late", true}, {"count", 2}});
    QCOMPARE(world().syncAndWait(), 902);
    QVERIFY(world().faultsAreTaken());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(fresh), QStringList {QStringLiteral("Within 1")});
    QCOMPARE(world().subjects(), (QStringList {Mail1, Mail3}));
    QVERIFY(world().subjects(Drafts).isEmpty());
}

QTEST_GUILESS_MAIN(TestLocalChanges)
#include "tst_localchanges.moc"
