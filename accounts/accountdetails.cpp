// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/accountdetails.h"

#include "eas/serveraddress.h"

#include <QRegularExpression>

namespace Accounts {

bool isMailAddress(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("^[^@\\s<>\",;:]+@[^@\\s<>\",;:.]+(\\.[^@\\s<>\",;:.]+)*$"));
    return form.match(text).hasMatch();
}

Outcome wipedOutcome(const AccountDetails &details)
{
    return {
        Outcome::Refused,
        QStringLiteral("\"%1\" was wiped: %2 had its mail and its password removed from here, "
                       "and it is not enabled; if you are to use it again, \"orvmail-account set "
                       "--ask-password --enabled on\" takes the password anew")
            .arg(details.name, details.settings.server),
        Eas::Forbidden, QStringLiteral("password")};
}

Outcome checkDetails(const AccountDetails &details)
{
    const AccountSettings &settings = details.settings;
    if (details.name.trimmed().isEmpty())
        return Outcome::wrongSetting(QStringLiteral("name"),
                                     QStringLiteral("the account has no name; give it one"));
    if (!isMailAddress(settings.email))
        return Outcome::wrongSetting(
            QStringLiteral("email"),
            QStringLiteral("\"%1\" is no mail address; it looks like name@example.com")
                .arg(settings.email));
    const Eas::Result server =
        Eas::ServerAddress {settings.server, settings.port, settings.encryption}.check();
    if (!server.ok()) {
        const QString setting = server.text.section(QLatin1Char(':'), 0, 0);
        const QString advice = setting == QLatin1String("server")
            ? QStringLiteral("; give the name alone, such as mail.example.com")
            : QString();
        return Outcome::wrongSetting(setting, server.text + advice);
    }
    const Eas::Result login =
        Eas::Credentials {settings.userName, settings.password, settings.domain}.check();
    if (!login.ok())
        return Outcome::wrongSetting(login.text.section(QLatin1Char(':'), 0, 0), login.text);
    if (!canKeepPassword(settings.password))
        return {Outcome::Refused,
                QStringLiteral("the mail store cannot keep this password: it knows the letters of "
                               "Western European languages alone; choose another at the server"),
                0, QStringLiteral("password")};
    return {};
}

} // namespace Accounts
