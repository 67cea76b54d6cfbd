// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/outboxcommand.h"

#include "accounts/actions/draftreturn.h"
#include "accounts/actions/transmission.h"
#include "accounts/commands/arguments.h"
#include "accounts/commands/waiting.h"
#include "accounts/console.h"
#include "accounts/setup/accountbook.h"
#include "accounts/status/outboxmemory.h"
#include "accounts/status/outboxview.h"
#include "translations/text.h"

#include <QJsonObject>

namespace Accounts {

using Activesync::WaitingMail;

namespace {

const QString RetryWord = QStringLiteral("retry");
const QString DraftsWord = QStringLiteral("to-drafts");
const QString YesOption = QStringLiteral("yes");

/** A mail that waits, and whose it is. */
struct FoundMail
{
    QMailAccountId account;
    WaitingMail mail;
};

Outcome find(const QString &text, FoundMail *found)
{
    bool isNumber = false;
    const quint64 message = text.toULongLong(&isNumber);
    const QMailAccountIdList accounts = AccountBook::accounts();
    for (const QMailAccountId &account : accounts) {
        WaitingMails mails;
        const Outcome read = readOutbox(account, &mails);
        if (!read.ok())
            return read;
        const auto mail = findWaitingMail(mails, isNumber ? message : 0);
        if (!mail)
            continue;
        *found = {account, *mail};
        if (mail->state == WaitingMail::Sending)
            return Outcome::refused(
                Text::tr("mail %1 is being sent just now; nothing was done").arg(text));
        return {};
    }
    return Outcome::refused(Text::tr("no mail of the number \"%1\" waits to be sent; "
                                     "\"orvmail-account outbox\" shows all")
                                .arg(text));
}

/** Only a person can tell whether what may have been sent is to go again. */
Outcome confirmDoubt(const FoundMail &found, const QCommandLineParser &parser, Console &console)
{
    if (found.mail.state != WaitingMail::Doubtful || parser.isSet(YesOption))
        return {};
    const QString doubt = mailText(found.mail, AccountBook::details(found.account).settings);
    if (!console.isInteractive())
        return Outcome::refused(Text::tr("%1; --yes sends it again").arg(doubt));
    return console.confirm(Text::tr("%1. Send it again?").arg(doubt))
        ? Outcome()
        : Outcome::refused(Text::tr("nothing was sent"));
}

} // namespace

Manual::Command OutboxCommand::manual() const
{
    Manual::Command manual("outbox",
                           Text::tr("show what waits to be sent; send it again, or not at all"));
    manual.paragraphs = {Text::tr(
        "MESSAGE is a number that the list shows. A mail that may have been sent is looked for at "
        "the server before it goes again; where that cannot be found out, you are asked.")};
    manual.forms = {
        {"[ACCOUNT]", Text::tr("show this account's mail; without it, that of all")},
        {"retry MESSAGE", Text::tr("have the mail sent now")},
        {"to-drafts MESSAGE", Text::tr("do not send it, put it back among the drafts")}};
    manual.options = {{"yes", "", Text::tr("send again what may have been sent, without asking")}};
    return manual;
}

Outcome OutboxCommand::run(const QCommandLineParser &parser, Console &console)
{
    const QStringList words = parser.positionalArguments();
    if (words.size() < 2) {
        QMailAccountId id;
        if (words.isEmpty())
            return list(AccountBook::accounts(), console);
        const Outcome named = findAccount(parser.positionalArguments().first(), &id);
        return named.ok() ? list({id}, console) : named;
    }
    if (words.first() == RetryWord)
        return retry(words.last(), parser, console);
    if (words.first() == DraftsWord)
        return toDrafts(words.last(), console);
    return Outcome::wrongUsage(
        Text::tr("\"%1\" is nothing to do with a mail; see --help").arg(words.first()));
}

Outcome OutboxCommand::list(const QMailAccountIdList &accounts, Console &console)
{
    QJsonArray array;
    for (const QMailAccountId &account : accounts) {
        const AccountDetails details = AccountBook::details(account);
        WaitingMails mails;
        const Outcome read = readOutbox(account, &mails);
        if (!read.ok())
            return read;
        array.append(
            QJsonObject {{QStringLiteral("id"), double(account.toULongLong())},
                         {QStringLiteral("name"), details.name},
                         {QStringLiteral("outbox"), outboxArray(mails, details.settings)}});
        console.say(mails.isEmpty()
                        ? Text::tr("%1: nothing waits to be sent.").arg(details.name)
                        : Text::tr("%1: %2 to send").arg(details.name, Text::number(mails.size())));
        for (const WaitingMail &mail : qAsConst(mails)) {
            for (const QString &line : linesOf(mail, details.settings))
                console.say(line);
        }
    }
    console.give(array);
    return {};
}

Outcome OutboxCommand::retry(const QString &message, const QCommandLineParser &parser,
                             Console &console)
{
    FoundMail found;
    Outcome outcome = find(message, &found);
    if (!outcome.ok())
        return outcome;
    const AccountDetails details = AccountBook::details(found.account);
    if (!details.enabled)
        return notEnabledOutcome(details, found.account);
    outcome = confirmDoubt(found, parser, console);
    if (!outcome.ok())
        return outcome;
    Transmission transmission(found.account, found.mail);
    Waiting(console, Text::tr("Sending")).run(transmission);
    if (!transmission.outcome().ok())
        return transmission.outcome();
    console.say(Text::tr("Mail %1 is sent.").arg(message));
    console.give(QJsonObject {{QStringLiteral("sent"), double(found.mail.message)}});
    return {};
}

Outcome OutboxCommand::toDrafts(const QString &message, Console &console)
{
    FoundMail found;
    const Outcome named = find(message, &found);
    if (!named.ok())
        return named;
    DraftReturn way(found.account, QMailMessageId(found.mail.message));
    Waiting(console, Text::tr("Asking the message server")).run(way);
    if (!way.outcome().ok())
        return way.outcome();
    console.say(Text::tr("Mail %1 is among the drafts.").arg(message));
    if (found.mail.mayHaveBeenSent())
        console.say(Text::tr(
            "It may have been sent: look in Sent before you send it from there. If you do not "
            "change it, it is looked for at the server first."));
    console.give(QJsonObject {{QStringLiteral("draft"), double(found.mail.message)},
                              {QStringLiteral("mayHaveBeenSent"), found.mail.mayHaveBeenSent()}});
    return {};
}

} // namespace Accounts
