// SPDX-License-Identifier: LGPL-2.1-or-later
// usage: notification-server - tells what it is asked to show, a line each, and shows nothing.
#include "tests/stage/desktop/notificationserver.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const NotificationServer server;
    QObject::connect(&server, &NotificationServer::called, [](const QString &call) {
        std::printf("%s\n", qUtf8Printable(call));
        std::fflush(stdout);
    });
    return app.exec();
}
