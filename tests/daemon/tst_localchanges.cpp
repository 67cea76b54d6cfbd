// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonworld.h"
#include "tests/support/chance.h"

#include <QDeadlineTimer>
#include <QTest>

#include <qmaildisconnected.h>
#include <qmailmessage.h>
#include <qmailstore.h>

#include <functional>
#include <memory>

namespace {

const QString mail1 = QStringLiteral("Mail 1");
const QString mail2 = QStringLiteral("Mail 2");
const QString mail3 = QStringLiteral("Mail 3");
const QString inbox = QStringLiteral("Inbox");
const QString drafts = QStringLiteral("Drafts");
const QString trash = QStringLiteral("Trash");

} // namespace

/** What the user did in the mail store reaches the server with the next synchronisation. */
class TestLocalChanges : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void readAndImportantTravelAndAreAcknowledged();
    void clearedFlagsTravelToo();
    void aFlaggedMessageThatIsReadStaysFlagged_data();
    void aFlaggedMessageThatIsReadStaysFlagged();
    void aDeletionGoesToTheServersTrash();
    void aDeletionFromTheTrashIsForGood();
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
    void aKeyThatTheServerCallsNotImplementedBeginsTheFolderAnew();
    void specificFoldersCarryThemAsWell();
    void anotherUploadFollowsARequestThatJoinsALateOne();
    void aCutAnswerCarriesTheSameChangesAgain();
    void aMoveWhoseAnswerIsLostKeepsTheMessagesId_data();
    void aMoveWhoseAnswerIsLostKeepsTheMessagesId();
    void aMovedMessageThatIsTakenAwayAtOnceGoesHereToo_data();
    void aMovedMessageThatIsTakenAwayAtOnceGoesHereToo();
    void aMovedMessageThatTheServerDoesNotShowStays();
    void aMovedMessageStaysUntilTheServerSaysThatItIsGone();
    void onlySoManyMovedMessagesAreAskedForAtOnce();
    void aKilledDaemonLosesAndDoublesNothing();
    void aServerThatLostItsMemoryChangesNothingHere();
    void onAServerThatLostItsMemoryAllGoesOnAtOnce_data();
    void onAServerThatLostItsMemoryAllGoesOnAtOnce();
    void aDaemonThatIsKilledWhileAServerCallsAllOtherwiseLosesNothing();
    void theTreeThatARefusedMoveAsksForIsNotMissed();

private:
    using Message = QMailMessageMetaData;

    DaemonWorld &world() { return *m_world; }
    QMailMessageId messageOf(const QString &subject) const
    {
        return QMailStore::instance()->queryMessages(QMailMessageKey::subject(subject)).value(0);
    }
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
    static bool has(const QMailMessageId &id, quint64 flag)
    {
        return QMailStore::instance()->countMessages(
            QMailMessageKey::id(id) & QMailMessageKey::status(flag, QMailDataComparator::Includes));
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
    QJsonObject atServer(const QString &subject, const QString &folder = inbox)
    {
        for (const QJsonObject &message :
             world().server.messages(QStringLiteral("alice"), folder)) {
            if (message.value(QStringLiteral("subject")).toString() == subject)
                return message;
        }
        return {};
    }
    void flagAtServer(const QString &subject, QJsonObject flags)
    {
        flags.insert(QStringLiteral("user"), QStringLiteral("alice"));
        flags.insert(QStringLiteral("folder"), inbox);
        flags.insert(QStringLiteral("id"), atServer(subject).value(QStringLiteral("id")));
        world().server.control("flag", flags);
    }
    bool isReadAtServer(const QString &subject)
    {
        return atServer(subject).value(QStringLiteral("read")).toBool();
    }

    void deleteAtServer(const QString &subject, const QString &folder)
    {
        world().server.control(
            "delete",
            {{QStringLiteral("user"), QStringLiteral("alice")},
             {QStringLiteral("folder"), folder},
             {QStringLiteral("id"), atServer(subject, folder).value(QStringLiteral("id"))}});
    }
    /** Synchronises, and does something between the move at the server and our hearing of it. */
    void syncAndMeanwhile(const QString &subject, const std::function<void()> &meanwhile)
    {
        world().server.fault({{QStringLiteral("kind"), QStringLiteral("delay")},
                              {QStringLiteral("command"), QStringLiteral("MoveItems")},
                              {QStringLiteral("seconds"), 1},
                              {QStringLiteral("late"), true}});
        const int request = world().sync();
        QTRY_VERIFY(!atServer(subject, drafts).isEmpty());
        meanwhile();
        QCOMPARE(world().codeOf(request), 200);
    }

    std::unique_ptr<DaemonWorld> m_world;
};

void TestLocalChanges::init()
{
    if (!EasServer::isAvailable())
        QSKIP("there is no python3 for the test server");
    m_world = std::make_unique<DaemonWorld>();
    QVERIFY(world().begin());
    world().deliver(3);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.clearLog();
}

void TestLocalChanges::cleanup()
{
    const int code = m_world ? m_world->endDaemon() : 0;
    m_world.reset();
    QCOMPARE(code, 0);
}

void TestLocalChanges::readAndImportantTravelAndAreAcknowledged()
{
    const QMailMessageId first = messageOf(mail1);
    const QMailMessageId second = messageOf(mail2);
    set({first}, Message::Read, true);
    set({second}, Message::Important, true);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(isReadAtServer(mail1));
    QVERIFY(!isReadAtServer(mail2));
    QCOMPARE(atServer(mail1).value(QStringLiteral("flag")).toInt(), 0);
    QCOMPARE(atServer(mail2).value(QStringLiteral("flag")).toInt(), 2);
    QVERIFY(has(first, Message::ReadElsewhere));
    QVERIFY(has(second, Message::ImportantElsewhere));

    // Acknowledged is acknowledged: the next synchronisation has nothing to carry.
    const int requests = world().server.requestCount("Sync");
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("Sync"), requests + 1);
}

void TestLocalChanges::clearedFlagsTravelToo()
{
    const QMailMessageId first = messageOf(mail1);
    set({first}, Message::Read | Message::Important, true);
    QCOMPARE(world().syncAndWait(), 200);
    set({first}, Message::Read | Message::Important, false);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(!isReadAtServer(mail1));
    QCOMPARE(atServer(mail1).value(QStringLiteral("flag")).toInt(), 0);
    QVERIFY(!has(first, Message::ReadElsewhere));
    QVERIFY(!has(first, Message::ImportantElsewhere));
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
        set({messageOf(mail1)}, Message::Important, true);
    else
        flagAtServer(mail1, {{QStringLiteral("flag"), 2}});
    QCOMPARE(world().syncAndWait(), 200);
    for (const bool isRead : {true, false}) {
        set({messageOf(mail1), messageOf(mail2)}, Message::Read, isRead);
        QCOMPARE(world().syncAndWait(), 200);
        QCOMPARE(isReadAtServer(mail1), isRead);
        QCOMPARE(atServer(mail1).value(QStringLiteral("flag")).toInt(), 2);
        QCOMPARE(atServer(mail2).value(QStringLiteral("flag")).toInt(), 0);
        QVERIFY(has(messageOf(mail1), Message::Important));
    }
}

void TestLocalChanges::aDeletionGoesToTheServersTrash()
{
    QVERIFY(QMailStore::instance()->removeMessages(QMailMessageKey::id(messageOf(mail1)),
                                                   QMailStore::CreateRemovalRecord));
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(atServer(mail1).isEmpty());
    QVERIFY(!atServer(mail1, trash).isEmpty());
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    QCOMPARE(world().subjects(), QStringList({mail2, mail3}));
    QCOMPARE(world().subjects(trash), QStringList {mail1});
}

void TestLocalChanges::aDeletionFromTheTrashIsForGood()
{
    move(messageOf(mail1), inbox, trash);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(!atServer(mail1, trash).isEmpty());
    QVERIFY(QMailStore::instance()->removeMessages(QMailMessageKey::id(messageOf(mail1)),
                                                   QMailStore::CreateRemovalRecord));
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(atServer(mail1, trash).isEmpty());
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    QVERIFY(world().subjects(trash).isEmpty());
}

void TestLocalChanges::deletionsOfWhatTheServerNeverHadAreForgotten()
{
    // A mail program saves a draft again: the old one goes, with a record.
    const QMailFolderId folder = world().folder(drafts);
    const QMailMessageId old =
        StoreFixture::addMessage(world().account, folder, QStringLiteral("Old draft"));
    StoreFixture::addMessage(world().account, folder, QStringLiteral("New draft"));
    QMailStore *store = QMailStore::instance();
    for (const QMailMessageId &id : {old, messageOf(mail1)})
        QVERIFY(store->removeMessages(QMailMessageKey::id(id), QMailStore::CreateRemovalRecord));
    QCOMPARE(store->messageRemovalRecords(world().account).size(), 2);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(store->messageRemovalRecords(world().account).isEmpty());
    QVERIFY(atServer(mail1).isEmpty());
    QVERIFY(messageOf(QStringLiteral("New draft")).isValid());
}

void TestLocalChanges::aMoveTravelsAndTheMessageKeepsItsId()
{
    const QMailMessageId id = messageOf(mail2);
    move(id, inbox, drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(atServer(mail2).isEmpty());
    QVERIFY(!atServer(mail2, drafts).isEmpty());
    QCOMPARE(messageOf(mail2), id);
    // Asked by key, because the store's client library remembers what it has read before.
    QCOMPARE(QMailStore::instance()->countMessages(
                 QMailMessageKey::previousParentFolderId(world().folder(inbox))),
             0);
    QCOMPARE(world().messageCount(), 3);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 3);
    QCOMPARE(messageOf(mail2), id);
}

void TestLocalChanges::aMessageThatIsGoneAtTheServerGoesHereToo()
{
    set({messageOf(mail1)}, Message::Read, true);
    move(messageOf(mail2), inbox, drafts);
    for (const QString &subject : {mail1, mail2})
        deleteAtServer(subject, inbox);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(), QStringList {mail3});
    QCOMPARE(world().messageCount(), 1);
}

void TestLocalChanges::theLastActionHereWinsOnFlags()
{
    set({messageOf(mail1)}, Message::Important, true);
    flagAtServer(mail1, {{QStringLiteral("read"), true}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(atServer(mail1).value(QStringLiteral("flag")).toInt(), 2);
    QVERIFY(has(messageOf(mail1), Message::Important));
    QVERIFY(has(messageOf(mail1), Message::Read));
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
    set({messageOf(mail1)}, Message::Important, true);
    set({messageOf(mail2)}, Message::Read, true);
    flagAtServer(mail1, {{QStringLiteral("read"), true}});
    flagAtServer(mail2, {{QStringLiteral("flag"), 2}});
    QCOMPARE(world().syncAndWait(), 200);
    for (const QString &subject : {mail1, mail2}) {
        QVERIFY(isReadAtServer(subject));
        QCOMPARE(atServer(subject).value(QStringLiteral("flag")).toInt(), 2);
        QVERIFY(has(messageOf(subject), Message::Read));
        QVERIFY(has(messageOf(subject), Message::Important));
    }
}

void TestLocalChanges::whatWasDeletedThereIsNotFlagged()
{
    set({messageOf(mail1), messageOf(mail2)}, Message::Important, true);
    deleteAtServer(mail1, inbox);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(!messageOf(mail1).isValid());
    QCOMPARE(atServer(mail2).value(QStringLiteral("flag")).toInt(), 2);
}

void TestLocalChanges::aKeyThatTheServerCallsNotImplementedBeginsTheFolderAnew()
{
    set({messageOf(mail1)}, Message::Important, true);
    const QMailMessageId second = messageOf(mail2);
    // The look, the upload, and the folder's own step: all with the key that is not understood.
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                          {QStringLiteral("command"), QStringLiteral("Sync")},
                          {QStringLiteral("status"), 501},
                          {QStringLiteral("count"), 3}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(), QStringList({mail1, mail2, mail3}));
    QCOMPARE(messageOf(mail2), second);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(atServer(mail1).value(QStringLiteral("flag")).toInt(), 2);
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
    const QMailMessageId id = messageOf(mail2);
    set({messageOf(mail1)}, Message::Important, true);
    QVERIFY(QMailStore::instance()->removeMessages(QMailMessageKey::id(messageOf(mail3)),
                                                   QMailStore::CreateRemovalRecord));
    move(id, inbox, drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().faultsAreTaken());
    // What the user did stays done here, and is not taken for known to the server.
    QVERIFY(!has(messageOf(mail1), Message::ImportantElsewhere));
    QCOMPARE(world().subjects(), QStringList {mail1});
    QCOMPARE(world().subjects(drafts), QStringList {mail2});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(atServer(mail1).value(QStringLiteral("flag")).toInt(), 2);
    QVERIFY(has(messageOf(mail1), Message::ImportantElsewhere));
    QVERIFY(atServer(mail3).isEmpty());
    QVERIFY(!atServer(mail2, drafts).isEmpty());
    QCOMPARE(messageOf(mail2), id);
}

void TestLocalChanges::aMoveThatTheServerRefusesGoesBack()
{
    const QMailMessageId id = messageOf(mail2);
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("item_status")},
                          {QStringLiteral("command"), QStringLiteral("MoveItems")},
                          {QStringLiteral("status"), 5}});
    move(id, inbox, drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(), (QStringList {mail1, mail2, mail3}));
    QCOMPARE(messageOf(mail2), id);
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
    for (const QJsonObject &message : world().server.messages(QStringLiteral("alice"), inbox))
        QVERIFY(message.value(QStringLiteral("read")).toBool());
}

void TestLocalChanges::specificFoldersCarryThemAsWell()
{
    set({messageOf(mail1)}, Message::Read, true);
    const QString number = QString::number(world().folder(inbox).toULongLong());
    QCOMPARE(world().codeOf(world().syncFolders({number}, 0, 5)), 200);
    QVERIFY(isReadAtServer(mail1));
}

void TestLocalChanges::anotherUploadFollowsARequestThatJoinsALateOne()
{
    set({messageOf(mail1)}, Message::Read, true);
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("delay")},
                          {QStringLiteral("command"), QStringLiteral("Sync")},
                          {QStringLiteral("seconds"), 1.0}});
    const int first = world().sync();
    QTRY_COMPARE(world().server.requestCount("Sync"), 1);
    set({messageOf(mail2)}, Message::Read, true);
    const int second = world().sync();
    QCOMPARE(world().codeOf(first), 200);
    QCOMPARE(world().codeOf(second), 200);
    QVERIFY(isReadAtServer(mail1));
    QVERIFY(isReadAtServer(mail2));
}

void TestLocalChanges::aCutAnswerCarriesTheSameChangesAgain()
{
    set({messageOf(mail1)}, Message::Read, true);
    QVERIFY(QMailStore::instance()->removeMessages(QMailMessageKey::id(messageOf(mail2)),
                                                   QMailStore::CreateRemovalRecord));
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("cut")},
                          {QStringLiteral("command"), QStringLiteral("Sync")},
                          {QStringLiteral("bytes"), 5}});
    world().syncAndWait();
    world().server.clearFaults();
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(isReadAtServer(mail1));
    QVERIFY(atServer(mail2).isEmpty());
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    QVERIFY(has(messageOf(mail1), Message::ReadElsewhere));
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
    world().deliver(1, QStringLiteral("Draft"), drafts);
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = messageOf(mail2);
    move(id, inbox, drafts);
    world().server.fault(
        {{QStringLiteral("kind"), kill ? QStringLiteral("delay") : QStringLiteral("reset")},
         {QStringLiteral("command"), QStringLiteral("MoveItems")},
         {QStringLiteral("seconds"), 30},
         {QStringLiteral("late"), true}});
    const int request = world().sync();
    QTRY_VERIFY(!atServer(mail2, drafts).isEmpty());
    if (kill) {
        world().daemon.kill();
        world().listener.clear();
        QVERIFY(world().daemon.start());
    } else {
        QVERIFY(world().codeOf(request) != 0);
    }
    // Between the two, the person goes on. The other flag is nothing that a server tells of.
    const QMailMessageId draft = messageOf(QStringLiteral("Draft 1"));
    set({id, draft}, Message::Important, true);
    set({id}, Message::CalendarInvitation, true);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(messageOf(mail2), id);
    QCOMPARE(world().subjects(drafts), (QStringList {QStringLiteral("Draft 1"), mail2}));
    QCOMPARE(world().messageCount(), 4);
    QVERIFY(atServer(mail2).isEmpty());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(atServer(mail2, drafts).value(QStringLiteral("flag")).toInt(), 2);
    QCOMPARE(messageOf(mail2), id);
    QVERIFY(has(id, Message::CalendarInvitation));
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
    move(messageOf(mail2), inbox, drafts);
    syncAndMeanwhile(mail2, [&] {
        if (movesOn)
            world().server.control(
                "move",
                {{QStringLiteral("user"), QStringLiteral("alice")},
                 {QStringLiteral("folder"), drafts},
                 {QStringLiteral("id"), atServer(mail2, drafts).value(QStringLiteral("id"))},
                 {QStringLiteral("target"), trash}});
        else
            deleteAtServer(mail2, drafts);
    });
    QVERIFY(world().subjects(drafts).isEmpty());
    QCOMPARE(world().subjects(), (QStringList {mail1, mail3}));
    QCOMPARE(world().subjects(trash), movesOn ? QStringList {mail2} : QStringList());
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
}

void TestLocalChanges::aMovedMessageThatTheServerDoesNotShowStays()
{
    world().server.control("options", {{QStringLiteral("moves_are_known"), true}});
    const QMailMessageId id = messageOf(mail2);
    move(id, inbox, drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(drafts), QStringList {mail2});
    QCOMPARE(messageOf(mail2), id);
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);

    // Asked once, and from then on told as of any other.
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
    deleteAtServer(mail2, drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().subjects(drafts).isEmpty());
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
}

void TestLocalChanges::aMovedMessageStaysUntilTheServerSaysThatItIsGone()
{
    move(messageOf(mail2), inbox, drafts);
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                          {QStringLiteral("command"), QStringLiteral("ItemOperations")},
                          {QStringLiteral("status"), 500}});
    syncAndMeanwhile(mail2, [this] { deleteAtServer(mail2, drafts); });
    QVERIFY(world().faultsAreTaken());
    QCOMPARE(world().subjects(drafts), QStringList {mail2});

    // Also by a daemon that only remembers that it has to ask.
    QCOMPARE(world().endDaemon(), 0);
    world().listener.clear();
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().subjects(drafts).isEmpty());
    QCOMPARE(world().messageCount(), 2);
}

void TestLocalChanges::onlySoManyMovedMessagesAreAskedForAtOnce()
{
    world().server.control("options", {{QStringLiteral("moves_are_known"), true}});
    world().deliver(27, QStringLiteral("Many"));
    QCOMPARE(world().syncAndWait(), 200);
    const auto all =
        QMailStore::instance()->queryMessages(QMailMessageKey::parentAccountId(world().account));
    for (const QMailMessageId &id : all)
        move(id, inbox, drafts);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 20);
    for (int i = 0; i < 2; ++i)
        QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 30);
    QCOMPARE(world().subjects(drafts).size(), 30);
}

void TestLocalChanges::aKilledDaemonLosesAndDoublesNothing()
{
    const QMailMessageId first = messageOf(mail1);
    const QMailMessageId second = messageOf(mail2);
    for (int round = 0; round < 6; ++round) {
        const bool read = round % 2 == 0;
        set({first}, Message::Read, read);
        const QString from = round % 2 == 0 ? inbox : drafts;
        const QString to = round % 2 == 0 ? drafts : inbox;
        move(messageOf(mail2), from, to);
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
        QCOMPARE(isReadAtServer(mail1), read);
        QVERIFY(atServer(mail2, from).isEmpty());
        QVERIFY(!atServer(mail2, to).isEmpty());
        QCOMPARE(world().subjects(to).count(mail2), 1);
        QCOMPARE(messageOf(mail2), second);
        QCOMPARE(world().messageCount(), 3);
    }
}

void TestLocalChanges::aServerThatLostItsMemoryChangesNothingHere()
{
    const QString projects = QStringLiteral("Projects");
    const QJsonObject alice {{QStringLiteral("user"), QStringLiteral("alice")}};
    for (const QString &path : {projects, projects + QStringLiteral("/Old")}) {
        QJsonObject wish = alice;
        wish.insert(QStringLiteral("folder"), path);
        world().server.control("folder-create", wish);
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
    const QMailMessageId read = messageOf(mail1);
    const QMailMessageId important = messageOf(projects + QStringLiteral("/Old 1"));
    const QMailMessageId moved = messageOf(projects + QStringLiteral(" 2"));
    set({read}, Message::Read, true);
    set({important}, Message::Important, true);
    move(moved, projects, drafts);
    deleteAtServer(QStringLiteral("Gone 1"), inbox);
    before.remove(messageOf(QStringLiteral("Gone 1")));
    world().server.control("renumber", alice);
    world().deliver(1, QStringLiteral("New"));
    QCOMPARE(world().syncAndWait(), 200);

    QMap<QMailMessageId, QString> after = everything();
    QVERIFY(after.take(messageOf(QStringLiteral("New 1"))).startsWith(QLatin1String("New 1")));
    QCOMPARE(after, before);
    QCOMPARE(QMailStore::instance()->queryFolders(), folders);
    QVERIFY(has(read, Message::Read) && has(read, Message::ReadElsewhere));
    QVERIFY(has(important, Message::Important) && has(important, Message::ImportantElsewhere));
    QCOMPARE(Message(moved).parentFolderId(), world().folder(drafts));

    // All ids are the right ones: what was done reached the very messages that it was done to.
    QCOMPARE(world().server.messages(QStringLiteral("alice"), inbox).size(), 9);
    int readThere = 0;
    for (const QJsonObject &one : world().server.messages(QStringLiteral("alice"), inbox))
        readThere += one.value(QStringLiteral("read")).toBool();
    QCOMPARE(readThere, 1);
    const QString old = projects + QStringLiteral("/Old");
    QCOMPARE(atServer(old + QStringLiteral(" 1"), old).value(QStringLiteral("flag")).toInt(), 2);
    QCOMPARE(atServer(old + QStringLiteral(" 2"), old).value(QStringLiteral("flag")).toInt(), 0);
    QVERIFY(!atServer(projects + QStringLiteral(" 2"), drafts).isEmpty());
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
        set({messageOf(mail1)}, Message::Read, true);
    if (moves)
        move(messageOf(mail2), inbox, drafts);
    world().server.control("renumber", {{QStringLiteral("user"), QStringLiteral("alice")}});
    world().deliver(1, QStringLiteral("Elsewhere"), trash);
    const QString number = QString::number(world().folder(inbox).toULongLong());
    QCOMPARE(world().codeOf(world().syncFolders({number}, 0, 5)), 200);
    QCOMPARE(isReadAtServer(mail1), flags);
    QCOMPARE(atServer(mail2).isEmpty(), moves);
    QCOMPARE(atServer(mail2, drafts).isEmpty(), !moves);
    QCOMPARE(messageOf(mail2).isValid(), true);
    QMap<QMailMessageId, QString> after = everything();
    // What the other folders have is here as well: nothing would tell of it later.
    QVERIFY(after.remove(messageOf(QStringLiteral("Elsewhere 1"))));
    QCOMPARE(after, before);
}

void TestLocalChanges::aDaemonThatIsKilledWhileAServerCallsAllOtherwiseLosesNothing()
{
    const QJsonObject alice {{QStringLiteral("user"), QStringLiteral("alice")}};
    world().deliver(100, QStringLiteral("Many"));
    world().deliver(30, QStringLiteral("Draft"), drafts);
    QCOMPARE(world().syncAndWait(), 200);
    move(messageOf(mail2), inbox, drafts);
    QCOMPARE(world().syncAndWait(), 200);
    const QMap<QMailMessageId, QString> before = everything();
    const QMailFolderIdList folders = QMailStore::instance()->queryFolders();
    QCOMPARE(before.size(), 133);
    int rounds = 0;
    for (const int nameless : {1, 10, 40, 80, 110, 125}) {
        const bool isRead = rounds++ % 2 == 0;
        const bool isRenumberedTwice = nameless % 20 == 0;
        set({messageOf(mail1)}, Message::Read, isRead);
        move(messageOf(mail2), isRead ? drafts : inbox, isRead ? inbox : drafts);
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
        const QString to = isRead ? inbox : drafts;
        QCOMPARE(world().syncAndWait(), 200);
        QCOMPARE(isReadAtServer(mail1), isRead);
        QVERIFY(!atServer(mail2, to).isEmpty());
        QVERIFY(atServer(mail2, isRead ? drafts : inbox).isEmpty());
        QCOMPARE(everything(), before);
        QCOMPARE(Message(messageOf(mail2)).parentFolderId(), world().folder(to));
        QCOMPARE(world().server.messages(QStringLiteral("alice"), inbox).size()
                     + world().server.messages(QStringLiteral("alice"), drafts).size(),
                 133);
    }
    tellRounds(rounds);
}

void TestLocalChanges::theTreeThatARefusedMoveAsksForIsNotMissed()
{
    const QString fresh = QStringLiteral("Fresh");
    world().server.control("options", {{QStringLiteral("forgetful_folders"), true}});
    QCOMPARE(world().syncAndWait(), 200);
    world().server.control(
        "folder-create",
        {{QStringLiteral("user"), QStringLiteral("alice")}, {QStringLiteral("folder"), fresh}});
    world().deliver(1, QStringLiteral("Within"), fresh);
    move(messageOf(mail2), inbox, drafts);
    deleteAtServer(mail2, inbox);
    // What the server tells once is lost, and comes all the same.
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("reset")},
                          {QStringLiteral("command"), QStringLiteral("FolderSync")},
                          {QStringLiteral("late"), true},
                          {QStringLiteral("count"), 2}});
    QCOMPARE(world().syncAndWait(), 902);
    QVERIFY(world().faultsAreTaken());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(fresh), QStringList {QStringLiteral("Within 1")});
    QCOMPARE(world().subjects(), (QStringList {mail1, mail3}));
    QVERIFY(world().subjects(drafts).isEmpty());
}

QTEST_GUILESS_MAIN(TestLocalChanges)
#include "tst_localchanges.moc"
