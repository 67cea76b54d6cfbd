// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_RESULT_H
#define EAS_RESULT_H

#include <QMetaType>
#include <QString>

namespace Eas {

/** The result codes of the daemon's interface, one for each thing that a person must be told. */
enum ResultCode {
    Success = 200,
    NotActiveSync = 400,
    LoginRefused = 401,
    Forbidden = 403,
    NotFound = 404,
    ServerFailed = 500,
    InvalidAnswer = 501,
    NoRoom = 507,
    Timeout = 901,
    NoConnection = 902,
    Cancelled = 1030,
    BadConfiguration = 60006,
    PolicyDemanded = 60007
};

/** What failed, where the code leaves that open and a person needs to know it. */
enum class Cause { Unknown, Here, NoSuchHost, Refused, Cut, Certificate };

/** How an operation ended: a code of the daemon's interface and a text for the log. */
struct Result
{
    int code = Success;
    QString text;
    /** Seconds for which the server asks to be left alone; 0 where it does not. */
    int retryAfter = 0;
    /** The protocol's own status where one led to the code, else 0. */
    int status = 0;
    /** The status of HTTP where one led to the code, else 0. */
    int httpStatus = 0;
    Cause cause = Cause::Unknown;

    bool ok() const { return code == Success; }
};

/** A failure whose cause is known. */
inline Result failure(int code, Cause cause, const QString &text)
{
    return {code, text, 0, 0, 0, cause};
}

} // namespace Eas

Q_DECLARE_METATYPE(Eas::Result)

#endif
