// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/httpstatus.h"

#include "eas/limits.h"
#include "translations/text.h"

#include <QDateTime>
#include <QLocale>

namespace Eas {

namespace {

int codeOf(int status)
{
    switch (status) {
    case 200:
        return Success;
    case 400:
    case 404:
    case 405:
    case 410:
        return NotActiveSync;
    case 401:
        return LoginRefused;
    case 402:
    case 403:
        return Forbidden;
    case 407:
        return NoConnection;
    case 408:
    case 504:
        return Timeout;
    case 413:
    case 507:
        return NoRoom;
    case 449:
        return PolicyDemanded;
    default:
        return status >= 300 && status < 400 ? NotActiveSync : ServerFailed;
    }
}

Outcome outcomeOf(int status)
{
    switch (status) {
    case 400:
        return Outcome::NotUnderstood;
    case 449:
        return Outcome::ProvisionWanted;
    case 500:
        return Outcome::Broken;
    case 501:
        return Outcome::NotImplemented;
    case 504:
        return Outcome::Unheard;
    default:
        return status >= 500 ? Outcome::Unavailable
            : status >= 400  ? Outcome::Refused
                             : Outcome::Unspecified;
    }
}

QDateTime httpDate(const QByteArray &text)
{
    QDateTime date = QLocale::c().toDateTime(QString::fromLatin1(text.trimmed()),
                                             QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"));
    date.setTimeSpec(Qt::UTC);
    return date;
}

} // namespace

Result httpStatusResult(int status)
{
    const int code = codeOf(status);
    return code == Success
        ? Result {}
        : httpResult(code, status, FailureText::english("the server answered HTTP %1").arg(status));
}

Result httpResult(int code, int status, const QString &text)
{
    return {code, text, 0, outcomeOf(status), Source::Http, QStringLiteral("HTTP %1").arg(status)};
}

int retryAfterSeconds(const QByteArray &retryAfter, const QByteArray &date)
{
    bool isNumber = false;
    qint64 seconds = retryAfter.trimmed().toLongLong(&isNumber);
    if (!isNumber) {
        const QDateTime until = httpDate(retryAfter);
        const QDateTime now = httpDate(date);
        seconds = until.isValid()
            ? (now.isValid() ? now : QDateTime::currentDateTimeUtc()).secsTo(until)
            : 0;
    }
    return int(qBound(qint64(0), seconds, qint64(Limits::RetryAfter)));
}

} // namespace Eas
