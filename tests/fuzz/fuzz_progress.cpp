// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What comes over the progress socket, in any pieces, from any number of clients. The first byte of
// a piece is its length, or one of the events below.
#include "plugin/source/orvprogresslistener.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/waited.h"
#include "tests/plugin/servicefixture.h"

#include <QAbstractEventDispatcher>
#include <QFile>
#include <QLocalSocket>
#include <QPointer>

#include <cstring>

namespace {

enum Event {
    MaximumPiece = 250,
    /** The rest is in one piece. */
    TheRest,
    SecondClient,
    DownloadEnds,
    /** The end comes at once, whatever waits to be read. */
    ListenerGoes,
    Turn
};

constexpr int MaximumSeconds = 8;

QList<qint32> recordsIn(const QByteArray &bytes)
{
    QList<qint32> records;
    for (int at = 0; at + 4 <= bytes.size(); at += 4) {
        qint32 value = 0;
        std::memcpy(&value, bytes.constData() + at, sizeof value);
        records.append(value);
    }
    return records;
}

class Exchange
{
public:
    explicit Exchange(OrvService *service);

    void play(const QByteArray &bytes);
    void check(const QStringList &events) const;

private:
    void write(const QByteArray &piece);
    void connectSecond();
    bool isOver() const { return m_ended || !m_listener; }

    const QString m_path = qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/part");
    QObject m_owner;
    QPointer<OrvProgressListener> m_listener;
    QLocalSocket m_daemon;
    QLocalSocket m_second;
    QByteArray m_written;
    int m_seconds = 0;
    int m_finished = 0;
    bool m_ended = false;
};

Exchange::Exchange(OrvService *service)
    : m_listener(new OrvProgressListener(service, m_path, &m_owner))
{
    QObject::connect(m_listener, &OrvProgressListener::finished, &m_owner,
                     [this] { ++m_finished; });
    m_daemon.connectToServer(m_path);
    REQUIRE(m_daemon.waitForConnected());
}

void Exchange::write(const QByteArray &piece)
{
    m_written += piece;
    m_daemon.write(piece);
    m_daemon.flush();
}

void Exchange::connectSecond()
{
    if (++m_seconds > MaximumSeconds)
        return;
    m_second.abort();
    m_second.connectToServer(m_path);
    // Where nobody accepts, the queue is short.
    if (m_second.state() == QLocalSocket::ConnectedState)
        m_second.write("\1\0\0\0\2", 5);
}

void Exchange::play(const QByteArray &bytes)
{
    for (int at = 0; at < bytes.size() && !isOver();) {
        const quint8 event = quint8(bytes.at(at++));
        if (event <= MaximumPiece || event == TheRest) {
            const QByteArray piece = bytes.mid(at, event == TheRest ? -1 : event);
            at += piece.size();
            write(piece);
        } else if (event == SecondClient) {
            connectSecond();
        } else if (event == DownloadEnds) {
            m_ended = true;
            m_listener->onDisconnected();
        } else if (event == ListenerGoes) {
            delete m_listener;
        } else {
            QCoreApplication::processEvents();
        }
    }
    m_daemon.disconnectFromServer();
    REQUIRE(!m_listener || waited([this] { return m_finished > 0; }));
}

/** Only what was written is reported, and the last of it unless the end came first. */
void Exchange::check(const QStringList &events) const
{
    const QList<qint32> records = recordsIn(m_written);
    QStringList possible;
    for (const qint32 value : records) {
        if (value >= 0)
            possible.append(QStringLiteral("progress %1/100").arg(value));
    }
    for (const QString &event : events)
        REQUIRE(possible.contains(event));
    if (!isOver() && !records.isEmpty() && records.last() >= 0)
        REQUIRE(!events.isEmpty() && events.last() == possible.last());
    REQUIRE(!m_listener || m_finished > 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static auto *fixture = new ServiceFixture;
    fixture->service->startWaiting();
    // The service counts by itself when time passes.
    QAbstractEventDispatcher::instance()->unregisterTimers(fixture->service.get());
    fixture->spy.take();
    {
        Exchange exchange(fixture->service.get());
        exchange.play(QByteArray(reinterpret_cast<const char *>(data), int(size)));
        exchange.check(fixture->spy.take());
    }
    fixture->service->stopWaiting(0);
    fixture->spy.take();
    REQUIRE(!QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/part")));
    return 0;
}
