// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/renamedmark.h"

namespace Store {

namespace {
const QString field = QStringLiteral("orvmail-renamed");
}

bool RenamedMark::isSet(const QMailMessageMetaData &message)
{
    return !message.customField(field).isNull();
}

void RenamedMark::set(QMailMessageMetaData *message)
{
    message->setCustomField(field, QStringLiteral("1"));
}

void RenamedMark::clear(QMailMessageMetaData *message)
{
    message->removeCustomField(field);
}

} // namespace Store
