// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/failurewords.h"

#include "translations/text.h"

namespace Daemon {

namespace {

/** What the server has said, by its number; the texts of a status are ours. */
QString detail(const Eas::Result &result)
{
    if (result.source == Eas::Source::Nothing)
        return QString();
    return QStringLiteral(" (%1)").arg(result.isStatus() ? result.text : result.http);
}

bool isOurs(const Eas::Result &result)
{
    return result.cause == Eas::Cause::Here
        || (result.code == Eas::NoRoom && result.source == Eas::Source::Nothing);
}

QString wordsHere(const Eas::Result &result)
{
    return result.code == Eas::NoRoom
        ? FailureText::english("There is no room left on this device.")
        : FailureText::english("The mail store on this device cannot be read or written.");
}

/** With %1 for the host and %2 for what the server has said. */
QString connectionPattern(Eas::Cause cause)
{
    switch (cause) {
    case Eas::Cause::NoSuchHost:
        return FailureText::english("There is no host named %1.");
    case Eas::Cause::Refused:
        return FailureText::english("%1 refuses the connection.");
    case Eas::Cause::Cut:
        return FailureText::english("%1 has cut the connection.");
    default:
        return FailureText::english("There is no connection to %1.");
    }
}

QString pattern(const Eas::Result &result)
{
    switch (result.code) {
    case Eas::NotActiveSync:
        return FailureText::english("No ActiveSync server answers at %1%2.");
    case Eas::LoginRefused:
        return FailureText::english("%1 refuses the user name or the password%2.");
    case Eas::Forbidden:
        if (result.outcome == Eas::Outcome::WipeWanted)
            return FailureText::english(
                "%1 has asked to remove this account's mail from this device.");
        return FailureText::english("%1 forbids it to this device or this user%2.");
    case Eas::NotFound:
        return result.isStatus()
            ? FailureText::english("%1 could not do what was asked for%2.")
            : FailureText::english("What was asked for is not at %1 any more%2.");
    case Eas::InvalidAnswer:
        return FailureText::english("The answer of %1 cannot be understood%2.");
    case Eas::NoRoom:
        return FailureText::english("%1 has no room for it%2.");
    case Eas::Timeout:
        return FailureText::english("%1 does not answer in time%2.");
    case Eas::NoConnection:
        return connectionPattern(result.cause);
    case Eas::PolicyDemanded:
        return FailureText::english("%1 demands a policy that is not met here%2.");
    default:
        return FailureText::english("%1 failed%2.");
    }
}

/** Which setting is wrong; the text of such a failure begins with its name. */
QString wordsOfSettings(const Eas::Result &result, const QString &host)
{
    if (result.cause == Eas::Cause::Certificate)
        return FailureText::english("The certificate of %1 is not trusted, or it speaks no TLS.")
            .arg(host);
    return FailureText::english("The account's setting \"%1\" is missing or wrong.")
        .arg(result.text.section(QLatin1Char(':'), 0, 0));
}

} // namespace

QString failureWords(const Eas::Result &result, const QString &host)
{
    if (result.ok())
        return QString();
    if (isOurs(result))
        return wordsHere(result);
    if (result.code == Eas::BadConfiguration)
        return wordsOfSettings(result, host);
    QString words = pattern(result);
    return words.replace(QLatin1String("%2"), detail(result)).replace(QLatin1String("%1"), host);
}

} // namespace Daemon
