// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_STATUS_OUTBOXVIEW_H
#define ACCOUNTS_STATUS_OUTBOXVIEW_H

#include "asclient/accountstatus.h"
#include "plugin/settings/accountsettings.h"

#include <QJsonArray>
#include <QStringList>

namespace Accounts {

/** What becomes of a mail that waits, and why it has not gone, in words. */
QString mailText(const Activesync::WaitingMail &mail, const AccountSettings &settings);

/** Number, subject and recipients of the mail, and below it those words. */
QStringList linesOf(const Activesync::WaitingMail &mail, const AccountSettings &settings);

/** The same of all of them for a program. */
QJsonArray outboxArray(const QList<Activesync::WaitingMail> &mails,
                       const AccountSettings &settings);

} // namespace Accounts

#endif
