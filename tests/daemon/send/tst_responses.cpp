// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/sendingworld.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QJsonArray>
#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QTest>

#include <memory>

Q_DECLARE_METATYPE(const quint64 *)

namespace {

const QString Alice = QStringLiteral("alice");
const QString Bob = QStringLiteral("bob");

const QByteArray OriginalText("The original says something that nobody else says.");

QByteArray attachedContent()
{
    QByteArray content;
    for (int i = 0; i < 30000; ++i)
        content.append(char(i * 7 + i / 256));
    return content;
}

QByteArray confidential(int size)
{
    return QByteArray("confidential ").repeated(size / 13 + 1).left(size);
}

QByteArray original()
{
    return "From: Carol <carol@elsewhere.test>\r\nTo: alice@example.test\r\nSubject: Original\r\n"
           "Message-ID: <original@elsewhere.test>\r\nReferences: <first@elsewhere.test>\r\n"
           "MIME-Version: 1.0\r\n"
           "Content-Type: multipart/mixed; boundary=\"edge\"\r\n\r\n--edge\r\n"
           "Content-Type: text/plain; charset=utf-8\r\n\r\n"
        + OriginalText
        + "\r\n--edge\r\nContent-Type: application/octet-stream; name=\"plan.bin\"\r\n"
          "Content-Disposition: attachment; filename=\"plan.bin\"\r\n"
          "Content-Transfer-Encoding: base64\r\n\r\n"
        + attachedContent().toBase64() + "\r\n--edge--\r\n";
}

/** Every text and every attachment of a message, one behind the other. */
QByteArray contentOf(const QMailMessagePartContainer &container)
{
    if (container.multipartType() == QMailMessage::MultipartNone)
        return container.body().data(QMailMessageBody::Decoded);
    QByteArray all;
    for (uint i = 0; i < container.partCount(); ++i)
        all += contentOf(container.partAt(i)) + '\n';
    return all;
}

} // namespace

/** Replies and forwards, and what of the original message travels with them. */
class TestResponses : public DaemonFixture<SendingWorld>
{
    Q_OBJECT

private slots:
    void init();

    void whatThePersonSeesIsWhatGoes_data();
    void whatThePersonSeesIsWhatGoes();
    void whatAForwardOnlyNamesIsLeftToTheServer();
    void anotherMessageThatAForwardNamesGoesWithIt_data() { whatWasNeverFetchedIsFetched_data(); }
    void anotherMessageThatAForwardNamesGoesWithIt();
    void anEmbeddedOriginalIsNoOtherOfItsSender();
    void anAttachmentThatOnlyHasTheNameIsNotSent_data();
    void anAttachmentThatOnlyHasTheNameIsNotSent();
    void anAttachmentThatOnlyHasTheReferenceIsNotSent_data();
    void anAttachmentThatOnlyHasTheReferenceIsNotSent();
    void anAttachmentOfAnotherAccountIsNotTakenForOneOfThis();
    void anAttachmentWithoutANameIsFoundByItsReference();
    void anUnlikelyOriginalIsNotBelieved_data();
    void anUnlikelyOriginalIsNotBelieved();
    void subjectsInOtherLanguagesAreTheSame_data();
    void subjectsInOtherLanguagesAreTheSame();
    void withoutTheSettingItGoesPlain();
    void whereTheOriginalIsGoneItGoesPlain_data() { addVersions(); }
    void whereTheOriginalIsGoneItGoesPlain();
    void whereTheServerForbidsItGoesPlain_data();
    void whereTheServerForbidsItGoesPlain();
    void editedAndNotAwaitedItDoesNotGoPlain();
    void whereTheServerDoesNotTakeANamedOriginalItGoesWhole_data() { addVersions(); }
    void whereTheServerDoesNotTakeANamedOriginalItGoesWhole();
    void whereTheOriginalIsNotHereAnyMoreItGoesPlain();
    void toAMessageOfAnotherAccountItGoesPlain();
    void aCutAfterTheServerHasItIsFoundOut_data() { addVersions(); }
    void aCutAfterTheServerHasItIsFoundOut();
    void aRefusalIsNoReasonToSendItPlain();

    void aReplyNamesItsOriginal_data() { addVersions(); }
    void aReplyNamesItsOriginal();
    void whatAReplyNamesItselfStays();
    void aReplyGoesWithoutANameThatTheServerDoesNotTell();

    void anEmbeddedMessageThatQmfDoesNotGetOverGoesAsItIs();
    void whatWasNeverFetchedIsFetched_data();
    void whatWasNeverFetchedIsFetched();
    void anOriginalInAnyCharsetIsPassedOnUnchanged();
    void whatCannotBeFetchedIsNotSent_data() { whatWasNeverFetchedIsFetched_data(); }
    void whatCannotBeFetchedIsNotSent();

    void whatIsTakenBackMeanwhileIsNotSent_data();
    void whatIsTakenBackMeanwhileIsNotSent();
    void whatIsEditedMeanwhileGoesAsItIsNow();
    void cancelledWhileItsEditIsPreparedThatDoesNotGo();
    void whatIsFetchedMeanwhileIsNoEdit_data() { whatWasNeverFetchedIsFetched_data(); }
    void whatIsFetchedMeanwhileIsNoEdit();

    void aForwardWithAnotherIdIsKnownByAllElse();
    void aForwardInDoubtWaitsForAPerson_data();
    void aForwardInDoubtWaitsForAPerson();

private:
    bool begin() override
    {
        world().daemon.hurry();
        return world().begin();
    }
    static void addVersions();
    void allowSmartReplies(bool on);
    QMailMessage response(QMailMessage::ResponseType type, const QString &text) const;
    QMailMessage withPart(QMailMessage message, const QMailMessagePart &part) const;
    QMailMessagePart named() const;
    /** A forward that passes on the original, or its attachment, in one of several ways. */
    QMailMessage passingOn(const QString &way) const;
    /** Another message of the original's subject, with an attachment of the same name. */
    QMailMessageId deliverOther(const QByteArray &attachment,
                                const QByteArray &from = "dan@elsewhere.test",
                                const QJsonObject &more = QJsonObject());
    QMailAccountId addOtherAccount() const;
    void moveToAnotherAccount(const QMailMessageId &id);
    /** One that is asked for, and for which the server is being asked for an attachment. */
    QMailMessageId sendingThatWaits(int *request);
    /** The commands by which messages were asked to be sent. */
    QStringList commands();
    QString lastRequest(const char *command);
    qint64 sentSize();
    QByteArray arrived();
    int verb();

    QMailMessageId m_original;
};

void TestResponses::init()
{
    DaemonFixture::init();
    const QByteArray version = QByteArray(QTest::currentDataTag()).left(4);
    if (version.startsWith("1"))
        world().setOption("versions", QJsonArray {QString::fromLatin1(version)});
    allowSmartReplies(true);
    world().server.deliver(Alice, QStringLiteral("Inbox"), original());
    QCOMPARE(world().syncAndWait(), 200);
    m_original = QMailStore::instance()
                     ->queryMessages(QMailMessageKey::subject(QStringLiteral("Original")))
                     .value(0);
    QVERIFY(m_original.isValid());
    world().server.clearLog();
}

void TestResponses::addVersions()
{
    QTest::addColumn<bool>("isOld");
    QTest::newRow("12.1") << true;
    QTest::newRow("14.0") << false;
    QTest::newRow("14.1") << false;
}

void TestResponses::allowSmartReplies(bool on)
{
    QMailAccount account(world().account);
    account.setStatus(QMailAccount::UseSmartReply, on);
    QVERIFY(QMailStore::instance()->updateAccount(&account));
}

QMailMessage TestResponses::response(QMailMessage::ResponseType type, const QString &text) const
{
    const bool isForward = type == QMailMessage::Forward;
    QMailMessage message =
        world().draft(isForward ? QStringLiteral("Fwd: Original") : QStringLiteral("Re: Original"));
    if (!isForward)
        message.setCc({QMailAddress(QStringLiteral("Carol <carol@elsewhere.test>"))});
    message.setBody(SendingWorld::plainText(text));
    message.setInResponseTo(m_original);
    message.setResponseType(type);
    return message;
}

QMailMessage TestResponses::withPart(QMailMessage message, const QMailMessagePart &part) const
{
    QMailMessagePart text;
    text.setBody(message.body());
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(text);
    message.appendPart(part);
    return message;
}

QMailMessagePart TestResponses::named() const
{
    return QMailMessagePart::fromMessageReference(
        m_original, QMailMessageContentDisposition(QMailMessageContentDisposition::Attachment),
        QMailMessageContentType("message/rfc822"), QMailMessageBody::NoEncoding);
}

QMailMessageId TestResponses::deliverOther(const QByteArray &attachment, const QByteArray &from,
                                           const QJsonObject &more)
{
    QByteArray mail = original();
    mail.replace("Carol <carol@elsewhere.test>", from);
    mail.replace("<original@elsewhere.test>", "<other@elsewhere.test>");
    mail.replace(OriginalText, "This is confidential, said the other firm.");
    mail.replace(attachedContent().toBase64(), attachment.toBase64());
    world().server.deliver(Alice, QStringLiteral("Inbox"), mail, more);
    if (world().syncAndWait() != 200)
        return {};
    world().server.clearLog();
    const auto isOther =
        QMailMessageKey::subject(QStringLiteral("Original")) & ~QMailMessageKey::id(m_original);
    return QMailStore::instance()->queryMessages(isOther).value(0);
}

QMailAccountId TestResponses::addOtherAccount() const
{
    StoreFixture::Account settings = world().settings();
    settings.name = QStringLiteral("Other");
    settings.enabled = false;
    return StoreFixture::addAccount(settings);
}

void TestResponses::moveToAnotherAccount(const QMailMessageId &id)
{
    QMailMessageMetaData moved(id);
    moved.setParentAccountId(addOtherAccount());
    QVERIFY(QMailStore::instance()->updateMessage(&moved));
}

QStringList TestResponses::commands()
{
    QStringList names;
    const QJsonArray log = world().server.log();
    for (const QJsonValue &entry : log) {
        const QString name = entry[QStringLiteral("command")].toString();
        if (name == QLatin1String("SendMail") || name.startsWith(QLatin1String("Smart")))
            names.append(name);
    }
    return names;
}

QString TestResponses::lastRequest(const char *command)
{
    return world().server.requests(command).last()[QStringLiteral("request")].toString();
}

/** How the original is marked at the server: 1 answered, 3 forwarded. */
int TestResponses::verb()
{
    return world()
        .server.messages(Alice, QStringLiteral("Inbox"))
        .first()[QStringLiteral("verb")]
        .toInt();
}

qint64 TestResponses::sentSize()
{
    return world().sent().last()[QStringLiteral("size")].toInt();
}

QByteArray TestResponses::arrived()
{
    return contentOf(QMailMessage::fromRfc2822(world().received()));
}

void TestResponses::whatThePersonSeesIsWhatGoes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("text");
    const QString quoting =
        QStringLiteral("Yes.\n\nCarol wrote:\n> The original says something\n> that nobody else "
                       "says.\n");
    for (const char *version : {"12.1", "14.0", "14.1"}) {
        QTest::addRow("%s reply, its quote deleted", version)
            << int(QMailMessage::Reply) << QStringLiteral("Yes.\n");
        QTest::addRow("%s reply to all, with a quote", version)
            << int(QMailMessage::ReplyToAll) << quoting;
        QTest::addRow("%s forward, its quote deleted", version)
            << int(QMailMessage::Forward) << QStringLiteral("See there.\n");
        QTest::addRow("%s forward with a quote", version) << int(QMailMessage::Forward) << quoting;
    }
}

void TestResponses::whatThePersonSeesIsWhatGoes()
{
    QFETCH(int, type);
    QFETCH(QString, text);
    const bool isOld = QByteArray(QTest::currentDataTag()).startsWith("12");
    const bool isForward = type == QMailMessage::Forward;
    const QMailMessageId id = world().add(response(QMailMessage::ResponseType(type), text));
    QCOMPARE(world().sendAndWait(id), 200);
    const QString smart = isForward ? QStringLiteral("SmartForward") : QStringLiteral("SmartReply");
    QCOMPARE(commands(), QStringList {isOld ? QStringLiteral("SendMail") : smart});
    QCOMPARE(arrived().replace("\r\n", "\n"), text.toUtf8());
    QCOMPARE(verb(), isOld ? 0 : isForward ? 3 : 1);
    if (!isOld)
        QVERIFY(lastRequest(smart.toLatin1().constData()).contains(QLatin1String("ReplaceMime")));
}

void TestResponses::whatAForwardOnlyNamesIsLeftToTheServer()
{
    const QMailMessageId id =
        world().add(withPart(response(QMailMessage::Forward, QStringLiteral("Look.\n")), named()));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SmartForward")});
    QVERIFY(sentSize() < 1000);
    QCOMPARE(arrived().count(OriginalText), 1);
    QCOMPARE(arrived().count(attachedContent()), 1);
}

/** A mail program has taken another mail of the same subject for the original. */
void TestResponses::anotherMessageThatAForwardNamesGoesWithIt()
{
    QFETCH(QString, way);
    QMailMessage message = passingOn(way);
    message.setInResponseTo(deliverOther(confidential(attachedContent().size())));
    QVERIFY(message.inResponseTo().isValid());
    QCOMPARE(world().sendAndWait(world().add(message)), 200);
    const QByteArray mail = world().received();
    QVERIFY(!mail.contains("confidential"));
    QVERIFY(!arrived().contains("confidential"));
    const QByteArray encoded = attachedContent().toBase64();
    QCOMPARE(QByteArray(mail).replace("\r\n", "").count(encoded), 1);
    QCOMPARE(world().copies(Bob, QStringLiteral("Fwd: Original")), 1);
}

void TestResponses::anEmbeddedOriginalIsNoOtherOfItsSender()
{
    const qint64 anHourAgo = QDateTime::currentSecsSinceEpoch() - 3600;
    QMailMessage message = passingOn(QStringLiteral("embedded"));
    message.setInResponseTo(deliverOther(confidential(attachedContent().size()),
                                         "Carol <carol@elsewhere.test>",
                                         {{QStringLiteral("received"), anHourAgo}}));
    QVERIFY(message.inResponseTo().isValid());
    QVERIFY(QMailStore::instance()->removeMessage(m_original, QMailStore::NoRemovalRecord));
    const QMailMessageId id = world().add(message);
    QCOMPARE(world().sendAndWait(id), 404);
    QCOMPARE(commands(), QStringList());
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not here")));
}

void TestResponses::anAttachmentThatOnlyHasTheNameIsNotSent_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("isOfAnotherAccount");
    QTest::newRow("of another size") << 300 << false;
    QTest::newRow("of another account") << attachedContent().size() << true;
}

/** It was copied in a way that does not tell where the server has it. */
void TestResponses::anAttachmentThatOnlyHasTheNameIsNotSent()
{
    QFETCH(int, size);
    QFETCH(bool, isOfAnotherAccount);
    const QMailMessageId other = deliverOther(confidential(size));
    QVERIFY(other.isValid());
    QMailMessagePart part = QMailMessage(m_original).partAt(1);
    part.removeHeaderField(QStringLiteral("X-qmf-internal-file-reference"));
    QMailMessage message =
        withPart(response(QMailMessage::Forward, QStringLiteral("Look.\n")), part);
    message.setInResponseTo(other);
    if (isOfAnotherAccount) {
        const int request = world().proxy.downloadAttachment(
            world().account.toULongLong(), other.toULongLong(), QStringLiteral("2"), QDBus::Block);
        QCOMPARE(world().codeOf(request), 200);
        moveToAnotherAccount(other);
    }
    const QMailMessageId id = world().add(message);
    QCOMPARE(world().sendAndWait(id), 404);
    QCOMPARE(commands(), QStringList());
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not here")));
}

void TestResponses::anAttachmentThatOnlyHasTheReferenceIsNotSent_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("size"); ///< of what the account has under that reference
    QTest::newRow("of another size") << QByteArray("plan.bin") << 300;
    QTest::newRow("of another name") << QByteArray("draft.bin") << attachedContent().size();
}

/** It was copied from another account, whose server calls it as ours does something else. */
void TestResponses::anAttachmentThatOnlyHasTheReferenceIsNotSent()
{
    QFETCH(QByteArray, name);
    QFETCH(int, size);
    const QMailMessageId other = deliverOther(confidential(size));
    QVERIFY(other.isValid());
    const QString field = QStringLiteral("X-qmf-internal-file-reference");
    QMailMessagePart part = QMailMessage(m_original).partAt(1);
    part.setHeaderField(field, QMailMessage(other).partAt(1).headerFieldText(field));
    QMailMessageContentDisposition disposition = part.contentDisposition();
    disposition.setFilename(name);
    part.setContentDisposition(disposition);
    QMailMessageContentType type = part.contentType();
    type.setName(name);
    part.setHeaderField(type);
    const QMailMessage message =
        withPart(response(QMailMessage::Forward, QStringLiteral("Look.\n")), part);
    QVERIFY(QMailStore::instance()->removeMessage(m_original, QMailStore::NoRemovalRecord));
    const QMailMessageId id = world().add(message);
    QCOMPARE(world().sendAndWait(id), 404);
    QCOMPARE(commands(), QStringList());
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not here")));
}

void TestResponses::anAttachmentOfAnotherAccountIsNotTakenForOneOfThis()
{
    allowSmartReplies(false);
    QMailMessage copy(m_original);
    copy.setId(QMailMessageId());
    copy.setContentIdentifier(QString());
    copy.setParentAccountId(addOtherAccount());
    QVERIFY(QMailStore::instance()->addMessage(&copy));
    QMailMessage message = passingOn(QStringLiteral("copied attachment"));
    message.setInResponseTo(copy.id());
    const QMailMessageId id = world().add(message);
    QCOMPARE(world().sendAndWait(id), 404);
    QCOMPARE(commands(), QStringList());
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not here")));
}

/** Its copy has another place in the forward. */
void TestResponses::anAttachmentWithoutANameIsFoundByItsReference()
{
    allowSmartReplies(false);
    QMailMessage nameless(m_original);
    QMailMessagePart &part = nameless.partAt(1);
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setSize(part.contentDisposition().size());
    part.setHeaderField(disposition);
    part.setHeaderField(QMailMessageContentType("application/octet-stream"));
    QVERIFY(QMailStore::instance()->updateMessage(&nameless));
    QMailMessagePart more;
    more.setBody(SendingWorld::plainText(QStringLiteral("And there.\n")));
    QMailMessage message =
        withPart(response(QMailMessage::Forward, QStringLiteral("Look.\n")), more);
    message.appendPart(part);
    QCOMPARE(world().sendAndWait(world().add(message)), 200);
    QCOMPARE(arrived().count(attachedContent()), 1);
}

void TestResponses::anUnlikelyOriginalIsNotBelieved_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("subject");
    QTest::addColumn<bool>("toSender");
    QTest::newRow("reply of another subject")
        << int(QMailMessage::Reply) << QStringLiteral("Re: Something else") << true;
    QTest::newRow("reply to somebody else")
        << int(QMailMessage::Reply) << QStringLiteral("Re: Original") << false;
    QTest::newRow("forward of another subject")
        << int(QMailMessage::Forward) << QStringLiteral("Fwd: Originals") << false;
    QTest::newRow("forward without a subject") << int(QMailMessage::Forward) << QString() << false;
}

void TestResponses::anUnlikelyOriginalIsNotBelieved()
{
    QFETCH(int, type);
    QFETCH(QString, subject);
    QFETCH(bool, toSender);
    QMailMessage message = response(QMailMessage::ResponseType(type), QStringLiteral("Yes.\n"));
    message.setSubject(subject);
    if (!toSender)
        message.setCc({});
    QCOMPARE(world().sendAndWait(world().add(message)), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SendMail")});
    QCOMPARE(arrived(), QByteArray("Yes.\n"));
    QCOMPARE(verb(), 0);
    QVERIFY(world().sentMessage().headerFieldText(QStringLiteral("In-Reply-To")).isEmpty());
}

void TestResponses::subjectsInOtherLanguagesAreTheSame_data()
{
    QTest::addColumn<QString>("subject");
    for (const char *prefix : {"AW: ", "Re: AW: RE: ", "SV: ", "Antw: ", "re[2]: ", ""})
        QTest::newRow(prefix) << QString::fromLatin1(prefix) + QStringLiteral("original");
}

void TestResponses::subjectsInOtherLanguagesAreTheSame()
{
    QFETCH(QString, subject);
    QMailMessage message = response(QMailMessage::Reply, QStringLiteral("Yes.\n"));
    message.setSubject(subject);
    QCOMPARE(world().sendAndWait(world().add(message)), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SmartReply")});
    QCOMPARE(verb(), 1);
}

void TestResponses::withoutTheSettingItGoesPlain()
{
    allowSmartReplies(false);
    QCOMPARE(
        world().sendAndWait(world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")))),
        200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SendMail")});
    QCOMPARE(arrived(), QByteArray("Yes.\n"));
}

void TestResponses::whereTheOriginalIsGoneItGoesPlain()
{
    QFETCH(bool, isOld);
    const QString item = world()
                             .server.messages(Alice, QStringLiteral("Inbox"))
                             .first()[QStringLiteral("id")]
                             .toString();
    world().server.control("delete",
                           {{QStringLiteral("user"), Alice}, {QStringLiteral("id"), item}});
    const QMailMessageId id = world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")));
    QCOMPARE(world().sendAndWait(id), 200);
    const QStringList all {QStringLiteral("SmartReply"), QStringLiteral("SendMail")};
    QCOMPARE(commands(), isOld ? QStringList {all.last()} : all);
    QCOMPARE(world().copies(Bob, QStringLiteral("Re: Original")), 1);
    QCOMPARE(arrived(), QByteArray("Yes.\n"));
}

void TestResponses::whereTheServerForbidsItGoesPlain_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<int>("status");
    for (const char *version : {"14.0", "14.1"}) {
        for (const int status : {103, 117, 121, 150})
            QTest::addRow("%s status %d", version, status) << QByteArray("status") << status;
        QTest::addRow("%s HTTP 400", version) << QByteArray("http") << 400;
    }
}

void TestResponses::whereTheServerForbidsItGoesPlain()
{
    QFETCH(QByteArray, kind);
    QFETCH(int, status);
    world().server.fault(
        SendingWorld::sendFault(kind.constData(),
                                {{QStringLiteral("command"), QStringLiteral("SmartForward")},
                                 {QStringLiteral("status"), status}}));
    const QMailMessageId id =
        world().add(response(QMailMessage::Forward, QStringLiteral("Look.\n")));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(),
             (QStringList {QStringLiteral("SmartForward"), QStringLiteral("SendMail")}));
    QCOMPARE(world().copies(Bob, QStringLiteral("Fwd: Original")), 1);
    QCOMPARE(arrived(), QByteArray("Look.\n"));
}

void TestResponses::editedAndNotAwaitedItDoesNotGoPlain()
{
    world().server.fault("delay", "SmartForward", {{"seconds", 20}});
    world().server.fault("status", "SmartForward", {{"status", 121}});
    const QMailMessageId id =
        world().add(response(QMailMessage::Forward, QStringLiteral("Look.\n")));
    const int request = world().send(id);
    QVERIFY(world().faultsAreTaken());
    world().proxy.abortRequest(request, 1030, QDBus::Block);
    QMailMessage edited(id);
    edited.setBody(SendingWorld::plainText(QStringLiteral("Look at\n")));
    QVERIFY(QMailStore::instance()->updateMessage(&edited));
    world().server.endDelays();
    QTRY_VERIFY(world().isInOutbox(id));
    QVERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("has been edited")));
    QVERIFY(world().sent().isEmpty());
}

void TestResponses::whereTheServerDoesNotTakeANamedOriginalItGoesWhole()
{
    QFETCH(bool, isOld);
    const QString smart = QStringLiteral("SmartForward");
    world().server.fault(SendingWorld::sendFault(
        isOld ? "http" : "status",
        {{QStringLiteral("command"), smart}, {QStringLiteral("status"), isOld ? 500 : 150}}));
    const QMailMessageId id =
        world().add(withPart(response(QMailMessage::Forward, QStringLiteral("Look.\n")), named()));
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(world().sendAndWait(id), 200);
    // What may be in the server's hands yet is not sent once more before it could be there.
    QVERIFY(!isOld || timer.elapsed() >= 2900);
    QCOMPARE(commands(), (QStringList {smart, QStringLiteral("SendMail")}));
    QCOMPARE(world().received().count(OriginalText), 1);
    QCOMPARE(world().received().replace("\r\n", "").count(attachedContent().toBase64()), 1);
}

void TestResponses::whereTheOriginalIsNotHereAnyMoreItGoesPlain()
{
    const QMailMessageId id = world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")));
    QVERIFY(QMailStore::instance()->removeMessage(m_original, QMailStore::NoRemovalRecord));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SendMail")});
}

void TestResponses::toAMessageOfAnotherAccountItGoesPlain()
{
    moveToAnotherAccount(m_original);
    QCOMPARE(
        world().sendAndWait(world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")))),
        200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SendMail")});
}

void TestResponses::aCutAfterTheServerHasItIsFoundOut()
{
    QFETCH(bool, isOld);
    const QString command = isOld ? QStringLiteral("SendMail") : QStringLiteral("SmartReply");
    world().setOption("client_id_memory", false);
    world().server.fault(SendingWorld::sendFault(
        "reset", {{QStringLiteral("command"), command}, {QStringLiteral("late"), true}}));
    const QMailMessageId id = world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {command});
    QCOMPARE(world().copies(Bob, QStringLiteral("Re: Original")), 1);
}

void TestResponses::aRefusalIsNoReasonToSendItPlain()
{
    world().server.fault(
        SendingWorld::sendFault("status",
                                {{QStringLiteral("command"), QStringLiteral("SmartReply")},
                                 {QStringLiteral("status"), 115}}));
    const QMailMessageId id = world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")));
    QCOMPARE(world().sendAndWait(id), 507);
    QCOMPARE(commands(), QStringList {QStringLiteral("SmartReply")});
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("quota")));
}

void TestResponses::aReplyNamesItsOriginal()
{
    QCOMPARE(
        world().sendAndWait(world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")))),
        200);
    const QMailMessage reply = QMailMessage::fromRfc2822(world().received());
    QCOMPARE(reply.headerFieldText(QStringLiteral("In-Reply-To")),
             QStringLiteral("<original@elsewhere.test>"));
    QCOMPARE(reply.headerFieldText(QStringLiteral("References")),
             QStringLiteral("<first@elsewhere.test> <original@elsewhere.test>"));
}

void TestResponses::whatAReplyNamesItselfStays()
{
    QMailMessage message = response(QMailMessage::Reply, QStringLiteral("Yes.\n"));
    message.setHeaderField(QStringLiteral("In-Reply-To"), QStringLiteral("<own@example.test>"));
    QCOMPARE(world().sendAndWait(world().add(message)), 200);
    const QMailMessage reply = QMailMessage::fromRfc2822(world().received());
    QCOMPARE(reply.headerFieldText(QStringLiteral("In-Reply-To")),
             QStringLiteral("<own@example.test>"));
    QVERIFY(reply.headerFieldText(QStringLiteral("References")).isEmpty());
}

void TestResponses::aReplyGoesWithoutANameThatTheServerDoesNotTell()
{
    world().server.fault(
        SendingWorld::sendFault("status",
                                {{QStringLiteral("command"), QStringLiteral("ItemOperations")},
                                 {QStringLiteral("status"), 2}}));
    QCOMPARE(
        world().sendAndWait(world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")))),
        200);
    QVERIFY(world().sentMessage().headerFieldText(QStringLiteral("In-Reply-To")).isEmpty());
    QCOMPARE(arrived(), QByteArray("Yes.\n"));
}

QMailMessage TestResponses::passingOn(const QString &way) const
{
    const QMailMessage original(m_original);
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    const QMailMessageContentType rfc822("message/rfc822");
    QMailMessagePart part = named();
    if (way == QLatin1String("embedded"))
        part = QMailMessagePart::fromData(original.toRfc2822(), disposition, rfc822,
                                          QMailMessageBody::EightBit);
    else if (way == QLatin1String("named attachment"))
        part = QMailMessagePart::fromPartReference(
            original.partAt(1).location(), original.partAt(1).contentDisposition(),
            original.partAt(1).contentType(), QMailMessageBody::Base64);
    else if (way == QLatin1String("copied attachment"))
        part = original.partAt(1);
    return withPart(response(QMailMessage::Forward, QStringLiteral("Look.\n")), part);
}

void TestResponses::anEmbeddedMessageThatQmfDoesNotGetOverGoesAsItIs()
{
    const QByteArray nested =
        QByteArray("x--\r\nContent-Type: multipart/mixed\r\n\r\n").repeated(20000);
    const QMailMessagePart part = QMailMessagePart::fromData(
        nested, QMailMessageContentDisposition(QMailMessageContentDisposition::Attachment),
        QMailMessageContentType("message/rfc822"), QMailMessageBody::EightBit);
    const QMailMessage message =
        withPart(response(QMailMessage::Forward, QStringLiteral("Look.\n")), part);
    QCOMPARE(world().sendAndWait(world().add(message)), 200);
    QCOMPARE(world().received().count("x--"), 20000);
}

void TestResponses::whatWasNeverFetchedIsFetched_data()
{
    QTest::addColumn<QString>("way");
    for (const char *way : {"named", "embedded", "named attachment", "copied attachment"})
        QTest::newRow(way) << QString::fromLatin1(way);
}

void TestResponses::whatWasNeverFetchedIsFetched()
{
    QFETCH(QString, way);
    allowSmartReplies(false); // which would leave one of these to the server
    QVERIFY(!QMailMessage(m_original).contentAvailable());
    QCOMPARE(world().sendAndWait(world().add(passingOn(way))), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SendMail")});
    const QByteArray mail = world().received();
    QCOMPARE(QByteArray(mail).replace("\r\n", "").count(attachedContent().toBase64()), 1);
    QVERIFY(!mail.contains("X-qmf-internal"));
    QCOMPARE(mail.count("plan.bin") > 0, true);
}

void TestResponses::anOriginalInAnyCharsetIsPassedOnUnchanged()
{
    const QByteArray text("\xc4\xe3\xba\xc3");
    const QList<QPair<QByteArray, QByteArray>> contents {
        {"base64", text.toBase64()}, {"quoted-printable", "=C4=E3=BA=C3"}, {"8bit", text}};
    QByteArray mail("From: Carol <carol@elsewhere.test>\r\nTo: alice@example.test\r\n"
                    "Subject: Chinese\r\nMIME-Version: 1.0\r\n"
                    "Content-Type: multipart/mixed; boundary=\"edge\"\r\n\r\n");
    for (const auto &content : contents)
        mail += "--edge\r\nContent-Type: text/plain; charset=gb18030\r\n"
                "Content-Transfer-Encoding: "
            + content.first + "\r\n\r\n" + content.second + "\r\n";
    world().server.deliver(Alice, QStringLiteral("Inbox"), mail + "--edge--\r\n");
    QCOMPARE(world().syncAndWait(), 200);
    m_original = world().find(QStringLiteral("Chinese"));
    allowSmartReplies(false); // which would leave it to the server
    QCOMPARE(world().sendAndWait(world().add(passingOn(QStringLiteral("named")))), 200);
    const QByteArray arrived = world().received();
    for (const auto &content : contents)
        QCOMPARE(arrived.count(content.second), 1);
}

void TestResponses::whatCannotBeFetchedIsNotSent()
{
    QFETCH(QString, way);
    allowSmartReplies(false);
    const QMailMessage message = passingOn(way);
    world().server.control(
        "delete",
        {{QStringLiteral("user"), Alice},
         {QStringLiteral("folder"), QStringLiteral("Inbox")},
         {QStringLiteral("id"),
          world().server.messages(Alice, QStringLiteral("Inbox")).first()[QStringLiteral("id")]}});
    const QMailMessageId id = world().add(message);
    QCOMPARE(world().sendAndWait(id), 404);
    QCOMPARE(commands(), QStringList());
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("passes on")));
}

QMailMessageId TestResponses::sendingThatWaits(int *request)
{
    allowSmartReplies(false);
    world().server.fault(
        SendingWorld::sendFault("delay",
                                {{QStringLiteral("command"), QStringLiteral("ItemOperations")},
                                 {QStringLiteral("seconds"), 20}}));
    const QMailMessageId id = world().add(passingOn(QStringLiteral("copied attachment")));
    world().listener.clear();
    *request = world().send(id);
    return world().faultsAreTaken() ? id : QMailMessageId();
}

void TestResponses::whatIsTakenBackMeanwhileIsNotSent_data()
{
    // The flags themselves have no values before the store is there.
    QTest::addColumn<const quint64 *>("flag");
    QTest::newRow("removed") << static_cast<const quint64 *>(nullptr);
    QTest::newRow("into the trash") << &QMailMessage::Trash;
    QTest::newRow("a draft again") << &QMailMessage::Draft;
}

void TestResponses::whatIsTakenBackMeanwhileIsNotSent()
{
    QFETCH(const quint64 *, flag);
    int request = 0;
    const QMailMessageId id = sendingThatWaits(&request);
    QVERIFY(id.isValid());
    if (!flag)
        QVERIFY(QMailStore::instance()->removeMessage(id, QMailStore::NoRemovalRecord));
    else
        QVERIFY(
            QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), *flag, true));
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), 404);
    QCOMPARE(commands(), QStringList());
    QVERIFY(!world().isInOutbox(id));
}

void TestResponses::whatIsEditedMeanwhileGoesAsItIsNow()
{
    int request = 0;
    const QMailMessageId id = sendingThatWaits(&request);
    QVERIFY(id.isValid());
    QMailMessage edited(id);
    edited.partAt(0).setBody(SendingWorld::plainText(QStringLiteral("Do not look.\n")));
    QVERIFY(QMailStore::instance()->updateMessage(&edited));
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SendMail")});
    QVERIFY(arrived().contains("Do not look."));
    QCOMPARE(arrived().count(attachedContent()), 1);
}

/** The first version has arrived, and the edited one passes on what has to be fetched first. */
void TestResponses::cancelledWhileItsEditIsPreparedThatDoesNotGo()
{
    allowSmartReplies(false);
    const auto delay = [](const char *command, bool late) {
        return SendingWorld::sendFault("delay",
                                       {{QStringLiteral("command"), QLatin1String(command)},
                                        {QStringLiteral("late"), late},
                                        {QStringLiteral("seconds"), 20}});
    };
    world().server.fault(delay("SendMail", true));
    world().server.fault(delay("ItemOperations", false));
    const QMailMessageId id = world().add(world().draft(QStringLiteral("First")));
    const int request = world().send(id);
    QTRY_COMPARE_WITH_TIMEOUT(world().copies(Bob, QStringLiteral("First")), 1, 20000);
    const QMailMessage forward = passingOn(QStringLiteral("copied attachment"));
    QMailMessage edited(id);
    edited.setSubject(forward.subject());
    edited.setInResponseTo(forward.inResponseTo());
    edited.setResponseType(forward.responseType());
    edited.setMultipartType(QMailMessage::MultipartMixed);
    for (uint i = 0; i < forward.partCount(); ++i)
        edited.appendPart(forward.partAt(i));
    QVERIFY(QMailStore::instance()->updateMessage(&edited));
    world().server.endDelays();
    QVERIFY(world().faultsAreTaken());
    world().proxy.abortRequest(request, 1030, QDBus::Block);
    // The daemon answers this when it has dropped the other one.
    const int another = world().send(world().add(world().draft()));
    world().server.endDelays();
    QCOMPARE(world().codeOf(another), 200);
    QCOMPARE(world().sent().size(), 2);
    QCOMPARE(world().copies(Bob, forward.subject()), 0);
}

/** It is not known whether it was sent, and it is sent again. */
void TestResponses::whatIsFetchedMeanwhileIsNoEdit()
{
    QFETCH(QString, way);
    allowSmartReplies(false);
    QVERIFY(world().startAnew(2));
    world().server.fault(SendingWorld::sendFault(
        "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 3}}));
    const QMailMessageId id = world().add(passingOn(way));
    QCOMPARE(world().sendAndWait(id), 901);
    if (way == QLatin1String("copied attachment")) {
        QMailMessage filled(id);
        filled.partAt(1).setBody(QMailMessage(m_original).partAt(1).body());
        QVERIFY(filled.partAt(1).body().length() > 0);
        QVERIFY(QMailStore::instance()->updateMessage(&filled));
    }
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SendMail")});
    QCOMPARE(world().copies(Bob, QStringLiteral("Fwd: Original")), 1);
}

/** The server writes a message id of its own where it puts the original in. */
void TestResponses::aForwardWithAnotherIdIsKnownByAllElse()
{
    world().setOption("client_id_memory", false);
    world().setOption("own_ids", true);
    world().server.fault(
        SendingWorld::sendFault("reset",
                                {{QStringLiteral("command"), QStringLiteral("SmartForward")},
                                 {QStringLiteral("late"), true}}));
    const QMailMessageId id = world().add(
        withPart(response(QMailMessage::Forward, QStringLiteral("Look at this.\n")), named()));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SmartForward")});
    QCOMPARE(world().copies(Bob, QStringLiteral("Fwd: Original")), 1);
}

void TestResponses::aForwardInDoubtWaitsForAPerson_data()
{
    QTest::addColumn<bool>("isCleared");
    QTest::newRow("who sends it as it is") << false;
    QTest::newRow("whose program takes the mark away") << true;
}

void TestResponses::aForwardInDoubtWaitsForAPerson()
{
    QFETCH(bool, isCleared);
    world().setOption("client_id_memory", false);
    world().setOption("own_ids", true);
    world().server.fault(
        SendingWorld::sendFault("reset",
                                {{QStringLiteral("command"), QStringLiteral("SmartForward")},
                                 {QStringLiteral("late"), true}}));
    // Nothing of it tells it from another forward of the same message.
    const QMailMessageId id =
        world().add(withPart(response(QMailMessage::Forward, QString()), named()));
    QCOMPARE(world().sendAndWait(id), 902);
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not known whether")));
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));

    // The message server counts the failure in a copy that does not know of it.
    world().setOutbox(id, true);
    SendingWorld::setField(id, "dontSend", QStringLiteral("1"));
    QCOMPARE(world().sendAndWait(id), 901);
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    world().setOutbox(id, true);
    SendingWorld::setField(id, "dontSend", QStringLiteral("2"));
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    QCOMPARE(world().copies(Bob, QStringLiteral("Fwd: Original")), 1);

    if (isCleared)
        SendingWorld::setField(id, "dontSend", QString());
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Fwd: Original")), 2);
}

QTEST_GUILESS_MAIN(TestResponses)
#include "tst_responses.moc"
