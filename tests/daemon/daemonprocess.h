// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_DAEMONPROCESS_H
#define TESTS_DAEMON_DAEMONPROCESS_H

#include <QProcess>
#include <QString>
#include <QStringList>

/**
 * The real asdaemon on the test's bus and mail store.
 *
 * What it logs (everything) is kept, and printed when the test that owns this object failed. The
 * destructor kills a daemon that still runs.
 */
class DaemonProcess
{
public:
    DaemonProcess();
    ~DaemonProcess();
    DaemonProcess(const DaemonProcess &) = delete;
    DaemonProcess &operator=(const DaemonProcess &) = delete;

    static QString program();
    /** Some process serves the daemon's name. */
    static bool isOnBus();

    /** Starts, from the next start on, the one whose pauses before a server is asked are short. */
    void hurry(bool on = true);
    /** Seconds for which a server may keep silent, from the next start on. */
    void setPatience(int seconds) { m_patience = seconds; }
    /** Milliseconds for which it leaves changes alone, in a hurry or not, from the next start on.
     */
    void setUndoTime(int milliseconds) { m_undoTime = milliseconds; }
    /** Starts it and waits until it has its name on the bus. */
    bool start(QStringList arguments = {QStringLiteral("--log"), QStringLiteral("all")});
    /** SIGTERM without waiting. */
    void requestEnd();
    /** SIGTERM; the exit code, or -1 when it crashed or did not end in time. */
    int end(int timeoutMs = 10000);
    /** SIGKILL, and waits until the bus knows. */
    void kill();

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    qint64 processId() const { return m_process.processId(); }
    /** Kibibytes of memory of its own, without files that are mapped. */
    qint64 ownMemory() const;
    QString log() const;

private:
    QProcess m_process;
    QString m_program = program();
    QString m_logFile;
    bool m_hurries = false;
    int m_patience = 0;
    int m_undoTime = 0;
};

#endif
