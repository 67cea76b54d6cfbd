// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/service/servicekey.h"

#include "asclient/servicekey.h"

const QString OrvServiceKey = Activesync::mailServiceKey();
