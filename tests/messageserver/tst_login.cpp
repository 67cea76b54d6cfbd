// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonworld.h"
#include "tests/support/messageserver.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFile>
#include <QJsonArray>
#include <qmailaccount.h>
#include <qmailstore.h>
#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <memory>

namespace {

const QString Alice = QStringLiteral("alice");

/** The file by which the bus starts the daemon, as it is installed. */
class ActivationFile
{
public:
    ActivationFile()
        : m_file(qEnvironmentVariable("XDG_DATA_HOME")
                 + QStringLiteral("/dbus-1/services/com.tarvo.asdbus.service"))
    {
    }
    ~ActivationFile()
    {
        m_file.remove();
        reload();
    }

    bool write()
    {
        QFile file(qEnvironmentVariable("ORVMAIL_SOURCE_DIR")
                   + QStringLiteral("/packaging/com.tarvo.asdbus.service.in"));
        if (!file.open(QIODevice::ReadOnly) || !m_file.open(QIODevice::WriteOnly))
            return false;
        m_file.write(file.readAll().replace("@ASDAEMON_PATH@", DaemonProcess::program().toUtf8()));
        m_file.close();
        return reload();
    }

private:
    static bool reload()
    {
        const QDBusMessage reply =
            QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ReloadConfig")));
        return reply.type() == QDBusMessage::ReplyMessage;
    }

    QFile m_file;
};

} // namespace

/** A session begins: the message server is started, the daemon is not, and nobody does anything. */
class TestLogin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void mailComesByItself_data();
    void mailComesByItself();

private:
    /** Lets an earlier session fetch what the server has. */
    void useAccount();
    void endDaemon();

    std::unique_ptr<DaemonWorld> m_world;
    std::unique_ptr<ActivationFile> m_activation;
    std::unique_ptr<MessageServer> m_server;
};

void TestLogin::initTestCase()
{
    EasServer::require();
    MessageServer::require();
}

void TestLogin::init()
{
    m_world = std::make_unique<DaemonWorld>();
    QVERIFY(m_world->server.start());
    m_world->account = StoreFixture::addAccount(m_world->settings());
    m_world->deliver(1, QStringLiteral("Old"));
    m_activation = std::make_unique<ActivationFile>();
    m_server = std::make_unique<MessageServer>();
}

void TestLogin::cleanup()
{
    if (m_server)
        QVERIFY(m_server->terminate());
    m_server.reset();
    m_activation.reset();
    endDaemon();
    m_world.reset();
}

void TestLogin::endDaemon()
{
    const uint pid = QDBusConnection::sessionBus().interface()->servicePid(
        QLatin1String(Activesync::ServiceName));
    if (!DaemonProcess::isOnBus())
        return;
    QVERIFY(pid > 1);
    QCOMPARE(::kill(pid_t(pid), SIGTERM), 0);
    QTRY_VERIFY_WITH_TIMEOUT(!DaemonProcess::isOnBus(), 20000);
}

void TestLogin::useAccount()
{
    QVERIFY(m_world->daemon.start());
    QCOMPARE(m_world->syncAndWait(), 200);
    QCOMPARE(m_world->subjects(), QStringList(QStringLiteral("Old 1")));
    QCOMPARE(m_world->endDaemon(), 0);
}

void TestLogin::mailComesByItself_data()
{
    QTest::addColumn<bool>("used");
    QTest::newRow("account in use") << true;
    QTest::newRow("account that was never synchronised") << false;
}

void TestLogin::mailComesByItself()
{
    QFETCH(bool, used);
    if (used)
        useAccount();
    m_world->setPush(true);
    QVERIFY(m_activation->write());
    QVERIFY(!DaemonProcess::isOnBus());
    QVERIFY(m_server->start());
    QVERIFY(QTest::qWaitFor([this] { return m_world->pings() > 0; }, 60000));
    QTRY_COMPARE(m_world->subjects(), QStringList(QStringLiteral("Old 1")));

    // What a mail program hears that shows the inbox.
    QSignalSpy told(QMailStore::instance(), &QMailStore::messagesAdded);
    m_world->server.deliverText(Alice, QStringLiteral("News"));
    QTRY_COMPARE_WITH_TIMEOUT(
        m_world->subjects(), QStringList({QStringLiteral("News"), QStringLiteral("Old 1")}), 20000);
    const auto wasTold = [&] {
        for (const QVariantList &arguments : told) {
            for (const QMailMessageId &id : arguments.first().value<QMailMessageIdList>()) {
                if (QMailMessageMetaData(id).subject() == QLatin1String("News"))
                    return true;
            }
        }
        return false;
    };
    QTRY_VERIFY(wasTold());
    QVERIFY(m_server->isAlive());
}

QTEST_GUILESS_MAIN(TestLogin)
#include "tst_login.moc"
