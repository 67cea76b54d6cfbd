// SPDX-License-Identifier: LGPL-2.1-or-later
//
// How every fuzz target begins: without a log, which would be the longest part of a run, and with
// an application, so that there may be an event loop.
#include <QCoreApplication>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_LOGGING_RULES", "*=false");
    new QCoreApplication(*argc, *argv);
    return 0;
}
