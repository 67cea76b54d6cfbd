// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/synccommand.h"

#include "accounts/accountbook.h"
#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/report.h"
#include "accounts/synchronisation.h"

namespace Accounts {

void SyncCommand::declare(QCommandLineParser &parser) const
{
    declareAccountArgument(parser);
}

Outcome SyncCommand::run(const QCommandLineParser &parser, Console &console)
{
    QMailAccountId id;
    const Outcome named = readAccountArgument(parser, &id);
    if (!named.ok())
        return named;
    const AccountDetails details = AccountBook::details(id);
    if (details.wiped)
        return wipedOutcome(details);
    if (!details.enabled)
        return Outcome::refused(
            QStringLiteral("\"%1\" is not enabled; \"orvmail-account set --enabled on\" changes it")
                .arg(details.name));

    Synchronisation synchronisation(id);
    runSynchronisation(synchronisation, console, details.name);
    const QList<FolderDifference> &differences = synchronisation.differences();
    if (synchronisation.outcome().ok() || !differences.isEmpty())
        sayDifferences(console, differences);
    if (!synchronisation.outcome().ok())
        return synchronisation.outcome();
    console.give(QJsonObject {{QStringLiteral("folders"), differenceArray(differences)}});
    return {};
}

} // namespace Accounts
