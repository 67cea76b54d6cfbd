// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/notify/notification.h"

#include "manual/typedname.h"
#include "translations/text.h"
#include "translations/translation.h"

#include <algorithm>

namespace Daemon {

namespace {

QString summaryOf(Store::Notice::Cause cause, int mails)
{
    switch (cause) {
    case Store::Notice::LoginRefused:
        return Text::tr("%1: the password is refused");
    case Store::Notice::PolicyUnmet:
        return Text::tr("%1: the server's policy is not met");
    case Store::Notice::MailNotSent:
        break;
    }
    if (mails == 1)
        return Text::tr("%1: a mail could not be sent");
    return Text::tr("%1: %Ln mails could not be sent", nullptr, mails);
}

QString bodyOf(Store::Notice::Cause cause)
{
    switch (cause) {
    case Store::Notice::LoginRefused:
        return Text::tr(
            "The mail server refuses the user name or the password. No mail comes "
            "or goes until you enter the right one in the account's settings "
            "(\"orvmail-account --window\" or \"orvmail-account set %1 --ask-password\").");
    case Store::Notice::PolicyUnmet:
        return Text::tr(
            "The mail server demands a policy that is not met on this device, and lets no mail "
            "through. Ask its administrator.");
    case Store::Notice::MailNotSent:
        break;
    }
    return Text::tr(
        "It waits in the outbox. \"orvmail-account outbox\" tells why, and has it sent again or "
        "puts it back among the drafts.");
}

/** An account that has no name of its own has the address, which is not for a locked screen. */
bool isAddress(const QString &name)
{
    return name.contains(QLatin1Char('@'));
}

/** The account as it is typed in the body, where a name could be read as markup. */
QString typedAccount(const Store::AccountRecord &account)
{
    const auto isMarkup = [](QChar sign) { return QLatin1String("<>&").contains(sign); };
    const QString &name = account.name;
    const bool isFit = !isAddress(name) && std::none_of(name.begin(), name.end(), isMarkup);
    return Manual::typedName(isFit ? name : QString(), account.id.toULongLong());
}

} // namespace

Notification Notification::about(Store::Notice::Cause cause, const Store::AccountRecord &account,
                                 int mails)
{
    // Not before there is something to show.
    Translation::install(Translation::Scope::OwnTexts);
    const QString name =
        isAddress(account.name) ? Text::tr("Mail account") : account.name.simplified();
    return {summaryOf(cause, mails).replace(QLatin1String("%1"), name),
            bodyOf(cause).replace(QLatin1String("%1"), typedAccount(account))};
}

} // namespace Daemon
