// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_NOTIFY_BUSMONITOR_H
#define TESTS_DAEMON_NOTIFY_BUSMONITOR_H

#include <QProcess>
#include <QString>

/** Watches the calls on the test's bus that name a service, also one that is not there. */
class BusMonitor
{
public:
    explicit BusMonitor(const QString &service);
    ~BusMonitor();
    BusMonitor(const BusMonitor &) = delete;
    BusMonitor &operator=(const BusMonitor &) = delete;

    /** Whether it has begun to watch; waits for that. */
    bool isWatching();
    /** How many calls named the service until now; one of the test's own is made to know that all
     * others are told, and is not counted. */
    int calls();

private:
    int told() const { return int(m_text.count("\nmethod call ")); }
    void read() { m_text += m_process.readAllStandardOutput(); }

    const QString m_service;
    QProcess m_process;
    QByteArray m_text;
    int m_own = 0;
};

#endif
