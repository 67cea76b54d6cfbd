// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/settings/orvsettingsmodule.h"

#include "plugin/settings/orvsettings.h"
#include "translations/translation.h"

QMailMessageServiceEditor *OrvSettingsModule::createEditor() const
{
    Translation::install(Translation::Scope::OwnTexts);
    return new OrvSettings;
}
