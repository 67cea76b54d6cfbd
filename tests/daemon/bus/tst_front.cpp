// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/asdbusinterface.h"
#include "asclient/syncinfoshmreader.h"
#include "daemon/bus/front.h"
#include "tests/daemon/buslistener.h"

#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QXmlStreamReader>

#include <atomic>

using Activesync::AsDBusInterface;
using Daemon::Front;

/** Stands in for the engine: answers checks as told, and lets the test speak for it. */
class FakeEngine : public QObject
{
    Q_OBJECT

public:
    QList<Daemon::Request> accepted;
    QList<int> dropped;
    QList<quint64> stopped;
    bool answersChecks = true;
    int checks = 0;
    bool livesOn = true;
    QSet<quint64> missingMessages;

public slots:
    void check(quint64 ticket, quint64 accountId, quint64 messageId)
    {
        ++checks;
        if (answersChecks)
            emit checkResolved(ticket, accountId < 10 && !missingMessages.contains(messageId));
    }
    void accept(const Daemon::Request &request) { accepted.append(request); }
    void drop(int id) { dropped.append(id); }
    void stopSync(quint64 account) { stopped.append(account); }
    void live()
    {
        if (livesOn)
            emit engineAlive();
    }

signals:
    void fail(quint64 account, int code, const QString &words);
    void fare(quint64 account, const QVariantMap &status);
    void serve(const QSet<quint64> &accounts);
    void checkResolved(quint64 ticket, bool acceptable);
    void finish(int id, int code);
    void finishSearch(int id, int code, const Activesync::SearchMailboxResult &result);
    void begin(quint64 account);
    void progress(quint64 account, int progress);
    void end(quint64 account);
    void engineAlive();
    void shutDown();
};

/** The front in its thread on a real bus; calls come over the bus, the engine is the test. */
class TestFront : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qRegisterMetaType<Daemon::Request>("Daemon::Request");
        qRegisterMetaType<Activesync::SearchMailboxResult>("Activesync::SearchMailboxResult");
        qRegisterMetaType<QSet<quint64>>("QSet<quint64>");
    }
    void init();
    void cleanup();

    void theObjectIsAsItsIntrospectionFilesSay_data();
    void theObjectIsAsItsIntrospectionFilesSay();
    void theLastErrorIsToldWhateverTheEngineDoes();
    void theStatusIsToldWhateverTheEngineDoes();
    void theStatusOfAnAccountThatIsNotServedIsForgotten();
    void requestsOfAnAccountThatIsServedGetIds();
    void callsThatCannotBeAnsweredByTheEngineInTimeAreAnsweredFromWhatIsKnown();
    void aCallForAMissingMessageIsRefused();
    void aCallForMessageZeroIsRefusedWithoutAskingTheEngine();
    void theRecordsOfASearchArrive();
    void aRequestIsCompletedOnce();
    void theCompletionFollowsTheAnswerOnTheBus();
    void anAbortedRequestEndsAtOnceWithItsCode();
    void abortsOfWhatIsNotOpenAreIgnored();
    void stopSyncEndsSynchronisationsAlone();
    void aliveUntilOneSecondAfterTheBroadcast();
    void theStateIsPublishedBeforeTheStartAndClearedBeforeTheEnd();
    void progressNeverGoesBack();
    void aSearchIsToldBeforeItsCompletion();
    void shuttingDownCancelsEverything();
    void callsAfterTheShutDownAreRefused();
    void aSecondInstanceIsTurnedAway();
    void whatAnEngineThatHangsDoesIsGivenUp();
    void anEngineThatLivesIsLetAlone();

signals:
    void statusChanged(qulonglong account);

private:
    static QVariantMap statusOf(qulonglong account);
    static QDBusMessage messageFor(const QString &method, const QVariantList &arguments);
    int call(const QString &method, const QVariantList &arguments);
    int callOverTheBound(const QString &method, const QVariantList &arguments);

    QThread *m_thread = nullptr;
    Front *m_front = nullptr;
    FakeEngine *m_engine = nullptr;
    BusListener *m_listener = nullptr;
    AsDBusInterface *m_daemon = nullptr;
    std::atomic<qint64> m_now {0};
    std::atomic<bool> m_timeStands {false};
};

void TestFront::init()
{
    // A front that was destroyed in the middle of a request has left it there, as a killed one
    // does.
    QFile::remove(Daemon::RequestJournal::defaultPath());
    m_thread = new QThread;
    m_now = 1000;
    m_timeStands = false;
    QElapsedTimer timer;
    timer.start();
    m_front = new Front([this, timer] { return m_now + (m_timeStands ? 0 : timer.elapsed()); });
    m_engine = new FakeEngine;
    connect(m_front, &Front::checkWanted, m_engine, &FakeEngine::check);
    connect(m_front, &Front::requestAccepted, m_engine, &FakeEngine::accept);
    connect(m_front, &Front::requestDropped, m_engine, &FakeEngine::drop);
    connect(m_front, &Front::syncStopWanted, m_engine, &FakeEngine::stopSync);
    connect(m_engine, &FakeEngine::checkResolved, m_front, &Front::resolveCheck);
    connect(m_engine, &FakeEngine::fail, m_front, &Front::noteError);
    connect(m_engine, &FakeEngine::fare, m_front, &Front::setStatus);
    connect(m_engine, &FakeEngine::serve, m_front, &Front::setAccounts);
    connect(m_engine, &FakeEngine::finish, m_front, &Front::finishRequest);
    connect(m_engine, &FakeEngine::finishSearch, m_front, &Front::finishSearch);
    connect(m_engine, &FakeEngine::begin, m_front, &Front::beginSync);
    connect(m_engine, &FakeEngine::progress, m_front, &Front::setProgress);
    connect(m_engine, &FakeEngine::end, m_front, &Front::endSync);
    connect(m_front->engineWatch(), &Daemon::EngineWatch::asked, m_engine, &FakeEngine::live);
    connect(m_engine, &FakeEngine::engineAlive, m_front->engineWatch(), &Daemon::EngineWatch::hear);
    connect(m_engine, &FakeEngine::shutDown, m_front, &Front::shutDown);
    connect(m_thread, &QThread::finished, m_front, &QObject::deleteLater);
    m_front->setAccounts({1, 2});
    m_front->moveToThread(m_thread);
    m_thread->start();
    m_listener = new BusListener;
    m_daemon = new AsDBusInterface(QDBusConnection::sessionBus(), nullptr);
    const auto bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("front"));
    QString error;
    QMetaObject::invokeMethod(
        m_front, [this, bus] { return m_front->start(bus); }, Qt::BlockingQueuedConnection, &error);
    QCOMPARE(error, QString());
}

void TestFront::cleanup()
{
    m_thread->quit();
    m_thread->wait();
    delete m_thread;
    delete m_daemon;
    delete m_listener;
    delete m_engine;
    QDBusConnection::disconnectFromBus(QStringLiteral("front"));
    QTRY_VERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(
        QLatin1String(Activesync::ServiceName)));
}

QDBusMessage TestFront::messageFor(const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QLatin1String(Activesync::ServiceName), QLatin1String(Activesync::ObjectPath),
        QLatin1String(Activesync::InterfaceName), method);
    message.setArguments(arguments);
    return message;
}

/** Calls over the bus while the event loop, and with it the fake engine, runs on. */
int TestFront::call(const QString &method, const QVariantList &arguments)
{
    const QDBusReply<int> reply =
        QDBusConnection::sessionBus().call(messageFor(method, arguments), QDBus::BlockWithGui);
    if (!reply.isValid())
        qWarning() << reply.error();
    return reply.isValid() ? reply.value() : -1000;
}

/** The answer that comes when the bound for the engine is over; -2000 when none does. */
int TestFront::callOverTheBound(const QString &method, const QVariantList &arguments)
{
    const int before = m_engine->checks;
    QDBusPendingReply<int> reply =
        QDBusConnection::sessionBus().asyncCall(messageFor(method, arguments));
    if (!QTest::qWaitFor([&] { return m_engine->checks > before; }) || reply.isFinished())
        return -2000;
    m_now += Front::CheckTimeoutMs;
    if (!QTest::qWaitFor([&] { return reply.isFinished(); }))
        return -2000;
    return reply.isValid() ? reply.value() : -1000;
}

/** "method sync t>i", "signal syncStarted t", "property version s read" and so on for an interface,
 * sorted. */
static QStringList members(const QByteArray &introspection, const QString &interface)
{
    QStringList found;
    QString in;
    QString out;
    bool isOurs = false;
    QXmlStreamReader reader(introspection);
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        const QString element = reader.name().toString();
        const auto attribute = [&reader](const char *name) {
            return reader.attributes().value(QLatin1String(name)).toString();
        };
        const bool isMember =
            element == QLatin1String("method") || element == QLatin1String("signal");
        if (token == QXmlStreamReader::StartElement && element == QLatin1String("interface")) {
            isOurs = attribute("name") == interface;
        } else if (!isOurs) {
            continue;
        } else if (token == QXmlStreamReader::StartElement
                   && element == QLatin1String("property")) {
            found.append(QStringLiteral("property %1 %2 %3")
                             .arg(attribute("name"), attribute("type"), attribute("access")));
        } else if (token == QXmlStreamReader::StartElement && isMember) {
            found.append(element + QLatin1Char(' ') + attribute("name") + QLatin1Char(' '));
            in.clear();
            out.clear();
        } else if (token == QXmlStreamReader::StartElement && element == QLatin1String("arg")) {
            const bool isResult = found.last().startsWith(QLatin1String("method"))
                && attribute("direction") == QLatin1String("out");
            (isResult ? out : in) += attribute("type");
        } else if (token == QXmlStreamReader::EndElement && isMember) {
            found.last() += in + QLatin1Char('>') + out;
        }
    }
    found.sort();
    return found;
}

void TestFront::theObjectIsAsItsIntrospectionFilesSay_data()
{
    QTest::addColumn<QString>("interface");
    QTest::addColumn<int>("count");
    QTest::newRow("work") << QString::fromLatin1(Activesync::InterfaceName) << 14;
    QTest::newRow("status") << QString::fromLatin1(Activesync::StatusInterfaceName) << 5;
}

void TestFront::theObjectIsAsItsIntrospectionFilesSay()
{
    QFETCH(QString, interface);
    QFETCH(int, count);
    QFile file(qEnvironmentVariable("ORVMAIL_SOURCE_DIR")
               + QStringLiteral("/asclient/%1.xml").arg(interface));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QDBusReply<QString> reply =
        QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
            QLatin1String(Activesync::ServiceName), QLatin1String(Activesync::ObjectPath),
            QStringLiteral("org.freedesktop.DBus.Introspectable"), QStringLiteral("Introspect")));
    const QStringList wanted = members(file.readAll(), interface);
    QCOMPARE(wanted.size(), count);
    QCOMPARE(members(reply.value().toUtf8(), interface), wanted);
}

void TestFront::theLastErrorIsToldWhateverTheEngineDoes()
{
    m_engine->answersChecks = false;
    m_engine->livesOn = false;
    QDBusInterface status {QLatin1String(Activesync::ServiceName),
                           QLatin1String(Activesync::ObjectPath),
                           QLatin1String(Activesync::StatusInterfaceName)};
    const auto lastError = [&status](qulonglong account) {
        return status.call(QStringLiteral("lastError"), account).arguments();
    };
    // No bound of time is what it is answered by.
    m_timeStands = true;
    QCOMPARE(lastError(1), QVariantList({0, QString()}));
    const QString words = QStringLiteral("mail.example.org refuses the connection.");
    emit m_engine->fail(1, 902, words);
    emit m_engine->fail(2, 901, QStringLiteral("other"));
    QTRY_COMPARE(lastError(1), QVariantList({902, words}));
    emit m_engine->fail(1, 200, QString());
    QTRY_COMPARE(lastError(1), QVariantList({0, QString()}));
    QCOMPARE(lastError(2), QVariantList({901, QStringLiteral("other")}));
    QCOMPARE(lastError(77), QVariantList({0, QString()}));
}

QVariantMap TestFront::statusOf(qulonglong account)
{
    QDBusInterface status {QLatin1String(Activesync::ServiceName),
                           QLatin1String(Activesync::ObjectPath),
                           QLatin1String(Activesync::StatusInterfaceName)};
    const QDBusReply<QVariantMap> reply = status.call(QStringLiteral("accountStatus"), account);
    return reply.isValid() ? reply.value()
                           : QVariantMap {{reply.error().name(), reply.error().message()}};
}

void TestFront::theStatusIsToldWhateverTheEngineDoes()
{
    m_engine->answersChecks = false;
    m_engine->livesOn = false;
    m_timeStands = true;
    QSignalSpy changed(this, &TestFront::statusChanged);
    QVERIFY(QDBusConnection::sessionBus().connect(QString(), QLatin1String(Activesync::ObjectPath),
                                                  QLatin1String(Activesync::StatusInterfaceName),
                                                  QStringLiteral("accountStatusChanged"), this,
                                                  SIGNAL(statusChanged(qulonglong))));
    QCOMPARE(statusOf(1), QVariantMap());
    const QVariantMap told {{QStringLiteral("push"), QStringLiteral("off")},
                            {QStringLiteral("changes"), 3}};
    emit m_engine->fare(1, told);
    QTRY_COMPARE(changed.count(), 1);
    QCOMPARE(changed.first().first().toULongLong(), qulonglong(1));
    QCOMPARE(statusOf(1), told);
    QCOMPARE(statusOf(2), QVariantMap());
    emit m_engine->begin(1);
    QTRY_COMPARE(changed.count(), 2);
    QCOMPARE(statusOf(1).value(QStringLiteral("syncing")), QVariant(true));
    emit m_engine->end(1);
    QTRY_COMPARE(changed.count(), 3);
    QCOMPARE(statusOf(1), told);
}

void TestFront::theStatusOfAnAccountThatIsNotServedIsForgotten()
{
    emit m_engine->fare(1, {{QStringLiteral("push"), QStringLiteral("off")}});
    emit m_engine->fare(2, {{QStringLiteral("push"), QStringLiteral("off")}});
    QTRY_VERIFY(!statusOf(2).isEmpty());
    emit m_engine->serve({2});
    QTRY_VERIFY(statusOf(1).isEmpty());
    QVERIFY(!statusOf(2).isEmpty());
}

void TestFront::requestsOfAnAccountThatIsServedGetIds()
{
    m_timeStands = true;
    const QVariant account = qulonglong(1);
    const QVariant message = qulonglong(5);
    QCOMPARE(call(QStringLiteral("sync"), {account}), 1);
    QCOMPARE(call(QStringLiteral("folderSync"), {account}), 2);
    QCOMPARE(call(QStringLiteral("syncSpecificFolders"),
                  {account, QStringList({QStringLiteral("3"), QStringLiteral("x")}), 30, 5}),
             3);
    QCOMPARE(call(QStringLiteral("downloadMessage"), {account, message}), 4);
    QCOMPARE(call(QStringLiteral("downloadAttachment"), {account, message, QStringLiteral("1.2")}),
             5);
    QCOMPARE(call(QStringLiteral("sendMail"), {account, message}), 6);
    QCOMPARE(call(QStringLiteral("sync"), {qulonglong(10)}), -1);
    QTRY_COMPARE(m_engine->accepted.size(), 6);
    const Daemon::Request folders = m_engine->accepted.at(2);
    QCOMPARE(folders.kind, Daemon::RequestKind::SyncFolders);
    QCOMPARE(folders.folders, QStringList({QStringLiteral("3"), QStringLiteral("x")}));
    QCOMPARE(folders.contentType, 30);
    QCOMPARE(m_engine->accepted.at(4).location, QStringLiteral("1.2"));
    QCOMPARE(m_engine->accepted.at(4).messageId, quint64(5));
    QVERIFY(m_listener->broadcasts().isEmpty());
}

void TestFront::callsThatCannotBeAnsweredByTheEngineInTimeAreAnsweredFromWhatIsKnown()
{
    m_engine->answersChecks = false;
    m_timeStands = true;
    // What others are promised, with room for the way.
    QVERIFY(Front::CheckTimeoutMs <= 120);
    QCOMPARE(callOverTheBound(QStringLiteral("sync"), {qulonglong(1)}), 1);
    QCOMPARE(callOverTheBound(QStringLiteral("sync"), {qulonglong(3)}), -1);
    QCOMPARE(callOverTheBound(QStringLiteral("downloadMessage"), {qulonglong(2), qulonglong(77)}),
             2);
    QTRY_COMPARE(m_engine->accepted.size(), 2);
}

void TestFront::aCallForAMissingMessageIsRefused()
{
    m_engine->missingMessages = {8};
    QCOMPARE(call(QStringLiteral("downloadMessage"), {qulonglong(1), qulonglong(8)}), -1);
    QCOMPARE(call(QStringLiteral("sendMail"), {qulonglong(1), qulonglong(8)}), -1);
    QCOMPARE(call(QStringLiteral("sendMail"), {qulonglong(1), qulonglong(9)}), 1);
}

void TestFront::aCallForMessageZeroIsRefusedWithoutAskingTheEngine()
{
    QCOMPARE(call(QStringLiteral("downloadMessage"), {qulonglong(1), qulonglong(0)}), -1);
}

void TestFront::theRecordsOfASearchArrive()
{
    Activesync::SearchQuery query;
    query.text = QStringLiteral("find me");
    query.folders = QStringList {QStringLiteral("4")};
    query.receivedAfter = QDateTime::fromMSecsSinceEpoch(1234567890123, Qt::UTC);
    Activesync::SearchMailboxOptions options;
    options.rangeEnd = 49;
    QCOMPARE(call(QStringLiteral("searchMailbox"),
                  {qulonglong(1), QVariant::fromValue(query), QVariant::fromValue(options)}),
             1);
    QTRY_COMPARE(m_engine->accepted.size(), 1);
    QCOMPARE(m_engine->accepted.first().query.text, query.text);
    QCOMPARE(m_engine->accepted.first().query.receivedAfter, query.receivedAfter);
    QVERIFY(!m_engine->accepted.first().query.receivedBefore.isValid());
    QCOMPARE(m_engine->accepted.first().options.rangeEnd, 49);
}

void TestFront::aRequestIsCompletedOnce()
{
    const int id = call(QStringLiteral("sync"), {qulonglong(1)});
    emit m_engine->finish(id, 200);
    emit m_engine->finish(id, 500);
    m_daemon->abortRequest(id, 1030, QDBus::Block);
    emit m_engine->finish(id, 901);
    const int other = call(QStringLiteral("sync"), {qulonglong(2)});
    emit m_engine->finish(other, 902);
    QTRY_COMPARE(m_listener->completionsOf(other), 1);
    QCOMPARE(m_listener->broadcasts(),
             QStringList({QStringLiteral("requestCompleted 200 1 1"),
                          QStringLiteral("requestCompleted 902 2 2")}));
}

void TestFront::theCompletionFollowsTheAnswerOnTheBus()
{
    // Both are taken on one connection, which keeps the order of the bus. The engine ends each
    // request the moment it hears of it.
    connect(m_front, &Front::requestAccepted, m_front,
            [this](const Daemon::Request &request) { m_front->finishRequest(request.id, 200); });
    for (int i = 0; i < 50; ++i) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            QLatin1String(Activesync::ServiceName), QLatin1String(Activesync::ObjectPath),
            QLatin1String(Activesync::InterfaceName), QStringLiteral("sync"));
        message.setArguments({qulonglong(1)});
        QDBusPendingCallWatcher watcher(QDBusConnection::sessionBus().asyncCall(message));
        int completionsAtReply = -1;
        connect(&watcher, &QDBusPendingCallWatcher::finished, this, [this, &completionsAtReply] {
            completionsAtReply = m_listener->broadcasts().size();
        });
        QTRY_COMPARE(m_listener->broadcasts().size(), i + 1);
        QTRY_VERIFY(completionsAtReply >= 0);
        QCOMPARE(completionsAtReply, i);
    }
}

void TestFront::anAbortedRequestEndsAtOnceWithItsCode()
{
    const int id = call(QStringLiteral("sync"), {qulonglong(1)});
    m_daemon->abortRequest(id, 1030, QDBus::Block);
    QTRY_COMPARE(m_listener->codeOf(id), 1030);
    QTRY_COMPARE(m_engine->dropped, QList<int>({id}));
    emit m_engine->finish(id, 200);
    QCOMPARE(call(QStringLiteral("isRequestAlive"), {id}), 1);
    QCOMPARE(m_listener->completionsOf(id), 1);
}

void TestFront::abortsOfWhatIsNotOpenAreIgnored()
{
    const int id = call(QStringLiteral("sync"), {qulonglong(1)});
    emit m_engine->finish(id, 200);
    QTRY_COMPARE(m_listener->codeOf(id), 200);
    for (int other : {id, 0, -1, -2, 99})
        QVERIFY(m_daemon->abortRequest(other, 1030, QDBus::Block).isValid());
    QCOMPARE(call(QStringLiteral("isRequestAlive"), {99}), 0);
    QCOMPARE(m_listener->broadcasts().size(), 1);
    QVERIFY(m_engine->dropped.isEmpty());
}

void TestFront::stopSyncEndsSynchronisationsAlone()
{
    const int sync = call(QStringLiteral("sync"), {qulonglong(1)});
    const int folders = call(QStringLiteral("folderSync"), {qulonglong(1)});
    const int download = call(QStringLiteral("downloadMessage"), {qulonglong(1), qulonglong(3)});
    const int other = call(QStringLiteral("sync"), {qulonglong(2)});
    m_daemon->stopSync(1, 1030, QDBus::Block);
    QTRY_COMPARE(m_engine->stopped, QList<quint64>({1}));
    QTRY_COMPARE(m_listener->codeOf(folders), 1030);
    QCOMPARE(m_listener->codeOf(sync), 1030);
    QCOMPARE(m_listener->codeOf(download), 0);
    QCOMPARE(m_listener->codeOf(other), 0);
}

void TestFront::aliveUntilOneSecondAfterTheBroadcast()
{
    const int id = call(QStringLiteral("sync"), {qulonglong(1)});
    QCOMPARE(m_daemon->isRequestAlive(id, QDBus::Block).value(), 1);
    emit m_engine->finish(id, 200);
    QTRY_COMPARE(m_listener->codeOf(id), 200);
    QCOMPARE(m_daemon->isRequestAlive(id, QDBus::Block).value(), 1);
    m_now += 1001;
    QCOMPARE(m_daemon->isRequestAlive(id, QDBus::Block).value(), 0);
    QCOMPARE(m_daemon->isRequestAlive(-1, QDBus::Block).value(), 0);
    QCOMPARE(m_daemon->isRequestAlive(-2, QDBus::Block).value(), 0);
}

void TestFront::theStateIsPublishedBeforeTheStartAndClearedBeforeTheEnd()
{
    SyncInfoNode node;
    emit m_engine->begin(1);
    QTRY_COMPARE(m_listener->broadcasts().size(), 1);
    QVERIFY(SyncInfoShmReader::instance().fill(node, 1));
    QCOMPARE(node.syncState, 2);
    QCOMPARE(node.progress, 0);
    emit m_engine->progress(1, 400);
    QTRY_VERIFY(SyncInfoShmReader::instance().fill(node, 1) && node.progress == 400);
    emit m_engine->end(1);
    QTRY_COMPARE(m_listener->broadcasts(),
                 QStringList({QStringLiteral("syncStarted 1"), QStringLiteral("syncCompleted 1")}));
    SyncInfoShmReader::instance().fill(node, 1);
    QCOMPARE(node.syncState, 0);
    QCOMPARE(node.progress, 0);
}

void TestFront::progressNeverGoesBack()
{
    SyncInfoNode node;
    emit m_engine->begin(1);
    emit m_engine->progress(1, 700);
    emit m_engine->progress(1, 300);
    emit m_engine->progress(2, 300);
    emit m_engine->begin(2);
    QTRY_COMPARE(m_listener->count(QStringLiteral("syncStarted 2")), 1);
    SyncInfoShmReader::instance().fill(node, 1);
    QCOMPARE(node.progress, 700);
    SyncInfoShmReader::instance().fill(node, 2);
    QCOMPARE(node.progress, 0);
}

void TestFront::aSearchIsToldBeforeItsCompletion()
{
    const int id = call(QStringLiteral("sync"), {qulonglong(1)});
    Activesync::SearchMailboxResult result;
    result.total = 3;
    emit m_engine->finishSearch(id, 200, result);
    emit m_engine->finishSearch(id, 200, result);
    QTRY_COMPARE(m_listener->codeOf(id), 200);
    QCOMPARE(m_listener->broadcasts(),
             QStringList({QStringLiteral("searchMailboxCompleted 200 1 1"),
                          QStringLiteral("requestCompleted 200 1 1")}));
}

void TestFront::shuttingDownCancelsEverything()
{
    int done = 0;
    connect(m_front, &Front::shutDownDone, m_engine, [&done] { ++done; });
    const int a = call(QStringLiteral("sync"), {qulonglong(1)});
    const int b = call(QStringLiteral("sendMail"), {qulonglong(2), qulonglong(4)});
    emit m_engine->begin(1);
    emit m_engine->shutDown();
    QTRY_COMPARE(done, 1);
    emit m_engine->finish(a, 200);
    emit m_engine->begin(2);
    QTRY_COMPARE(m_listener->broadcasts(),
                 QStringList({QStringLiteral("syncStarted 1"),
                              QStringLiteral("requestCompleted 1030 1 %1").arg(a),
                              QStringLiteral("requestCompleted 1030 2 %1").arg(b),
                              QStringLiteral("syncCompleted 1")}));
    SyncInfoNode node;
    QVERIFY(!SyncInfoShmReader::instance().fill(node, 1));
}

void TestFront::callsAfterTheShutDownAreRefused()
{
    int done = 0;
    connect(m_front, &Front::shutDownDone, m_engine, [&done] { ++done; });
    emit m_engine->shutDown();
    QTRY_COMPARE(done, 1);
    QCOMPARE(call(QStringLiteral("sync"), {qulonglong(1)}), -1);
}

void TestFront::aSecondInstanceIsTurnedAway()
{
    emit m_engine->begin(1);
    QTRY_COMPARE(m_listener->broadcasts().size(), 1);
    const auto bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("second"));
    {
        Front second(Daemon::systemClock());
        QVERIFY(!second.start(bus).isEmpty());
    }
    QDBusConnection::disconnectFromBus(QStringLiteral("second"));
    SyncInfoNode node;
    QVERIFY(SyncInfoShmReader::instance().fill(node, 1));
    QCOMPARE(node.syncState, 2);
}

void TestFront::whatAnEngineThatHangsDoesIsGivenUp()
{
    m_engine->livesOn = false;
    QMetaObject::invokeMethod(m_front, [this] { m_front->engineWatch()->setInterval(10); });
    const int sync = call(QStringLiteral("sync"), {qulonglong(1)});
    const int sending = call(QStringLiteral("sendMail"), {qulonglong(2), qulonglong(4)});
    emit m_engine->begin(1);
    QTRY_COMPARE(m_listener->codeOf(sync), 500);
    QTRY_COMPARE(m_listener->codeOf(sending), 500);
    QTRY_COMPARE(m_listener->count(QStringLiteral("syncCompleted 1")), 1);
    QTRY_COMPARE(m_engine->dropped, QList<int>({sync, sending}));
    QCOMPARE(m_engine->stopped, QList<quint64>({1}));
    // It comes back and tells of what it did: nobody hears of it twice.
    emit m_engine->finish(sync, 200);
    emit m_engine->end(1);
    m_engine->livesOn = true;
    // It is not told that it hangs because this thread gets no time.
    QMetaObject::invokeMethod(
        m_front, [this] { m_front->engineWatch()->setInterval(Daemon::EngineWatch::IntervalMs); });
    const int next = call(QStringLiteral("sync"), {qulonglong(1)});
    emit m_engine->finish(next, 200);
    QTRY_COMPARE(m_listener->codeOf(next), 200);
    QCOMPARE(m_listener->completionsOf(sync), 1);
    QCOMPARE(m_listener->count(QStringLiteral("syncCompleted 1")), 1);
}

void TestFront::anEngineThatLivesIsLetAlone()
{
    QMetaObject::invokeMethod(m_front, [this] { m_front->engineWatch()->setInterval(20); });
    int asked = 0;
    connect(m_front->engineWatch(), &Daemon::EngineWatch::asked, m_engine, [&asked] { ++asked; });
    const int id = call(QStringLiteral("sync"), {qulonglong(1)});
    QTRY_VERIFY(asked > 2 * Daemon::EngineWatch::MaximumUnanswered);
    QCOMPARE(m_listener->codeOf(id), 0);
    emit m_engine->finish(id, 200);
    QTRY_COMPARE(m_listener->codeOf(id), 200);
}

QTEST_GUILESS_MAIN(TestFront)
#include "tst_front.moc"
