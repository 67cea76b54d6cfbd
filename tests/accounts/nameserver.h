// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_ACCOUNTS_NAMESERVER_H
#define TESTS_ACCOUNTS_NAMESERVER_H

#include <QMultiHash>
#include <QStringList>
#include <QUdpSocket>

/**
 * The name server 127.0.0.1 of a test, RFC 1035: every host that it knows is this machine.
 *
 * It answers while the event loop of its thread turns.
 */
class NameServer
{
public:
    /** False where the port of name servers is not to be had. */
    bool start();

    void addHost(const char *name) { m_hosts.append(QLatin1String(name)); }
    /** A service of a domain, RFC 2782. */
    void addService(const char *name, quint16 priority, quint16 port, const char *target);

    /** What was asked for, each as "TYPE name". */
    const QStringList &questions() const { return m_questions; }
    void forgetQuestions() { m_questions.clear(); }

private:
    void answer();
    QByteArray reply(const QByteArray &query);

    QUdpSocket m_socket;
    QStringList m_hosts;
    /** The data of SRV records. */
    QMultiHash<QString, QByteArray> m_services;
    QStringList m_questions;
};

#endif
