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
    /** An ActiveSync server has answered at the account's address. */
    bool hasWorked = false;
    /** The smallest message that the server has refused for its size, bytes; 0: none. */
    qint64 refusedSize = 0;
    /** When it did so, UTC seconds since 1970. */
    qint64 refusedAt = 0;

    /**
     * The largest message that may be worth sending at this time, bytes; 0: no bound is known.
     *
     * Nothing in the protocol announces one: it shows when a message is refused. Asked again after
     * a day, because administrators change it.
     */
    qint64 maxMessageSize(qint64 now) const
    {
        constexpr qint64 Day = 24 * 60 * 60;
        const bool isFresh = now >= refusedAt && now < refusedAt + Day;
        return refusedSize > 0 && isFresh ? refusedSize - 1 : 0;
    }
    void noteRefusedSize(qint64 size, qint64 now)
    {
        const qint64 known = maxMessageSize(now);
        if (known == 0 || size <= known) {
            refusedSize = size;
            refusedAt = now;
        }
    }

    bool operator==(const SessionState &other) const
    {
        return url == other.url && protocolVersion == other.protocolVersion
            && policyKey == other.policyKey && hasWorked == other.hasWorked
            && refusedSize == other.refusedSize && refusedAt == other.refusedAt;
    }
    bool operator!=(const SessionState &other) const { return !(*this == other); }
};

} // namespace Eas

#endif
