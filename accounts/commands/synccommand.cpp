// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/synccommand.h"

#include "accounts/accountbook.h"
#include "accounts/actionrunner.h"
#include "accounts/advice.h"
#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/report.h"

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
    if (!details.enabled)
        return Outcome::refused(
            QStringLiteral("\"%1\" is not enabled; \"orvmail-account set --enabled on\" changes it")
                .arg(details.name));
    const Outcome server = ActionRunner::requireMessageServer();
    if (!server.ok())
        return server;

    const MailSnapshot before(id);
    ActionRunner runner(console, details.name);
    const bool done = runner.run([&id](QMailRetrievalAction &action) {
        action.synchronize(id, QMailRetrievalAction::defaultMinimum());
    });
    const QList<FolderDifference> differences = before.differenceTo(MailSnapshot(id));
    sayDifferences(console, differences);
    if (!done)
        return adviceFor(runner.status(), details.settings);
    console.give(QJsonObject {{QStringLiteral("folders"), differenceArray(differences)}});
    return {};
}

} // namespace Accounts
