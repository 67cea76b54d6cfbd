// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/daemonwaker.h"
#include "tests/plugin/fakemessageserver.h"
#include "tests/plugin/servicefixture.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QFile>
#include <qmailmessageservice.h>
#include <QTest>
#include <QTimer>

using Answer = ScriptedDaemon::Answer;

/** Has the bus start the daemon, which here notes its start and dies. */
class TestDaemonWaker : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void aNewServiceAsksOnceAndWaitsForNothing();
    void aNewServiceDoesWithoutADaemonThatCannotBeStarted();
    void aRefusedSendAsksUntilTheDaemonRuns();
    void aRefusedSendAsksUntilItHasEnded();
    void aRefusedOperationAsksOnce();
    void aDaemonThatDiesUnderARequestIsAskedFor();
    void aDaemonThatDiesUnderAMarkerIsAskedFor();
    void aDaemonThatDiesWhileNobodyWaitsIsLeft();
    void aDaemonThatDiesAgainAndAgainIsStartedWithPauses();

private:
    static QString serviceFile();
    static void reloadBus();
    int starts() const;
    static bool hasTimer(ServiceFixture &f);
};

QString TestDaemonWaker::serviceFile()
{
    return qEnvironmentVariable("XDG_DATA_HOME")
        + QStringLiteral("/dbus-1/services/com.tarvo.asdbus.service");
}

void TestDaemonWaker::reloadBus()
{
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("ReloadConfig")));
}

void TestDaemonWaker::init()
{
    QFile file(serviceFile());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[D-BUS Service]\nName=com.tarvo.asdbus\nExec=/bin/sh -c 'echo >>"
               + qgetenv("TMPDIR") + "/starts; exit 1'\n");
    file.close();
    reloadBus();
}

void TestDaemonWaker::cleanup()
{
    QFile::remove(serviceFile());
    QFile::remove(qEnvironmentVariable("TMPDIR") + QStringLiteral("/starts"));
    reloadBus();
}

/** How often the bus has started the daemon. */
int TestDaemonWaker::starts() const
{
    QFile file(qEnvironmentVariable("TMPDIR") + QStringLiteral("/starts"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().count('\n') : 0;
}

bool TestDaemonWaker::hasTimer(ServiceFixture &f)
{
    const auto timers = f.scheduler().findChildren<QTimer *>();
    return std::any_of(timers.begin(), timers.end(), [](QTimer *t) { return t->isActive(); });
}

void TestDaemonWaker::aNewServiceAsksOnceAndWaitsForNothing()
{
    const QMailAccountId account = StoreFixture::addAccount();
    const std::unique_ptr<QMailMessageService> service(
        QMailMessageServiceFactory::createService(QStringLiteral("orvmail"), account));
    QVERIFY(service);
    QTRY_COMPARE(starts(), 1);
    // The bus has told of the failure by then; nothing is asked again.
    reloadBus();
    QCoreApplication::processEvents();
    QCOMPARE(starts(), 1);
    StoreFixture::clear();
}

void TestDaemonWaker::aNewServiceDoesWithoutADaemonThatCannotBeStarted()
{
    QFile::remove(serviceFile());
    reloadBus();
    const QMailAccountId account = StoreFixture::addAccount();
    QElapsedTimer timer;
    timer.start();
    const std::unique_ptr<QMailMessageService> service(
        QMailMessageServiceFactory::createService(QStringLiteral("orvmail"), account));
    QVERIFY(service->available());
    QVERIFY(timer.elapsed() < 2000);
    StoreFixture::clear();
}

void TestDaemonWaker::aRefusedSendAsksUntilTheDaemonRuns()
{
    ServiceFixture f;
    f.daemon.vanish();
    f.sink().transmitMessages({StoreFixture::addOutgoing(f.account)});
    // The call itself was the first.
    QTRY_VERIFY_WITH_TIMEOUT(starts() >= 4, 15000);
    QVERIFY(f.daemon.appear());
    QTRY_VERIFY_WITH_TIMEOUT(!hasTimer(f), 15000);
    const int before = starts();
    // It announces a synchronisation, upon which the send ends.
    f.spy.take();
    f.daemon.syncStarted(f.account.toULongLong());
    f.daemon.settle();
    QCOMPARE(f.spy.takeOutcome(), texts({"activity 2", "completed true"}));
    QCOMPARE(starts(), before);
}

void TestDaemonWaker::aRefusedSendAsksUntilItHasEnded()
{
    ServiceFixture f;
    f.daemon.vanish();
    f.sink().transmitMessages({StoreFixture::addOutgoing(f.account)});
    QTRY_VERIFY(hasTimer(f));
    f.service->cancelOperation(QMailServiceAction::Status::ErrCancel, QString());
    QTRY_VERIFY(!hasTimer(f));
}

void TestDaemonWaker::aRefusedOperationAsksOnce()
{
    ServiceFixture f;
    f.daemon.vanish();
    f.source().retrieveFolderList(f.account, QMailFolderId(), true);
    QCOMPARE(f.spy.completions(), 1);
    QTRY_COMPARE(starts(), 2);
    reloadBus();
    QCoreApplication::processEvents();
    QVERIFY(!hasTimer(f));
}

void TestDaemonWaker::aDaemonThatDiesUnderARequestIsAskedFor()
{
    ServiceFixture f;
    f.source().synchronize(f.account);
    f.daemon.vanish();
    QTRY_VERIFY(starts() >= 1);
    QTRY_VERIFY(hasTimer(f));
    QVERIFY(f.daemon.appear());
    // The next daemon ends what the last one left.
    f.daemon.requestCompleted(1030, f.account.toULongLong(), 1);
    QTRY_COMPARE(f.spy.completions(), 1);
    QTRY_VERIFY(!hasTimer(f));
}

void TestDaemonWaker::aDaemonThatDiesUnderAMarkerIsAskedFor()
{
    const FakeMessageServer server;
    ServiceFixture f;
    f.daemon.syncStarted(f.account.toULongLong());
    f.daemon.settle();
    f.source().protocolRequest(f.account, QString(), QVariant(QString()));
    f.daemon.vanish();
    QTRY_VERIFY(starts() >= 1);
}

void TestDaemonWaker::aDaemonThatDiesWhileNobodyWaitsIsLeft()
{
    ServiceFixture f;
    f.source().synchronize(f.account);
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.completions(), 1);
    f.daemon.vanish();
    // The bus tells of it before it answers this.
    reloadBus();
    QCoreApplication::processEvents();
    QVERIFY(!hasTimer(f));
    reloadBus();
    QCOMPARE(starts(), 0);
}

void TestDaemonWaker::aDaemonThatDiesAgainAndAgainIsStartedWithPauses()
{
    ServiceFixture f;
    f.source().synchronize(f.account);
    QElapsedTimer timer;
    timer.start();
    int deaths = 0;
    for (; deaths < 20 || timer.elapsed() < 1500; ++deaths) {
        f.daemon.vanish();
        // The bus tells of it before it answers this.
        reloadBus();
        QCoreApplication::processEvents();
        QVERIFY(f.daemon.appear());
        f.daemon.settle();
    }
    // At once, and once more after each pause that there was time for.
    const qint64 elapsed = timer.elapsed();
    int most = 1;
    for (qint64 due = DaemonWaker::FirstPauseMs; due <= elapsed;
         due = 2 * due + DaemonWaker::FirstPauseMs)
        ++most;
    qInfo("%d deaths, %d starts, at most %d in %lld ms", deaths, starts(), most, elapsed);
    QVERIFY(most < deaths / 2);
    QVERIFY(starts() <= most);
}

QTEST_GUILESS_MAIN(TestDaemonWaker)

#include "tst_daemonwaker.moc"
