// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/status/outboxview.h"

#include "accounts/advice.h"
#include "translations/text.h"
#include "translations/translation.h"

#include <QJsonObject>
#include <qmailmessage.h>

namespace Accounts {

using Activesync::WaitingMail;

namespace {

QMailMessageMetaData messageOf(const WaitingMail &mail)
{
    return QMailMessageMetaData(QMailMessageId(mail.message));
}

QString recipientsOf(const QMailMessageMetaData &message)
{
    return QMailAddress::toStringList(message.recipients()).join(QLatin1String(", "));
}

/** Why it has not gone, and what to do about it. */
QString reasonText(const WaitingMail &mail, const AccountSettings &settings)
{
    if (mail.code == 0)
        return Translation::ofFailure(mail.reason);
    // What is not found is somebody to whom it is to go.
    if (mail.code == Eas::NotFound)
        return Text::tr("%1; check its recipients").arg(Translation::ofFailure(mail.reason));
    return adviceFor(Eas::Result {mail.code, mail.reason}, settings).text;
}

} // namespace

QString mailText(const WaitingMail &mail, const AccountSettings &settings)
{
    const QString reason = reasonText(mail, settings);
    switch (mail.state) {
    case WaitingMail::Sending:
        return Text::tr("Mail %1 is being sent").arg(mail.message);
    case WaitingMail::Failed:
        return Text::tr("Mail %1 was not sent: %2; it is tried again")
            .arg(mail.message)
            .arg(reason);
    case WaitingMail::GivenUp:
        return Text::tr("Mail %1 was not sent, and is not tried again by itself: %2")
            .arg(mail.message)
            .arg(reason.isEmpty() ? Text::tr("no reason is known") : reason);
    case WaitingMail::Uncertain:
        return Text::tr("Mail %1 may have been sent; the server is asked before it goes again")
            .arg(mail.message);
    case WaitingMail::Doubtful:
        return Text::tr("Mail %1 may have been sent: look in Sent before you send it again")
            .arg(mail.message);
    default:
        return Text::tr("Mail %1 goes with the next synchronisation").arg(mail.message);
    }
}

QStringList linesOf(const WaitingMail &mail, const AccountSettings &settings)
{
    const QMailMessageMetaData message = messageOf(mail);
    const QString subject =
        message.subject().isEmpty() ? Text::tr("(no subject)") : message.subject();
    const QString recipients = recipientsOf(message);
    return {Text::tr("%1  \"%2\"  to %3")
                .arg(mail.message, 5)
                .arg(subject, recipients.isEmpty() ? Text::tr("nobody") : recipients),
            QStringLiteral("       ") + mailText(mail, settings)};
}

QJsonArray outboxArray(const QList<WaitingMail> &mails, const AccountSettings &settings)
{
    QJsonArray array;
    for (const WaitingMail &mail : mails) {
        const QMailMessageMetaData message = messageOf(mail);
        array.append(QJsonObject {
            {QStringLiteral("message"), double(mail.message)},
            {QStringLiteral("subject"), message.subject()},
            {QStringLiteral("to"),
             QJsonArray::fromStringList(QMailAddress::toStringList(message.recipients()))},
            {QStringLiteral("state"), mail.stateName()},
            {QStringLiteral("code"), mail.code},
            {QStringLiteral("reason"), mail.reason},
            {QStringLiteral("text"), mailText(mail, settings)}});
    }
    return array;
}

} // namespace Accounts
