// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/flagmark.h"

namespace Store {

namespace {
const QString field = QStringLiteral("orvmail-bare-flag");
}

bool FlagMark::isSet(const QMailMessageMetaData &message)
{
    return !message.customField(field).isNull();
}

void FlagMark::set(QMailMessageMetaData *message, bool isBare)
{
    if (isBare)
        message->setCustomField(field, QStringLiteral("1"));
    else if (isSet(*message))
        message->removeCustomField(field);
}

} // namespace Store
