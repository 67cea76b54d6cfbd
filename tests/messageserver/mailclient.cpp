// SPDX-License-Identifier: LGPL-2.1-or-later
//
// usage: test-mail-client ACCOUNT
//
// Retrieves the account's folder list through the message server. Prints "sent" when the message
// server has been asked, and then how often that ended and with which error code.

#include "tests/support/actionwatcher.h"

#include <QCoreApplication>
#include <qmailmessageserver.h>

#include <stdio.h>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 2)
        return 2;
    QMailMessageServer::registerTypes();
    QMailRetrievalAction action;
    ActionWatcher watcher(&action);
    action.retrieveFolderList(QMailAccountId(app.arguments().at(1).toULongLong()), QMailFolderId());
    puts("sent");
    fflush(stdout);
    watcher.waitForEnd(30000);
    printf("%d %d\n", watcher.endCount(), watcher.errorCode());
    return 0;
}
