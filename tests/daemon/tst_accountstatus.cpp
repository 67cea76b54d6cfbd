// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonworld.h"

#include <QDBusInterface>
#include <QTest>

#include <qmailstore.h>

#include <memory>

/** What the daemon tells of an account that does not work, to those who show it to a person. */
class TestAccountStatus : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void anAccountThatWorksHasNoError();
    void theReasonIsThereWhenTheRequestEnds_data();
    void theReasonIsThereWhenTheRequestEnds();
    void aRefusedLoginIsToldAndForgottenAfterASuccess();
    void whatIsWrongWithTheSettingsIsNamed();
    void aServerThatCannotBeWatchedIsToldOf();

private:
    DaemonWorld &world() { return *m_world; }
    QVariantList lastError()
    {
        QDBusInterface status(QLatin1String(Activesync::ServiceName),
                              QLatin1String(Activesync::ObjectPath),
                              QLatin1String(Activesync::StatusInterfaceName));
        return status.call(QStringLiteral("lastError"), world().account.toULongLong()).arguments();
    }

    std::unique_ptr<DaemonWorld> m_world;
};

void TestAccountStatus::init()
{
    if (!EasServer::isAvailable())
        QSKIP("there is no python3 for the test server");
    m_world = std::make_unique<DaemonWorld>();
    QVERIFY(world().begin());
}

void TestAccountStatus::cleanup()
{
    const int code = m_world ? m_world->endDaemon() : 0;
    m_world.reset();
    QCOMPARE(code, 0);
}

void TestAccountStatus::anAccountThatWorksHasNoError()
{
    QCOMPARE(lastError(), QVariantList({0, QString()}));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(lastError(), QVariantList({0, QString()}));
}

void TestAccountStatus::theReasonIsThereWhenTheRequestEnds_data()
{
    QTest::addColumn<QString>("server");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("words");
    QTest::newRow("nobody listens")
        << QStringLiteral("127.0.0.1") << 1 << QStringLiteral("127.0.0.1 refuses the connection.");
    QTest::newRow("no such host") << QStringLiteral("nowhere.invalid") << 80
                                  << QStringLiteral("There is no host named nowhere.invalid.");
}

void TestAccountStatus::theReasonIsThereWhenTheRequestEnds()
{
    QFETCH(QString, server);
    QFETCH(int, port);
    QFETCH(QString, words);
    StoreFixture::Account settings = world().settings();
    settings.server = server;
    settings.port = port;
    world().changeSettings(world().account, settings);
    // Who hears of the end may ask at once.
    QCOMPARE(world().syncAndWait(), 902);
    QCOMPARE(lastError(), QVariantList({902, words}));
}

void TestAccountStatus::aRefusedLoginIsToldAndForgottenAfterASuccess()
{
    const StoreFixture::Account right = world().settings();
    StoreFixture::Account wrong = right;
    wrong.password = QStringLiteral("Tr0mbone");
    world().changeSettings(world().account, wrong);
    QCOMPARE(world().syncAndWait(), 401);
    QCOMPARE(lastError(),
             QVariantList({401,
                           QStringLiteral("127.0.0.1 refuses the user name or the password "
                                          "(HTTP 401).")}));
    world().changeSettings(world().account, right);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(lastError(), QVariantList({0, QString()}));
}

void TestAccountStatus::whatIsWrongWithTheSettingsIsNamed()
{
    StoreFixture::Account settings = world().settings();
    // Somebody may type a mail address here, and it is not to be repeated.
    settings.server = QStringLiteral("alice@example.org");
    world().changeSettings(world().account, settings);
    QCOMPARE(world().syncAndWait(), 60006);
    QCOMPARE(lastError(),
             QVariantList({60006,
                           QStringLiteral("The account's setting \"server\" is missing or "
                                          "wrong.")}));
}

void TestAccountStatus::aServerThatCannotBeWatchedIsToldOf()
{
    QCOMPARE(world().syncAndWait(), 200);
    QMailAccount account(world().account);
    account.setCustomField(QStringLiteral("pushEnabled"), QStringLiteral("1"));
    QVERIFY(QMailStore::instance()->updateAccount(&account, nullptr));
    const auto waits = [this] {
        const QJsonObject answer =
            world().server.control("devices", {{QStringLiteral("user"), QStringLiteral("alice")}});
        return answer[QStringLiteral("devices")]
            .toArray()
            .first()
            .toObject()[QStringLiteral("pings")]
            .toInt();
    };
    QTRY_COMPARE(waits(), 1);
    // Nobody asks for anything, and the network wants a login of its own meanwhile.
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                          {QStringLiteral("status"), 404},
                          {QStringLiteral("count"), -1}});
    world().server.control("ping-end");
    QTRY_COMPARE(lastError(), QVariantList({500, QStringLiteral("127.0.0.1 failed (HTTP 404).")}));
    world().server.clearFaults();
    // The test's own end of the first one counts, too.
    QTRY_COMPARE_WITH_TIMEOUT(waits(), 3, 60000);
    world().server.control("ping-end");
    QTRY_COMPARE(lastError(), QVariantList({0, QString()}));
}

QTEST_GUILESS_MAIN(TestAccountStatus)
#include "tst_accountstatus.moc"
