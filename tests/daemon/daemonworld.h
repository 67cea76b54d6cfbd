// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_DAEMONWORLD_H
#define TESTS_DAEMON_DAEMONWORLD_H

#include "asclient/asdbusinterface.h"
#include "tests/daemon/buslistener.h"
#include "tests/daemon/daemonprocess.h"
#include "tests/support/easserver.h"
#include "tests/support/storefixture.h"

#include <qmailid.h>

/** What a test of the whole daemon needs: a server, an account on it, the daemon, and the bus. */
class DaemonWorld
{
public:
    DaemonWorld();
    ~DaemonWorld();

    /** Starts the server and the daemon and adds an account for "alice" on that server. */
    bool begin();
    /** Starts the daemon for accounts that it knows, and waits until it has told of itself. */
    bool startDaemon();
    /** Ends the daemon in order; its exit code, 0 where it does not run. */
    int endDaemon();
    /** The settings of an account on the server. */
    StoreFixture::Account settings() const;
    /** Changes the settings of an account, as another program does. */
    void changeSettings(const QMailAccountId &id, const StoreFixture::Account &settings);
    /** Enables or disables an account, as another program does. */
    void setEnabled(const QMailAccountId &id, bool enabled);
    /** Messages "PREFIX 1" to "PREFIX n" come to the server. */
    void deliver(int n, const QString &prefix = QStringLiteral("Mail"),
                 const QString &folder = QStringLiteral("Inbox"));

    /** Waits until the faults that were asked for have met their requests. */
    bool faultsAreTaken();

    /** Asks for a synchronisation of the account; its request id. */
    int sync() { return sync(account); }
    int sync(const QMailAccountId &id);
    int syncFolders(const QStringList &folders, int contentType = 0, int value = 0);
    /** Waits for the end of a request; its code, or 0 when it did not end in time. */
    int codeOf(int requestId, int timeoutMs = 30000);
    int syncAndWait() { return codeOf(sync()); }

    /** The account's folder of that name in the mail store. */
    QMailFolderId folder(const QString &name) const;
    /** The subjects of the messages in a folder, sorted. */
    QStringList subjects(const QString &folderName = QStringLiteral("Inbox")) const;
    /** How many different subjects there are in the inbox. */
    int differentSubjects() const;
    /** How many messages the account has in the mail store. */
    int messageCount() const;

    EasServer server;
    DaemonProcess daemon;
    BusListener listener;
    Activesync::AsDBusInterface proxy;
    QMailAccountId account;
};

#endif
