// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/sendingworld.h"
#include "tests/messageserver/actionlist.h"
#include "tests/messageserver/sendingfixture.h"
#include "tests/support/messageserver.h"

#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QFile>
#include <qmailstore.h>
#include <QTest>

#include <memory>
#include <signal.h>

namespace {

const QString Bob = QStringLiteral("bob");

QString serviceFile()
{
    return qEnvironmentVariable("XDG_DATA_HOME")
        + QStringLiteral("/dbus-1/services/com.tarvo.asdbus.service");
}

void reloadBus()
{
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("ReloadConfig")));
}

/** The process that serves the daemon's name, whoever started it; 0 for none. */
pid_t daemonPid()
{
    if (!DaemonProcess::isOnBus())
        return 0;
    return pid_t(QDBusConnection::sessionBus().interface()->servicePid(
        QLatin1String(Activesync::ServiceName)));
}

} // namespace

/**
 * A daemon that dies or stops at any step of a request, and that the bus can start again: nobody
 * waits for long, nothing is lost, and nothing is sent twice.
 */
class TestDeaths : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void aSendSurvivesTheDaemon_data();
    void aSendSurvivesTheDaemon();
    void aRetrievalSurvivesTheDaemon_data();
    void aRetrievalSurvivesTheDaemon();
    void aSyncOfTheDaemonsOwnSurvivesTheDaemon();
    void sendsToAStoppedDaemonHoldTheServerOnce();

private:
    enum Step { Starting, Called, AtWork, Done, Answered };

    SendingWorld &world() { return *m_world; }
    void writeService(const QByteArray &command);
    void letTheNextStartDie();
    static void send(int signal);
    void killDaemon();
    QJsonObject faultAt(Step step, const char *command) const;
    void dieAt(Step step);
    void verifyFree();

    std::unique_ptr<SendingWorld> m_world;
    std::unique_ptr<MessageServer> m_server;
};

void TestDeaths::initTestCase()
{
    EasServer::require();
    MessageServer::require();
}

void TestDeaths::writeService(const QByteArray &command)
{
    QFile file(serviceFile());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[D-BUS Service]\nName=com.tarvo.asdbus\nExec=" + command + "\n");
    file.close();
    reloadBus();
}

void TestDeaths::init()
{
    m_world = std::make_unique<SendingWorld>();
    QVERIFY(world().begin());
    QCOMPARE(world().syncAndWait(), 200);
    writeService(DaemonProcess::program().toUtf8() + " --log all --patience 24");
    m_server = std::make_unique<MessageServer>();
    QVERIFY(m_server->start());
}

void TestDeaths::cleanup()
{
    if (m_server && !QTest::currentTestFailed())
        QVERIFY(m_server->isAlive());
    m_server.reset();
    QFile::remove(serviceFile());
    reloadBus();
    send(SIGCONT);
    send(SIGTERM);
    QTRY_VERIFY(!DaemonProcess::isOnBus());
    m_world.reset();
}

void TestDeaths::send(int signal)
{
    if (const pid_t pid = daemonPid())
        ::kill(pid, signal);
}

void TestDeaths::killDaemon()
{
    const pid_t pid = daemonPid();
    QVERIFY(pid > 1);
    ::kill(pid, SIGKILL);
    QTRY_VERIFY(daemonPid() != pid);
}

/** The daemon dies once while the bus starts it. */
void TestDeaths::letTheNextStartDie()
{
    const QByteArray mark = qgetenv("TMPDIR") + "/died";
    QFile::remove(QString::fromLocal8Bit(mark));
    writeService("/bin/sh -c 'test -e " + mark + " && exec " + DaemonProcess::program().toUtf8()
                 + " --patience 24; touch " + mark + "; kill -KILL $$'");
    killDaemon();
}

/** What holds the server up, so that the daemon is at that step for long enough. */
QJsonObject TestDeaths::faultAt(Step step, const char *command) const
{
    return {{QStringLiteral("kind"), QStringLiteral("delay")},
            {QStringLiteral("command"), QLatin1String(command)},
            {QStringLiteral("late"), step == Done},
            {QStringLiteral("seconds"), step == Done ? 20 : 2}};
}

/** Kills the daemon there, after the request has been made; it was prepared for that. */
void TestDeaths::dieAt(Step step)
{
    switch (step) {
    case Starting:
        break;
    case Called:
        // It was stopped: the call is at its door.
        QVERIFY(QTest::qWaitFor(
            [this] { return m_server->log().contains(QLatin1String("start waiting")); }));
        killDaemon();
        break;
    case AtWork:
    case Done:
        QVERIFY(world().faultsAreTaken());
        killDaemon();
        break;
    case Answered:
        QTRY_VERIFY(world().listener.count(QStringLiteral("requestCompleted 200")) > 0);
        killDaemon();
        break;
    }
}

/** The next action is done, by a daemon that came by itself. */
void TestDeaths::verifyFree()
{
    QMailRetrievalAction action;
    ActionWatcher watcher(&action);
    action.retrieveFolderList(world().account, QMailFolderId());
    QVERIFY(watcher.waitForEnd(20000));
    QVERIFY(watcher.succeeded());
    QCOMPARE(watcher.endCount(), 1);
}

void TestDeaths::aSendSurvivesTheDaemon_data()
{
    QTest::addColumn<int>("step");
    QTest::newRow("while the bus starts it") << int(Starting);
    QTest::newRow("in the call") << int(Called);
    QTest::newRow("before the server has it") << int(AtWork);
    QTest::newRow("before the server's answer") << int(Done);
    QTest::newRow("after its end") << int(Answered);
}

void TestDeaths::aSendSurvivesTheDaemon()
{
    QFETCH(int, step);
    const QMailMessageId id = world().add(world().draft());
    if (step == Starting)
        letTheNextStartDie();
    else if (step == Called)
        send(SIGSTOP);
    else if (step != Answered)
        world().server.fault(faultAt(Step(step), "SendMail"));
    world().listener.clear();
    QElapsedTimer timer;
    timer.start();
    Transmission transmission;
    transmission.action.transmitMessages(world().account);
    dieAt(Step(step));
    // Whatever the outcome that it tells.
    QVERIFY(transmission.watcher.waitForEnd(30000));
    qInfo("the action ended after %lld ms", timer.elapsed());
    QCOMPARE(transmission.watcher.endCount(), 1);
    QTRY_COMPARE_WITH_TIMEOUT(world().copies(Bob, QStringLiteral("Hello")), 1, 30000);
    QTRY_VERIFY_WITH_TIMEOUT(!StoreFixture::exists(id), 30000);
    verifyFree();
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestDeaths::aRetrievalSurvivesTheDaemon_data()
{
    aSendSurvivesTheDaemon_data();
}

void TestDeaths::aRetrievalSurvivesTheDaemon()
{
    QFETCH(int, step);
    if (step == Starting)
        letTheNextStartDie();
    else if (step == Called)
        send(SIGSTOP);
    else if (step != Answered)
        world().server.fault(faultAt(Step(step), "FolderSync"));
    world().listener.clear();
    QMailRetrievalAction action;
    ActionWatcher watcher(&action);
    action.retrieveFolderList(world().account, QMailFolderId());
    dieAt(Step(step));
    QVERIFY(watcher.waitForEnd(20000));
    QCOMPARE(watcher.endCount(), 1);
    QCOMPARE(watcher.succeeded(), step == Answered);
    verifyFree();
}

/** The person's action waits behind the marker, and would not start a daemon before its turn. */
void TestDeaths::aSyncOfTheDaemonsOwnSurvivesTheDaemon()
{
    ActionList list;
    QVERIFY(list.waitUntilReady());
    world().server.fault(faultAt(AtWork, "FolderSync"));
    // Asked for by somebody else, it is no request of the message server's.
    QVERIFY(world().sync() > 0);
    QTRY_VERIFY(!list.markers().isEmpty()
                && list.markers().constFirst().info->activity() == QMailServiceAction::InProgress);
    killDaemon();
    QTRY_COMPARE_WITH_TIMEOUT(list.running(), 0, 20000);
    verifyFree();
}

void TestDeaths::sendsToAStoppedDaemonHoldTheServerOnce()
{
    QMailMessageIdList ids;
    for (int i = 0; i < 6; ++i)
        ids += world().add(world().draft(QString(QLatin1Char(char('A' + i)))));
    send(SIGSTOP);
    QElapsedTimer timer;
    timer.start();
    Transmission transmission;
    transmission.action.transmitMessages(world().account);
    QTRY_VERIFY(m_server->log().contains(QLatin1String("start waiting")));
    ActionList list;
    QTRY_VERIFY_WITH_TIMEOUT(list.waitUntilReady(), 70000);
    const qint64 held = timer.elapsed();
    qInfo("the message server was held for %lld ms", held);
    QVERIFY(held >= Activesync::CallTimeoutMs - 500);
    QVERIFY(held < Activesync::CallTimeoutMs + 4000);
    timer.start();
    send(SIGCONT);
    QVERIFY(transmission.watcher.waitForEnd(20000));
    qInfo("the action ended %lld ms after the daemon had come round", timer.elapsed());
    QVERIFY(!transmission.transmitted.isEmpty());
    // The one that it accepted is sent, and the others are offered again.
    for (int i = 0; i < 6; ++i)
        QTRY_COMPARE_WITH_TIMEOUT(world().copies(Bob, QString(QLatin1Char(char('A' + i)))), 1,
                                  20000);
    QTRY_COMPARE_WITH_TIMEOUT(QMailStore::instance()->countMessages(
                                  QMailMessageKey::id(ids, QMailDataComparator::Includes)),
                              0, 20000);
    verifyFree();
    QCOMPARE(world().server.messages(Bob, QStringLiteral("Inbox")).size(), 6);
}

QTEST_GUILESS_MAIN(TestDeaths)

#include "tst_deaths.moc"
