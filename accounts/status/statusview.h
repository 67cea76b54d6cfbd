// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_STATUS_STATUSVIEW_H
#define ACCOUNTS_STATUS_STATUSVIEW_H

#include "accounts/setup/accountdetails.h"
#include "accounts/status/daemonstatus.h"
#include "accounts/status/partstate.h"

#include <QJsonObject>
#include <QStringList>

namespace Accounts {

/** What brings the mail here, as it is just now. Starts nothing. */
struct PartsView
{
    PartState messageServer = PartState::Absent;
    PluginState plugin = PluginState::Unknown;
    QString pluginVersion; ///< of what is loaded, else of what is installed; may be empty
    PartState daemon = PartState::Absent;
    DaemonInfo daemonInfo;

    static PartsView now();
    bool areRunning() const;
};

/** An account, as it is just now. */
struct AccountView
{
    QMailAccountId id;
    AccountDetails details;
    Activesync::AccountStatus status;
    bool isLive = false; ///< the daemon tells of it; else, what is known from before
    QString unreadable;  ///< why even that is not known; else empty

    static AccountView of(const QMailAccountId &id);
    /** What is wrong and what to do about it, a sentence each; empty where all is well. */
    QStringList problems() const;

private:
    QStringList failures() const;
};

/** What is told of one thing. */
struct StatusRow
{
    QString label;
    QString value;
};
/** Without what is wrong; the last tells of the outbox. Empty where the account was wiped. */
QList<StatusRow> rowsOf(const AccountView &account);

/** One line each, for a person. */
QStringList linesOf(const PartsView &parts);
QStringList linesOf(const AccountView &account);

/** The same for a program; docs/status.md tells of it. */
QJsonObject objectOf(const PartsView &parts, const QList<AccountView> &accounts);

/** "2026-11-22 09:10:00" for UTC seconds since 1970, in the zone of this machine. */
QString timeText(qint64 seconds);

} // namespace Accounts

#endif
