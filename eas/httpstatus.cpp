// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/httpstatus.h"

#include "eas/limits.h"

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
    Result result;
    result.code = codeOf(status);
    if (!result.ok()) {
        result.text = QStringLiteral("the server answered HTTP %1").arg(status);
        result.httpStatus = status;
    }
    return result;
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
