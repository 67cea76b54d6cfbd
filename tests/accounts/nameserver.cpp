// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/accounts/nameserver.h"

#include <QHostAddress>
#include <QNetworkDatagram>

namespace {

enum RecordType : quint16 { A = 1, Srv = 33 };

constexpr int HeaderSize = 12;

QByteArray number(quint16 value)
{
    const char bytes[] = {char(value >> 8), char(value & 0xff)};
    return QByteArray(bytes, 2);
}

/** A name as the protocol has it: labels with their lengths. */
QByteArray labels(const QString &name)
{
    QByteArray bytes;
    const QStringList parts = name.split(QLatin1Char('.'), Qt::SkipEmptyParts);
    for (const QString &part : parts)
        bytes += char(part.size()) + part.toLatin1();
    return bytes + '\0';
}

QString readLabels(const QByteArray &query, int *end)
{
    QStringList parts;
    int at = HeaderSize;
    while (at < query.size() && query.at(at)) {
        parts.append(QString::fromLatin1(query.mid(at + 1, query.at(at))));
        at += query.at(at) + 1;
    }
    *end = at + 1;
    return parts.join(QLatin1Char('.')).toLower();
}

} // namespace

bool NameServer::start()
{
    QObject::connect(&m_socket, &QUdpSocket::readyRead, [this] { answer(); });
    return m_socket.bind(QHostAddress(QHostAddress::LocalHost), 53);
}

void NameServer::addService(const char *name, quint16 priority, quint16 port, const char *target)
{
    m_services.insert(QLatin1String(name),
                      number(priority) + number(0) + number(port) + labels(QLatin1String(target)));
}

void NameServer::answer()
{
    while (m_socket.hasPendingDatagrams()) {
        const QNetworkDatagram query = m_socket.receiveDatagram();
        m_socket.writeDatagram(query.makeReply(reply(query.data())));
    }
}

QByteArray NameServer::reply(const QByteArray &query)
{
    int end = 0;
    const QString name = readLabels(query, &end);
    const quint16 type = quint16(quint8(query.at(end)) << 8 | quint8(query.at(end + 1)));
    m_questions.append((type == Srv ? QLatin1String("SRV ") : QLatin1String("host ")) + name);
    QList<QByteArray> records;
    if (type == Srv)
        records = m_services.values(name);
    else if (type == A && m_hosts.contains(name))
        records.append(QByteArray("\x7f\0\0\1", 4));
    const bool isKnown = m_hosts.contains(name) || m_services.contains(name);
    QByteArray bytes = query.left(2) + number(isKnown ? 0x8580 : 0x8583) + number(1)
        + number(quint16(records.size())) + number(0) + number(0)
        + query.mid(HeaderSize, end + 4 - HeaderSize);
    for (const QByteArray &record : qAsConst(records))
        // The question's name, the Internet's class, a minute to live.
        bytes += number(0xc000 | HeaderSize) + number(type) + number(1) + number(0) + number(60)
            + number(quint16(record.size())) + record;
    return bytes;
}
