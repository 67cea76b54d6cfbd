// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/itemoperationsstatus.h"

#include "eas/status.h"
#include "translations/text.h"

namespace Eas {

Result itemOperationsStatusResult(int status)
{
    switch (status) {
    case 1:
        return {};
    case 2:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the server did not understand the request"));
    case 3:
        return statusResult(ServerFailed, status, FailureText::mark("the server failed"));
    case 4:
    case 6:
        return statusResult(NotFound, status, FailureText::mark("the item is gone"));
    case 5:
    case 16:
        return statusResult(Forbidden, status, FailureText::mark("access denied"));
    case 8:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the server does not have that range"));
    case 9:
    case 10:
    case 17:
        return statusResult(ServerFailed, status, FailureText::mark("the server's store failed"));
    case 11:
        return statusResult(NoRoom, status, FailureText::mark("too large for the server"));
    case 12:
    case 14:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the server could not convert the item"));
    case 15:
        return statusResult(NotFound, status, FailureText::mark("the attachment is gone"));
    case 18:
        return statusResult(LoginRefused, status,
                            FailureText::mark("the linked store refuses the login"));
    default:
        return commonStatusResult(status);
    }
}

} // namespace Eas
