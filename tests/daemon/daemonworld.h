// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_DAEMONWORLD_H
#define TESTS_DAEMON_DAEMONWORLD_H

#include "asclient/asdbusinterface.h"
#include "tests/daemon/buslistener.h"
#include "tests/daemon/daemonprocess.h"
#include "tests/support/easserver.h"
#include "tests/support/storefixture.h"

#include <qmailid.h>

#include <functional>

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
    /** How many days of mail the account keeps here; 0: all. */
    void keepDays(int days);
    /** Switches the account's push, as another program does. */
    void setPush(bool on);
    /** How many waits of alice's devices for news began at the server, or were ended by the test.
     */
    int pings();
    /** A folder comes to the server. */
    void createFolder(const QString &name);
    /** Messages "PREFIX 1" to "PREFIX n" come to the server. */
    void deliver(int n, const QString &prefix = QStringLiteral("Mail"),
                 const QString &folder = QStringLiteral("Inbox"));

    /** The message of that subject at the server: "id", "read", "flag" and more; empty for none. */
    QJsonObject atServer(const QString &subject, const QString &folder = QStringLiteral("Inbox"));
    bool isReadAtServer(const QString &subject);
    /** Does to it what another program of alice's does: "delete", "move" to a "target", "flag". */
    void changeAtServer(const char *what, const QString &subject, EasServer::Details details = {},
                        const QString &folder = QStringLiteral("Inbox"));

    /** Waits until the faults that were asked for have met their requests. */
    bool faultsAreTaken();
    /** Waits for the condition, and meanwhile lets go each request that the server delays: what
     * comes behind it is held again. */
    bool passDelaysUntil(const std::function<bool()> &condition);

    /** Returns when the test has heard all that the daemon told before. */
    bool hearAll();

    /** Asks for a synchronisation of the account; its request id. */
    int sync() { return sync(account); }
    int sync(const QMailAccountId &id);
    int syncFolders(const QStringList &folders, int contentType = 0, int value = 0);
    /** Waits for the end of a request; its code, or 0 when it did not end in time. */
    int codeOf(int requestId, int timeoutMs = 30000);
    int syncAndWait() { return codeOf(sync()); }

    /** The account's folder of that name in the mail store. */
    QMailFolderId folder(const QString &name) const;
    /** The account's message with that subject. */
    QMailMessageId find(const QString &subject) const;
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
