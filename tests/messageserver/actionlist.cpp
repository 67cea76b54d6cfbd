// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/messageserver/actionlist.h"

#include "tests/support/patience.h"

#include <algorithm>

ActionList::ActionList()
{
    connect(&m_observer, &QMailActionObserver::actionsChanged, this, &ActionList::follow);
}

bool ActionList::waitUntilReady()
{
    return QTest::qWaitFor([this] { return m_ready; }, PatienceMs);
}

QList<ActionList::Entry> ActionList::markers() const
{
    QList<Entry> some;
    std::copy_if(m_entries.begin(), m_entries.end(), std::back_inserter(some),
                 [](const Entry &entry) { return entry.type == ProtocolRequestRequestType; });
    return some;
}

void ActionList::follow(const QList<QSharedPointer<QMailActionInfo>> &actions)
{
    m_ready = true;
    for (const QSharedPointer<QMailActionInfo> &info : actions) {
        const bool known = std::any_of(m_entries.begin(), m_entries.end(), [&](const Entry &entry) {
            return entry.info->id() == info->id();
        });
        if (!known)
            add(info);
    }
}

void ActionList::add(const QSharedPointer<QMailActionInfo> &info)
{
    const int index = m_entries.size();
    Entry entry {info, info->requestType(), {info->activity()}, {}, {}};
    if (info->statusAccountId().isValid())
        entry.accounts.append(info->statusAccountId());
    m_entries.append(entry);
    connect(info.data(), &QMailActionInfo::activityChanged, this,
            [this, index](QMailServiceAction::Activity activity) {
                m_entries[index].activities.append(activity);
            });
    connect(info.data(), &QMailActionInfo::progressChanged, this,
            [this, index](uint value, uint total) {
                m_entries[index].progress.append({value, total});
            });
    connect(info.data(), &QMailActionInfo::statusAccountIdChanged, this,
            [this, index](const QMailAccountId &id) { m_entries[index].accounts.append(id); });
}
