// SPDX-License-Identifier: LGPL-2.1-or-later
//
// How often a server is asked that answers uselessly, whatever it answers: over hours, in driven
// time, for an account whose push is on.
#include "daemon/engine/accountworker.h"
#include "daemon/pacing/alarm.h"
#include "daemon/pacing/pauses.h"
#include "daemon/store/state/syncstatedb.h"
#include "daemon/tasks/workreport.h"
#include "tests/eas/scriptedserver.h"
#include "tests/support/storefixture.h"

#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <qmailstore.h>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <memory>
#include <utility>

using Daemon::Alarm;

namespace {

constexpr qint64 Minute = 60 * 1000;
constexpr qint64 Hour = 60 * Minute;
/** How long each server is looked at. */
constexpr qint64 Watched = 5 * Hour;
/** What a server may be asked in any minute, and in an hour after the first one, */
constexpr int MaximumInAMinute = 40;
constexpr int MaximumInALaterHour = 40;
/** ... and where each synchronisation brings mail that was not here. */
constexpr int MaximumInABusyMinute = 70;
constexpr qint64 MaximumBetweenNews = 3000;
/** ... in all of the time, */
constexpr int MaximumWatched = 800;
/** ... and how long it may be left alone. */
constexpr qint64 MaximumPause = 4 * Hour;

using Answer = std::function<ScriptedAnswer(const SeenRequest &)>;

QByteArray nameOf(const SeenRequest &request)
{
    return request.method == "OPTIONS" ? request.method : request.query("Cmd").toLatin1();
}

QByteArray first(const QByteArray &xml, const char *element)
{
    const QRegularExpression expression(QStringLiteral("<%1>([^<]*)<").arg(QLatin1String(element)));
    return expression.match(QString::fromUtf8(xml)).captured(1).toUtf8();
}

QByteArray tree(const QByteArray &key, const QByteArray &changes)
{
    return ScriptedServer::document("<FolderSync xmlns=\"FolderHierarchy:\"><Status>1</Status>"
                                    "<SyncKey>"
                                    + key + "</SyncKey><Changes>" + changes
                                    + "</Changes></FolderSync>");
}

const QByteArray Inbox = "<Count>1</Count><Add><ServerId>1</ServerId><ParentId>0</ParentId>"
                         "<DisplayName>Inbox</DisplayName><Type>2</Type></Add>";

QByteArray collection(const QByteArray &key, const QByteArray &content = QByteArray(),
                      const QByteArray &status = "1")
{
    return ScriptedServer::document("<Sync xmlns=\"AirSync:\"><Collections><Collection><SyncKey>"
                                    + key + "</SyncKey><CollectionId>1</CollectionId><Status>"
                                    + status + "</Status>" + content
                                    + "</Collection></Collections></Sync>");
}

QByteArray ping(const QByteArray &status, const QByteArray &content = QByteArray())
{
    return ScriptedServer::document("<Ping xmlns=\"Ping:\"><Status>" + status + "</Status>"
                                    + content + "</Ping>");
}

const QByteArray News = "<Folders><Folder>1</Folder></Folders>";

QByteArray mailOf(const QByteArray &id)
{
    return "<Commands><Add><ServerId>1:" + id
        + "</ServerId><ApplicationData><Subject xmlns=\"Email:\">Mail " + id
        + "</Subject><DateReceived xmlns=\"Email:\">2026-03-04T05:06:07.000Z</DateReceived>"
          "</ApplicationData></Add></Commands>";
}

const QByteArray Mail = mailOf("7");
const QByteArray Flag = "<Commands><Change><ServerId>1:7</ServerId><ApplicationData>"
                        "<Read xmlns=\"Email:\">1</Read></ApplicationData></Change></Commands>";

QByteArray policy(const QByteArray &settings)
{
    return ScriptedServer::document(
        "<Provision xmlns=\"Provision:\"><Status>1</Status><Policies><Policy>"
        "<PolicyType>MS-EAS-Provisioning-WBXML</PolicyType><Status>1</Status>"
        "<PolicyKey>1</PolicyKey><Data><EASProvisionDoc>"
        + settings + "</EASProvisionDoc></Data></Policy></Policies></Provision>");
}

/** A server as it should be: an inbox, in which nothing happens. */
ScriptedAnswer goodAnswer(const SeenRequest &request)
{
    static int key = 0;
    const QByteArray name = nameOf(request);
    if (name == "OPTIONS")
        return {ScriptedServer::options(), false};
    if (name == "FolderSync")
        return {
            tree("f1",
                 first(request.xml(), "SyncKey") == "0" ? Inbox : QByteArray("<Count>0</Count>")),
            false};
    if (name == "Sync")
        return {collection("k" + QByteArray::number(++key)), false};
    if (name == "Provision")
        return {policy("<AllowCamera>1</AllowCamera>"), false};
    return {}; // a Ping waits
}

/** A server that answers the command (any, where none is named) with these bytes. */
Answer always(const QByteArray &command, const QByteArray &bytes, bool close = false)
{
    return [command, bytes, close](const SeenRequest &request) {
        const bool isMeant = command.isEmpty() || nameOf(request) == command;
        return isMeant ? ScriptedAnswer {bytes, close} : goodAnswer(request);
    };
}

/** The same with one answer to Ping besides, so that there is always something to do. */
Answer withNews(const Answer &answer)
{
    return [answer](const SeenRequest &request) {
        return nameOf(request) == "Ping" ? ScriptedAnswer {ping("2", News), false}
                                         : answer(request);
    };
}

/** QTest::qWaitFor() looks every 10 ms; here a thousand answers are waited for. */
template <typename Condition>
bool waitFor(Condition isMet)
{
    QDeadlineTimer deadline(20000);
    QTimer alarm;
    alarm.start(1000);
    while (!isMet()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

/** A server whose inbox changes in this way each time that it is asked, which it tells at once. */
Answer alwaysBringing(const std::function<QByteArray(int)> &content)
{
    const auto times = std::make_shared<int>(0);
    return withNews([content, times](const SeenRequest &request) {
        if (nameOf(request) != "Sync")
            return goodAnswer(request);
        const QByteArray key = "n" + QByteArray::number(++*times);
        return ScriptedAnswer {collection(key, content(*times)), false};
    });
}

QByteArray halved(QByteArray answer)
{
    const int body = answer.indexOf("\r\n\r\n") + 4;
    const QByteArray half = answer.mid(body, (answer.size() - body) / 2);
    return ScriptedServer::http(200, half, {{"Content-Type", "application/vnd.ms-sync.wbxml"}});
}

} // namespace

Q_DECLARE_METATYPE(Answer)

class TestRequestRates : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        Alarm::drive();
        QLoggingCategory::setFilterRules(QStringLiteral("asdaemon.*=false"));
    }
    void init();
    void cleanup();

    void aUselessServerIsLeftAlone_data();
    void aUselessServerIsLeftAlone();
    void aServerThatWasNeverGoodIsLeftAlone_data();
    void aServerThatWasNeverGoodIsLeftAlone();
    void aStaleTreeIsFetchedThoughTheWaitHadFailed();
    void aTreeThatStaysStaleIsFetchedMoreAndMoreSeldom();
    void aSynchronisationThatSucceedsEndsThePause_data();
    void aSynchronisationThatSucceedsEndsThePause();
    void aRefusedLoginIsNotTriedAgain();
    void aLoginThatIsRefusedDuringAPauseIsNotTriedAgain();
    void aFolderWithABadAnswerIsAskedForAfterPauses();
    void newsThatIsTrueIsNotHeldUp();
    void newMailWithoutEndIsFetchedAtABoundedRate();
    void newsThatWasTrueEndsThePauseOfEmptyNews();
    void aWipeIsAskedForOnce();
    void aNetworkThatComesAndGoesIsNotFollowedEachTime();

private:
    void begin(const Answer &answer);
    /** Answers like this once the account has worked. */
    void turn(const Answer &answer);
    /** Lets time go on until this moment, or until nothing is left to wait for but the server. */
    void driveUntil(qint64 end);
    void checkRates(qint64 start);
    int maximumWithin(qint64 span, qint64 from) const;
    void setAnswer(const Answer &answer);
    /** The code that a synchronisation ends with that a person asks for. */
    int pull();
    /** How long the pause is that is under way or comes next. */
    qint64 passPause();

    std::unique_ptr<ScriptedServer> m_server;
    QMailAccountId m_account;
    std::unique_ptr<Store::SyncStateDb> m_db;
    Daemon::WorkReport m_report;
    std::unique_ptr<Daemon::AccountWorker> m_worker;
    QList<qint64> m_asked; ///< when
    bool m_waits = false;  ///< a Ping waits at the server
};

void TestRequestRates::init()
{
    m_server = std::make_unique<ScriptedServer>();
    m_asked.clear();
    m_waits = false;
}

void TestRequestRates::cleanup()
{
    m_worker.reset();
    m_db.reset();
    m_server.reset();
    StoreFixture::clear();
}

void TestRequestRates::setAnswer(const Answer &answer)
{
    m_server->setAnswer([this, answer](const SeenRequest &request) {
        m_asked.append(Alarm::now());
        const ScriptedAnswer said = answer(request);
        m_waits = said.bytes.isEmpty() && !said.close;
        return said;
    });
}

void TestRequestRates::begin(const Answer &answer)
{
    setAnswer(answer);
    StoreFixture::Account settings;
    settings.port = m_server->serverPort();
    m_account = StoreFixture::addAccount(settings);
    QMailAccount account(m_account);
    account.setCustomField(QStringLiteral("pushEnabled"), QStringLiteral("1"));
    QVERIFY(QMailStore::instance()->updateAccount(&account, nullptr));
    m_db = std::make_unique<Store::SyncStateDb>();
    QVERIFY(m_db->open().ok());
    m_worker = std::make_unique<Daemon::AccountWorker>(Store::AccountRecord::read(m_account), *m_db,
                                                       m_report, nullptr);
}

void TestRequestRates::turn(const Answer &answer)
{
    begin(goodAnswer);
    QVERIFY(waitFor([this] { return m_waits; }));
    m_asked.clear();
    m_waits = false;
    setAnswer(answer);
    m_server->hangUp();
}

void TestRequestRates::driveUntil(qint64 end)
{
    while (Alarm::now() < end) {
        const bool isThrough = waitFor(
            [&] { return Alarm::isPending() || m_waits || m_asked.size() > MaximumWatched; });
        QVERIFY2(isThrough, "neither a pause nor a request that waits");
        if (m_waits || m_asked.size() > MaximumWatched)
            return;
        Alarm::ringNext();
    }
}

/** The largest number of requests within a span of time. */
int TestRequestRates::maximumWithin(qint64 span, qint64 from) const
{
    int most = 0;
    for (int i = 0, j = 0; i < m_asked.size(); ++i) {
        while (m_asked.at(i) - m_asked.at(j) >= span)
            ++j;
        if (m_asked.at(j) >= from)
            most = qMax(most, i - j + 1);
    }
    return most;
}

void TestRequestRates::checkRates(qint64 start)
{
    driveUntil(start + Watched);
    const int inAMinute = maximumWithin(Minute, start);
    const int inAnHour = maximumWithin(Hour, start + Hour);
    qInfo("%d requests in a minute, %d in a later hour", inAMinute, inAnHour);
    QVERIFY2(m_asked.size() <= MaximumWatched, "far too many in all");
    QVERIFY2(inAMinute <= MaximumInAMinute, qPrintable(QString::number(inAMinute)));
    QVERIFY2(inAnHour <= MaximumInALaterHour, qPrintable(QString::number(inAnHour)));
    // Nor is it given up.
    QVERIFY(m_waits || (!m_asked.isEmpty() && m_asked.last() > start + Watched - MaximumPause));
    const int before = m_asked.size();
    m_worker->networkChanged();
    QVERIFY(m_waits || waitFor([&] { return m_asked.size() > before; }));
}

void TestRequestRates::aUselessServerIsLeftAlone_data()
{
    QTest::addColumn<Answer>("answer");
    const auto row = [](const QString &name, const Answer &answer) {
        QTest::newRow(qPrintable(name)) << answer;
    };
    const QByteArrayList commands = {"", "FolderSync", "Sync", "Ping"};
    for (int status : {204, 301, 302, 400, 402, 403, 404, 405, 407, 408, 410,
                       413, 429, 449, 451, 500, 501, 502, 503, 504, 507}) {
        // What is true of one command is told of by the codes that these stand for.
        const bool isTypical = QList<int>({302, 404, 449, 403, 501, 503}).contains(status);
        for (const QByteArray &command : isTypical ? commands : QByteArrayList({""}))
            row(QStringLiteral("HTTP %1 to %2").arg(status).arg(QLatin1String(command)),
                withNews(always(command, ScriptedServer::http(status))));
    }
    for (const QByteArray &command : commands) {
        const QString to = QStringLiteral(" to ") + QLatin1String(command);
        row(QStringLiteral("a page") + to,
            withNews(always(command, ScriptedServer::http(200, "<html>Log in</html>"))));
        row(QStringLiteral("nothing") + to, withNews(always(command, ScriptedServer::http(200))));
        row(QStringLiteral("a cut connection") + to, withNews(always(command, {}, true)));
        row(QStringLiteral("half a header") + to,
            withNews(always(command, "HTTP/1.1 200 OK\r\nConte", true)));
    }
    for (int status :
         {0,   2,   3,   4,   5,   6,   7,   8,   9,   10,  12,  13,  14,  16,  100, 101, 110, 111,
          113, 126, 132, 133, 134, 139, 140, 141, 142, 143, 144, 145, 150, 165, 177, 178, 999}) {
        const QByteArray said = QByteArray::number(status);
        row(QStringLiteral("status %1 to FolderSync").arg(status),
            withNews(
                always("FolderSync",
                       ScriptedServer::document("<FolderSync xmlns=\"FolderHierarchy:\"><Status>"
                                                + said + "</Status></FolderSync>"))));
        row(QStringLiteral("status %1 to Sync").arg(status),
            withNews(always("Sync",
                            ScriptedServer::document("<Sync xmlns=\"AirSync:\"><Status>" + said
                                                     + "</Status></Sync>"))));
        row(QStringLiteral("status %1 of a folder").arg(status),
            withNews(always("Sync", collection("k", {}, said))));
        row(QStringLiteral("status %1 to Ping").arg(status), always("Ping", ping(said)));
    }
    row(QStringLiteral("news without end"), withNews(goodAnswer));
    row(QStringLiteral("a heartbeat that is over at once"), always("Ping", ping("1")));
    row(QStringLiteral("news of folders that are not there"),
        always("Ping", ping("2", "<Folders><Folder>99</Folder></Folders>")));
    row(QStringLiteral("news of nothing"), always("Ping", ping("2", "<Folders/>")));
    row(QStringLiteral("a heartbeat of its own choice"),
        always("Ping", ping("5", "<HeartbeatInterval>90</HeartbeatInterval>")));
    row(QStringLiteral("one folder less"), always("Ping", ping("6", "<MaxFolders>1</MaxFolders>")));
    row(QStringLiteral("the same key"), withNews(always("Sync", collection("k"))));
    row(QStringLiteral("the key 0"), withNews(always("Sync", collection("0"))));
    row(QStringLiteral("the same mail under the same key"),
        withNews(always("Sync", collection("k", Mail))));
    row(QStringLiteral("the same mail under new keys"), alwaysBringing([](int) { return Mail; }));
    row(QStringLiteral("the same flag under new keys"),
        alwaysBringing([](int times) { return times == 1 ? Mail : Flag; }));
    row(QStringLiteral("the same deletion under new keys"), alwaysBringing([](int) {
            return QByteArray("<Commands><Delete><ServerId>1:9</ServerId></Delete></Commands>");
        }));
    row(QStringLiteral("more, and nothing comes"),
        withNews(always("Sync", collection("k", "<MoreAvailable/>"))));
    row(QStringLiteral("half an answer to Ping"), always("Ping", halved(ping("2", News))));
    row(QStringLiteral("half an answer to Sync"),
        withNews(always("Sync", halved(collection("k9", Mail)))));
    row(QStringLiteral("half an answer to FolderSync"),
        withNews(always("FolderSync", halved(tree("f1", Inbox)))));
    row(QStringLiteral("a tree without a key"), withNews(always("FolderSync", tree("", {}))));
    row(QStringLiteral("all folders are gone"),
        withNews(always("FolderSync",
                        tree("f2", "<Count>1</Count><Delete><ServerId>1</ServerId></Delete>"))));
}

void TestRequestRates::aUselessServerIsLeftAlone()
{
    QFETCH(Answer, answer);
    turn(answer);
    if (!QTest::currentTestFailed())
        checkRates(Alarm::now());
}

void TestRequestRates::aServerThatWasNeverGoodIsLeftAlone_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::newRow("no folders") << always("FolderSync", tree("f1", "<Count>0</Count>"));
    QTest::newRow("no mail folders")
        << always("FolderSync",
                  tree("f1",
                       "<Count>1</Count><Add><ServerId>5</ServerId><ParentId>0</ParentId>"
                       "<DisplayName>Calendar</DisplayName><Type>8</Type></Add>"));
    QTest::newRow("no key for the inbox") << always("Sync", collection("0"));
    QTest::newRow("no inbox behind its id") << always("Sync", collection("k", {}, "8"));
    QTest::newRow("no versions") << always("OPTIONS", ScriptedServer::http(200, "<html>"));
    QTest::newRow("a page for everything") << always("", ScriptedServer::http(200, "<html>"));
    QTest::newRow("a way out for everything")
        << always("", ScriptedServer::http(302, {}, {{"Location", "http://127.0.0.1:1/"}}));
    QTest::newRow("404 for everything") << always("", ScriptedServer::http(404));
    QTest::newRow("a server of another time") << always("OPTIONS", ScriptedServer::options("2.5"));
    QTest::newRow("no policy that can be met") << Answer([](const SeenRequest &request) {
        return nameOf(request) == "Provision"
            ? ScriptedAnswer {policy("<DevicePasswordEnabled>1</DevicePasswordEnabled>"), false}
            : nameOf(request) == "OPTIONS" ? goodAnswer(request)
                                           : ScriptedAnswer {ScriptedServer::http(449), false};
    });
}

void TestRequestRates::aServerThatWasNeverGoodIsLeftAlone()
{
    QFETCH(Answer, answer);
    const qint64 start = Alarm::now();
    begin(answer);
    if (!QTest::currentTestFailed())
        checkRates(start);
}

void TestRequestRates::aStaleTreeIsFetchedThoughTheWaitHadFailed()
{
    const auto isStale = std::make_shared<bool>(true);
    const auto hasFailed = std::make_shared<bool>(false);
    turn([isStale, hasFailed](const SeenRequest &request) {
        if (nameOf(request) == "FolderSync")
            *isStale = false;
        if (nameOf(request) != "Ping" || !*isStale)
            return goodAnswer(request);
        const bool isFirst = !std::exchange(*hasFailed, true);
        return ScriptedAnswer {isFirst ? ScriptedServer::http(503) : ping("7"), false};
    });
    driveUntil(Alarm::now() + Hour);
    QVERIFY(!*isStale);
    QVERIFY(m_waits);
}

void TestRequestRates::aTreeThatStaysStaleIsFetchedMoreAndMoreSeldom()
{
    const auto fetched = std::make_shared<QList<qint64>>();
    turn([fetched](const SeenRequest &request) {
        if (nameOf(request) == "FolderSync")
            fetched->append(Alarm::now());
        return always("Ping", ping("7"))(request);
    });
    driveUntil(Alarm::now() + Hour);
    QVERIFY2(fetched->size() > 5, qPrintable(QString::number(fetched->size())));
    for (int i = 2; i < 5; ++i)
        QVERIFY(fetched->at(i) - fetched->at(i - 1) >= fetched->at(i - 1) - fetched->at(i - 2));
}

int TestRequestRates::pull()
{
    QSignalSpy finished(&m_report, &Daemon::WorkReport::requestFinished);
    Daemon::Request request;
    request.id = 1;
    m_worker->accept(request);
    waitFor([&] { return !finished.isEmpty(); });
    return finished.value(0).value(1).toInt();
}

qint64 TestRequestRates::passPause()
{
    const qint64 start = Alarm::now();
    if (waitFor([] { return Alarm::isPending(); }))
        Alarm::ringNext();
    return Alarm::now() - start;
}

void TestRequestRates::aSynchronisationThatSucceedsEndsThePause_data()
{
    QTest::addColumn<int>("vainPulls");
    QTest::newRow("after a wait") << 0;
    QTest::newRow("after a synchronisation in vain") << 1;
}

void TestRequestRates::aSynchronisationThatSucceedsEndsThePause()
{
    // A network that wants a login answers in the server's place, until a person logs in.
    const Answer page = always("", ScriptedServer::http(403, "<html>Log in</html>"));
    QFETCH(int, vainPulls);
    turn(page);
    QVERIFY(waitFor([] { return Alarm::isPending(); }));
    for (int i = 0; i < vainPulls; ++i)
        QCOMPARE(pull(), int(Eas::Forbidden));
    setAnswer(goodAnswer);
    QCOMPARE(pull(), int(Eas::Success));
    QVERIFY(waitFor([this] { return m_waits; }));
    QVERIFY(!Alarm::isPending());
    // That says little of the wait itself: its next failure is the next one in a row.
    m_waits = false;
    setAnswer(page);
    m_server->hangUp();
    QVERIFY(passPause() >= (Daemon::Pauses::AfterGraveFailure.firstMs << vainPulls));
}

void TestRequestRates::aRefusedLoginIsNotTriedAgain()
{
    turn(always("", ScriptedServer::http(401)));
    QSignalSpy told(&m_report, &Daemon::WorkReport::workEnded);
    QTRY_COMPARE(told.count(), 1);
    QCOMPARE(told.first().at(1).toInt(), int(Eas::LoginRefused));
    QCOMPARE(m_asked.size(), 1);
    QVERIFY(!Alarm::isPending());
    m_worker->networkChanged();
    QCoreApplication::processEvents();
    // Who asks is told; nobody else has asked until then. A synchronisation would hide a wait.
    QSignalSpy searched(&m_report, &Daemon::WorkReport::requestFinished);
    Daemon::Request search;
    search.kind = Daemon::RequestKind::Search;
    search.query.text = QStringLiteral("Tea");
    search.query.selector = 1;
    m_worker->accept(search);
    QTRY_COMPARE(searched.count(), 1);
    QCOMPARE(searched.first().at(1).toInt(), int(Eas::LoginRefused));
    QCOMPARE(m_asked.size(), 2);
    QVERIFY(!Alarm::isPending());
}

void TestRequestRates::aLoginThatIsRefusedDuringAPauseIsNotTriedAgain()
{
    turn(always("Ping", ScriptedServer::http(503)));
    QVERIFY(waitFor([] { return Alarm::isPending(); }));
    setAnswer(always("", ScriptedServer::http(401)));
    QCOMPARE(pull(), int(Eas::LoginRefused));
    QVERIFY(!Alarm::isPending());
}

void TestRequestRates::aFolderWithABadAnswerIsAskedForAfterPauses()
{
    const auto times = std::make_shared<QList<qint64>>();
    begin(goodAnswer);
    QVERIFY(waitFor([this] { return m_waits; }));
    setAnswer([times](const SeenRequest &request) {
        if (nameOf(request) != "Sync")
            return goodAnswer(request);
        times->append(Alarm::now());
        return ScriptedAnswer {halved(collection("k9", Mail)), false};
    });
    QSignalSpy finished(&m_report, &Daemon::WorkReport::requestFinished);
    Daemon::Request request;
    request.id = 1;
    m_worker->accept(request);
    while (finished.isEmpty()) {
        QVERIFY(waitFor([&] { return Alarm::isPending() || !finished.isEmpty(); }));
        if (finished.isEmpty())
            Alarm::ringNext();
    }
    QCOMPARE(finished.first().at(1).toInt(), int(Eas::InvalidAnswer));
    // Three answers to its key, and one to none.
    QCOMPARE(times->size(), 4);
    QCOMPARE(times->at(1) - times->at(0), qint64(2000));
    QCOMPARE(times->at(2) - times->at(1), qint64(8000));
    QCOMPARE(times->at(3), times->at(2));
}

void TestRequestRates::newsThatIsTrueIsNotHeldUp()
{
    constexpr int Many = 30;
    const auto brought = std::make_shared<QList<qint64>>();
    turn(alwaysBringing([brought](int times) {
        brought->append(Alarm::now());
        return mailOf(QByteArray::number(times));
    }));
    while (brought->size() < Many) {
        QVERIFY(waitFor([&] { return Alarm::isPending() || brought->size() >= Many; }));
        if (Alarm::isPending())
            Alarm::ringNext();
    }
    // The first follows a cut connection.
    for (int i = 2; i < Many; ++i)
        QVERIFY(brought->at(i) - brought->at(i - 1) <= MaximumBetweenNews);
    QCOMPARE(brought->at(11), brought->at(1));
}

void TestRequestRates::newMailWithoutEndIsFetchedAtABoundedRate()
{
    turn(alwaysBringing([](int times) { return mailOf(QByteArray::number(times)); }));
    const qint64 start = Alarm::now();
    while (Alarm::now() < start + 5 * Minute && m_asked.size() < 20 * MaximumInABusyMinute) {
        QVERIFY(waitFor([] { return Alarm::isPending(); }));
        Alarm::ringNext();
    }
    const int inAMinute = maximumWithin(Minute, start);
    qInfo("%d requests in a minute", inAMinute);
    QVERIFY2(inAMinute <= MaximumInABusyMinute, qPrintable(QString::number(inAMinute)));
}

void TestRequestRates::newsThatWasTrueEndsThePauseOfEmptyNews()
{
    turn(withNews(goodAnswer));
    QVERIFY(waitFor([] { return Alarm::isPending(); }));
    const auto isBrought = std::make_shared<bool>(false);
    setAnswer([isBrought](const SeenRequest &request) {
        return nameOf(request) == "Sync" && !std::exchange(*isBrought, true)
            ? ScriptedAnswer {collection("true", Mail), false}
            : goodAnswer(request);
    });
    const qint64 before = Alarm::now();
    QCOMPARE(pull(), int(Eas::Success));
    QVERIFY(waitFor([this] { return m_waits; }));
    QCOMPARE(Alarm::now(), before);
    QVERIFY(!Alarm::isPending());
}

void TestRequestRates::aWipeIsAskedForOnce()
{
    const QByteArray wipe = ScriptedServer::document(
        "<Provision xmlns=\"Provision:\"><Status>1</Status><RemoteWipe/></Provision>");
    turn([wipe](const SeenRequest &request) {
        return ScriptedAnswer {nameOf(request) == "Provision" ? wipe : ping("140"), false};
    });
    // The wait, the question, and what was done.
    QTRY_COMPARE(m_asked.size(), 3);
    QTRY_VERIFY(!Store::AccountRecord::read(m_account).id.isValid());
    QTest::qWait(500);
    QVERIFY(!Alarm::isPending());
    QCOMPARE(m_asked.size(), 3);
}

void TestRequestRates::aNetworkThatComesAndGoesIsNotFollowedEachTime()
{
    begin(goodAnswer);
    QVERIFY(waitFor([this] { return m_waits; }));
    m_asked.clear();
    const qint64 start = Alarm::now();
    while (Alarm::now() < start + Hour) {
        // It changes whenever something waits at the server.
        m_waits = false;
        m_worker->networkChanged();
        QVERIFY(waitFor([this] { return m_waits || Alarm::isPending(); }));
        if (!m_waits)
            Alarm::ringNext();
        QVERIFY(waitFor([this] { return m_waits; }));
        if (m_asked.size() > 1000)
            break;
    }
    const int inAMinute = maximumWithin(Minute, start);
    QVERIFY2(inAMinute <= MaximumInAMinute, qPrintable(QString::number(inAMinute)));
}

QTEST_GUILESS_MAIN(TestRequestRates)
#include "tst_requestrates.moc"
