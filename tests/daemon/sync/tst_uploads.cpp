// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"

#include <QElapsedTimer>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QTest>

#include <memory>

namespace {

const QString Mail1 = QStringLiteral("Mail 1");
const QString Mail2 = QStringLiteral("Mail 2");
const QString Mail3 = QStringLiteral("Mail 3");
const QString Alice = QStringLiteral("alice");
const QString Inbox = QStringLiteral("Inbox");

/** How long a mail program's "undo" lasts. */
constexpr int UndoMs = 5000;
/** Long enough for what a test does in a row, on a busy machine. */
constexpr int ShortUndoMs = 1500;

} // namespace

/** What the user did in the mail store goes up though nobody asks for a synchronisation. */
class TestUploads : public DaemonFixture<DaemonWorld>
{
    Q_OBJECT

private slots:
    void init();

    void changesGoUpAfterTheTimeOfAnUndo_data();
    void changesGoUpAfterTheTimeOfAnUndo();
    void changesInARowGoUpTogether();
    void movesAndDeletionsGoUpAsWell();
    void aMoveWaitsForTheKeyOfItsFolderAlone_data();
    void aMoveWaitsForTheKeyOfItsFolderAlone();
    void whatWasTakenBackStaysHere();
    void whatASynchronisationCarriedDoesNotGoUpAgain();
    void whatTheServerRefusesIsTriedOnce();
    void aRefusedLoginIsNotRepeated();
    void aServerThatWasAwayHearsOfThemLater();
    void aRefusalThatMayPassDoesNotSilenceLaterChanges();
    void aFailureOfTheUploadAloneIsTriedAgain_data();
    void aFailureOfTheUploadAloneIsTriedAgain();
    void anUploadForgetsWhatNobodyCanBeTold();
    void changesMadeWithoutADaemonGoUpOnceItRuns();
    void anotherAccountsChangesAreNoReasonToLook();
    void nobodyLooksWhileASynchronisationWrites();
    void aChangeDuringASynchronisationGoesUpAfterIt();
    void whatIsDoneAgainDuringASynchronisationGoesUpAgain();

private:
    using Message = QMailMessageMetaData;

    /** Starts the daemon anew, with less time for second thoughts, and short pauses. */
    void shortenUndoTime(int milliseconds = ShortUndoMs)
    {
        QCOMPARE(world().endDaemon(), 0);
        world().daemon.hurry();
        world().daemon.setUndoTime(milliseconds);
        // With all that it does of its own accord behind it.
        QVERIFY(world().startDaemon());
        world().server.clearLog();
    }
    void set(const QString &subject, quint64 flag, bool value = true)
    {
        QVERIFY(QMailStore::instance()->updateMessagesMetaData(
            QMailMessageKey::id(world().find(subject)), flag, value));
    }
    void moveToDrafts(const QString &subject)
    {
        Message where;
        where.setPreviousParentFolderId(world().folder(Inbox));
        where.setParentFolderId(world().folder(QStringLiteral("Drafts")));
        QVERIFY(QMailStore::instance()->updateMessagesMetaData(
            QMailMessageKey::id(world().find(subject)),
            QMailMessageKey::ParentFolderId | QMailMessageKey::PreviousParentFolderId, where));
    }
    /** How often the daemon has looked through an account for changes. */
    int looks(const QMailAccountId &id)
    {
        return world().daemon.log().count(
            QStringLiteral("account %1 was looked through").arg(id.toULongLong()));
    }
    /** The changes that clients asked for, in all requests. */
    int changesInLog()
    {
        int count = 0;
        for (const QJsonObject &request : world().server.requests("Sync"))
            count += request.value(QStringLiteral("request"))
                         .toString()
                         .count(QStringLiteral("<AirSync:Change>"));
        return count;
    }
};

void TestUploads::init()
{
    DaemonFixture::init();
    world().deliver(3);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.clearLog();
    world().listener.clear();
}

void TestUploads::changesGoUpAfterTheTimeOfAnUndo_data()
{
    QTest::addColumn<bool>("push");
    QTest::newRow("push off") << false;
    QTest::newRow("push on") << true;
}

void TestUploads::changesGoUpAfterTheTimeOfAnUndo()
{
    QFETCH(bool, push);
    StoreFixture::setCustomField(world().account, QStringLiteral("pushEnabled"),
                                 QString::number(push));
    if (push)
        QTRY_COMPARE(world().pings(), 1);
    QVERIFY(world().hearAll());
    world().listener.clear();
    QElapsedTimer timer;
    timer.start();
    set(Mail1, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail1), 30000);
    QVERIFY2(timer.elapsed() > UndoMs + 1000, qPrintable(QString::number(timer.elapsed())));
    // No more than that, on however busy a machine.
    QVERIFY2(
        world().daemon.log().contains(QStringLiteral("they go up after %1 ms").arg(UndoMs + 1500)),
        qPrintable(world().daemon.log()));
    // What goes up is known to the server, and no "undo" takes it back any more.
    QTRY_COMPARE(QMailStore::instance()->countMessages(QMailMessageKey::status(
                     Message::ReadElsewhere, QMailDataComparator::Includes)),
                 1);
    // Nobody is disturbed by it.
    QCOMPARE(world().listener.count(QStringLiteral("syncStarted")), 0);
    QCOMPARE(world().listener.count(QStringLiteral("requestCompleted")), 0);
}

void TestUploads::changesInARowGoUpTogether()
{
    shortenUndoTime();
    for (const QString &subject : {Mail1, Mail2, Mail3})
        set(subject, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail3), 20000);
    QCOMPARE(changesInLog(), 3);
    // A look at what others did, and the changes.
    QCOMPARE(world().server.requestCount("Sync"), 2);
    QCOMPARE(world().server.requestCount("FolderSync"), 0);
}

void TestUploads::movesAndDeletionsGoUpAsWell()
{
    shortenUndoTime();
    moveToDrafts(Mail1);
    QTRY_VERIFY_WITH_TIMEOUT(world().atServer(Mail1).isEmpty(), 20000);
    QVERIFY(QMailStore::instance()->removeMessages(QMailMessageKey::id(world().find(Mail2)),
                                                   QMailStore::CreateRemovalRecord));
    QTRY_VERIFY_WITH_TIMEOUT(world().atServer(Mail2).isEmpty(), 20000);
    QVERIFY(!world().atServer(Mail3).isEmpty());
}

void TestUploads::aMoveWaitsForTheKeyOfItsFolderAlone_data()
{
    QTest::addColumn<bool>("reads");
    QTest::addColumn<int>("requests");
    // The key, which a move does not name.
    QTest::newRow("a message is moved") << false << 1;
    // A look at what others did, and the change: the server has taken the key with these.
    QTest::newRow("another one is read as well") << true << 2;
}

void TestUploads::aMoveWaitsForTheKeyOfItsFolderAlone()
{
    QFETCH(bool, reads);
    QFETCH(int, requests);
    shortenUndoTime();
    set(Mail2, Message::Read, reads);
    moveToDrafts(Mail1);
    QTRY_VERIFY_WITH_TIMEOUT(world().atServer(Mail1).isEmpty(), 20000);
    QCOMPARE(world().isReadAtServer(Mail2), reads);
    QCOMPARE(world().server.requestCount("Sync"), requests);
    QCOMPARE(world().server.requestCount("MoveItems"), 1);
}

void TestUploads::whatWasTakenBackStaysHere()
{
    shortenUndoTime();
    set(Mail1, Message::Read);
    set(Mail1, Message::Read, false);
    set(Mail2, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail2), 20000);
    QCOMPARE(changesInLog(), 1);
    QVERIFY(!world().isReadAtServer(Mail1));
}

void TestUploads::whatASynchronisationCarriedDoesNotGoUpAgain()
{
    shortenUndoTime();
    world().deliver(2, QStringLiteral("New"));
    set(Mail1, Message::Read);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.clearLog();
    // What the synchronisation itself has written is nobody's change either.
    set(Mail2, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail2), 20000);
    QCOMPARE(changesInLog(), 1);
    QCOMPARE(world().server.requestCount("Sync"), 2);
}

void TestUploads::whatTheServerRefusesIsTriedOnce()
{
    shortenUndoTime(200);
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("item_status")},
                          {QStringLiteral("command"), QStringLiteral("Sync")},
                          {QStringLiteral("after"), 1}, // the look before it
                          {QStringLiteral("status"), 7}});
    set(Mail1, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().server.requestCount("Sync") == 2, 20000);
    QTRY_VERIFY(world().daemon.log().contains(QStringLiteral("carried 0 flags")));
    // Neither it nor our own writing begins anything; the next change takes it along.
    QTest::qWait(1500);
    QCOMPARE(world().server.requestCount("Sync"), 2);
    set(Mail2, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail1) && world().isReadAtServer(Mail2), 20000);
}

void TestUploads::aRefusedLoginIsNotRepeated()
{
    shortenUndoTime(200);
    world().server.control(
        "set-password",
        {{QStringLiteral("user"), Alice}, {QStringLiteral("password"), QStringLiteral("other")}});
    set(Mail1, Message::Read);
    QTRY_COMPARE_WITH_TIMEOUT(world().server.log().size(), 1, 20000);
    set(Mail2, Message::Read);
    QTest::qWait(1500);
    QCOMPARE(world().server.log().size(), 1);
    // New settings are another matter.
    StoreFixture::Account settings = world().settings();
    settings.password = QStringLiteral("other");
    world().changeSettings(world().account, settings);
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail1) && world().isReadAtServer(Mail2), 20000);
}

void TestUploads::aServerThatWasAwayHearsOfThemLater()
{
    shortenUndoTime(200);
    QVERIFY(world().server.control("network", {{QStringLiteral("up"), false}}).isEmpty());
    set(Mail1, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().daemon.log().contains(QStringLiteral("failed with 902")),
                             20000);
    QVERIFY(world().server.control("network", {{QStringLiteral("up"), true}}).isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail1), 30000);
}

void TestUploads::aRefusalThatMayPassDoesNotSilenceLaterChanges()
{
    shortenUndoTime(200);
    world().server.fault("http", "Sync", {{"status", 403}});
    set(Mail1, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().daemon.log().contains(QStringLiteral("failed with 403")),
                             20000);
    set(Mail2, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail1) && world().isReadAtServer(Mail2), 20000);
}

void TestUploads::aFailureOfTheUploadAloneIsTriedAgain_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("count");
    // The look before the upload, and the upload.
    QTest::newRow("a lost key") << "collection_status" << 3 << 2;
    QTest::newRow("a passing failure of the folder") << "collection_status" << 5 << 2;
    QTest::newRow("a failure that the folder's own step meets, too")
        << "collection_status" << 16 << 8;
    QTest::newRow("the server fails") << "http" << 500 << 2;
    QTest::newRow("the server fails again") << "http" << 500 << 4;
    QTest::newRow("a bad answer") << "rubbish" << 200 << 2;
}

/** Nobody asks for a synchronisation, and no push brings one about. */
void TestUploads::aFailureOfTheUploadAloneIsTriedAgain()
{
    QFETCH(QString, kind);
    QFETCH(int, status);
    QFETCH(int, count);
    shortenUndoTime(200);
    world().server.fault(qPrintable(kind), "Sync", {{"status", status}, {"count", count}});
    set(Mail1, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail1), 60000);
    QCOMPARE(world().server.requestCount("Ping"), 0);
    QTRY_COMPARE(QMailStore::instance()->countMessages(QMailMessageKey::status(
                     Message::ReadElsewhere, QMailDataComparator::Includes)),
                 1);
}

void TestUploads::anUploadForgetsWhatNobodyCanBeTold()
{
    shortenUndoTime();
    QMailStore *store = QMailStore::instance();
    // A draft that was saved again, one of a folder that has gone, and one that no server named.
    for (const char *uid : {"",
                            "gone\x1f"
                            "1",
                            "nobody's"}) {
        const QMailMessageId id = StoreFixture::addMessage(world().account, world().folder(Inbox),
                                                           QStringLiteral("Draft"));
        Message data;
        data.setServerUid(QString::fromLatin1(uid));
        if (*uid)
            QVERIFY(store->updateMessagesMetaData(QMailMessageKey::id(id),
                                                  QMailMessageKey::ServerUid, data));
        QVERIFY(store->removeMessages(QMailMessageKey::id(id), QMailStore::CreateRemovalRecord));
    }
    QCOMPARE(store->messageRemovalRecords(world().account).size(), 3);
    set(Mail1, Message::Read);
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail1), 20000);
    QTRY_VERIFY(store->messageRemovalRecords(world().account).isEmpty());
    QVERIFY2(!world().daemon.log().contains(QStringLiteral("Unable to unlock")),
             qPrintable(world().daemon.log()));
    QCOMPARE(world().messageCount(), 3);
}

void TestUploads::changesMadeWithoutADaemonGoUpOnceItRuns()
{
    QCOMPARE(world().endDaemon(), 0);
    set(Mail1, Message::Read);
    world().daemon.setUndoTime(200);
    QVERIFY(world().daemon.start());
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail1), 20000);
}

void TestUploads::anotherAccountsChangesAreNoReasonToLook()
{
    const QMailAccountId other = StoreFixture::addAccount(world().settings());
    QCOMPARE(world().codeOf(world().sync(other)), 200);
    shortenUndoTime(200);
    const QMailMessageId id =
        QMailStore::instance()
            ->queryMessages(QMailMessageKey::subject(Mail1)
                            & QMailMessageKey::parentAccountId(world().account))
            .value(0);
    int before = 0;
    int beforeOfOther = 0;
    for (int round = 0; round < 8; ++round) {
        // By then the notices of what has begun with the daemon have come.
        if (round == 4) {
            before = looks(world().account);
            beforeOfOther = looks(other);
        }
        const bool read = round % 2 == 0;
        QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                               Message::Read, read));
        QTRY_COMPARE_WITH_TIMEOUT(world().isReadAtServer(Mail1), read, 20000);
    }
    QVERIFY(looks(world().account) >= before + 4);
    QVERIFY(beforeOfOther > 0);
    QCOMPARE(looks(other), beforeOfOther);
}

void TestUploads::nobodyLooksWhileASynchronisationWrites()
{
    world().deliver(100, QStringLiteral("Many"));
    QCOMPARE(world().syncAndWait(), 200);
    for (const QJsonObject &message : world().server.messages(Alice, Inbox))
        world().server.control("flag",
                               {{QStringLiteral("user"), Alice},
                                {QStringLiteral("folder"), Inbox},
                                {QStringLiteral("id"), message.value(QStringLiteral("id"))},
                                {QStringLiteral("read"), true}});
    world().server.clearLog();
    // Answers that take a second each: a synchronisation that lasts, and writes in between.
    world().server.fault("delay", "Sync", {{"seconds", 1.0}, {"count", -1}});
    const int before = looks(world().account);
    QCOMPARE(world().syncAndWait(), 200);
    // It has waited for the server after it had begun to write.
    QVERIFY(world().server.requestCount("Sync") >= 2);
    // One may have been due before it began.
    QVERIFY2(looks(world().account) <= before + 1, qPrintable(world().daemon.log()));
    const int after = looks(world().account);
    QTRY_VERIFY(looks(world().account) > after);
}

void TestUploads::aChangeDuringASynchronisationGoesUpAfterIt()
{
    shortenUndoTime(200);
    world().deliver(100, QStringLiteral("Many"));
    world().server.fault("delay", "Sync", {{"seconds", 20}, {"count", -1}});
    const int request = world().sync();
    // It has carried what there was before it, and has begun to write.
    QVERIFY(world().passDelaysUntil([this] { return world().messageCount() > 3; }));
    QCOMPARE(world().listener.codeOf(request), 0);
    set(Mail1, Message::Read);
    world().server.clearFaults();
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), 200);
    QTRY_VERIFY_WITH_TIMEOUT(world().isReadAtServer(Mail1), 20000);
    QCOMPARE(changesInLog(), 1);
}

void TestUploads::whatIsDoneAgainDuringASynchronisationGoesUpAgain()
{
    shortenUndoTime(200);
    world().deliver(100, QStringLiteral("Many"));
    world().server.fault("delay", "Sync", {{"seconds", 20}, {"count", -1}});
    set(Mail1, Message::Read);
    // The upload has begun by itself; with this it becomes one that lasts.
    QTRY_COMPARE(world().server.requestCount("Sync"), 1);
    const int request = world().sync();
    const auto isAtFolders = [this] { return world().server.requestCount("FolderSync") == 1; };
    QVERIFY(world().passDelaysUntil(isAtFolders));
    QVERIFY(world().isReadAtServer(Mail1));
    QCOMPARE(changesInLog(), 1);
    QCOMPARE(world().listener.codeOf(request), 0);
    // Another device takes it back, and the person does it again.
    set(Mail1, Message::Read | Message::ReadElsewhere, false);
    set(Mail1, Message::Read);
    world().server.clearFaults();
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), 200);
    QTRY_COMPARE_WITH_TIMEOUT(changesInLog(), 2, 10000);
}

QTEST_GUILESS_MAIN(TestUploads)
#include "tst_uploads.moc"
