// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_TROUBLEREPORT_H
#define ACCOUNTS_COMMANDS_TROUBLEREPORT_H

#include "accounts/outcome.h"
#include "accounts/redaction.h"

#include <qmailid.h>
#include <QStringList>

namespace Accounts {

/**
 * What a person gives to who is to find out why mail does not come or go, as a text for a file.
 *
 * Tells versions, how the parts are found, how they and the accounts fare, how much mail there is,
 * and what the daemon has logged. Neither passwords nor subjects or contents of mails are in it,
 * and who somebody is has been replaced (Redaction). It is in English, whatever the person's
 * language, but for what was shown to the person. Starts nothing but programs that are asked for
 * their versions.
 */
class TroubleReport
{
public:
    /** `store`: whether the mail store could be opened; where not, nothing of it is told. */
    explicit TroubleReport(const Outcome &store);

    QString text();

private:
    void addSection(const QString &title, const QStringList &lines);
    /** The same, with what tells who somebody is replaced. */
    void addRedacted(const QString &title, const QStringList &lines);
    void addVersions();
    void addPlaces();
    void addStatus();
    void addAccounts();
    void addLogs();

    const Outcome m_store;
    QMailAccountIdList m_accounts;
    Redaction m_redaction;
    QStringList m_lines;
};

} // namespace Accounts

#endif
