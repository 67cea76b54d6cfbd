// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/program.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>

namespace {

bool verbose = false;

/** The program says what is wrong in its own words; the libraries' are shown on request. */
void handleMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (verbose || type == QtFatalMsg)
        fprintf(stderr, "%s\n", qPrintable(text));
    if (type == QtFatalMsg)
        abort();
}

} // namespace

int main(int argc, char **argv)
{
    umask(077);
    qInstallMessageHandler(handleMessage);
    QCoreApplication application(argc, argv);
    verbose = application.arguments().contains(QStringLiteral("--verbose"));
    return Accounts::Program().run(application.arguments());
}
