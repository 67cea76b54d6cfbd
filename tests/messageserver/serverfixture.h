// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_MESSAGESERVER_SERVERFIXTURE_H
#define TESTS_MESSAGESERVER_SERVERFIXTURE_H

#include "asclient/syncinfoshmwriter.h"
#include "tests/support/actionwatcher.h"
#include "tests/support/messageserver.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <qmailserviceaction.h>
#include <QObject>

#include <memory>

/** An action of this process, a client, with its watcher. */
template <typename Action>
struct Watched
{
    Action action;
    ActionWatcher watcher {&action};
};

using Retrieval = Watched<QMailRetrievalAction>;

/**
 * The plugin in the real message server, between a real client and a scripted daemon: what the
 * tests of all topics begin and end with. They prove what a person sees; the tests of the plugin
 * alone (tests/plugin) prove what no client can see or bring about. Every test ends with a message
 * server that is alive and does the next action; see cleanup().
 */
class ServerFixture : public QObject
{
    Q_OBJECT

protected slots:
    void initTestCase();
    void init();
    void cleanup();

protected:
    /** Puts into the store what the message server shall find when it starts. */
    virtual void fillStore();
    /** Changes what the message server, not yet started, shall run with. */
    virtual void prepareServer(MessageServer &server);

    /** Another account, once the running server has a service for it. */
    QMailAccountId addSecondAccount() const;
    /** The account's folder of that kind. */
    QMailFolderId folder(QMailFolder::StandardFolder kind) const;

    void retrieveFolders(Retrieval &retrieval) const;
    /** Has the client retrieve the folder list and returns the call that the daemon gets for it. */
    ScriptedDaemon::Call startFolders(Retrieval &retrieval);

    /**
     * Returns when the message server has handled all that the daemon and this process sent before,
     * and this process what the server told then: a test can assert that nothing happened.
     */
    void settle();
    /** A whole synchronisation of the daemon's own, over at once. */
    void announceSync();
    /** The daemon's state while the result lives: that it synchronises the account, and how far. */
    std::unique_ptr<SyncInfoShmWriter> publishProgress(int permille) const;
    /** Makes the waiting action ask the daemon after its requests within two ticks of its timer. */
    std::unique_ptr<SyncInfoShmWriter> pollSoon() const { return publishProgress(999); }

    /** It ended, and once. */
    void verifyEnded(ActionWatcher &watcher, int timeoutMs = PatienceMs);
    /** It ended once, and well. */
    void verifySucceeded(ActionWatcher &watcher, int timeoutMs = PatienceMs);
    /** It ended once, with that code. */
    void verifyFailed(ActionWatcher &watcher, int code, int timeoutMs = PatienceMs);
    /** The daemon is done with the action's last request, and so the action ends well. */
    template <typename Action>
    void succeed(Action &it, const ScriptedDaemon::Call &call)
    {
        m_daemon->complete(call.requestId, 200);
        verifySucceeded(it.watcher);
    }
    /** The daemon ends it with a failure, and the action ends with that code. */
    template <typename Action>
    void fail(Action &it, const ScriptedDaemon::Call &call, int daemonCode, int code)
    {
        m_daemon->complete(call.requestId, daemonCode);
        verifyFailed(it.watcher, code);
    }
    /** The server is alive, and an action goes to the daemon and ends once. */
    void verifyNextAction();

    /** How often the server's log has that text. */
    int logCount(const char *text) const;

    QMailAccountId m_account;
    std::unique_ptr<ScriptedDaemon> m_daemon;
    std::unique_ptr<MessageServer> m_server;
};

#endif
