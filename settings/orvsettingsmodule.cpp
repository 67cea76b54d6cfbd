// SPDX-License-Identifier: LGPL-2.1-or-later
#include "settings/orvsettingsmodule.h"

#include "settings/orvsettings.h"

QMailMessageServiceEditor *OrvSettingsModule::createEditor() const
{
    return new OrvSettings;
}
