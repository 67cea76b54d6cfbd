// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/foundmark.h"

namespace Store {

namespace {
const QString field = QStringLiteral("orvmail-found");
const QChar standIn(0x1f); // XML text, which ids are, cannot contain it
} // namespace

bool FoundMark::isSet(const QMailMessageMetaData &message)
{
    return !message.customField(field).isNull();
}

void FoundMark::set(QMailMessageMetaData *message)
{
    message->setCustomField(field, QStringLiteral("1"));
}

void FoundMark::clear(QMailMessageMetaData *message)
{
    message->removeCustomField(field);
}

QMailMessageKey FoundMark::key()
{
    return QMailMessageKey::customField(field);
}

QString FoundMark::itemIdFor(const QString &longId)
{
    return standIn + longId;
}

QString FoundMark::longIdInsteadOf(const QString &itemId)
{
    return itemId.startsWith(standIn) ? itemId.mid(1) : QString();
}

} // namespace Store
