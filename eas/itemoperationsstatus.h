// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_ITEMOPERATIONSSTATUS_H
#define EAS_ITEMOPERATIONSSTATUS_H

#include "eas/result.h"

namespace Eas {

/** What a status of ItemOperations means, [MS-ASCMD] 2.2.3.177.8. */
Result itemOperationsStatusResult(int status);

} // namespace Eas

#endif
