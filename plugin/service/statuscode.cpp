// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/service/statuscode.h"

#include "asclient/resultcode.h"

#include <qmaillog.h>

namespace {

using Status = QMailServiceAction::Status;

// The numbers travel to clients; an enumeration that gives the names other numbers must not build.
static_assert(Status::ErrNoError == 0 && Status::ErrSystemError == 1026
              && Status::ErrInternalServer == 1027 && Status::ErrLoginFailed == 1029
              && Status::ErrCancel == 1030 && Status::ErrFileSystemFull == 1031
              && Status::ErrNoConnection == 1034 && Status::ErrConnectionNotReady == 1036
              && Status::ErrConfiguration == 1037 && Status::ErrInvalidAddress == 1038
              && Status::ErrInvalidData == 1039 && Status::ErrTimeout == 1040);

// Numbers without a name belong to the interface, but our daemon sends none of them. The
// irregularities are deliberate: 4007 is no success, 0 is a cancellation.
Status::ErrorCode translate(int daemonCode)
{
    switch (daemonCode) {
    case Activesync::Success:
    case 1001:
    case 4001:
    case 4002:
    case 4003:
    case 4004:
    case 4005:
    case 4006:
    case 4008:
    case 4009:
    case 4010:
    case 4011:
    case 4012:
    case 4015:
        return Status::ErrNoError;
    case 5:
    case Activesync::Forbidden:
    case 60099:
    case 60101:
    case 60102:
    case 60199:
    case 60205:
    case 60299:
    case 60301:
    case 60302:
    case 60399:
        return Status::ErrSystemError;
    case Activesync::ServerFailed:
    case 999:
        return Status::ErrInternalServer;
    case Activesync::LoginRefused:
    case 60201:
    case 60204:
        return Status::ErrLoginFailed;
    case Activesync::ServiceGone:
    case Activesync::Cancelled:
        return Status::ErrCancel;
    case 1:
    case Activesync::NoRoom:
        return Status::ErrFileSystemFull;
    case 3:
    case Activesync::NoConnection:
    case 60001:
    case 60002:
    case 60003:
    case 60103:
    case 60203:
        return Status::ErrNoConnection;
    case Activesync::PolicyDemanded:
        return Status::ErrConnectionNotReady;
    case Activesync::NotActiveSync:
    case Activesync::NotFound:
        return Status::ErrInvalidAddress;
    case Activesync::InvalidAnswer:
    case 1006:
    case 1007:
    case 1015:
        return Status::ErrInvalidData;
    case Activesync::Timeout:
    case 6008:
    case 60004:
    case 60005:
    case 60104:
        return Status::ErrTimeout;
    case Activesync::BadConfiguration:
    default:
        return Status::ErrConfiguration;
    }
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
