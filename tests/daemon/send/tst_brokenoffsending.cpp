// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/send/cuttingproxy.h"
#include "tests/daemon/sendingworld.h"
#include "tests/support/chance.h"

#include <qmailmessage.h>
#include <qmailstore.h>
#include <QRandomGenerator>
#include <QTest>

#include <memory>

namespace {

const QString Alice = QStringLiteral("alice");
const QString Bob = QStringLiteral("bob");

#ifdef __SANITIZE_ADDRESS__
constexpr int UsualPoints = 13;
#else
constexpr int UsualPoints = 25;
#endif

/** Points for each row, of which there are two that cut and two that kill. */
int pointCount()
{
    const int wanted = qEnvironmentVariableIntValue("ORVMAIL_BREAK_POINTS");
    return wanted > 0 ? wanted : UsualPoints;
}

/** So many other messages stay in the folder of sent ones: each costs time at each point. */
constexpr int Others = 3;

} // namespace

/** Sending a message, broken off at points that lie over the whole exchange with the server. */
class TestBrokenOffSending : public DaemonFixture<SendingWorld>
{
    Q_OBJECT

private slots:
    void brokenOffAnywhereItIsSentOnce_data();
    void brokenOffAnywhereItIsSentOnce();

private:
    bool begin() override
    {
        world().daemon.hurry();
        world().daemon.setPatience(4); // the test server is never at a message for half a second
        return world().begin();
    }
    qint64 bytesOfOneSending(CuttingProxy *proxy);
    void sendAndBreakOff(CuttingProxy *proxy, bool kill, qint64 point, const QString &subject);
    void removeOldest();
};

void TestBrokenOffSending::brokenOffAnywhereItIsSentOnce_data()
{
    QTest::addColumn<bool>("memory");
    QTest::addColumn<bool>("kill");
    QTest::newRow("connection cut, server remembers") << true << false;
    QTest::newRow("connection cut, server forgets") << false << false;
    QTest::newRow("daemon killed, server remembers") << true << true;
    QTest::newRow("daemon killed, server forgets") << false << true;
}

/** How many bytes pass when one message is sent, by a daemon that knows the protocol's version. */
qint64 TestBrokenOffSending::bytesOfOneSending(CuttingProxy *proxy)
{
    for (int i = 0; i < 2; ++i) {
        proxy->heal();
        if (world().sendAndWait(world().add(world().draft())) != 200)
            return 0;
    }
    return proxy->passed();
}

void TestBrokenOffSending::brokenOffAnywhereItIsSentOnce()
{
    QFETCH(bool, memory);
    QFETCH(bool, kill);
    world().setOption("client_id_memory", memory);
    CuttingProxy proxy(world().server.port());
    StoreFixture::Account settings = world().settings();
    settings.port = proxy.port();
    world().changeSettings(world().account, settings);
    const qint64 total = bytesOfOneSending(&proxy);
    QVERIFY(total > 0);
    QRandomGenerator random(testSeed());
    const int count = pointCount();
    for (int i = 0; i < count; ++i) {
        const qint64 first = total * i / count;
        const qint64 next = total * (i + 1) / count;
        const qint64 point = 1 + first + random.bounded(int(next - first));
        sendAndBreakOff(&proxy, kill, point, QStringLiteral("Point %1").arg(i));
        if (QTest::currentTestFailed()) {
            qWarning("at byte %lld", point);
            return;
        }
        removeOldest();
    }
    tellRounds(count);
}

void TestBrokenOffSending::removeOldest()
{
    const QString sent = QStringLiteral("Sent");
    const QList<QJsonObject> messages = world().server.messages(Alice, sent);
    if (messages.size() > Others)
        world().server.control("delete",
                               {{QStringLiteral("user"), Alice},
                                {QStringLiteral("folder"), sent},
                                {QStringLiteral("id"), messages.first()[QStringLiteral("id")]}});
}

void TestBrokenOffSending::sendAndBreakOff(CuttingProxy *proxy, bool kill, qint64 point,
                                           const QString &subject)
{
    const QMailMessageId id = world().add(world().draft(subject));
    const auto messageKey = QMailMessageKey::id(id);
    bool isKilled = false;
    proxy->cutAfter(point, [&] {
        isKilled = kill;
        if (kill)
            world().daemon.kill();
    });
    world().listener.clear();
    const int request = world().send(id);
    QVERIFY(request > 0);
    QTRY_VERIFY_WITH_TIMEOUT(isKilled || world().listener.codeOf(request) != 0, 30000);
    QVERIFY(proxy->hasCut());
    proxy->heal();
    if (isKilled) {
        QVERIFY(world().daemon.start());
        QTRY_VERIFY(world().isInOutbox(id)
                    || QMailStore::instance()->countMessages(messageKey) == 0);
    } else if (world().listener.codeOf(request) != 200) {
        QVERIFY(world().daemon.log().contains(
            QStringLiteral("message %1 is not sent").arg(id.toULongLong())));
    }
    const bool isOpen = isKilled ? world().isInOutbox(id) : world().listener.codeOf(request) != 200;
    QVERIFY(world().copies(Bob, subject) <= 1);
    QVERIFY(isOpen || world().copies(Bob, subject) == 1);
    if (isOpen) {
        QTRY_VERIFY(!SendingWorld::reasonOf(id).isEmpty());
        QCOMPARE(world().sendAndWait(id), 200);
    }
    QCOMPARE(world().copies(Bob, subject), 1);
}

QTEST_GUILESS_MAIN(TestBrokenOffSending)
#include "tst_brokenoffsending.moc"
