// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/stage/windowreader/windowreaderplugin.h"

#include "tests/stage/windowreader/windowreader.h"

QObject *WindowReaderPlugin::create(const QString &, const QString &file)
{
    // Qt owns it.
    return new WindowReader(file);
}
