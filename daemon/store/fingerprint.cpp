// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/fingerprint.h"

#include <QCryptographicHash>
#include <QDateTime>

namespace Store {

QByteArray fingerprint(const QMailMessageMetaData &message)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(QByteArray::number(message.receivedDate().toUTC().toSecsSinceEpoch()));
    hash.addData(message.subject().toUtf8() + '\n' + message.from().address().toUtf8());
    return hash.result().left(12);
}

} // namespace Store
