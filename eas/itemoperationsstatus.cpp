// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/itemoperationsstatus.h"

#include "eas/status.h"

namespace Eas {

Result itemOperationsStatusResult(int status)
{
    switch (status) {
    case 1:
        return {};
    case 2:
        return statusResult(ServerFailed, status, "the server did not understand the request");
    case 3:
        return statusResult(ServerFailed, status, "the server failed");
    case 4:
    case 6:
        return statusResult(NotFound, status, "the item is gone");
    case 5:
    case 16:
        return statusResult(Forbidden, status, "access denied");
    case 8:
        return statusResult(ServerFailed, status, "the server does not have that range");
    case 9:
    case 10:
    case 17:
        return statusResult(ServerFailed, status, "the server's store failed");
    case 11:
        return statusResult(NoRoom, status, "too large for the server");
    case 12:
    case 14:
        return statusResult(ServerFailed, status, "the server could not convert the item");
    case 15:
        return statusResult(NotFound, status, "the attachment is gone");
    case 18:
        return statusResult(LoginRefused, status, "the linked store refuses the login");
    default:
        return commonStatusResult(status);
    }
}

} // namespace Eas
