// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/outgoingmail.h"

#include "daemon/store/outgoing/references.h"
#include "daemon/store/outgoing/transferencoding.h"
#include "translations/text.h"

#include <QDateTime>
#include <QIODevice>
#include <qmailtimestamp.h>
#include <QTemporaryDir>

namespace Store {

namespace {

QByteArray headerAddress(const QMailAddress &address)
{
    const QByteArray place = '<' + address.address().toLatin1() + '>';
    const QString name = address.name();
    if (name.isEmpty() || name == address.address())
        return place;
    return QMailMessageHeaderField::encodeWord(name, QByteArrayLiteral("UTF-8")) + ' ' + place;
}

void addAddresses(const QMailAddress &address, QList<QByteArray> *texts)
{
    if (!address.isGroup()) {
        texts->append(headerAddress(address));
        return;
    }
    for (const QMailAddress &member : address.groupMembers())
        addAddresses(member, texts);
}

/** The field that the mail store leaves out of what it writes for a transmission. */
QByteArray bccField(const QMailMessage &message)
{
    QList<QByteArray> texts;
    for (const QMailAddress &address : message.bcc())
        addAddresses(address, &texts);
    return texts.isEmpty() ? QByteArray()
                           : QByteArrayLiteral("Bcc: ") + texts.join(",\r\n ") + "\r\n";
}

bool isSendable(const QMailAddress &address)
{
    if (!address.isGroup())
        return address.address().contains(QLatin1Char('@'));
    for (const QMailAddress &member : address.groupMembers()) {
        if (!isSendable(member))
            return false;
    }
    return true;
}

} // namespace

Eas::Result OutgoingMail::checkRecipients(const QMailMessageMetaData &message)
{
    const QList<QMailAddress> recipients = message.recipients();
    if (recipients.isEmpty())
        return {Eas::NotFound, FailureText::english("the message has no recipient")};
    for (const QMailAddress &recipient : recipients) {
        if (!isSendable(recipient))
            return {Eas::NotFound, FailureText::english("a recipient has no valid address")};
    }
    return {};
}

QByteArray OutgoingMail::rfcId(const QMailMessage &message, const Outgoing &outgoing)
{
    const QByteArray own = message.headerFieldText(QStringLiteral("Message-ID")).trimmed().toUtf8();
    return own.isEmpty() || outgoing.earlierIds.contains(own) ? outgoing.rfcId : own;
}

qint64 OutgoingMail::date(const QMailMessage &message, const Outgoing &outgoing)
{
    const QString own = message.headerFieldText(QStringLiteral("Date")).trimmed();
    return own.isEmpty() ? outgoing.created : QMailTimeStamp(own).toUTC().toSecsSinceEpoch();
}

void OutgoingMail::leaveToServer(QMailMessage *message, const ResponsePlan &plan)
{
    if (plan.serverAdds)
        References::drop(message, plan.originalId);
}

Eas::Result OutgoingMail::completeParts(QMailMessage *message, const ResponsePlan &plan)
{
    leaveToServer(message, plan);
    return References::resolve(message);
}

Eas::Result OutgoingMail::write(QMailMessage message, const Outgoing &outgoing,
                                const StoredParts &stored, QIODevice *target,
                                QList<Insertion> *insertions)
{
    message.setHeaderField(QStringLiteral("Message-ID"),
                           QString::fromUtf8(rfcId(message, outgoing)));
    if (message.headerFieldText(QStringLiteral("Date")).trimmed().isEmpty())
        message.setDate(QMailTimeStamp(QDateTime::fromSecsSinceEpoch(outgoing.created)));
    // Lives until the message is written: bodies are read from it.
    const QTemporaryDir scratch(TransferEncoding::scratchTemplate());
    const Eas::Result safe = TransferEncoding::makeSafe(&message, scratch.path());
    if (!safe.ok())
        return safe;
    target->write(bccField(message));
    if (!MessageSkeleton(message, stored).write(target, insertions))
        return Eas::failure(Eas::NoRoom, Eas::Cause::Here,
                            FailureText::english("the message cannot be prepared: disk full"));
    return {};
}

} // namespace Store
