// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/windowmanual.h"

#include "accounts/programmanual.h"
#include "translations/text.h"

namespace Accounts {

Manual::Program windowManual()
{
    Manual::Program manual("orvmail-account-window", 1,
                           Text::tr("set up ActiveSync mail accounts in a window"));
    manual.usages = {QStringLiteral("[options]")};
    manual.paragraphs = {Text::tr(
        "Shows the ActiveSync mail accounts of the Qt Messaging Framework (QMF) in a window, in "
        "which they are added, changed and removed. \"orvmail-account --window\" starts it, too.")};
    manual.options = {
        {"help", "", Text::tr("show this text"), "", "h"},
        {"version", "", Text::tr("tell the version")},
    };
    manual.sections = {
        {Text::tr("Exit status"),
         {{"0", Text::tr("the window was closed")},
          {"1", Text::tr("there is no display to open it on")}}},
        storeFiles(),
        storeEnvironment(),
    };
    manual.seeAlso = {QStringLiteral("orvmail-account(1)"), QStringLiteral("asdaemon(8)")};
    return manual;
}

} // namespace Accounts
