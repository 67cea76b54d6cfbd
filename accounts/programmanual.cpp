// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/programmanual.h"

#include "translations/text.h"

namespace Accounts {

Manual::Program programManual()
{
    Manual::Program manual("orvmail-account", 1,
                           Text::tr("set up and look after ActiveSync mail accounts"));
    manual.usages = {QStringLiteral("COMMAND [options]"), QStringLiteral("--window"),
                     QStringLiteral("--help"), QStringLiteral("--version")};
    manual.paragraphs = {
        Text::tr("Sets up and looks after ActiveSync mail accounts for the mail programs "
                 "that use the Qt Messaging Framework (QMF)."),
        Text::tr("An account is named by its name or its number, which \"list\" shows. With "
                 "--window, accounts are shown and set up in a window.")};
    manual.options = {
        {"json", "", Text::tr("print JSON, for a program to read")},
        {"verbose", "", Text::tr("show the libraries' messages")},
        {"help", "", Text::tr("show this text"), "", "h"},
    };
    manual.sections = {
        {Text::tr("Exit status"),
         {{"0", Text::tr("done")},
          {"1", Text::tr("refused or failed; one line on standard error tells why and what to do")},
          {"2", Text::tr("wrong usage")}}},
        storeFiles(),
        storeEnvironment(),
        {Text::tr("Examples"),
         {{"orvmail-account add",
           Text::tr("ask for what is needed, find the server, and set the account up")},
          {"orvmail-account set Work --push on --keep all",
           Text::tr("have new mail come at once, and keep all of it here")},
          {"orvmail-account set Work --password-command 'pass show mail/work'",
           Text::tr("take a new password from a password manager")},
          {"*/15 * * * * orvmail-account sync --quiet",
           Text::tr("in a crontab: fetch the mail of all accounts while you are logged in (always, "
                    "after \"loginctl enable-linger\"); cron sends a mail about what fails")}}},
    };
    manual.seeAlso = {QStringLiteral("orvmail-account-window(1)"), QStringLiteral("asdaemon(8)")};
    return manual;
}

Manual::Section storeFiles()
{
    return {
        Text::tr("Files"),
        {{"~/.local/share/qmf/database/qmailstore.db",
          Text::tr(
              "the mail store, with accounts and passwords; whoever can read it can read both")},
         {"~/.local/share/qmf/asdaemon.db", Text::tr("how far the accounts are synchronised")}}};
}

Manual::Section storeEnvironment()
{
    return {
        Text::tr("Environment"),
        {{"QMF_DATA", Text::tr("the mail store's folder, instead of ~/.local/share/qmf")},
         {"DBUS_SESSION_BUS_ADDRESS",
          Text::tr("the session bus, on which message server and daemon are found and started")}}};
}

} // namespace Accounts
