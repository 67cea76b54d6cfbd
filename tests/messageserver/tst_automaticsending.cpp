// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/messageserver/actionlist.h"
#include "tests/messageserver/sendingfixture.h"

#include <qmailstore.h>
#include <QTest>

using Answer = ScriptedDaemon::Answer;

/** What the sink does when the daemon announces a synchronisation, and what it announces itself. */
class TestAutomaticSending : public SendingFixture
{
    Q_OBJECT

private slots:
    void announcementSendsWhatWaits();
    void announcementWithAnEmptyOutboxSendsNothing();
    void announcementOfAnotherAccountSendsNothing();
    void messageThatMustNotBeSentIsNotSent_data();
    void messageThatMustNotBeSentIsNotSent();
    void heldMessageBlocksNoOther();
    void messageInTheTrashIsNotSent();
    void failedMessageIsTriedAtTheNextAnnouncement();
    void secondAnnouncementDuringATransmissionSendsNothingTwice();
    void announcementDuringAClientsTransmissionSendsNothingTwice();
    void burstOfAnnouncementsSendsOnce();
    void twoAccountsSendTheirOwn();
    void sendingOfAnotherAccountEndsNoAction();
    void accountIsFreeWhereOnlyAnotherOnesMailsAreFlagged();
    void accountIsFreeWhereWhatIsFlaggedIsGone();

    void sentFolderThatIsAFavouriteIsBroughtUpToDate();
    void sentFolderThatIsNoFavouriteIsLeftAlone();
    void ownAnnouncementIsSkippedOnce();
    void failedSynchronisationOfTheSentFolder();
    void sentFolderIsAskedForOnceForManyMessages();
    void cancelledDuringTheSynchronisationOfTheSentFolder();

private:
    /** The account has two mails, one of which is sent, while another account's only one leaves. */
    struct TwoSendings
    {
        QMailAccountId other;
        QMailMessageId theirs;
        Transmission transmission; ///< the account's
        ScriptedDaemon::Call leaving;
        ScriptedDaemon::Call beside; ///< of the other account
    };
    void sendFromTwoAccounts(TwoSendings &both);
    void startWithSentAsAFavourite();
    int transmissions(const ActionList &list) const;
    void verifyNothingIsSent();
};

/** The server that knows the Sent folder as a favourite from its start. */
void TestAutomaticSending::startWithSentAsAFavourite()
{
    QVERIFY(m_server->terminate());
    QMailFolder sent(folder(QMailFolder::SentFolder));
    sent.setStatus(QMailFolder::Favourite, true);
    QVERIFY(QMailStore::instance()->updateFolder(&sent));
    QVERIFY(m_server->start());
}

int TestAutomaticSending::transmissions(const ActionList &list) const
{
    return int(std::count_if(
        list.entries().begin(), list.entries().end(),
        [](const ActionList::Entry &entry) { return entry.type == TransmitMessagesRequestType; }));
}

/** The announcement has been seen, and no transmission came of it. */
void TestAutomaticSending::verifyNothingIsSent()
{
    ActionList list;
    QVERIFY(list.waitUntilReady());
    announceSync();
    QTRY_COMPARE(logCount("Synchronize signal received for the account"), 1);
    QTRY_COMPARE(logCount("Synchronize COMPLETED signal received"), 1);
    verifyNextAction();
    settle();
    QCOMPARE(transmissions(list), 0);
    QCOMPARE(m_daemon->callCount("sendMail"), 0);
}

void TestAutomaticSending::announcementSendsWhatWaits()
{
    addOutgoing(3);
    m_daemon->answer(Answer::nextId().completing(200));
    announceSync();
    QTRY_COMPARE(outbox(), QByteArray());
    QCOMPARE(m_daemon->callCount("sendMail"), 3);
    QCOMPARE(logCount("Sending  3  message(s)"), 1);
}

void TestAutomaticSending::announcementWithAnEmptyOutboxSendsNothing()
{
    verifyNothingIsSent();
}

void TestAutomaticSending::announcementOfAnotherAccountSendsNothing()
{
    addOutgoing();
    const QMailAccountId other = addSecondAccount();
    m_daemon->syncStarted(other.toULongLong());
    m_daemon->syncStarted(other.toULongLong() + 1);
    QTRY_COMPARE(logCount("Synchronize signal received for the account"), 1);
    m_daemon->syncCompleted(other.toULongLong());
    verifyNextAction();
    QCOMPARE(m_daemon->callCount("sendMail"), 0);
    QCOMPARE(outbox(), QByteArray("A waiting"));
}

void TestAutomaticSending::messageThatMustNotBeSentIsNotSent_data()
{
    QTest::addColumn<QString>("dontSend");
    QTest::addColumn<bool>("sent");
    QTest::addRow("true") << QStringLiteral("true") << false;
    QTest::addRow("false") << QStringLiteral("false") << true;
    QTest::addRow("empty") << QStringLiteral("") << true;
    QTest::addRow("another text") << QStringLiteral("truly") << true;
    QTest::addRow("1") << QStringLiteral("1") << true;
    // The mail store compares texts without regard to case.
    QTest::addRow("TRUE") << QStringLiteral("TRUE") << false;
}

void TestAutomaticSending::messageThatMustNotBeSentIsNotSent()
{
    QFETCH(QString, dontSend);
    QFETCH(bool, sent);
    QMailMessageMetaData message(addOutgoing());
    message.setCustomField(QStringLiteral("dontSend"), dontSend);
    QVERIFY(QMailStore::instance()->updateMessage(&message));
    if (!sent) {
        verifyNothingIsSent();
        QCOMPARE(outbox(), QByteArray("A waiting"));
        return;
    }
    m_daemon->answer(Answer::nextId().completing(200));
    announceSync();
    QTRY_COMPARE(outbox(), QByteArray());
}

void TestAutomaticSending::heldMessageBlocksNoOther()
{
    const QMailMessageIdList ids = addOutgoing(2);
    QMailMessageMetaData held(ids.at(0));
    held.setCustomField(QStringLiteral("dontSend"), QStringLiteral("true"));
    QVERIFY(QMailStore::instance()->updateMessage(&held));
    m_daemon->answer(Answer::nextId().completing(200));
    announceSync();
    QTRY_VERIFY(!StoreFixture::exists(ids.at(1)));
    settle();
    QCOMPARE(outbox(), QByteArray("A waiting"));
    QCOMPARE(m_daemon->callCount("sendMail"), 1);
    QCOMPARE(m_daemon->calls("sendMail").at(0).arguments.at(1).toULongLong(),
             ids.at(1).toULongLong());
}

void TestAutomaticSending::messageInTheTrashIsNotSent()
{
    QMailMessageMetaData message(addOutgoing());
    message.setStatus(QMailMessage::Trash, true);
    message.setParentFolderId(folder(QMailFolder::TrashFolder));
    QVERIFY(QMailStore::instance()->updateMessage(&message));
    verifyNothingIsSent();
    QCOMPARE(outbox(), QByteArray("A waiting"));
}

void TestAutomaticSending::failedMessageIsTriedAtTheNextAnnouncement()
{
    addOutgoing();
    int failures = 0;
    for (int code : {902, 500, 901}) {
        m_daemon->answerOnce("sendMail", Answer::nextId().completing(code));
        announceSync();
        QVERIFY(m_daemon->waitForCall("sendMail").isValid());
        // It waits before the daemon has accepted it as well.
        ++failures;
        QTRY_COMPARE(logCount("is NOT sent and Outbox flag is restored"), failures);
        QCOMPARE(outbox(), QByteArray("A waiting"));
        // Until the server is done with it; an earlier announcement is passed over.
        verifyNextAction();
        settle();
    }
    m_daemon->answerOnce("sendMail", Answer::nextId().completing(200));
    announceSync();
    QTRY_COMPARE(outbox(), QByteArray());
}

void TestAutomaticSending::secondAnnouncementDuringATransmissionSendsNothingTwice()
{
    ActionList list;
    QVERIFY(list.waitUntilReady());
    addOutgoing();
    announceSync();
    const auto call = m_daemon->waitForCall("sendMail");
    addOutgoing(QStringLiteral("B"));
    announceSync();
    QTRY_COMPARE(logCount("Transmit in progress, skipping"), 1);
    m_daemon->complete(call.requestId, 200);
    QTRY_COMPARE(outbox(), QByteArray("B waiting"));
    settle();
    QCOMPARE(outbox(), QByteArray("B waiting"));
    QCOMPARE(m_daemon->callCount("sendMail"), 1);
    QCOMPARE(transmissions(list), 1);
}

void TestAutomaticSending::announcementDuringAClientsTransmissionSendsNothingTwice()
{
    addOutgoing(2);
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    const auto calls = waitForSends(2);
    announceSync();
    QVERIFY(m_daemon->waitForCall("isRequestAlive").isValid());
    m_daemon->complete(calls.at(0).requestId, 200);
    m_daemon->complete(calls.at(1).requestId, 200);
    verifySucceeded(transmission.watcher);
    QTRY_COMPARE(outbox(), QByteArray());
    settle();
    QCOMPARE(m_daemon->callCount("sendMail"), 2);
}

void TestAutomaticSending::burstOfAnnouncementsSendsOnce()
{
    addOutgoing(2);
    m_daemon->answer(Answer::nextId().completing(200));
    for (int times = 0; times < 20; ++times)
        announceSync();
    QTRY_COMPARE(outbox(), QByteArray());
    QTRY_COMPARE(logCount("Synchronize COMPLETED signal received"), 20);
    verifyNextAction();
    settle();
    QCOMPARE(m_daemon->callCount("sendMail"), 0);
    QCOMPARE(logCount("Sending message "), 2);
}

void TestAutomaticSending::twoAccountsSendTheirOwn()
{
    const QMailAccountId other = addSecondAccount();
    StoreFixture::addFolder(other, QStringLiteral("Outbox"), QMailFolder::OutboxFolder);
    const QMailMessageId mine = addOutgoing();
    const QMailMessageId theirs = StoreFixture::addOutgoing(other, QStringLiteral("B"));
    m_daemon->answer(Answer::nextId().completing(200));
    announceSync();
    m_daemon->syncStarted(other.toULongLong());
    m_daemon->syncCompleted(other.toULongLong());
    QTRY_COMPARE(QMailStore::instance()->countMessages(
                     QMailMessageKey::id(QMailMessageIdList {mine, theirs})),
                 0);
    QHash<qulonglong, qulonglong> sent;
    for (const auto &call : m_daemon->calls("sendMail"))
        sent.insert(call.arguments.at(1).toULongLong(), call.accountId());
    QCOMPARE(sent.size(), 2);
    QCOMPARE(sent.value(mine.toULongLong()), m_account.toULongLong());
    QCOMPARE(sent.value(theirs.toULongLong()), other.toULongLong());
    QCOMPARE(m_daemon->callCount("sendMail"), 2);
}

void TestAutomaticSending::sendFromTwoAccounts(TwoSendings &both)
{
    both.other = addSecondAccount();
    StoreFixture::addFolder(both.other, QStringLiteral("Outbox"), QMailFolder::OutboxFolder);
    addOutgoing(2);
    both.transmission.action.transmitMessages(m_account);
    const auto calls = waitForSends(2);
    both.leaving = calls.at(1);
    m_daemon->complete(calls.at(0).requestId, 200);
    const QMailMessageId sent(calls.at(0).arguments.at(1).toULongLong());
    QTRY_COMPARE(both.transmission.transmitted, QMailMessageIdList {sent});
    both.theirs = StoreFixture::addOutgoing(both.other, QStringLiteral("C"));
    m_daemon->syncStarted(both.other.toULongLong());
    m_daemon->syncCompleted(both.other.toULongLong());
    both.beside = m_daemon->waitForCall("sendMail");
    QCOMPARE(both.beside.accountId(), both.other.toULongLong());
}

/** The message server marks what all accounts have sent when the first of them is done. */
void TestAutomaticSending::sendingOfAnotherAccountEndsNoAction()
{
    TwoSendings both;
    sendFromTwoAccounts(both);
    const QMailMessageId sent = both.transmission.transmitted.first();
    const QMailMessageId leaving(both.leaving.arguments.at(1).toULongLong());
    m_daemon->complete(both.beside.requestId, 200);
    QTRY_VERIFY(!StoreFixture::exists(both.theirs) && !StoreFixture::exists(sent));
    settle();
    QCOMPARE(both.transmission.watcher.endCount(), 0);
    m_daemon->complete(both.leaving.requestId, 902);
    verifyFailed(both.transmission.watcher, 1034);
    QCOMPARE(both.transmission.failed, QMailMessageIdList {leaving});
    QCOMPARE(outbox(), QMailMessageMetaData(leaving).subject().toLatin1() + " waiting");
}

/** What the other one has sent is flagged in an action of the account whose sending has failed. */
void TestAutomaticSending::accountIsFreeWhereOnlyAnotherOnesMailsAreFlagged()
{
    TwoSendings both;
    sendFromTwoAccounts(both);
    m_daemon->complete(both.beside.requestId, 902);

    Retrieval next;
    next.action.retrieveFolderList(both.other, QMailFolderId());
    const auto folders = m_daemon->waitForCall("folderSync");
    QVERIFY(folders.isValid());
    settle();
    QCOMPARE(next.watcher.endCount(), 0);
    QCOMPARE(both.transmission.watcher.endCount(), 0);
    m_daemon->complete(folders.requestId, 200);
    verifySucceeded(next.watcher);
    m_daemon->complete(both.leaving.requestId, 200);
    verifySucceeded(both.transmission.watcher);
    QTRY_COMPARE(outbox(), QByteArray());
}

/** The message server flags what was there when it began the action, which waits for another. */
void TestAutomaticSending::accountIsFreeWhereWhatIsFlaggedIsGone()
{
    TwoSendings both;
    sendFromTwoAccounts(both);
    Retrieval before;
    before.action.retrieveFolderList(both.other, QMailFolderId());
    settle();
    m_daemon->complete(both.beside.requestId, 902);
    auto folders = m_daemon->waitForCall("folderSync");
    QVERIFY(QMailStore::instance()->removeMessage(both.transmission.transmitted.first()));
    m_daemon->complete(folders.requestId, 200);
    verifySucceeded(before.watcher);

    Retrieval next;
    next.action.retrieveFolderList(both.other, QMailFolderId());
    folders = m_daemon->waitForCall("folderSync");
    QVERIFY(folders.isValid());
    m_daemon->complete(folders.requestId, 200);
    verifySucceeded(next.watcher);
    m_daemon->complete(both.leaving.requestId, 200);
    verifySucceeded(both.transmission.watcher);
}

void TestAutomaticSending::sentFolderThatIsAFavouriteIsBroughtUpToDate()
{
    startWithSentAsAFavourite();
    addOutgoing(2);
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    const auto calls = waitForSends(2);
    m_daemon->complete(calls.at(0).requestId, 200);
    settle();
    // Only behind the last send.
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 0);
    m_daemon->complete(calls.at(1).requestId, 200);
    const auto sync = m_daemon->waitForCall("syncSpecificFolders");
    const QString sent = QString::number(folder(QMailFolder::SentFolder).toULongLong());
    QCOMPARE(sync.arguments, QVariantList({m_account.toULongLong(), QStringList(sent), 0, 0}));
    QCOMPARE(transmission.watcher.endCount(), 0);
    m_daemon->syncStarted(m_account.toULongLong());
    QVERIFY(m_daemon->waitForCall("isRequestAlive").isValid());
    m_daemon->complete(sync.requestId, 200);
    m_daemon->syncCompleted(m_account.toULongLong());
    verifySucceeded(transmission.watcher);
    QTRY_COMPARE(outbox(), QByteArray());
    QCOMPARE(logCount("Skipping it because it is our own signal"), 1);
    QCOMPARE(logCount("Creating FAKE action"), 0);
}

void TestAutomaticSending::sentFolderThatIsNoFavouriteIsLeftAlone()
{
    addOutgoing();
    Transmission transmission;
    succeed(transmission, startSending(transmission));
    QTRY_COMPARE(outbox(), QByteArray());
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 0);
    // No announcement is expected: the next one sends.
    addOutgoing(QStringLiteral("B"));
    m_daemon->answer(Answer::nextId().completing(200));
    announceSync();
    QTRY_COMPARE(outbox(), QByteArray());
    QCOMPARE(logCount("Skipping it because it is our own signal"), 0);
}

void TestAutomaticSending::ownAnnouncementIsSkippedOnce()
{
    startWithSentAsAFavourite();
    m_daemon->answer(Answer::nextId().completing(200));
    addOutgoing();
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    verifySucceeded(transmission.watcher);
    QTRY_COMPARE(outbox(), QByteArray());
    addOutgoing(QStringLiteral("B"));
    announceSync();
    QTRY_COMPARE(logCount("Skipping it because it is our own signal"), 1);
    verifyNextAction();
    settle();
    QCOMPARE(outbox(), QByteArray("B waiting"));
    m_daemon->answer(Answer::nextId().completing(200));
    announceSync();
    QTRY_COMPARE(outbox(), QByteArray());
}

void TestAutomaticSending::failedSynchronisationOfTheSentFolder()
{
    startWithSentAsAFavourite();
    m_daemon->answer("sendMail", Answer::nextId().completing(200));
    m_daemon->answer("syncSpecificFolders", Answer::nextId().completing(902));
    const QMailMessageId id = addOutgoing();
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    // The last one's end is the action's, and the message is sent all the same.
    verifyFailed(transmission.watcher, 1034);
    QCOMPARE(transmission.transmitted, QMailMessageIdList {id});
    QTRY_COMPARE(outbox(), QByteArray());
    QCOMPARE(m_daemon->callCount("sendMail"), 1);
}

void TestAutomaticSending::sentFolderIsAskedForOnceForManyMessages()
{
    startWithSentAsAFavourite();
    m_daemon->answer(Answer::nextId().completing(200));
    addOutgoing(20);
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    verifySucceeded(transmission.watcher);
    QTRY_COMPARE(outbox(), QByteArray());
    QCOMPARE(transmission.transmitted.size(), 20);
    QCOMPARE(m_daemon->callCount("sendMail"), 20);
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 1);
}

void TestAutomaticSending::cancelledDuringTheSynchronisationOfTheSentFolder()
{
    startWithSentAsAFavourite();
    const QMailMessageId id = addOutgoing();
    Transmission transmission;
    m_daemon->complete(startSending(transmission).requestId, 200);
    const auto sync = m_daemon->waitForCall("syncSpecificFolders");
    transmission.action.cancelOperation();
    QCOMPARE(m_daemon->waitForCall("abortRequest").arguments, QVariantList({sync.requestId, 1030}));
    verifyFailed(transmission.watcher, 1030);
    QCOMPARE(transmission.transmitted, QMailMessageIdList {id});
    // The server marks what went out at the end of an action, and this one has none.
    settle();
    QCOMPARE(outbox(), QByteArray("A accepted"));
    m_daemon->complete(sync.requestId, 1030);
}

QTEST_GUILESS_MAIN(TestAutomaticSending)

#include "tst_automaticsending.moc"
