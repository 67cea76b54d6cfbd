// SPDX-License-Identifier: LGPL-2.1-or-later
// orvmail-account in the language of marks.
#include "accounts/program.h"
#include "tests/translations/marker.h"

#include <QCoreApplication>

#include <sys/stat.h>

int main(int argc, char **argv)
{
    umask(077);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) { });
    QCoreApplication application(argc, argv);
    Marker marker;
    QCoreApplication::installTranslator(&marker);
    return Accounts::Program().run(QCoreApplication::arguments());
}
