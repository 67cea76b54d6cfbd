// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/foundmark.h"

namespace Store {

namespace {
const QString field = QStringLiteral("orvmail-found");
}

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

} // namespace Store
