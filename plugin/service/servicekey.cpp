// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/service/servicekey.h"

const QString OrvServiceKey = QStringLiteral("orvmail");
