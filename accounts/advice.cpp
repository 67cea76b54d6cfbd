// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/advice.h"

#include "translations/text.h"
#include "translations/translation.h"

namespace Accounts {

namespace {

QString place(const AccountSettings &settings)
{
    return QStringLiteral("%1:%2").arg(settings.server).arg(settings.port);
}

/** The daemon's sentence as a part of ours. */
QString asClause(const QString &sentence, const AccountSettings &settings)
{
    QString clause = Translation::ofFailure(sentence.trimmed());
    while (clause.endsWith(QLatin1Char('.')))
        clause.chop(1);
    if (!clause.isEmpty() && !clause.startsWith(settings.server))
        clause[0] = clause.at(0).toLower();
    return clause;
}

QString withReason(const QString &text, const QString &reason, const QString &advice)
{
    const QString because =
        reason.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(Translation::ofFailure(reason));
    return text + because + QStringLiteral("; ") + advice;
}

/** `told`: the failure in the daemon's words, which know more than the code; may be empty. */
Outcome advice(int code, const QString &reason, const AccountSettings &settings,
               const QString &told = QString())
{
    const auto outcome = [&](const QString &text, const QString &todo, const char *setting = "") {
        return Outcome {Outcome::Refused,
                        told.isEmpty() ? withReason(text, reason, todo)
                                       : told + QLatin1String("; ") + todo,
                        code, QLatin1String(setting)};
    };
    switch (code) {
    case Eas::NotActiveSync:
        return outcome(Text::tr("%1 is no ActiveSync server").arg(place(settings)),
                       Text::tr("check server and port"), "server");
    case Eas::LoginRefused:
        return Outcome {Outcome::Refused,
                        Text::tr("%1 refuses user name or password of \"%2\"; check both, "
                                 "and the domain")
                            .arg(settings.server, settings.userName),
                        code, QStringLiteral("password")};
    case Eas::Forbidden:
        return outcome(Text::tr("%1 forbids this device or this user").arg(settings.server),
                       Text::tr("ask its administrator to allow it"), "username");
    case Eas::NoRoom:
        return outcome(Text::tr("there is no room left, here or at the server"),
                       Text::tr("make room and try again"));
    case Eas::Timeout:
        return outcome(Text::tr("%1 does not answer").arg(place(settings)),
                       Text::tr("check server, port and network"), "server");
    case Eas::NoConnection:
        return outcome(Text::tr("no connection to %1").arg(place(settings)),
                       Text::tr("check server, port and network"), "server");
    case Eas::Cancelled:
        return Outcome {Outcome::Refused, Text::tr("cancelled"), code};
    case Eas::BadConfiguration:
        return outcome(Text::tr("%1 cannot be used with these settings").arg(place(settings)),
                       Text::tr("check server, port and encryption"), "server");
    case Eas::PolicyDemanded:
        return outcome(Text::tr("%1 demands a policy that is not met here").arg(settings.server),
                       Text::tr("ask its administrator"), "server");
    default:
        return outcome(Text::tr("%1 has failed").arg(settings.server), Text::tr("try again later"),
                       "server");
    }
}

int resultCode(QMailServiceAction::Status::ErrorCode code)
{
    using Status = QMailServiceAction::Status;
    switch (code) {
    case Status::ErrLoginFailed:
        return Eas::LoginRefused;
    case Status::ErrFileSystemFull:
        return Eas::NoRoom;
    case Status::ErrNoConnection:
        return Eas::NoConnection;
    case Status::ErrTimeout:
        return Eas::Timeout;
    case Status::ErrCancel:
        return Eas::Cancelled;
    case Status::ErrConfiguration:
        return Eas::BadConfiguration;
    case Status::ErrInvalidData:
    case Status::ErrUnknownResponse:
        return Eas::InvalidAnswer;
    default:
        return Eas::ServerFailed;
    }
}

} // namespace

Outcome adviceFor(const Eas::Result &result, const AccountSettings &settings)
{
    return result.ok() ? Outcome() : advice(result.code, result.text, settings);
}

Outcome adviceForLastError(const Eas::Result &error, const AccountSettings &settings)
{
    return advice(error.code, QString(), settings, asClause(error.text, settings));
}

Outcome adviceFor(const QMailServiceAction::Status &status, const AccountSettings &settings)
{
    // Its text is QMF's own for the code, which speaks of a connection where there was none to be.
    return advice(resultCode(status.errorCode), QString(), settings);
}

} // namespace Accounts
