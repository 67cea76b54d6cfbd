// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_BUS_REQUESTJOURNAL_H
#define DAEMON_BUS_REQUESTJOURNAL_H

#include <QMap>
#include <QString>

namespace Daemon {

/**
 * The open requests, in a file of the user's session that outlives the daemon.
 *
 * A daemon that is killed cannot end its requests; the next one does it from here. Without a place
 * for the file nothing is kept.
 */
class RequestJournal
{
public:
    /** By request id, the account of each. */
    using Entries = QMap<int, quint64>;

    explicit RequestJournal(const QString &path = defaultPath());

    /** What the last daemon left; the file is removed thereby. */
    Entries takeOver();
    void add(int id, quint64 accountId);
    void remove(int id);

    static QString defaultPath();

private:
    void write() const;

    const QString m_path;
    Entries m_entries;
};

} // namespace Daemon

#endif
