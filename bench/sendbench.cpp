// SPDX-License-Identifier: LGPL-2.1-or-later
// usage: sendbench ACCOUNT COUNT BYTES
//
// Puts COUNT messages with an attachment, of about BYTES bytes each, into the account's outbox and
// has the message server transmit them. Prints one line of JSON: milliseconds from the request
// until the client was told of the first and of the last.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTextStream>
#include <QTimer>

#include <qmailmessage.h>
#include <qmailmessageserver.h>
#include <qmailserviceaction.h>
#include <qmailstore.h>

namespace {

constexpr int TimeoutMs = 600 * 1000;
/** Bytes of a line of base64, and what it encodes. */
constexpr int LineLength = 78;
constexpr int LineBytes = 57;

QByteArray noise(int size)
{
    QByteArray content(size, Qt::Uninitialized);
    quint32 state = 1;
    for (char &byte : content) {
        state = state * 1664525 + 1013904223;
        byte = char(state >> 24);
    }
    return content;
}

bool queue(const QMailAccountId &account, int number, int bytes)
{
    QMailMessage message;
    message.setMessageType(QMailMessage::Email);
    message.setParentAccountId(account);
    message.setParentFolderId(QMailFolderId(QMailFolder::LocalStorageFolderId));
    message.setFrom(QMailAddress(QStringLiteral("alice@example.test")));
    message.setTo(QMailAddress(QStringLiteral("bob@example.test")));
    message.setSubject(QStringLiteral("Bench %1").arg(number));
    message.setDate(QMailTimeStamp::currentDateTime());
    message.setContentScheme(QStringLiteral("qmfstoragemanager"));
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(QMailMessagePart::fromData(
        QStringLiteral("See what is attached.\n"),
        QMailMessageContentDisposition(QMailMessageContentDisposition::Inline),
        QMailMessageContentType("text/plain; charset=utf-8"), QMailMessageBody::QuotedPrintable));
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setFilename("noise.bin");
    message.appendPart(
        QMailMessagePart::fromData(noise(bytes / LineLength * LineBytes), disposition,
                                   QMailMessageContentType("application/octet-stream"),
                                   QMailMessageBody::Base64, QMailMessageBody::RequiresEncoding));
    message.setStatus(QMailMessage::Outbox | QMailMessage::Outgoing | QMailMessage::LocalOnly
                          | QMailMessage::ContentAvailable | QMailMessage::Read,
                      true);
    return QMailStore::instance()->addMessage(&message);
}

/** Milliseconds until the client was told of each message, in that order. */
QVector<double> transmit(const QMailAccountId &account, int count)
{
    QMailTransmitAction action;
    QVector<double> told;
    QEventLoop loop;
    QElapsedTimer timer;
    QObject::connect(&action, &QMailTransmitAction::messagesTransmitted, &loop,
                     [&](const QMailMessageIdList &ids) {
                         for (int i = 0; i < ids.size(); ++i)
                             told.append(double(timer.nsecsElapsed()) / 1e6);
                     });
    QObject::connect(
        &action, &QMailTransmitAction::activityChanged, &loop,
        [&](QMailServiceAction::Activity activity) {
            if (activity == QMailServiceAction::Failed
                || (activity == QMailServiceAction::Successful && told.size() == count))
                loop.quit();
        });
    QTimer::singleShot(TimeoutMs, &loop, &QEventLoop::quit);
    timer.start();
    action.transmitMessages(account);
    loop.exec();
    return told;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() != 4)
        return 2;
    QMailMessageServer::registerTypes();
    const QMailAccountId account =
        QMailStore::instance()->queryAccounts(QMailAccountKey::name(arguments.at(1))).value(0);
    const int count = arguments.at(2).toInt();
    for (int i = 0; i < count; ++i) {
        if (!queue(account, i, arguments.at(3).toInt()))
            return 1;
    }
    const QVector<double> told = transmit(account, count);
    if (told.size() != count)
        return 1;
    QTextStream(stdout) << QStringLiteral("{\"first_ms\": %1, \"last_ms\": %2}\n")
                               .arg(told.first(), 0, 'f', 3)
                               .arg(told.last(), 0, 'f', 3);
    return 0;
}
