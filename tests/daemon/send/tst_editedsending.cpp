// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/sendingworld.h"

#include <QJsonArray>
#include <qmailmessage.h>
#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <functional>

namespace {

const QString Alice = QStringLiteral("alice");
const QString Bob = QStringLiteral("bob");
const QString Inbox = QStringLiteral("Inbox");
const QString SentFolder = QStringLiteral("Sent");

QMailMessagePart attachment(const QByteArray &name, const QByteArray &content)
{
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setFilename(name);
    return QMailMessagePart::fromData(content, disposition,
                                      QMailMessageContentType("application/octet-stream"),
                                      QMailMessageBody::Base64, QMailMessageBody::RequiresEncoding);
}

QMailMessage withAttachment(QMailMessage message, const QMailMessagePart &part)
{
    QMailMessagePart text;
    text.setBody(SendingWorld::plainText(QStringLiteral("Hello.\n")));
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(text);
    message.appendPart(part);
    return message;
}

/** What an author may change of a message of two parts, a text and an attachment. */
void edit(QMailMessage *message, const QString &what)
{
    if (what == QLatin1String("recipient"))
        message->setTo(
            {message->to().first(), QMailAddress(QStringLiteral("carol@elsewhere.test"))});
    else if (what == QLatin1String("hidden recipient"))
        message->setBcc({QMailAddress(QStringLiteral("carol@elsewhere.test"))});
    else if (what == QLatin1String("subject"))
        message->setSubject(QStringLiteral("Hello again"));
    else if (what == QLatin1String("text"))
        message->partAt(0).setBody(SendingWorld::plainText(QStringLiteral("Hullo.\n")));
    else if (what == QLatin1String("attachment's content"))
        message->partAt(1).setBody(attachment("plan.bin", "plan B").body());
    else if (what == QLatin1String("attachment's name"))
        message->partAt(1).setContentDisposition(
            attachment("plans.bin", "plan A").contentDisposition());
    else if (what == QLatin1String("one attachment more"))
        message->appendPart(attachment("other.bin", "other"));
    else
        qFatal("nothing of the kind");
}

/** As its author does who puts it into the trash, or makes it a draft. */
void takeBack(const QMailMessageId &id, bool trash)
{
    const quint64 flag = trash ? QMailMessage::Trash : QMailMessage::Draft;
    if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), flag, true))
        qFatal("cannot mark a message");
}

void save(QMailMessage *message)
{
    if (!QMailStore::instance()->updateMessage(message))
        qFatal("cannot change a message");
}

} // namespace

/** Messages of which the server may have a version that their author has edited since. */
class TestEditedSending : public DaemonFixture<SendingWorld>
{
    Q_OBJECT

private slots:
    void editedAfterItArrivedBothAreThere_data();
    void editedAfterItArrivedBothAreThere();
    void editedBeforeItArrivedItAloneIsThere_data();
    void editedBeforeItArrivedItAloneIsThere();
    void whatIsNoEditIsSentOnce_data();
    void whatIsNoEditIsSentOnce();
    void editedWhileNoDaemonRanBothAreThere();
    void editedAfterItWasSentItIsNotTakenOut();
    void editedBeforeItLeavesItGoesAsItIsNow();
    void removedBeforeItLeavesItDoesNotGo();
    void takenBackBeforeTheSettingsChangeItDoesNotGo();
    void takenBackItDoesNotGoWhenItIsAskedForAtOnce_data();
    void takenBackItDoesNotGoWhenItIsAskedForAtOnce();
    void takenBackItDoesNotGoWithTheNextDaemon_data();
    void takenBackItDoesNotGoWithTheNextDaemon();
    void whatWasADraftWhenItWasAskedForGoesWithTheNextDaemon();
    void editedWhileItLeavesItIsAnotherMessage();
    void editedWhileItLeavesAndAwaitedBothGo_data();
    void editedWhileItLeavesAndAwaitedBothGo();
    void editedWhileItLeavesItStaysWhereItIsNotToGo_data();
    void editedWhileItLeavesItStaysWhereItIsNotToGo();
    void beforeASecondUploadItIsLookedAtAgain_data();
    void beforeASecondUploadItIsLookedAtAgain();
    void beforeASecondUploadThatNobodyAwaitsItStays_data();
    void beforeASecondUploadThatNobodyAwaitsItStays();
    void editedToBeTooLargeItsSendingEnds();
    void editedWhileItIsLookedForItGoesAsItIsNow_data();
    void editedWhileItIsLookedForItGoesAsItIsNow();
    void aDoubtAboutTheEarlierVersionHoldsUpNothing_data();
    void aDoubtAboutTheEarlierVersionHoldsUpNothing();
    void givenUpAndEditedItStays();
    void editedAgainAndAgainEachHasItsOwnId();
    void theEarlierVersionUnderAnotherIdIsADoubt();
    void whatLeftWithAnOlderDaemonIsTakenAsItWas();

private:
    bool begin() override
    {
        world().daemon.hurry();
        world().daemon.setPatience(2);
        return world().begin() && world().syncAndWait() == 200;
    }
    /** A message of which nobody knows whether the server has it. */
    QMailMessageId sendToNowhere(const QMailMessage &message, bool arrives);
    QMailMessageId sendToNowhere(bool arrives);
    void editSubject(const QMailMessageId &id, const QString &subject = QStringLiteral("Edited"));
    QStringList subjectsOfSent();
    /** What tells messages apart to the server, of all that it has taken. */
    QSet<QString> idsOfSent(const char *field);
    void killAndStart(const std::function<void()> &meanwhile = nullptr);
    /** Another daemon, which waits long enough for what is to happen meanwhile. */
    void startPatient();
    /** What is sent next waits before it leaves, until EasServer::endDelays(). */
    void startAndHoldOptions();
    /** Sends a message whose arrival the server keeps to itself until EasServer::endDelays(), as
     * that of those after it; its request. */
    int sendUnanswered(const QMailMessageId &id, int messages = 1);
    /** The server sends the client elsewhere with what is sent next, for which it waits until
     * EasServer::endDelays(). */
    void redirect();
    /** The server refuses what is sent next until it has told its new policy, for which it waits
     * until EasServer::endDelays(). */
    void renewPolicy();
};

QMailMessageId TestEditedSending::sendToNowhere(const QMailMessage &message, bool arrives)
{
    world().server.fault(
        arrives ? SendingWorld::sendFault(
                      "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 3}})
                : SendingWorld::sendFault("reset"));
    const int before = world().sent().size();
    const QMailMessageId id = world().add(message);
    const int code = world().sendAndWait(id);
    if (code != (arrives ? 901 : 902) || world().sent().size() != before + int(arrives))
        qFatal("the sending ended with %d", code);
    world().setOutbox(id, true);
    return id;
}

QMailMessageId TestEditedSending::sendToNowhere(bool arrives)
{
    return sendToNowhere(world().draft(), arrives);
}

void TestEditedSending::editSubject(const QMailMessageId &id, const QString &subject)
{
    QMailMessage edited(id);
    edited.setSubject(subject);
    save(&edited);
}

QStringList TestEditedSending::subjectsOfSent()
{
    QStringList subjects;
    for (int i = 0; i < world().sent().size(); ++i)
        subjects.append(world().sentMessage(i).subject());
    return subjects;
}

QSet<QString> TestEditedSending::idsOfSent(const char *field)
{
    QSet<QString> ids;
    const QJsonArray all = world().sent();
    for (int i = 0; i < all.size(); ++i) {
        const QString name = QString::fromLatin1(field);
        ids.insert(name == QLatin1String("client_id")
                       ? all.at(i)[name].toString()
                       : world().sentMessage(i).headerFieldText(name));
    }
    return ids;
}

void TestEditedSending::killAndStart(const std::function<void()> &meanwhile)
{
    world().daemon.kill();
    if (meanwhile)
        meanwhile();
    QVERIFY(world().daemon.start());
}

void TestEditedSending::startPatient()
{
    QVERIFY(world().startAnew(24));
}

void TestEditedSending::startAndHoldOptions()
{
    startPatient();
    world().server.fault(SendingWorld::sendFault(
        "delay",
        {{QStringLiteral("command"), QStringLiteral("OPTIONS")}, {QStringLiteral("seconds"), 20}}));
}

int TestEditedSending::sendUnanswered(const QMailMessageId &id, int messages)
{
    startPatient();
    world().server.fault(SendingWorld::sendFault("delay",
                                                 {{QStringLiteral("late"), true},
                                                  {QStringLiteral("count"), messages},
                                                  {QStringLiteral("seconds"), 20}}));
    const int request = world().send(id);
    if (!QTest::qWaitFor([this] { return world().copies(Bob, QStringLiteral("Hello")) == 1; },
                         20000))
        qFatal("the message has not arrived");
    return request;
}

void TestEditedSending::redirect()
{
    world().server.fault("delay", "SendMail", {{"seconds", 20}});
    // The slash makes it another URL.
    world().server.fault(
        "http", "SendMail",
        {{"status", 451},
         {"location",
          world().server.url().toString() + QStringLiteral("/Microsoft-Server-ActiveSync/")}});
}

void TestEditedSending::renewPolicy()
{
    world().setOption("provision", true);
    QCOMPARE(world().syncAndWait(), 200);
    world().setOption("policy_version", 2);
    world().server.fault("delay", "Provision", {{"seconds", 20}});
}

void TestEditedSending::editedAfterItArrivedBothAreThere_data()
{
    QTest::addColumn<QString>("what");
    for (const char *what : {"recipient", "hidden recipient", "subject", "text",
                             "attachment's content", "attachment's name", "one attachment more"})
        QTest::newRow(what) << QString::fromLatin1(what);
}

void TestEditedSending::editedAfterItArrivedBothAreThere()
{
    QFETCH(QString, what);
    const QMailMessageId id =
        sendToNowhere(withAttachment(world().draft(), attachment("plan.bin", "plan A")), true);
    QMailMessage edited(id);
    edit(&edited, what);
    save(&edited);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().server.messages(Bob, Inbox).size(), 2);
    QCOMPARE(world().server.messages(Alice, SentFolder).size(), 2);
    QCOMPARE(idsOfSent("client_id").size(), 2);
    QCOMPARE(idsOfSent("Message-ID").size(), 2);
    const QMailMessage last = world().sentMessage(1);
    QCOMPARE(last.subject(), edited.subject());
    QCOMPARE(last.to().size(), edited.to().size());
    QCOMPARE(last.bcc().size(), edited.bcc().size());
    QCOMPARE(last.partCount(), edited.partCount());
    QCOMPARE(last.partAt(0).body().data(), edited.partAt(0).body().data());
    QCOMPARE(last.partAt(1).body().data(QMailMessageBody::Decoded),
             edited.partAt(1).body().data(QMailMessageBody::Decoded));
    QVERIFY(!world().isInOutbox(id));
    // It is known as sent, and a daemon that starts takes out what the message server left.
    killAndStart();
    QTRY_COMPARE(QMailStore::instance()->countMessages(QMailMessageKey::id(id)), 0);
    QCOMPARE(world().sent().size(), 2);
}

void TestEditedSending::editedBeforeItArrivedItAloneIsThere_data()
{
    QTest::addColumn<bool>("memory");
    QTest::newRow("server remembers") << true;
    QTest::newRow("server forgets") << false;
}

void TestEditedSending::editedBeforeItArrivedItAloneIsThere()
{
    QFETCH(bool, memory);
    world().setOption("client_id_memory", memory);
    const QMailMessageId id = sendToNowhere(false);
    editSubject(id);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(subjectsOfSent(), QStringList {QStringLiteral("Edited")});
    QCOMPARE(world().copies(Bob, QStringLiteral("Edited")), 1);
    QVERIFY(!world().isInOutbox(id));
}

void TestEditedSending::whatIsNoEditIsSentOnce_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<bool>("arrives");
    for (const char *what :
         {"marks", "other headers", "another Message-ID", "line ends", "edited and back"}) {
        QTest::newRow((QByteArray(what) + ", it arrived").constData())
            << QString::fromLatin1(what) << true;
        QTest::newRow((QByteArray(what) + ", it did not arrive").constData())
            << QString::fromLatin1(what) << false;
    }
}

void TestEditedSending::whatIsNoEditIsSentOnce()
{
    QFETCH(QString, what);
    QFETCH(bool, arrives);
    world().setOption("client_id_memory", false);
    const QMailMessageId id =
        sendToNowhere(withAttachment(world().draft(), attachment("plan.bin", "plan A")), arrives);
    QMailMessage changed(id);
    if (what == QLatin1String("marks")) {
        SendingWorld::setField(id, "dontSend", QStringLiteral("2"));
        QVERIFY(QMailStore::instance()->updateMessagesMetaData(
            QMailMessageKey::id(id), QMailMessage::Read | QMailMessage::Important, true));
    } else if (what == QLatin1String("other headers")) {
        changed.setHeaderField(QStringLiteral("X-Program"), QStringLiteral("Some"));
        save(&changed);
    } else if (what == QLatin1String("another Message-ID")) {
        changed.setHeaderField(QStringLiteral("Message-ID"), QStringLiteral("<new@example.test>"));
        save(&changed);
    } else if (what == QLatin1String("line ends")) {
        changed.partAt(0).setBody(SendingWorld::plainText(QStringLiteral("Hello.\r\n")));
        save(&changed);
    } else if (what == QLatin1String("edited and back")) {
        editSubject(id);
        editSubject(id, QStringLiteral("Hello"));
    }
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    QCOMPARE(world().sent().size(), 1);
}

void TestEditedSending::editedWhileNoDaemonRanBothAreThere()
{
    world().server.fault(SendingWorld::sendFault(
        "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 30}}));
    const QMailMessageId id = world().add(world().draft());
    world().send(id);
    QTRY_COMPARE_WITH_TIMEOUT(world().copies(Bob, QStringLiteral("Hello")), 1, 20000);
    killAndStart([&] { editSubject(id); });
    QTRY_VERIFY(world().isInOutbox(id));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(subjectsOfSent(), QStringList({QStringLiteral("Hello"), QStringLiteral("Edited")}));
    QVERIFY(!world().isInOutbox(id));
}

/** Nobody heard of it, and the author sends what is there once more; that daemon dies as well. */
void TestEditedSending::editedAfterItWasSentItIsNotTakenOut()
{
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 200);
    killAndStart([&] { editSubject(id); });
    QTRY_VERIFY(world().isInOutbox(id));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(subjectsOfSent(), QStringList({QStringLiteral("Hello"), QStringLiteral("Edited")}));
    killAndStart();
    QTRY_COMPARE(QMailStore::instance()->countMessages(QMailMessageKey::id(id)), 0);
    QCOMPARE(world().sent().size(), 2);
}

/** It is ready, and the server has still to be asked what it speaks. */
void TestEditedSending::editedBeforeItLeavesItGoesAsItIsNow()
{
    startAndHoldOptions();
    const QMailMessageId id = world().add(world().draft());
    const int first = world().send(id);
    QVERIFY(world().faultsAreTaken());
    editSubject(id);
    const int second = world().send(id);
    world().server.endDelays();
    QCOMPARE(world().codeOf(first), 200);
    QCOMPARE(world().codeOf(second), 200);
    QCOMPARE(subjectsOfSent(), QStringList {QStringLiteral("Edited")});
}

void TestEditedSending::removedBeforeItLeavesItDoesNotGo()
{
    startAndHoldOptions();
    const QMailMessageId id = world().add(world().draft());
    const int request = world().send(id);
    QVERIFY(world().faultsAreTaken());
    QVERIFY(QMailStore::instance()->removeMessage(id, QMailStore::NoRemovalRecord));
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), 404);
    QVERIFY(world().sent().isEmpty());
}

void TestEditedSending::takenBackBeforeTheSettingsChangeItDoesNotGo()
{
    startAndHoldOptions();
    const QMailMessageId id = world().add(world().draft());
    const int request = world().send(id);
    QVERIFY(world().faultsAreTaken());
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                           QMailMessage::Draft, true));
    StoreFixture::Account settings = world().settings();
    settings.domain = QStringLiteral("elsewhere");
    world().changeSettings(world().account, settings);
    QCOMPARE(world().codeOf(request), 404);
    QVERIFY(world().sent().isEmpty());
}

void TestEditedSending::takenBackItDoesNotGoWhenItIsAskedForAtOnce_data()
{
    QTest::addColumn<bool>("trash");
    QTest::newRow("made a draft") << false;
    QTest::newRow("put into the trash") << true;
}

/** Two of the message server's actions send it: the second begins with the end of the first. */
void TestEditedSending::takenBackItDoesNotGoWhenItIsAskedForAtOnce()
{
    QFETCH(bool, trash);
    const quint64 flag = trash ? QMailMessage::Trash : QMailMessage::Draft;
    startAndHoldOptions();
    const QMailMessageId id = world().add(world().draft());
    const int request = world().send(id);
    QVERIFY(world().faultsAreTaken());
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), flag, true));
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), 404);
    // By the time the daemon looks, it is out of the outbox again.
    QCOMPARE(world().sendAndWait(id), 404);
    world().setOutbox(id, true);
    QTRY_VERIFY(!world().isInOutbox(id));
    QVERIFY(world().sent().isEmpty());
    // Now it is its author who has put it there.
    world().setOutbox(id, true);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().sent().size(), 1);
}

void TestEditedSending::takenBackItDoesNotGoWithTheNextDaemon_data()
{
    QTest::addColumn<bool>("trash");
    QTest::addColumn<bool>("kill");
    QTest::newRow("made a draft, the daemon is killed") << false << true;
    QTest::newRow("made a draft, the daemon ends") << false << false;
    QTest::newRow("put into the trash, the daemon is killed") << true << true;
}

/** The message server learns that its request is gone, puts the mail back and asks anew. */
void TestEditedSending::takenBackItDoesNotGoWithTheNextDaemon()
{
    QFETCH(bool, trash);
    QFETCH(bool, kill);
    startAndHoldOptions();
    const QMailMessageId id = world().add(world().draft());
    QVERIFY(world().send(id) > 0);
    QVERIFY(world().faultsAreTaken());
    takeBack(id, trash);
    if (!kill)
        QCOMPARE(world().endDaemon(), 0);
    killAndStart([&] { world().setOutbox(id, true); });
    QCOMPARE(world().sendAndWait(id), 404);
    world().setOutbox(id, true);
    QTRY_VERIFY(!world().isInOutbox(id));
    QVERIFY(world().sent().isEmpty());
    // Now it is its author who has put it there.
    world().setOutbox(id, true);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().sent().size(), 1);
}

/** Some mail programs send a draft, and take the mark away when it has left. */
void TestEditedSending::whatWasADraftWhenItWasAskedForGoesWithTheNextDaemon()
{
    startAndHoldOptions();
    QMailMessage draft = world().draft();
    draft.setStatus(QMailMessage::Draft, true);
    const QMailMessageId id = world().add(draft);
    QVERIFY(world().send(id) > 0);
    QVERIFY(world().faultsAreTaken());
    killAndStart([&] { world().setOutbox(id, true); });
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().sent().size(), 1);
}

/** Its author does not wait for the end, edits it and sends it again. */
void TestEditedSending::editedWhileItLeavesItIsAnotherMessage()
{
    const QMailMessageId id = world().add(world().draft());
    const int first = sendUnanswered(id);
    world().proxy.abortRequest(first, 1030, QDBus::Block);
    editSubject(id);
    const int second = world().send(id);
    world().server.endDelays();
    QCOMPARE(world().codeOf(second), 200);
    QCOMPARE(subjectsOfSent(), QStringList({QStringLiteral("Hello"), QStringLiteral("Edited")}));
    QCOMPARE(QMailStore::instance()->countMessages(QMailMessageKey::id(id)), 1);
}

void TestEditedSending::editedWhileItLeavesAndAwaitedBothGo_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<bool>("isAskedForAgain");
    QTest::newRow("subject") << QStringLiteral("subject") << false;
    QTest::newRow("subject, and sent once more") << QStringLiteral("subject") << true;
    QTest::newRow("hidden recipient") << QStringLiteral("hidden recipient") << false;
    QTest::newRow("text") << QStringLiteral("text") << false;
    QTest::newRow("attachment") << QStringLiteral("attachment's content") << false;
}

/** The end of its request has the message server remove what is there: not before that is sent. */
void TestEditedSending::editedWhileItLeavesAndAwaitedBothGo()
{
    QFETCH(QString, what);
    QFETCH(bool, isAskedForAgain);
    const QMailMessageId id =
        world().add(withAttachment(world().draft(), attachment("plan.bin", "plan A")));
    QList<int> requests {sendUnanswered(id, 2)};
    QMailMessage edited(id);
    edit(&edited, what);
    save(&edited);
    if (isAskedForAgain)
        requests.append(world().send(id));
    world().server.endDelays();
    QTRY_COMPARE_WITH_TIMEOUT(world().sent().size(), 2, 20000);
    QCOMPARE(world().listener.count(QStringLiteral("requestCompleted")), 0);
    world().server.endDelays();
    for (const int request : qAsConst(requests))
        QCOMPARE(world().codeOf(request), 200);
    const QMailMessage last = world().sentMessage(1);
    QCOMPARE(last.subject(), edited.subject());
    QCOMPARE(last.bcc().size(), edited.bcc().size());
    for (const int part : {0, 1})
        QCOMPARE(last.partAt(uint(part)).body().data(QMailMessageBody::Decoded),
                 edited.partAt(uint(part)).body().data(QMailMessageBody::Decoded));
    QCOMPARE(idsOfSent("client_id").size(), 2);
    QCOMPARE(idsOfSent("Message-ID").size(), 2);
    QCOMPARE(world().sent().size(), 2);
}

void TestEditedSending::editedWhileItLeavesItStaysWhereItIsNotToGo_data()
{
    QTest::addColumn<bool>("trash");
    QTest::newRow("it is made a draft") << false;
    QTest::newRow("it is put into the trash") << true;
}

void TestEditedSending::editedWhileItLeavesItStaysWhereItIsNotToGo()
{
    QFETCH(bool, trash);
    const QMailMessageId id = world().add(world().draft());
    const int request = sendUnanswered(id);
    editSubject(id);
    takeBack(id, trash);
    world().server.endDelays();
    // With any other code the message server keeps it, and puts it into the outbox again.
    QCOMPARE(world().codeOf(request), 404);
    world().setOutbox(id, true);
    QTRY_VERIFY(!world().isInOutbox(id));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(subjectsOfSent(), QStringList {QStringLiteral("Hello")});
    QCOMPARE(QMailMessage(id).subject(), QStringLiteral("Edited"));
}

void TestEditedSending::beforeASecondUploadItIsLookedAtAgain_data()
{
    QTest::addColumn<bool>("isRedirected");
    QTest::addColumn<QString>("subject");
    QTest::addColumn<bool>("trash");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("attached");
    for (const int attached : {0, 300000}) {
        for (const bool isRedirected : {false, true}) {
            const QByteArray why =
                (isRedirected ? QByteArray("redirected") : QByteArray("refused for a new policy"))
                + (attached > 0 ? ", with an attachment" : "");
            const auto row = [&](const char *what, const char *subject, bool trash, int code) {
                QTest::newRow((why + ", " + what).constData())
                    << isRedirected << QString::fromLatin1(subject) << trash << code << attached;
            };
            row("it stays as it is", "Hello", false, 200);
            row("it is edited", "Edited", false, 200);
            row("it is made a draft", "Hello", false, 404);
            row("it is put into the trash", "Edited", true, 404);
        }
    }
}

void TestEditedSending::beforeASecondUploadItIsLookedAtAgain()
{
    QFETCH(bool, isRedirected);
    QFETCH(QString, subject);
    QFETCH(bool, trash);
    QFETCH(int, code);
    QFETCH(int, attached);
    startPatient();
    if (isRedirected)
        redirect();
    else
        renewPolicy();
    const QByteArray content(attached, 'x');
    QMailMessage message = world().draft();
    if (attached > 0)
        message = withAttachment(message, attachment("plan.bin", content));
    const QMailMessageId id = world().add(message);
    const int request = world().send(id);
    QVERIFY(world().faultsAreTaken());
    if (subject != QLatin1String("Hello"))
        editSubject(id, subject);
    if (code == 404)
        takeBack(id, trash);
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), code);
    QCOMPARE(subjectsOfSent(), code == 200 ? QStringList {subject} : QStringList());
    QCOMPARE(QMailMessage(id).subject(), subject);
    if (code == 200 && attached > 0)
        QCOMPARE(world().sentMessage().partAt(1).body().data(QMailMessageBody::Decoded), content);
}

void TestEditedSending::beforeASecondUploadThatNobodyAwaitsItStays_data()
{
    QTest::addColumn<QString>("why");
    QTest::addColumn<bool>("draft");
    for (const char *why : {"redirected", "refused for a new policy", "the server is busy"}) {
        QTest::newRow((QByteArray(why) + ", it is edited").constData())
            << QString::fromLatin1(why) << false;
        QTest::newRow((QByteArray(why) + ", the edit is a draft").constData())
            << QString::fromLatin1(why) << true;
    }
}

/** What its author writes now may be half of it. */
void TestEditedSending::beforeASecondUploadThatNobodyAwaitsItStays()
{
    QFETCH(QString, why);
    QFETCH(bool, draft);
    startPatient();
    if (why == QLatin1String("redirected")) {
        redirect();
    } else if (why == QLatin1String("the server is busy")) {
        world().server.fault("delay", "SendMail", {{"seconds", 20}});
        world().server.fault("http", "SendMail", {{"status", 503}, {"retry_after", 1}});
    } else {
        renewPolicy();
    }
    const QMailMessageId id = world().add(world().draft());
    const int request = world().send(id);
    QVERIFY(world().faultsAreTaken());
    world().proxy.abortRequest(request, 1030, QDBus::Block);
    editSubject(id);
    if (draft)
        takeBack(id, false);
    world().server.endDelays();
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(draft ? QLatin1String("taken back")
                                                          : QLatin1String("has been edited")));
    QCOMPARE(world().codeOf(request), 1030);
    if (!draft)
        QTRY_VERIFY(world().isInOutbox(id));
    QVERIFY(world().sent().isEmpty());
    QCOMPARE(world().isInOutbox(id), !draft);
    QCOMPARE(QMailMessage(id).subject(), QStringLiteral("Edited"));
}

/** It does not leave at all: the server has refused one of that size before. */
void TestEditedSending::editedToBeTooLargeItsSendingEnds()
{
    startPatient();
    const auto sized = [this](int size) {
        return withAttachment(world().draft(), attachment("plan.bin", QByteArray(size, 'x')));
    };
    world().server.fault("http", "SendMail", {{"status", 413}});
    QCOMPARE(world().codeOf(world().send(world().add(sized(100000)))), 507);
    renewPolicy();
    const QMailMessageId id = world().add(sized(10));
    const int request = world().send(id);
    QVERIFY(world().faultsAreTaken());
    QMailMessage edited(id);
    edited.partAt(1).setBody(attachment("plan.bin", QByteArray(200000, 'x')).body());
    save(&edited);
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), 507);
    QVERIFY(world().sent().isEmpty());
}

void TestEditedSending::editedWhileItIsLookedForItGoesAsItIsNow_data()
{
    QTest::addColumn<bool>("arrives");
    QTest::addColumn<bool>("draft");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("there");
    const QString first = QStringLiteral("Hello");
    const QString second = QStringLiteral("Edited");
    QTest::newRow("it arrived") << true << false << 200 << QStringList {first, second};
    QTest::newRow("it did not arrive") << false << false << 200 << QStringList {second};
    QTest::newRow("it arrived, the edit is a draft") << true << true << 404 << QStringList {first};
    QTest::newRow("it did not arrive, the edit is a draft")
        << false << true << 404 << QStringList();
}

void TestEditedSending::editedWhileItIsLookedForItGoesAsItIsNow()
{
    QFETCH(bool, arrives);
    QFETCH(bool, draft);
    QFETCH(int, code);
    QFETCH(QStringList, there);
    startPatient();
    world().server.fault(SendingWorld::sendFault("reset", {{QStringLiteral("late"), arrives}}));
    world().server.fault(SendingWorld::sendFault(
        "delay",
        {{QStringLiteral("command"), QStringLiteral("Sync")}, {QStringLiteral("seconds"), 20}}));
    const QMailMessageId id = world().add(world().draft());
    world().listener.clear();
    const int request = world().send(id);
    QVERIFY(world().faultsAreTaken());
    editSubject(id);
    if (draft)
        QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                               QMailMessage::Draft, true));
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), code);
    QCOMPARE(subjectsOfSent(), there);
    QCOMPARE(QMailMessage(id).subject(), QStringLiteral("Edited"));
}

void TestEditedSending::aDoubtAboutTheEarlierVersionHoldsUpNothing_data()
{
    QTest::addColumn<QString>("mark");
    QTest::newRow("a person sends it") << QStringLiteral("true");
    QTest::newRow("a person's program takes the mark away") << QString();
    QTest::newRow("the message server counts") << QStringLiteral("1");
}

void TestEditedSending::aDoubtAboutTheEarlierVersionHoldsUpNothing()
{
    QFETCH(QString, mark);
    world().server.fault(SendingWorld::sendFault("reset", {{QStringLiteral("late"), true}}));
    world().server.fault(
        SendingWorld::sendFault("status",
                                {{QStringLiteral("command"), QStringLiteral("ItemOperations")},
                                 {QStringLiteral("status"), 2}}));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    editSubject(id);
    world().setOutbox(id, true);
    SendingWorld::setField(id, "dontSend", mark);
    // Which gives messages a look whose hold was lost.
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(SendingWorld::fieldOf(id, "dontSend"), mark);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(subjectsOfSent(), QStringList({QStringLiteral("Hello"), QStringLiteral("Edited")}));
    QTRY_VERIFY(SendingWorld::fieldOf(id, "dontSend").isEmpty());
    QVERIFY(SendingWorld::reasonOf(id).isEmpty());
}

void TestEditedSending::givenUpAndEditedItStays()
{
    const QMailMessageId id = sendToNowhere(true);
    editSubject(id);
    SendingWorld::setField(id, "dontSend", QStringLiteral("true"));
    for (int i = 0; i < 2; ++i)
        QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(world().isInOutbox(id));
    QCOMPARE(world().sent().size(), 1);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(subjectsOfSent(), QStringList({QStringLiteral("Hello"), QStringLiteral("Edited")}));
}

/** The message has a Message-ID of its own, which its author's program keeps. */
void TestEditedSending::editedAgainAndAgainEachHasItsOwnId()
{
    QMailMessage message = world().draft();
    message.setHeaderField(QStringLiteral("Message-ID"), QStringLiteral("<program@example.test>"));
    const QMailMessageId id = sendToNowhere(message, true);
    world().server.fault(SendingWorld::sendFault(
        "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 3}}));
    editSubject(id, QStringLiteral("Second"));
    QCOMPARE(world().sendAndWait(id), 901);
    editSubject(id, QStringLiteral("Third"));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(
        subjectsOfSent(),
        QStringList({QStringLiteral("Hello"), QStringLiteral("Second"), QStringLiteral("Third")}));
    QCOMPARE(idsOfSent("client_id").size(), 3);
    QCOMPARE(idsOfSent("Message-ID").size(), 3);
    QVERIFY(idsOfSent("Message-ID").contains(QStringLiteral("<program@example.test>")));
}

/** The server writes Message-IDs of its own, and all that it shows of both versions is the same. */
void TestEditedSending::theEarlierVersionUnderAnotherIdIsADoubt()
{
    const QMailMessage message = world().draft();
    const QMailMessageId id = sendToNowhere(message, false);
    world().server.deliver(Alice, SentFolder,
                           "From: alice@example.test\r\nTo: bob@example.test\r\nSubject: Hello\r\n"
                           "Message-ID: <servers@other.test>\r\nDate: "
                               + message.date().toUTC().toString(Qt::RFC2822Date).toLatin1()
                               + "\r\n\r\nHello.\r\n");
    QMailMessage edited(id);
    edited.setBcc({QMailAddress(QStringLiteral("carol@elsewhere.test"))});
    save(&edited);
    world().server.fault(SendingWorld::sendFault("reset"));
    QCOMPARE(world().sendAndWait(id), 902);
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not known whether")));
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().sentMessage().bcc().size(), 1);
}

/** Which has not noted what it was. */
void TestEditedSending::whatLeftWithAnOlderDaemonIsTakenAsItWas()
{
    const QMailMessageId id = sendToNowhere(true);
    QCOMPARE(world().endDaemon(), 0);
    const QString connection = QStringLiteral("older");
    {
        auto base = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        base.setDatabaseName(QMail::dataPath() + QStringLiteral("asdaemon.db"));
        QVERIFY(base.open());
        for (const char *column : {"print", "earlier_ids"})
            QVERIFY(QSqlQuery(base).exec(
                QStringLiteral("ALTER TABLE outgoing DROP COLUMN %1").arg(QLatin1String(column))));
    }
    QSqlDatabase::removeDatabase(connection);
    editSubject(id);
    QVERIFY(world().daemon.start());
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(subjectsOfSent(), QStringList {QStringLiteral("Hello")});
}

QTEST_GUILESS_MAIN(TestEditedSending)
#include "tst_editedsending.moc"
