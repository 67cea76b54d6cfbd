// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/source/orvprogresslistener.h"
#include "tests/plugin/servicefixture.h"
#include "tests/support/chance.h"

#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QByteArray records(std::initializer_list<qint32> values)
{
    QByteArray bytes;
    for (const qint32 value : values)
        bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
    return bytes;
}

/** A listener of a service that waits, and the daemon's end of its socket. */
class ListenerFixture
{
public:
    ListenerFixture()
        : path(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/part"))
    {
        QFile::remove(path);
        f.service->startWaiting();
        f.spy.take();
    }

    OrvProgressListener *listen()
    {
        listener = new OrvProgressListener(f.service.get(), path, &f.source());
        finished = std::make_unique<QSignalSpy>(listener.data(), &OrvProgressListener::finished);
        return listener;
    }

    /** Connects the daemon's end, or another one. */
    bool connectDaemon() { return connectDaemon(daemon); }
    bool connectDaemon(QLocalSocket &socket)
    {
        socket.connectToServer(path);
        return socket.waitForConnected();
    }

    /** What follows from `count` progress reports of the daemon. */
    QStringList takeProgress(int count)
    {
        QStringList events;
        (void)QTest::qWaitFor([&] { return (events += f.spy.take()).count() >= count; });
        return events;
    }

    ServiceFixture f;
    const QString path;
    QLocalSocket daemon;
    QPointer<OrvProgressListener> listener;
    std::unique_ptr<QSignalSpy> finished;
};

} // namespace

/**
 * The socket on which a download tells its progress, byte by byte, and its end. The progress that a
 * client sees is proved in tests/messageserver.
 */
class TestProgressListener : public QObject
{
    Q_OBJECT

private slots:
    void listensFromItsConstruction();
    void aRecordThatArrivesByteByByteIsReportedOnce();
    void bytesOfChanceInPiecesOfChanceReportRecordsAlone();
    void whatWasWrittenBeforeTheConnectionWasWiredIsRead();
    void theServicesOwnCountingStops();
    void aSecondConnectionThatIsPendingIsClosed();
    void aTakenNameLeavesTheListenerIdleUntilTheDownloadEnds();
    void aStaleSocketFileIsLeftAndTheListenerIsIdle();
    void aShortReadEndsTheListener();
    void theDownloadsEndEndsAConnectedListener();
    void aNameWithoutAPendingConnectionIsWarnedOf();
    void aListenerThatIsDestroyedFreesItsName();
};

void TestProgressListener::listensFromItsConstruction()
{
    ListenerFixture x;
    LogRecorder log;
    x.listen();
    QVERIFY(x.connectDaemon());
    QTRY_VERIFY(!QFile::exists(x.path));
    const QString quoted = QStringLiteral("\"%1\"").arg(x.path);
    QCOMPARE(log.takeLines(),
             QStringList({QStringLiteral("received incoming connection to path ") + quoted,
                          QStringLiteral("0 bytes available to read from path ") + quoted,
                          QStringLiteral("progress -1 on path ") + quoted}));
    QCOMPARE(x.f.spy.take(), QStringList());
    x.daemon.write(records({40}));
    QCOMPARE(x.takeProgress(1), texts({"progress 40/100"}));
    QCOMPARE(log.takeLines(),
             QStringList({QStringLiteral("4 bytes available to read from path ") + quoted,
                          QStringLiteral("progress 40 on path ") + quoted,
                          QStringLiteral(" progress changed to  40 of 100")}));
    QCOMPARE(log.takeWarnings(), QStringList());
}

void TestProgressListener::aRecordThatArrivesByteByByteIsReportedOnce()
{
    ListenerFixture x;
    x.listen();
    QVERIFY(x.connectDaemon());
    LogRecorder log;
    const QByteArray bytes = records({55});
    for (int i = 0; i < bytes.size(); ++i) {
        x.daemon.write(bytes.mid(i, 1));
        x.daemon.waitForBytesWritten();
        QTRY_VERIFY(log.hasLine(
            QStringLiteral("%1 bytes available to read from path \"%2\"").arg(i + 1).arg(x.path)));
    }
    QCOMPARE(x.takeProgress(1), texts({"progress 55/100"}));
}

void TestProgressListener::bytesOfChanceInPiecesOfChanceReportRecordsAlone()
{
    QRandomGenerator random(testSeed());
    for (int round = 0; round < 30; ++round) {
        ListenerFixture x;
        x.listen();
        QVERIFY(x.connectDaemon());
        QByteArray bytes(int(random.bounded(200)), '\0');
        for (char &byte : bytes)
            byte = char(random.bounded(256));
        QSet<QString> possible;
        for (int at = 0; at + 4 <= bytes.size(); at += 4) {
            qint32 value = 0;
            std::memcpy(&value, bytes.constData() + at, sizeof value);
            possible.insert(QStringLiteral("progress %1/100").arg(value));
        }
        QStringList events;
        for (int at = 0, piece = 0; at < bytes.size(); at += piece) {
            piece = int(1 + random.bounded(13));
            x.daemon.write(bytes.mid(at, piece));
            x.daemon.flush();
            QCoreApplication::processEvents();
            events += x.f.spy.take();
        }
        x.daemon.disconnectFromServer();
        QTRY_VERIFY(x.finished->count() >= 1);
        events += x.f.spy.take();
        for (const QString &event : qAsConst(events))
            QVERIFY2(possible.contains(event) && !event.contains(QLatin1Char('-')),
                     qPrintable(event));
    }
}

void TestProgressListener::whatWasWrittenBeforeTheConnectionWasWiredIsRead()
{
    ListenerFixture x;
    x.listen();
    QVERIFY(x.connectDaemon());
    x.daemon.write(records({33}));
    QVERIFY(x.daemon.waitForBytesWritten());
    x.daemon.disconnectFromServer();
    // The event loop turns for the first time only now.
    QCOMPARE(x.takeProgress(1), texts({"progress 33/100"}));
    QTRY_VERIFY(x.finished->count() >= 1);
}

void TestProgressListener::theServicesOwnCountingStops()
{
    ListenerFixture x;
    x.listen();
    QVERIFY(x.connectDaemon());
    x.daemon.write(records({40}));
    QCOMPARE(x.takeProgress(1), texts({"progress 40/100"}));
    x.f.tick(2);
    QCOMPARE(x.f.spy.take(),
             texts({"status Progressing...", "progress 40/100", "status Progressing...",
                    "progress 40/100"}));
}

void TestProgressListener::aSecondConnectionThatIsPendingIsClosed()
{
    ListenerFixture x;
    OrvProgressListener *listener = x.listen();
    auto *server = listener->findChild<QLocalServer *>();
    QVERIFY(server);
    QLocalSocket first;
    QVERIFY(x.connectDaemon(first));
    QTRY_VERIFY(!server->isListening());
    // Only a server that listens again could bring a second one.
    QVERIFY(server->listen(x.path));
    LogRecorder log;
    QLocalSocket second;
    QVERIFY(x.connectDaemon(second));
    QTRY_COMPARE(second.state(), QLocalSocket::UnconnectedState);
    QCOMPARE(log.takeWarnings(),
             QStringList(QStringLiteral("already connected to path \"%1\"").arg(x.path)));
    first.write(records({40}));
    QCOMPARE(x.takeProgress(1), texts({"progress 40/100"}));
}

void TestProgressListener::aTakenNameLeavesTheListenerIdleUntilTheDownloadEnds()
{
    ListenerFixture x;
    QLocalServer other;
    QVERIFY(other.listen(x.path));
    LogRecorder log;
    OrvProgressListener *listener = x.listen();
    QCOMPARE(log.takeWarnings(),
             QStringList(QStringLiteral("server is already listening path \"%1\"").arg(x.path)));
    QVERIFY(!listener->findChild<QLocalServer *>());
    // The other one keeps the name.
    QLocalSocket client;
    QVERIFY(x.connectDaemon(client));
    QTRY_VERIFY(other.hasPendingConnections());
    client.write(records({40}));
    client.waitForBytesWritten();
    x.f.daemon.settle();
    QCOMPARE(x.f.spy.take(), QStringList());
    QCOMPARE(x.finished->count(), 0);
    listener->onDisconnected();
    QCOMPARE(x.finished->count(), 1);
    QCOMPARE(x.finished->first().first().toString(), x.path);
    QVERIFY(QFile::exists(x.path));
}

void TestProgressListener::aStaleSocketFileIsLeftAndTheListenerIsIdle()
{
    ListenerFixture x;
    // What a server that was killed leaves behind.
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, qPrintable(x.path), sizeof address.sun_path);
    QCOMPARE(::bind(socket, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ::close(socket);
    LogRecorder log;
    OrvProgressListener *listener = x.listen();
    QCOMPARE(log.takeWarnings().count(), 1);
    QVERIFY(QFile::exists(x.path));
    QLocalSocket client;
    client.connectToServer(x.path);
    QVERIFY(!client.waitForConnected(100));
    listener->onDisconnected();
    QCOMPARE(x.finished->count(), 1);
    QFile::remove(x.path);
}

void TestProgressListener::aShortReadEndsTheListener()
{
    ListenerFixture x;
    OrvProgressListener *listener = x.listen();
    QVERIFY(x.connectDaemon());
    QTRY_VERIFY(!QFile::exists(x.path));
    auto *socket = listener->findChild<QLocalSocket *>();
    QVERIFY(socket);
    // In text mode a carriage return is swallowed: less is read than was there.
    socket->setTextModeEnabled(true);
    LogRecorder log;
    x.daemon.write(records({'\r'}));
    QTRY_VERIFY(x.finished->count() >= 1);
    QCOMPARE(log.takeWarnings(),
             QStringList(QStringLiteral("error reading 4 bytes from \"%1\"").arg(x.path)));
    QCOMPARE(x.f.spy.take(), QStringList());
    QTRY_COMPARE(x.daemon.state(), QLocalSocket::UnconnectedState);
}

void TestProgressListener::theDownloadsEndEndsAConnectedListener()
{
    ListenerFixture x;
    OrvProgressListener *listener = x.listen();
    QVERIFY(x.connectDaemon());
    QTRY_VERIFY(!QFile::exists(x.path));
    listener->onDisconnected();
    QVERIFY(x.finished->count() >= 1);
    QTRY_COMPARE(x.daemon.state(), QLocalSocket::UnconnectedState);
}

void TestProgressListener::aNameWithoutAPendingConnectionIsWarnedOf()
{
    ListenerFixture x;
    OrvProgressListener *listener = x.listen();
    LogRecorder log;
    listener->onNewConnection();
    QCOMPARE(log.takeWarnings(),
             QStringList(QStringLiteral("no pending socket on path \"%1\"").arg(x.path)));
    QCOMPARE(x.finished->count(), 0);
}

void TestProgressListener::aListenerThatIsDestroyedFreesItsName()
{
    ListenerFixture x;
    delete x.listen();
    QVERIFY(!QFile::exists(x.path));
    x.listen();
    QVERIFY(x.connectDaemon());
}

QTEST_GUILESS_MAIN(TestProgressListener)

#include "tst_progresslistener.moc"
