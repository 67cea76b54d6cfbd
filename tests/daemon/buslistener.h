// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_BUSLISTENER_H
#define TESTS_DAEMON_BUSLISTENER_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

/**
 * Writes down the daemon's broadcasts in the order in which they come over the bus.
 *
 * An entry reads like a call: "syncStarted 2", "requestCompleted 200 2 1" (code, account, request).
 */
class BusListener : public QObject
{
    Q_OBJECT

public:
    explicit BusListener(const QDBusConnection &bus = QDBusConnection::sessionBus());

    QStringList broadcasts() const { return m_broadcasts; }
    int count(const QString &beginning) const;
    /** The code of the request's completion; 0 while there is none. */
    int codeOf(int requestId) const;
    int completionsOf(int requestId) const;
    void clear() { m_broadcasts.clear(); }

private slots:
    void onBroadcast(const QDBusMessage &message);

private:
    QStringList m_broadcasts;
};

#endif
