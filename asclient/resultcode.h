// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_RESULTCODE_H
#define ASCLIENT_RESULTCODE_H

namespace Activesync {

/** How a request ended: one code for each thing that a person must be told. */
enum ResultCode {
    ServiceGone = 0, ///< never sent by the daemon: the service that waited is being deleted
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

} // namespace Activesync

#endif
