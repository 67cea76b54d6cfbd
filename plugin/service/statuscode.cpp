// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/service/statuscode.h"

#include "asclient/resultcode.h"

#include <qmaillog.h>

#include <algorithm>
#include <iterator>

namespace {

using Status = QMailServiceAction::Status;

// The numbers travel to clients; an enumeration that gives the names other numbers must not build.
static_assert(Status::ErrNoError == 0 && Status::ErrSystemError == 1026
              && Status::ErrInternalServer == 1027 && Status::ErrLoginFailed == 1029
              && Status::ErrCancel == 1030 && Status::ErrFileSystemFull == 1031
              && Status::ErrNoConnection == 1034 && Status::ErrConnectionNotReady == 1036
              && Status::ErrConfiguration == 1037 && Status::ErrInvalidAddress == 1038
              && Status::ErrInvalidData == 1039 && Status::ErrTimeout == 1040);

/** What a code of the daemon becomes. */
struct Translation
{
    int daemonCode;
    Status::ErrorCode error;
};

/**
 * Ordered by the daemon's code; all others are ErrConfiguration.
 *
 * Numbers without a name belong to the interface, but our daemon sends none of them. The
 * irregularities are deliberate: 4007 is no success, 0 is a cancellation.
 */
constexpr Translation Translations[] = {
    {Activesync::ServiceGone, Status::ErrCancel},
    {1, Status::ErrFileSystemFull},
    {3, Status::ErrNoConnection},
    {5, Status::ErrSystemError},
    {Activesync::Success, Status::ErrNoError},
    {Activesync::NotActiveSync, Status::ErrInvalidAddress},
    {Activesync::LoginRefused, Status::ErrLoginFailed},
    {Activesync::Forbidden, Status::ErrSystemError},
    {Activesync::NotFound, Status::ErrInvalidAddress},
    {Activesync::ServerFailed, Status::ErrInternalServer},
    {Activesync::InvalidAnswer, Status::ErrInvalidData},
    {Activesync::NoRoom, Status::ErrFileSystemFull},
    {Activesync::Timeout, Status::ErrTimeout},
    {Activesync::NoConnection, Status::ErrNoConnection},
    {999, Status::ErrInternalServer},
    {1001, Status::ErrNoError},
    {1006, Status::ErrInvalidData},
    {1007, Status::ErrInvalidData},
    {1015, Status::ErrInvalidData},
    {Activesync::Cancelled, Status::ErrCancel},
    {4001, Status::ErrNoError},
    {4002, Status::ErrNoError},
    {4003, Status::ErrNoError},
    {4004, Status::ErrNoError},
    {4005, Status::ErrNoError},
    {4006, Status::ErrNoError},
    {4008, Status::ErrNoError},
    {4009, Status::ErrNoError},
    {4010, Status::ErrNoError},
    {4011, Status::ErrNoError},
    {4012, Status::ErrNoError},
    {4015, Status::ErrNoError},
    {6008, Status::ErrTimeout},
    {60001, Status::ErrNoConnection},
    {60002, Status::ErrNoConnection},
    {60003, Status::ErrNoConnection},
    {60004, Status::ErrTimeout},
    {60005, Status::ErrTimeout},
    {Activesync::PolicyDemanded, Status::ErrConnectionNotReady},
    {60099, Status::ErrSystemError},
    {60101, Status::ErrSystemError},
    {60102, Status::ErrSystemError},
    {60103, Status::ErrNoConnection},
    {60104, Status::ErrTimeout},
    {60199, Status::ErrSystemError},
    {60201, Status::ErrLoginFailed},
    {60203, Status::ErrNoConnection},
    {60204, Status::ErrLoginFailed},
    {60205, Status::ErrSystemError},
    {60299, Status::ErrSystemError},
    {60301, Status::ErrSystemError},
    {60302, Status::ErrSystemError},
    {60399, Status::ErrSystemError},
};

Status::ErrorCode translate(int daemonCode)
{
    const auto *found =
        std::lower_bound(std::begin(Translations), std::end(Translations), daemonCode,
                         [](const Translation &one, int code) { return one.daemonCode < code; });
    return found != std::end(Translations) && found->daemonCode == daemonCode
        ? found->error
        : Status::ErrConfiguration;
}

} // namespace

QMailServiceAction::Status::ErrorCode statusErrorCode(int daemonCode)
{
    const Status::ErrorCode code = translate(daemonCode);
    if (code != Status::ErrNoError) {
        qMailLog(Messaging) << "QMailServiceAction::Status::ErrorCode(" << daemonCode << ") is "
                            << int(code);
    }
    return code;
}

bool isPlainSuccess(int daemonCode)
{
    return daemonCode == Activesync::Success || daemonCode == 1001 || daemonCode == -1000;
}
