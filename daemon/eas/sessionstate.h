// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_SESSIONSTATE_H
#define EAS_SESSIONSTATE_H

#include <QString>
#include <QStringList>
#include <QUrl>

namespace Eas {

/** What has been learned about a server and is worth keeping between runs; a plain value. */
struct SessionState
{
    /** Where a redirect led to; empty: where the account's settings say. */
    QUrl url;
    /** "14.1", "14.0" or "12.1"; empty: not asked yet. */
    QString protocolVersion;
    /** "0" until the server has handed one out. */
    QString policyKey = QStringLiteral("0");
    /** The largest message that the server takes, bytes; 0: not told. */
    qint64 maxMessageSize = 0;

    bool operator==(const SessionState &other) const
    {
        return url == other.url && protocolVersion == other.protocolVersion
            && policyKey == other.policyKey && maxMessageSize == other.maxMessageSize;
    }
    bool operator!=(const SessionState &other) const { return !(*this == other); }
};

} // namespace Eas

#endif
