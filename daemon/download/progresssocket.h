// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_DOWNLOAD_PROGRESSSOCKET_H
#define DAEMON_DOWNLOAD_PROGRESSSOCKET_H

#include <QElapsedTimer>
#include <QLocalSocket>
#include <QObject>

namespace Daemon {

/**
 * Tells a listener, if there is one, how far the download of a part has come.
 *
 * Writes records of 4 bytes: percent as a signed integer in host byte order, negative for "no
 * progress". A listener that is slow or goes away is never waited for. Deleting it ends the
 * connection.
 */
class ProgressSocket : public QObject
{
    Q_OBJECT

public:
    /** Faster than 20 a second no person can see. */
    static constexpr int MinimumIntervalMs = 55;

    ProgressSocket(quint64 messageId, const QString &location, QObject *parent);

    /** Connects to the listener, unless that is done. */
    void open();
    /** Writes it if it is news, and not too soon after the one before. */
    void report(int percent);
    /** Writes 100 and ends the connection. */
    void complete();

private:
    void write(int percent);

    const QString m_path;
    QLocalSocket m_socket;
    QElapsedTimer m_sinceLast;
    int m_last = -2;
};

} // namespace Daemon

#endif
