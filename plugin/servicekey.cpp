// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/servicekey.h"

const QString OrvServiceKey = QStringLiteral("orvmail");
