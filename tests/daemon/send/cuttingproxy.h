// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_SEND_CUTTINGPROXY_H
#define TESTS_DAEMON_SEND_CUTTINGPROXY_H

#include <QTcpServer>
#include <QTcpSocket>

#include <functional>

/** Passes bytes on between a client and a server, and can break off in the middle of them. */
class CuttingProxy : public QObject
{
    Q_OBJECT

public:
    explicit CuttingProxy(quint16 target);

    quint16 port() const { return m_server.serverPort(); }
    /** After so many bytes more, of both directions, `then` is called and the connections are cut.
     */
    void cutAfter(qint64 bytes, const std::function<void()> &then = nullptr);
    /** After so many bytes `then` is called, and everything goes on. */
    void callAfter(qint64 bytes, const std::function<void()> &then);
    /** Everything passes again. */
    void heal();
    bool hasCut() const { return m_cut; }
    /** Bytes that have passed since the last cutAfter() or heal(). */
    qint64 passed() const { return m_passed; }

private:
    void onConnection();
    void pass(QTcpSocket *from, QTcpSocket *to);
    void cut();

    QTcpServer m_server;
    const quint16 m_target;
    QList<QTcpSocket *> m_sockets;
    std::function<void()> m_then;
    qint64 m_left = -1;
    qint64 m_passed = 0;
    bool m_cuts = false; ///< after what is left
    bool m_cut = false;
};

#endif
