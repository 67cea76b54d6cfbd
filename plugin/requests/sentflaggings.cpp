// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/sentflaggings.h"

#include <algorithm>

namespace {

QSet<QMailMessageId> setOf(const QMailMessageIdList &ids)
{
    return {ids.begin(), ids.end()};
}

void endSoon(OrvService *service)
{
    service->completeLater(0, [service] { emit service->actionCompleted(true); });
}

} // namespace

void SentFlaggings::begin(OrvService *service, const QMailMessageIdList &ids)
{
    forgetBefore(nullptr, m_flaggings.size()); // those of services that are gone
    if (!ids.isEmpty())
        m_flaggings.append({service, setOf(ids)});
}

bool SentFlaggings::end(const QMailMessageIdList &ids)
{
    const QSet<QMailMessageId> flagged = setOf(ids);
    const auto found =
        std::find_if(m_flaggings.begin(), m_flaggings.end(), [&flagged](const Flagging &each) {
            return each.messages.intersects(flagged);
        });
    if (found == m_flaggings.end())
        return false;
    const QPointer<OrvService> service = found->service;
    if (service && !found->isEnded)
        endSoon(service);
    found->isEnded = true;
    found->messages.subtract(flagged);
    const int index = int(found - m_flaggings.begin());
    if (found->messages.isEmpty())
        m_flaggings.erase(found);
    forgetBefore(service, index);
    return true;
}

/** Forgets the service's actions before that index: it runs one after the other. */
void SentFlaggings::forgetBefore(const OrvService *service, int end)
{
    for (int i = end - 1; i >= 0; --i) {
        if (m_flaggings.at(i).service == service)
            m_flaggings.removeAt(i);
    }
}
