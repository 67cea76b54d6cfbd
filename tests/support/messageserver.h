// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_MESSAGESERVER_H
#define TESTS_SUPPORT_MESSAGESERVER_H

#include "tests/support/patience.h"

#include <QProcess>
#include <QString>

/**
 * The platform's real message server with our plugin, in the test's environment.
 *
 * Its output is kept, with what the log category "Messaging" tells, and printed when the test that
 * owns this object failed. The destructor kills a server that still runs.
 */
class MessageServer
{
public:
    MessageServer();
    ~MessageServer();
    MessageServer(const MessageServer &) = delete;
    MessageServer &operator=(const MessageServer &) = delete;

    /** True when the message server is installed here. */
    static bool isInstalled();
    /** True when our plugin lies where the message server will look. */
    static bool hasPlugin();

    /** Skips the whole test program where it is not installed, and fails it without our plugin; for
     * initTestCase(). */
    static void require();

    /** Sets a variable of the server's environment; before start(). */
    void setEnvironment(const QString &name, const QString &value);
    /** Loads a library before the server's own; before start(). */
    void preload(const QString &library);
    /** Starts it and waits until it takes requests; registers the types of the client library. */
    bool start(int timeoutMs = PatienceMs);
    /** Ends it as a system does, with SIGTERM; false when it did not end in time. */
    bool terminate(int timeoutMs = 10000);
    /** SIGTERM without waiting. */
    void requestTermination();
    /** Ends it with SIGKILL. */
    void kill();

    /** Returns when it has handled all that came to it over the bus before; false if it does not.
     */
    bool settle();

    /** Its process runs and answers on the bus. */
    bool isAlive() const;
    bool hasExited() const;
    /** Meaningful after its end: it did not crash. */
    bool exitedNormally() const;
    int exitCode() const;
    qint64 processId() const { return m_process.processId(); }

    /** All that it printed so far. */
    QString log() const;

private:
    QProcess m_process;
    QProcessEnvironment m_environment;
    QString m_logFile;
};

#endif
