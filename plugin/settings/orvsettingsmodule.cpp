// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/settings/orvsettingsmodule.h"

#include "plugin/settings/orvsettings.h"

QMailMessageServiceEditor *OrvSettingsModule::createEditor() const
{
    return new OrvSettings;
}
