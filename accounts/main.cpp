// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/program.h"
#include "accounts/sessionbus.h"
#include "translations/translation.h"

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
    Accounts::findSessionBus();
    qInstallMessageHandler(handleMessage);
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    verbose = arguments.contains(QStringLiteral("--verbose"));
    // What another program reads is the same in each language, with its numbers and dates.
    if (arguments.contains(QStringLiteral("--json")))
        QLocale::setDefault(QLocale::c());
    else
        Translation::install(Translation::Scope::AllTexts);
    return Accounts::Program().run(arguments);
}
