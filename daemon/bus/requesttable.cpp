// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/bus/requesttable.h"

#include <algorithm>
#include <chrono>
#include <limits>

namespace Daemon {

Clock systemClock()
{
    return [] {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        return qint64(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
    };
}

RequestTable::RequestTable(Clock clock)
    : m_clock(std::move(clock))
{
}

int RequestTable::open(quint64 accountId, RequestKind kind)
{
    forgetExpired();
    do {
        m_lastId = m_lastId == std::numeric_limits<int>::max() ? 1 : m_lastId + 1;
    } while (m_open.contains(m_lastId) || m_lingering.contains(m_lastId));
    m_open.insert(m_lastId, {accountId, kind, ++m_order});
    return m_lastId;
}

std::optional<quint64> RequestTable::close(int id)
{
    const std::optional<quint64> accountId = accountOf(id);
    if (!accountId)
        return std::nullopt;
    m_open.remove(id);
    forgetExpired();
    const qint64 now = m_clock();
    m_lingering.insert(id, now);
    m_closed.enqueue({id, now});
    return accountId;
}

bool RequestTable::isAlive(int id)
{
    forgetExpired();
    return m_open.contains(id) || m_lingering.contains(id);
}

bool RequestTable::isSearch(int id) const
{
    const auto entry = m_open.constFind(id);
    return entry != m_open.constEnd() && entry->kind == RequestKind::Search;
}

std::optional<quint64> RequestTable::accountOf(int id) const
{
    const auto entry = m_open.constFind(id);
    if (entry == m_open.constEnd())
        return std::nullopt;
    return entry->accountId;
}

QList<int> RequestTable::openRequests() const
{
    return sorted([](const Entry &) { return true; });
}

QList<int> RequestTable::openSynchronisations(quint64 accountId) const
{
    return sorted([accountId](const Entry &entry) {
        return entry.accountId == accountId && isSynchronisation(entry.kind);
    });
}

void RequestTable::forgetExpired()
{
    const qint64 now = m_clock();
    while (!m_closed.isEmpty() && now - m_closed.head().at > LingerMs)
        m_lingering.remove(m_closed.dequeue().id);
}

template <typename Predicate>
QList<int> RequestTable::sorted(Predicate wanted) const
{
    QList<QPair<quint64, int>> found;
    for (auto it = m_open.cbegin(); it != m_open.cend(); ++it) {
        if (wanted(it.value()))
            found.append({it.value().order, it.key()});
    }
    std::sort(found.begin(), found.end());
    QList<int> ids;
    for (const auto &item : qAsConst(found))
        ids.append(item.second);
    return ids;
}

} // namespace Daemon
