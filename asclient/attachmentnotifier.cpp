// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/attachmentnotifier.h"

#include "asclient/runtimedirectory.h"

#include <QCryptographicHash>

#include <sys/un.h>

namespace Activesync {

namespace {

/** A name of fixed length for the two texts. */
QString socketName(const QString &messageId, const QString &location)
{
    const QByteArray first = messageId.toUtf8();
    // The length in front keeps ("1", "23") and ("12", "3") apart.
    const QByteArray both = QByteArray::number(first.size()) + ':' + first + location.toUtf8();
    const QByteArray hash = QCryptographicHash::hash(both, QCryptographicHash::Sha256);
    return QStringLiteral("/part-") + QString::fromLatin1(hash.toHex().left(32));
}

} // namespace

QString attachmentDowloadNotifierPath(const QString &messageId, const QString &location)
{
    constexpr int AddressBytes = sizeof(sockaddr_un::sun_path) - 1;
    const QString name = socketName(messageId, location);
    const QString directory = runtimeDirectory(AddressBytes - name.size());
    return directory.isEmpty() ? QString() : directory + name;
}

} // namespace Activesync
