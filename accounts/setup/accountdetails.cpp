// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/setup/accountdetails.h"

#include "eas/serveraddress.h"
#include "manual/typedname.h"
#include "translations/text.h"
#include "translations/translation.h"

#include <QRegularExpression>

#include <tuple>

namespace Accounts {

bool AccountDetails::operator==(const AccountDetails &other) const
{
    const auto fields = [](const AccountDetails &d) {
        return std::tie(d.name, d.fullName, d.settings, d.enabled, d.push, d.keepDays,
                        d.notifications, d.wiped);
    };
    return fields(*this) == fields(other);
}

bool isMailAddress(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("^[^@\\s<>\",;:]+@[^@\\s<>\",;:.]+(\\.[^@\\s<>\",;:.]+)*$"));
    return form.match(text).hasMatch();
}

Outcome wipedOutcome(const AccountDetails &details, const QMailAccountId &id)
{
    return {Outcome::Refused,
            Text::tr("\"%1\" was wiped: %2 had its mail and its password removed from here, "
                     "and it is not enabled; if you are to use it again, \"orvmail-account set %3 "
                     "--ask-password --enabled on\" takes the password anew")
                .arg(details.name, details.settings.server,
                     Manual::typedName(details.name, id.toULongLong())),
            Eas::Forbidden, QStringLiteral("password")};
}

Outcome notEnabledOutcome(const AccountDetails &details, const QMailAccountId &id)
{
    return Outcome::refused(
        Text::tr("\"%1\" is not enabled; \"orvmail-account set %2 --enabled on\" changes it")
            .arg(details.name, Manual::typedName(details.name, id.toULongLong())));
}

Outcome checkDetails(const AccountDetails &details)
{
    const AccountSettings &settings = details.settings;
    if (details.name.trimmed().isEmpty())
        return Outcome::wrongSetting(QStringLiteral("name"),
                                     Text::tr("the account has no name; give it one"));
    if (!isMailAddress(settings.email))
        return Outcome::wrongSetting(
            QStringLiteral("email"),
            Text::tr("\"%1\" is no mail address; it looks like name@example.com")
                .arg(settings.email));
    const Eas::Result server =
        Eas::ServerAddress {settings.server, settings.port, settings.encryption}.check();
    if (!server.ok()) {
        const QString setting = server.text.section(QLatin1Char(':'), 0, 0);
        const QString problem = Translation::ofFailure(server.text);
        return Outcome::wrongSetting(
            setting,
            setting == QLatin1String("server")
                ? Text::tr("%1; give the name alone, such as mail.example.com").arg(problem)
                : problem);
    }
    const Eas::Result login =
        Eas::Credentials {settings.userName, settings.password, settings.domain}.check();
    if (!login.ok())
        return Outcome::wrongSetting(login.text.section(QLatin1Char(':'), 0, 0),
                                     Translation::ofFailure(login.text));
    if (!canKeepPassword(settings.password))
        return {Outcome::Refused,
                Text::tr("the mail store cannot keep this password: it knows the letters of "
                         "Western European languages alone; choose another at the server"),
                0, QStringLiteral("password")};
    return {};
}

Outcome checkSearchDetails(AccountDetails details)
{
    // Some name, as it is not known yet.
    details.settings.server = QStringLiteral("localhost");
    return checkDetails(details);
}

} // namespace Accounts
