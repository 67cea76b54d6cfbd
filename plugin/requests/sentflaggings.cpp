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
    if (found->service && !found->isEnded)
        endSoon(found->service);
    found->isEnded = true;
    found->messages.subtract(flagged);
    if (found->messages.isEmpty())
        m_flaggings.erase(found);
    return true;
}

void SentFlaggings::retain(const QMailMessageIdList &ids)
{
    const QSet<QMailMessageId> left = setOf(ids);
    m_flaggings.erase(
        std::remove_if(m_flaggings.begin(), m_flaggings.end(),
                       [&left](const Flagging &each) { return !each.messages.intersects(left); }),
        m_flaggings.end());
}
