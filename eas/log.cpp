// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/log.h"

namespace Eas {

Q_LOGGING_CATEGORY(lcEas, "asdaemon.eas", QtInfoMsg)

} // namespace Eas
