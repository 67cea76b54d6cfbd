// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_BUS_REQUESTTABLE_H
#define DAEMON_BUS_REQUESTTABLE_H

#include "daemon/bus/request.h"

#include <QHash>
#include <QList>
#include <QQueue>

#include <functional>
#include <optional>

namespace Daemon {

/** Milliseconds of a clock that never goes back. */
using Clock = std::function<qint64()>;

/** The clock of the machine. */
Clock systemClock();

/**
 * The requests that were accepted: the one place that gives out ids and lets each request end once.
 *
 * Ids are 1 to 2147483647 and then 1 again, skipping those that are still alive. A request is alive
 * while it is open and for LingerMs after it was closed.
 */
class RequestTable
{
public:
    static constexpr qint64 LingerMs = 1000;

    explicit RequestTable(Clock clock);

    /** The next id given out is the one after `id`. */
    void setLastId(int id) { m_lastId = id; }

    /** Accepts a request and returns its id. */
    int open(quint64 accountId, RequestKind kind);
    /** Ends a request and returns its account; nothing when it is not open (any more). */
    std::optional<quint64> close(int id);
    bool isAlive(int id);
    bool isOpen(int id) const { return m_open.contains(id); }
    bool isSearch(int id) const;
    /** The account of an open request. */
    std::optional<quint64> accountOf(int id) const;

    /** Open requests, oldest first. */
    QList<int> openRequests() const;
    /** Open synchronisations of the account, oldest first. */
    QList<int> openSynchronisations(quint64 accountId) const;

private:
    struct Entry
    {
        quint64 accountId;
        RequestKind kind;
        quint64 order;
    };
    struct Closed
    {
        int id;
        qint64 at;
    };

    void forgetExpired();
    template <typename Predicate>
    QList<int> sorted(Predicate wanted) const;

    Clock m_clock;
    int m_lastId = 0;
    quint64 m_order = 0;
    QHash<int, Entry> m_open;
    QHash<int, qint64> m_lingering;
    QQueue<Closed> m_closed;
};

} // namespace Daemon

#endif
