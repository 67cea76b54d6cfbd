// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/losses.h"

#include "accounts/status/outboxmemory.h"
#include "accounts/status/statusview.h"
#include "translations/text.h"

#include <qmailmessage.h>
#include <qmailstore.h>

#include <algorithm>

namespace Accounts {

namespace {

int draftsOnlyHere(const QMailMessageKey &account)
{
    const QMailMessageIdList drafts = QMailStore::instance()->queryMessages(
        account & QMailMessageKey::status(QMailMessage::Draft, QMailDataComparator::Includes));
    return int(std::count_if(drafts.cbegin(), drafts.cend(), [](const QMailMessageId &id) {
        return QMailMessageMetaData(id).serverUid().isEmpty();
    }));
}

} // namespace

QStringList lossesOf(const AccountView &account)
{
    const QMailMessageKey all = QMailMessageKey::parentAccountId(account.id);
    WaitingMails waiting;
    const Outcome read = readOutbox(account.id, &waiting);
    const int here = QMailStore::instance()->countMessages(all);
    QStringList lines;
    lines.append(Text::tr("Messages here: %1. What the server has of them stays there.").arg(here));
    if (!read.ok())
        lines.append(Text::tr("Whether mail waits to be sent cannot be read: %1").arg(read.text));
    if (!waiting.isEmpty())
        lines.append(Text::tr("Mail that has not been sent, and is lost: %1").arg(waiting.size()));
    if (const int drafts = draftsOnlyHere(all))
        lines.append(Text::tr("Drafts that are nowhere else, and are lost: %1").arg(drafts));
    if (account.status.changes > 0)
        lines.append(Text::tr("Changes that the server does not know of yet, and that are lost: %1")
                         .arg(account.status.changes));
    lines.append(Text::tr("The password is erased."));
    return lines;
}

} // namespace Accounts
