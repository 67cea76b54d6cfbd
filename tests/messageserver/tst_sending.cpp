// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/messageserver/sendingfixture.h"

#include <qmailstore.h>
#include <QTest>

using Answer = ScriptedDaemon::Answer;

/** Transmissions that a client asks for, and what the mail store then says of each message. */
class TestSending : public SendingFixture
{
    Q_OBJECT

private slots:
    void sendsOneMessage();
    void sendsTwentyMessages();
    void sendsNoMessage();
    void sendsNothingTwice();
    void sendsForItsOwnAccountOnly();
    void failedMessageWaitsAgain_data();
    void failedMessageWaitsAgain();
    void oneFailureBlocksNoOther();
    void whatIsEditedBeforeItsEndIsHeardStays();
    void whatIsEditedBeforeTheEndIsSentAnew();
    void whatIsEditedBeforeTheEndStays_data();
    void whatIsEditedBeforeTheEndStays();
    void whatIsEditedAfterACancelledSendingStays();

    void refusedMessageWaits();
    void refusedMessageBlocksNoOther();
    void refusedMessageIsFoundWhenASynchronisationStarts();
    void messageWaitsWhileTheDaemonIsAbsent();
    void messageWaitsWhenTheDaemonDiesInTheCall();
    void acceptedMessageIsTheDaemonsWhenItDies();
    void endsWhenTheBroadcastIsLost();
    void lateBroadcastAfterThePoll_data();
    void lateBroadcastAfterThePoll();

    void cancelledBeforeItsTurnIsNotSent();
    void cancelledInTheCallOfTheDaemon_data();
    void cancelledInTheCallOfTheDaemon();
    void cancelledAfterTheDaemonAccepted_data();
    void cancelledAfterTheDaemonAccepted();
    void cancelledAmongMany();
    void nextActionAroundTheEndOfACancelledSend_data();
    void nextActionAroundTheEndOfACancelledSend();
    void cancelledTwice();
    void cancelledThenTransmittedAgain();
    void accountRemovedWhileACancelledSendIsOut();
    void serverEndsWhileASendIsOut();

private:
    void verifyGone(const QMailMessageIdList &ids);
    ScriptedDaemon::Call startAndCancel(Transmission &transmission);
    ScriptedDaemon::Call sendFirstOfTwo(Transmission &transmission);
    void edit(const QMailMessageId &id, quint64 status);
};

/** Sent, known as sent to the server, and out of the store without a removal record. */
void TestSending::verifyGone(const QMailMessageIdList &ids)
{
    for (const QMailMessageId &id : ids)
        QTRY_VERIFY(!StoreFixture::exists(id));
    QCOMPARE(QMailStore::instance()->messageRemovalRecords(m_account).size(), 0);
}

/** Has the client transmit a message and cancel that when the daemon has it; the daemon's call. */
ScriptedDaemon::Call TestSending::startAndCancel(Transmission &transmission)
{
    const auto call = startSending(transmission);
    transmission.watcher.waitForStart();
    transmission.action.cancelOperation();
    verifyFailed(transmission.watcher, 1030);
    return call;
}

/** Has the client transmit two messages, of which one is sent; the daemon's call for the other. */
ScriptedDaemon::Call TestSending::sendFirstOfTwo(Transmission &transmission)
{
    addOutgoing(2);
    transmission.action.transmitMessages(m_account);
    const auto calls = waitForSends(2);
    m_daemon->complete(calls.at(0).requestId, 200);
    if (!QTest::qWaitFor([&] { return !transmission.transmitted.isEmpty(); }, PatienceMs))
        qWarning("the message server tells of no message that was sent");
    return calls.at(1);
}

/** Its author writes the message anew, and it is to be in the outbox, or a draft. */
void TestSending::edit(const QMailMessageId &id, quint64 status)
{
    QMailMessage edited(id);
    edited.setSubject(QStringLiteral("Edited"));
    edited.setStatus(QMailMessage::Outbox | QMailMessage::Draft, false);
    edited.setStatus(status, true);
    QVERIFY(QMailStore::instance()->updateMessage(&edited));
}

void TestSending::sendsOneMessage()
{
    const QMailMessageId id = addOutgoing();
    QCOMPARE(outbox(), QByteArray("A waiting"));
    Transmission transmission;
    const auto call = startSending(transmission);
    QCOMPARE(call.arguments, QVariantList({m_account.toULongLong(), id.toULongLong()}));
    QTRY_COMPARE(outbox(), QByteArray("A accepted"));
    settle();
    QCOMPARE(transmission.watcher.endCount(), 0);
    succeed(transmission, call);
    QCOMPARE(transmission.transmitted, QMailMessageIdList {id});
    QVERIFY(transmission.failed.isEmpty());
    verifyGone({id});
    QTRY_COMPARE(logCount("Deleting send message"), 1);
    QCOMPARE(logCount("is sent and Outbox flag is cleared"), 1);
    QCOMPARE(m_daemon->calls().size(), 1);
}

void TestSending::sendsTwentyMessages()
{
    const QMailMessageIdList ids = addOutgoing(20);
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    const auto calls = waitForSends(20);
    QSet<quint64> asked;
    for (const auto &call : calls)
        asked.insert(call.arguments.at(1).toULongLong());
    QCOMPARE(asked.size(), 20);
    QTRY_VERIFY(!outbox().contains("waiting"));
    // The last one first, and all but one.
    for (int i = 19; i > 0; --i)
        m_daemon->complete(calls.at(i).requestId, 200);
    QTRY_COMPARE(transmission.transmitted.size(), 19);
    settle();
    QCOMPARE(transmission.watcher.endCount(), 0);
    m_daemon->complete(calls.at(0).requestId, 200);
    verifySucceeded(transmission.watcher);
    QCOMPARE(QSet<QMailMessageId>(transmission.transmitted.begin(), transmission.transmitted.end()),
             QSet<QMailMessageId>(ids.begin(), ids.end()));
    QCOMPARE(transmission.transmitted.size(), 20);
    verifyGone(ids);
    QCOMPARE(m_daemon->calls().size(), 20);
}

void TestSending::sendsNoMessage()
{
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    verifySucceeded(transmission.watcher);
    QVERIFY(transmission.transmitted.isEmpty());
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestSending::sendsNothingTwice()
{
    const QMailMessageId id = addOutgoing();
    Transmission first;
    const auto call = startSending(first);
    // It waits for the first, and finds nothing to do then.
    Transmission second;
    second.action.transmitMessages(m_account);
    settle();
    succeed(first, call);
    verifySucceeded(second.watcher);
    QVERIFY(second.transmitted.isEmpty());
    verifyGone({id});
    QCOMPARE(m_daemon->callCount("sendMail"), 1);
}

void TestSending::sendsForItsOwnAccountOnly()
{
    const QMailAccountId other = addSecondAccount();
    StoreFixture::addFolder(other, QStringLiteral("Outbox"), QMailFolder::OutboxFolder);
    const QMailMessageId mine = addOutgoing();
    const QMailMessageId theirs = StoreFixture::addOutgoing(other, QStringLiteral("B"));
    Transmission transmission;
    const auto call = startSending(transmission);
    succeed(transmission, call);
    verifyGone({mine});
    QCOMPARE(m_daemon->calls().size(), 1);
    QCOMPARE(QMailStore::instance()->countMessages(
                 QMailMessageKey::id(theirs)
                 & QMailMessageKey::status(QMailMessage::Outbox, QMailDataComparator::Includes)),
             1);
}

void TestSending::failedMessageWaitsAgain_data()
{
    QTest::addColumn<int>("daemonCode");
    QTest::addColumn<int>("errorCode");
    QTest::addRow("no room") << 507 << 1031;
    QTest::addRow("refused password") << 401 << 1029;
    QTest::addRow("forbidden") << 403 << 1026;
    QTest::addRow("bad recipient") << 404 << 1038;
    QTest::addRow("server failed") << 500 << 1027;
    QTest::addRow("no connection") << 902 << 1034;
    QTest::addRow("aborted") << 1030 << 1030;
    QTest::addRow("zero") << 0 << 1030;
}

void TestSending::failedMessageWaitsAgain()
{
    QFETCH(int, daemonCode);
    QFETCH(int, errorCode);
    const QMailMessageId id = addOutgoing();
    Transmission transmission;
    m_daemon->complete(startSending(transmission).requestId, daemonCode);
    verifyFailed(transmission.watcher, errorCode);
    QCOMPARE(transmission.failed, QMailMessageIdList {id});
    QVERIFY(transmission.transmitted.isEmpty());
    QCOMPARE(outbox(), QByteArray("A waiting"));
    QCOMPARE(logCount("Message is not transmitted, error"), 1);
    QCOMPARE(logCount("is NOT sent and Outbox flag is restored"), 1);

    Transmission again;
    succeed(again, startSending(again));
    verifyGone({id});
}

void TestSending::oneFailureBlocksNoOther()
{
    const QMailMessageIdList ids = addOutgoing(3);
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    QMailMessageId failed;
    QMailMessageIdList sent = ids;
    const auto calls = waitForSends(3);
    for (int i = 0; i < 3; ++i) {
        if (i == 1)
            failed = QMailMessageId(calls.at(i).arguments.at(1).toULongLong());
        m_daemon->complete(calls.at(i).requestId, i == 1 ? 507 : 200);
    }
    verifyFailed(transmission.watcher, 1031);
    QCOMPARE(transmission.failed, QMailMessageIdList {failed});
    const QByteArray name = QMailMessageMetaData(failed).subject().toLatin1();
    sent.removeOne(failed);
    verifyGone(sent);
    QCOMPARE(outbox(), name + " waiting");
    Transmission again;
    const auto call = startSending(again);
    QCOMPARE(call.arguments.at(1).toULongLong(), failed.toULongLong());
    succeed(again, call);
    verifyGone(ids);
}

/** The daemon has ended the request, and the message server hears of it only now. */
void TestSending::whatIsEditedBeforeItsEndIsHeardStays()
{
    const QMailMessageId id = addOutgoing();
    Transmission transmission;
    const auto call = startSending(transmission);
    QTRY_COMPARE(outbox(), QByteArray("A accepted"));
    edit(id, QMailMessage::Outbox);
    succeed(transmission, call);
    QCOMPARE(transmission.transmitted, QMailMessageIdList {id});
    settle();
    QCOMPARE(outbox(), QByteArray("Edited waiting"));
    Transmission again;
    succeed(again, startSending(again));
    QTRY_COMPARE(outbox(), QByteArray());
}

void TestSending::whatIsEditedBeforeTheEndIsSentAnew()
{
    Transmission transmission;
    const auto call = sendFirstOfTwo(transmission);
    const QMailMessageIdList sent = transmission.transmitted;
    QCOMPARE(sent.size(), 1);
    edit(sent.first(), QMailMessage::Outbox);
    // It waits for the first.
    Transmission again;
    again.action.transmitMessages(m_account);
    settle();
    succeed(transmission, call);
    const auto second = m_daemon->waitForCall("sendMail");
    QCOMPARE(second.arguments.value(1).toULongLong(), sent.first().toULongLong());
    succeed(again, second);
    QCOMPARE(again.transmitted, sent);
    QTRY_COMPARE(outbox(), QByteArray());
    QCOMPARE(m_daemon->callCount("sendMail"), 3);
}

void TestSending::whatIsEditedBeforeTheEndStays_data()
{
    QTest::addColumn<bool>("draft");
    QTest::addColumn<QByteArray>("state");
    QTest::addRow("it is to go") << false << QByteArray("Edited waiting");
    QTest::addRow("it is a draft") << true << QByteArray("Edited accepted");
}

void TestSending::whatIsEditedBeforeTheEndStays()
{
    QFETCH(bool, draft);
    QFETCH(QByteArray, state);
    Transmission transmission;
    const auto call = sendFirstOfTwo(transmission);
    const QMailMessageId id = transmission.transmitted.value(0);
    edit(id, draft ? QMailMessage::Draft : QMailMessage::Outbox);
    succeed(transmission, call);
    QTRY_VERIFY(!StoreFixture::exists(QMailMessageId(call.arguments.at(1).toULongLong())));
    settle();
    QCOMPARE(outbox(), state);
    QCOMPARE(StoreFixture::hasStatus(id, QMailMessage::Draft), draft);
    verifyNextAction();
    m_daemon->answer(Answer::nextId().completing(200));
    announceSync();
    if (!draft) {
        QTRY_COMPARE(outbox(), QByteArray());
        return;
    }
    QTRY_COMPARE(logCount("Synchronize COMPLETED signal received"), 1);
    settle();
    QCOMPARE(outbox(), state);
}

/** The message server marks what was sent in a cancelled action at the end of the next one. */
void TestSending::whatIsEditedAfterACancelledSendingStays()
{
    Transmission transmission;
    const auto call = sendFirstOfTwo(transmission);
    const QMailMessageId id = transmission.transmitted.value(0);
    transmission.action.cancelOperation();
    verifyFailed(transmission.watcher, 1030);
    m_daemon->complete(call.requestId, 200);
    edit(id, QMailMessage::Draft);
    const QMailMessageId other = addOutgoing(QStringLiteral("C"));
    Transmission next;
    succeed(next, startSending(next));
    QTRY_VERIFY(!StoreFixture::exists(other));
    settle();
    QVERIFY(outbox().contains("Edited accepted"));
    QVERIFY(StoreFixture::hasStatus(id, QMailMessage::Draft));
}

void TestSending::refusedMessageWaits()
{
    const QMailMessageId id = addOutgoing();
    const auto state = pollSoon();
    m_daemon->answerOnce("sendMail", Answer::id(-1));
    Transmission transmission;
    QVERIFY(startSending(transmission).isValid());
    // The poll asks for what has no id yet.
    QCOMPARE(m_daemon->waitForCall("isRequestAlive").arguments, QVariantList {-2});
    // Required: a refusal is silent, and the poll ends the action as if all were well.
    verifySucceeded(transmission.watcher);
    QVERIFY(transmission.transmitted.isEmpty());
    QCOMPARE(outbox(), QByteArray("A waiting"));
    // The next synchronisation tries it again.
    announceSync();
    m_daemon->complete(m_daemon->waitForCall("sendMail").requestId, 200);
    verifyGone({id});
}

void TestSending::refusedMessageBlocksNoOther()
{
    QMailMessageIdList ids = addOutgoing(3);
    const auto state = pollSoon();
    m_daemon->answerOnce("sendMail", Answer::nextId().completing(200));
    m_daemon->answerOnce("sendMail", Answer::id(-1));
    m_daemon->answerOnce("sendMail", Answer::nextId().completing(200));
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    const auto calls = waitForSends(3);
    const QMailMessageId refused(calls.at(1).arguments.at(1).toULongLong());
    verifySucceeded(transmission.watcher);
    QCOMPARE(transmission.transmitted.size(), 2);
    ids.removeOne(refused);
    verifyGone(ids);
    QCOMPARE(outbox(), QMailMessageMetaData(refused).subject().toLatin1() + " waiting");
}

void TestSending::refusedMessageIsFoundWhenASynchronisationStarts()
{
    const QMailMessageId id = addOutgoing();
    m_daemon->answerOnce("sendMail", Answer::id(-1));
    Transmission transmission;
    QVERIFY(startSending(transmission).isValid());
    m_daemon->syncStarted(m_account.toULongLong());
    verifySucceeded(transmission.watcher);
    m_daemon->syncCompleted(m_account.toULongLong());
    m_daemon->complete(m_daemon->waitForCall("sendMail").requestId, 200);
    verifyGone({id});
    QCOMPARE(m_daemon->callCount("sendMail"), 2);
}

void TestSending::messageWaitsWhileTheDaemonIsAbsent()
{
    const QMailMessageId id = addOutgoing();
    const auto state = pollSoon();
    m_daemon->vanish();
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    verifySucceeded(transmission.watcher);
    QVERIFY(transmission.transmitted.isEmpty());
    QCOMPARE(outbox(), QByteArray("A waiting"));
    QVERIFY(logCount("Request has returned an error") > 0);
    QVERIFY(m_daemon->appear());
    Transmission again;
    succeed(again, startSending(again));
    verifyGone({id});
}

void TestSending::messageWaitsWhenTheDaemonDiesInTheCall()
{
    addOutgoing();
    const auto state = pollSoon();
    m_daemon->answer(Answer::silence());
    Transmission transmission;
    QVERIFY(startSending(transmission).isValid());
    m_daemon->vanish();
    verifySucceeded(transmission.watcher);
    QVERIFY(transmission.transmitted.isEmpty());
    QCOMPARE(outbox(), QByteArray("A waiting"));
}

void TestSending::acceptedMessageIsTheDaemonsWhenItDies()
{
    addOutgoing();
    const auto state = pollSoon();
    Transmission transmission;
    QVERIFY(startSending(transmission).isValid());
    QTRY_COMPARE(outbox(), QByteArray("A accepted"));
    m_daemon->vanish();
    // Whether it went out only the daemon's next run can tell: it is not sent a second time.
    verifySucceeded(transmission.watcher);
    QVERIFY(transmission.transmitted.isEmpty());
    QVERIFY(transmission.failed.isEmpty());
    QCOMPARE(outbox(), QByteArray("A accepted"));
    QVERIFY(m_daemon->appear());
    m_daemon->forgetCalls();
    announceSync();
    settle();
    QCOMPARE(m_daemon->callCount("sendMail"), 0);
}

void TestSending::endsWhenTheBroadcastIsLost()
{
    addOutgoing();
    const auto state = pollSoon();
    m_daemon->answerAlive(0);
    Transmission transmission;
    const auto call = startSending(transmission);
    QCOMPARE(m_daemon->waitForCall("isRequestAlive").arguments, QVariantList {call.requestId});
    verifySucceeded(transmission.watcher);
    QVERIFY(transmission.transmitted.isEmpty());
    QCOMPARE(outbox(), QByteArray("A accepted"));
}

void TestSending::lateBroadcastAfterThePoll_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("state");
    QTest::addRow("sent") << 200 << QByteArray("A accepted");
    QTest::addRow("not sent") << 500 << QByteArray("A waiting");
}

void TestSending::lateBroadcastAfterThePoll()
{
    QFETCH(int, code);
    QFETCH(QByteArray, state);
    addOutgoing();
    const auto soon = pollSoon();
    m_daemon->answerAlive(0);
    Transmission transmission;
    const auto call = startSending(transmission);
    verifySucceeded(transmission.watcher);
    m_daemon->answerAliveTruly();
    m_daemon->complete(call.requestId, code);
    settle();
    QCOMPARE(outbox(), state);
    QCOMPARE(transmission.watcher.endCount(), 1);
}

void TestSending::cancelledBeforeItsTurnIsNotSent()
{
    addOutgoing();
    // The account is busy with another client's action.
    m_daemon->syncStarted(m_account.toULongLong());
    QTRY_COMPARE(logCount("Protocol request received"), 1);
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    transmission.action.cancelOperation();
    settle();
    QVERIFY(transmission.watcher.waitForEnd());
    QVERIFY(!transmission.watcher.succeeded());
    QCOMPARE(transmission.watcher.endCount(), 1);
    QCOMPARE(m_daemon->callCount("sendMail"), 0);
    QCOMPARE(outbox(), QByteArray("A waiting"));
    // What the synchronisation's end sets off is the automatic transmission, another action.
    m_daemon->answer(Answer::nextId().completing(200));
    m_daemon->syncCompleted(m_account.toULongLong());
    QTRY_COMPARE(outbox(), QByteArray());
    QCOMPARE(m_daemon->callCount("sendMail"), 1);
}

void TestSending::cancelledInTheCallOfTheDaemon_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("state");
    QTest::addRow("sent") << 200 << QByteArray("A accepted");
    QTest::addRow("not sent") << 500 << QByteArray("A waiting");
}

void TestSending::cancelledInTheCallOfTheDaemon()
{
    QFETCH(int, code);
    QFETCH(QByteArray, state);
    addOutgoing();
    m_daemon->answer(Answer::silence());
    Transmission transmission;
    const auto call = startSending(transmission);
    transmission.action.cancelOperation();
    m_daemon->releaseAnswers();
    verifyFailed(transmission.watcher, 1030);
    QTRY_COMPARE(outbox(), QByteArray("A accepted"));
    m_daemon->complete(call.requestId, code);
    QTRY_COMPARE(logCount("Request has been canceled, return"), 1);
    settle();
    QCOMPARE(outbox(), state);
    QCOMPARE(m_daemon->callCount("abortRequest"), 0);
    QCOMPARE(transmission.watcher.endCount(), 1);
}

void TestSending::cancelledAfterTheDaemonAccepted_data()
{
    cancelledInTheCallOfTheDaemon_data();
}

void TestSending::cancelledAfterTheDaemonAccepted()
{
    QFETCH(int, code);
    QFETCH(QByteArray, state);
    addOutgoing();
    Transmission transmission;
    const auto call = startAndCancel(transmission);
    QCOMPARE(outbox(), QByteArray("A accepted"));
    m_daemon->complete(call.requestId, code);
    QTRY_COMPARE(logCount("Request has been canceled, return"), 1);
    QCOMPARE(outbox(), state);
    settle();
    QVERIFY(transmission.transmitted.isEmpty());
    QVERIFY(transmission.failed.isEmpty());
    QCOMPARE(transmission.watcher.endCount(), 1);
    QCOMPARE(m_daemon->callCount("abortRequest"), 0);
}

void TestSending::cancelledAmongMany()
{
    const QMailMessageIdList ids = addOutgoing(3);
    Transmission transmission;
    transmission.action.transmitMessages(m_account);
    const auto calls = waitForSends(3);
    m_daemon->complete(calls.at(0).requestId, 200);
    QTRY_COMPARE(transmission.transmitted.size(), 1);
    transmission.action.cancelOperation();
    verifyFailed(transmission.watcher, 1030);
    m_daemon->complete(calls.at(1).requestId, 200);
    m_daemon->complete(calls.at(2).requestId, 902);
    QTRY_COMPARE(logCount("Request has been canceled, return"), 2);
    const auto state = [this](const ScriptedDaemon::Call &call) {
        const QMailMessageId id(call.arguments.at(1).toULongLong());
        return outbox().contains(QMailMessageMetaData(id).subject().toLatin1() + " waiting");
    };
    QVERIFY(!state(calls.at(1)));
    QVERIFY(state(calls.at(2)));
    QCOMPARE(outbox().count("waiting"), 1);
}

void TestSending::nextActionAroundTheEndOfACancelledSend_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("when");
    for (int code : {200, 500}) {
        for (const char *when : {"before", "at", "after"})
            QTest::addRow("%d, %s", code, when) << code << QString::fromLatin1(when);
    }
}

void TestSending::nextActionAroundTheEndOfACancelledSend()
{
    QFETCH(int, code);
    QFETCH(QString, when);
    addOutgoing();
    Transmission transmission;
    const auto send = startAndCancel(transmission);

    if (when == QLatin1String("after"))
        m_daemon->complete(send.requestId, code);
    Retrieval next;
    const auto call = startFolders(next);
    QVERIFY(call.isValid());
    if (when == QLatin1String("at"))
        m_daemon->complete(send.requestId, code);
    m_daemon->complete(call.requestId, 401);
    // It starts and ends by itself, while the send is still out or not.
    verifyFailed(next.watcher, 1029);
    if (when == QLatin1String("before"))
        m_daemon->complete(send.requestId, code);
    QTRY_COMPARE(logCount("Request has been canceled, return"), 1);
    QCOMPARE(outbox(), code == 200 ? QByteArray("A accepted") : QByteArray("A waiting"));
    settle();
    QCOMPARE(next.watcher.endCount(), 1);
}

void TestSending::cancelledTwice()
{
    addOutgoing();
    Transmission transmission;
    const auto call = startSending(transmission);
    QVERIFY(transmission.watcher.waitForStart());
    transmission.action.cancelOperation();
    transmission.action.cancelOperation();
    verifyFailed(transmission.watcher, 1030);
    Retrieval next;
    QVERIFY(startFolders(next).isValid());
    QVERIFY(next.watcher.waitForStart());
    next.action.cancelOperation();
    verifyFailed(next.watcher, 1030);
    // The send heard of both.
    QCOMPARE(logCount("Operation SEND request to cancel is received"), 2);
    m_daemon->complete(call.requestId, 500);
    QTRY_COMPARE(logCount("Request has been canceled, return"), 1);
    QCOMPARE(outbox(), QByteArray("A waiting"));
}

void TestSending::cancelledThenTransmittedAgain()
{
    const QMailMessageId id = addOutgoing();
    Transmission first;
    const auto call = startAndCancel(first);
    // As long as the daemon has it, it does not go a second time.
    Transmission second;
    second.action.transmitMessages(m_account);
    verifySucceeded(second.watcher);
    QCOMPARE(m_daemon->callCount("sendMail"), 1);
    m_daemon->complete(call.requestId, 902);
    QTRY_COMPARE(logCount("Request has been canceled, return"), 1);
    QCOMPARE(outbox(), QByteArray("A waiting"));
    Transmission third;
    succeed(third, startSending(third));
    verifyGone({id});
    QCOMPARE(m_daemon->callCount("sendMail"), 2);
}

void TestSending::accountRemovedWhileACancelledSendIsOut()
{
    addOutgoing();
    Transmission transmission;
    const auto call = startAndCancel(transmission);
    QVERIFY(QMailStore::instance()->removeAccount(m_account));
    QTRY_COMPARE(logCount(" OrvService::~OrvService"), 1);
    m_daemon->complete(call.requestId, 500);
    settle();
    QVERIFY(m_server->isAlive());
    m_account = addSecondAccount();
}

void TestSending::serverEndsWhileASendIsOut()
{
    addOutgoing();
    Transmission transmission;
    const auto call = startSending(transmission);
    QTRY_COMPARE(outbox(), QByteArray("A accepted"));
    QVERIFY(m_server->terminate());
    QVERIFY(m_server->exitedNormally());
    m_daemon->complete(call.requestId, 200);
    QVERIFY(m_server->start());
    // The next server does not send it again.
    Transmission again;
    again.action.transmitMessages(m_account);
    verifySucceeded(again.watcher);
    QCOMPARE(m_daemon->callCount("sendMail"), 1);
    QCOMPARE(outbox(), QByteArray("A accepted"));
}

QTEST_GUILESS_MAIN(TestSending)

#include "tst_sending.moc"
