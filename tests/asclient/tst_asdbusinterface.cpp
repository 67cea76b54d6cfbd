// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/asdbusinterface.h"
#include "tests/support/scripteddaemon.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QElapsedTimer>
#include <QFile>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>
#include <QXmlStreamReader>

#include <functional>
#include <limits>

using namespace Activesync;
using Answer = ScriptedDaemon::Answer;
using Invocation = std::function<QVariant(AsDBusInterface &, QDBus::CallMode)>;
Q_DECLARE_METATYPE(Invocation)
Q_DECLARE_METATYPE(QDBus::CallMode)

namespace {

const qulonglong Account = 0xfedcba9876543210ull;
const qulonglong Message = std::numeric_limits<quint64>::max();
const QString Location = QStringLiteral("18446744073709551615-1.2.3");

/** The answer as a value, or the text of the error. */
template <typename Reply>
QVariant told(const Reply &reply)
{
    return reply.isValid() ? QVariant(reply.value()) : QVariant(reply.error().name());
}

QVariant told(const QDBusReply<void> &reply)
{
    return reply.isValid() ? QVariant() : QVariant(reply.error().name());
}

/** The signatures of the interface's methods' inputs and of its signals, by name. */
QMap<QString, QString> introspected(const char *element)
{
    QFile file(qEnvironmentVariable("ORVMAIL_SOURCE_DIR")
               + QStringLiteral("/asclient/com.tarvo.asdbus.xml"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(file.fileName()));
    QMap<QString, QString> signatures;
    QString current;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const auto attribute = [&](const char *name) {
            return xml.attributes().value(QLatin1String(name)).toString();
        };
        if (xml.name() == QLatin1String("method") || xml.name() == QLatin1String("signal"))
            current = xml.name() == QLatin1String(element) ? attribute("name") : QString();
        else if (xml.name() == QLatin1String("arg") && !current.isEmpty()
                 && attribute("direction") != QLatin1String("out"))
            signatures[current] += attribute("type");
    }
    return signatures;
}

SearchQuery someQuery()
{
    SearchQuery query;
    query.text = QStringLiteral("résumé \U0001F4CE \"*\"");
    query.selector = 1;
    query.folders = QStringList {QStringLiteral("2"), QStringLiteral("18446744073709551615")};
    query.receivedAfter = QDateTime::fromMSecsSinceEpoch(1234567890123, Qt::UTC);
    query.receivedBefore = QDateTime::fromMSecsSinceEpoch(1700000000999, Qt::UTC);
    query.reserved = QStringLiteral("r");
    return query;
}

SearchMailboxOptions someOptions()
{
    SearchMailboxOptions options;
    options.rangeStart = 0;
    options.rangeEnd = 99;
    options.userName = QStringLiteral("user");
    options.password = QStringLiteral("pass word");
    options.rebuildResults = true;
    options.deepTraversal = false;
    options.mimeSupport = 2;
    options.bodyType = 4;
    options.truncationSize = std::numeric_limits<int>::min();
    options.allOrNone = true;
    return options;
}

bool same(const SearchQuery &a, const SearchQuery &b)
{
    return a.text == b.text && a.selector == b.selector && a.folders == b.folders
        && a.receivedAfter == b.receivedAfter && a.receivedBefore == b.receivedBefore
        && a.receivedAfter.isValid() == b.receivedAfter.isValid()
        && a.receivedBefore.isValid() == b.receivedBefore.isValid() && a.reserved == b.reserved;
}

bool same(const SearchMailboxOptions &a, const SearchMailboxOptions &b)
{
    return a.rangeStart == b.rangeStart && a.rangeEnd == b.rangeEnd && a.userName == b.userName
        && a.password == b.password && a.rebuildResults == b.rebuildResults
        && a.deepTraversal == b.deepTraversal && a.mimeSupport == b.mimeSupport
        && a.bodyType == b.bodyType && a.truncationSize == b.truncationSize
        && a.allOrNone == b.allOrNone;
}

} // namespace

class TestAsDBusInterface : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void callArrivesAndAnswerReturns_data();
    void callArrivesAndAnswerReturns();
    void everyMethodOfTheInterfaceIsCovered();
    void signalsAgreeWithTheInterface();
    void queryCrossesTheBus_data();
    void queryCrossesTheBus();
    void timesArriveAsUtc();
    void optionsCrossTheBus_data();
    void optionsCrossTheBus();
    void resultCrossesTheBus_data();
    void resultCrossesTheBus();
    void tellsOfCompletion();
    void refusalIsAnAnswer();
    void errorOfTheDaemonIsToldWithItsName();
    void absentDaemonFailsABlockingCallAtOnce();
    void absentDaemonIsNoErrorOfAnUnsentReply();
    void unsentReplyIsNotWaitedFor();
    void silentDaemonIsLeftAfterTheBound();
    void silentDaemonIsNotCalledUntilItIsHeard_data();
    void silentDaemonIsNotCalledUntilItIsHeard();
    void callsHaveTheirBounds();
    void diedDaemonFailsTheCallAtOnce();
    void hearsADaemonThatCameLater();
    void hearsTheNextDaemon();

private:
    std::unique_ptr<ScriptedDaemon> m_daemon;
    std::unique_ptr<AsDBusInterface> m_proxy;
};

void TestAsDBusInterface::init()
{
    m_daemon = std::make_unique<ScriptedDaemon>();
    m_proxy = std::make_unique<AsDBusInterface>(QDBusConnection::sessionBus(), nullptr);
}

void TestAsDBusInterface::cleanup()
{
    m_proxy.reset();
    m_daemon.reset();
}

void TestAsDBusInterface::callArrivesAndAnswerReturns_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QVariant>("answer");
    QTest::addColumn<Invocation>("invocation");
    QTest::addColumn<QDBus::CallMode>("mode");

    const auto add = [](const char *method, const QVariantList &arguments, const QVariant &answer,
                        const Invocation &invocation) {
        QTest::addRow("%s, waited for", method)
            << QString::fromLatin1(method) << arguments << answer << invocation << QDBus::Block;
        // What is not waited for reads as 0.
        QTest::addRow("%s, not waited for", method)
            << QString::fromLatin1(method) << arguments
            << (answer.isValid() ? QVariant(0) : QVariant()) << invocation << QDBus::NoBlock;
    };
    const QStringList folders {QStringLiteral("2"), QStringLiteral("3")};
    add("sync", {Account}, 1,
        [](AsDBusInterface &p, QDBus::CallMode m) { return told(p.sync(Account, m)); });
    add("folderSync", {Account}, 1,
        [](AsDBusInterface &p, QDBus::CallMode m) { return told(p.folderSync(Account, m)); });
    add("syncSpecificFolders", {Account, folders, 30, -5}, 1,
        [folders](AsDBusInterface &p, QDBus::CallMode m) {
            return told(
                p.syncSpecificFolders(Account, folders, AsDBusInterface::MessageLists, -5, m));
        });
    add("downloadMessage", {Account, Message}, 1, [](AsDBusInterface &p, QDBus::CallMode m) {
        return told(p.downloadMessage(Account, Message, m));
    });
    add("downloadAttachment", {Account, Message, Location}, 1,
        [](AsDBusInterface &p, QDBus::CallMode m) {
            return told(p.downloadAttachment(Account, Message, Location, m));
        });
    add("sendMail", {Account, Message}, 1, [](AsDBusInterface &p, QDBus::CallMode m) {
        return told(p.sendMail(Account, Message, m));
    });
    // The records are compared by their own tests.
    add("searchMailbox", {Account}, 1, [](AsDBusInterface &p, QDBus::CallMode m) {
        return told(p.searchMailbox(Account, someQuery(), someOptions(), m));
    });
    add("abortRequest", {-2, 1030}, QVariant(),
        [](AsDBusInterface &p, QDBus::CallMode m) { return told(p.abortRequest(-2, 1030, m)); });
    add("isRequestAlive", {std::numeric_limits<int>::max()}, 0,
        [](AsDBusInterface &p, QDBus::CallMode m) {
            return told(p.isRequestAlive(std::numeric_limits<int>::max(), m));
        });
    add("stopSync", {Account, 1030}, QVariant(),
        [](AsDBusInterface &p, QDBus::CallMode m) { return told(p.stopSync(Account, 1030, m)); });
}

void TestAsDBusInterface::callArrivesAndAnswerReturns()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QVariant, answer);
    QFETCH(Invocation, invocation);
    QFETCH(QDBus::CallMode, mode);

    QCOMPARE(invocation(*m_proxy, mode), answer);
    const ScriptedDaemon::Call call = m_daemon->waitForCall(method.toLatin1().constData());
    QVERIFY(call.isValid());
    QCOMPARE(call.signature, introspected("method").value(method));
    QCOMPARE(call.arguments.mid(0, arguments.size()), arguments);
    QCOMPARE(call.wantsReply, mode == QDBus::Block);
    QCOMPARE(m_daemon->calls().size(), 1);
}

void TestAsDBusInterface::everyMethodOfTheInterfaceIsCovered()
{
    const QStringList covered {QStringLiteral("abortRequest"),
                               QStringLiteral("downloadAttachment"),
                               QStringLiteral("downloadMessage"),
                               QStringLiteral("folderSync"),
                               QStringLiteral("isRequestAlive"),
                               QStringLiteral("searchMailbox"),
                               QStringLiteral("sendMail"),
                               QStringLiteral("stopSync"),
                               QStringLiteral("sync"),
                               QStringLiteral("syncSpecificFolders")};
    QCOMPARE(QStringList(introspected("method").keys()), covered);
}

void TestAsDBusInterface::signalsAgreeWithTheInterface()
{
    const QMap<QString, QString> wanted = introspected("signal");
    const QMetaObject &meta = AsDBusInterface::staticMetaObject;
    QStringList own;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        const QMetaMethod method = meta.method(index);
        if (method.methodType() != QMetaMethod::Signal)
            continue;
        QString signature;
        for (int i = 0; i < method.parameterCount(); ++i)
            signature += QLatin1String(QDBusMetaType::typeToSignature(method.parameterType(i)));
        own.append(QString::fromLatin1(method.name()));
        QCOMPARE(signature, wanted.value(own.last()));
    }
    QCOMPARE(own,
             QStringList(
                 {QStringLiteral("requestCompleted"), QStringLiteral("searchMailboxCompleted")}));
}

void TestAsDBusInterface::queryCrossesTheBus_data()
{
    QTest::addColumn<SearchQuery>("query");
    QTest::newRow("empty") << SearchQuery();
    QTest::newRow("full") << someQuery();
    SearchQuery query = someQuery();
    query.receivedAfter = QDateTime();
    QTest::newRow("open below") << query;
    query = someQuery();
    query.receivedBefore = QDateTime();
    QTest::newRow("open above") << query;
    query.receivedBefore = QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC);
    query.receivedAfter = QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);
    QTest::newRow("around the epoch") << query;
    query.text = QString(200000, QChar(0x20ac));
    query.folders.clear();
    for (int id = 0; id < 5000; ++id)
        query.folders.append(QString::number(id));
    QTest::newRow("large") << query;
}

void TestAsDBusInterface::queryCrossesTheBus()
{
    QFETCH(SearchQuery, query);
    QCOMPARE(m_proxy->searchMailbox(1, query, SearchMailboxOptions(), QDBus::Block).value(), 1);
    const auto call = m_daemon->waitForCall("searchMailbox");
    QVERIFY(same(call.arguments.at(1).value<SearchQuery>(), query));
}

void TestAsDBusInterface::timesArriveAsUtc()
{
    SearchQuery query;
    query.receivedAfter = QDateTime(QDate(2024, 3, 1), QTime(0, 30), QTimeZone("Asia/Kathmandu"));
    QVERIFY(m_proxy->searchMailbox(1, query, SearchMailboxOptions(), QDBus::Block).isValid());
    const auto call = m_daemon->waitForCall("searchMailbox");
    const QDateTime arrived = call.arguments.at(1).value<SearchQuery>().receivedAfter;
    QCOMPARE(arrived.timeSpec(), Qt::UTC);
    QCOMPARE(arrived, QDateTime(QDate(2024, 2, 29), QTime(18, 45), Qt::UTC));
}

void TestAsDBusInterface::optionsCrossTheBus_data()
{
    QTest::addColumn<SearchMailboxOptions>("options");
    QTest::newRow("defaults") << SearchMailboxOptions();
    QTest::newRow("full") << someOptions();
}

void TestAsDBusInterface::optionsCrossTheBus()
{
    QFETCH(SearchMailboxOptions, options);
    QCOMPARE(m_proxy->searchMailbox(1, SearchQuery(), options, QDBus::Block).value(), 1);
    const auto call = m_daemon->waitForCall("searchMailbox");
    QVERIFY(same(call.arguments.at(2).value<SearchMailboxOptions>(), options));
}

void TestAsDBusInterface::resultCrossesTheBus_data()
{
    QTest::addColumn<int>("total");
    QTest::addColumn<QList<qulonglong>>("ids");
    QTest::newRow("nothing") << 0 << QList<qulonglong>();
    QTest::newRow("more at the server") << 12345 << QList<qulonglong> {1, Message, 3};
    QList<qulonglong> many;
    for (qulonglong id = 1; id <= 20000; ++id)
        many.append(id * 3);
    QTest::newRow("many") << std::numeric_limits<int>::max() << many;
}

void TestAsDBusInterface::resultCrossesTheBus()
{
    QFETCH(int, total);
    QFETCH(QList<qulonglong>, ids);
    QSignalSpy found(m_proxy.get(), &AsDBusInterface::searchMailboxCompleted);
    QSignalSpy completed(m_proxy.get(), &AsDBusInterface::requestCompleted);
    m_daemon->answer(Answer::nextId().completing(200).found(200, {total, ids}));
    QVERIFY(m_proxy->searchMailbox(Account, someQuery(), someOptions(), QDBus::Block).isValid());
    QTRY_COMPARE(completed.count(), 1);
    QCOMPARE(found.count(), 1);
    const auto result = found.at(0).at(2).value<SearchMailboxResult>();
    QCOMPARE(result.total, total);
    QCOMPARE(result.messageIds, ids);
    QCOMPARE(found.at(0).at(0).toInt(), 200);
    QCOMPARE(found.at(0).at(1).toULongLong(), Account);
    QCOMPARE(found.at(0).at(3).toInt(), 1);
}

void TestAsDBusInterface::tellsOfCompletion()
{
    QSignalSpy completed(m_proxy.get(), &AsDBusInterface::requestCompleted);
    m_daemon->requestCompleted(-70000, Account, std::numeric_limits<int>::max());
    QTRY_COMPARE(completed.count(), 1);
    QCOMPARE(completed.at(0), QVariantList({-70000, Account, std::numeric_limits<int>::max()}));
}

void TestAsDBusInterface::refusalIsAnAnswer()
{
    m_daemon->answer(Answer::id(-1));
    const QDBusReply<int> reply = m_proxy->sync(Account, QDBus::Block);
    QVERIFY(reply.isValid());
    QCOMPARE(reply.value(), -1);
}

void TestAsDBusInterface::errorOfTheDaemonIsToldWithItsName()
{
    m_daemon->answer(Answer::error("com.example.Broken"));
    const QDBusReply<int> reply = m_proxy->sync(Account, QDBus::Block);
    QVERIFY(!reply.isValid());
    QCOMPARE(reply.error().name(), QStringLiteral("com.example.Broken"));
}

void TestAsDBusInterface::absentDaemonFailsABlockingCallAtOnce()
{
    m_daemon->vanish();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!m_proxy->sync(Account, QDBus::Block).isValid());
    QVERIFY(!m_proxy->isRequestAlive(1, QDBus::Block).isValid());
    QVERIFY(!m_proxy->abortRequest(1, 1030, QDBus::Block).isValid());
    QVERIFY(timer.elapsed() < 1000);
}

void TestAsDBusInterface::absentDaemonIsNoErrorOfAnUnsentReply()
{
    m_daemon->vanish();
    const QDBusReply<int> reply = m_proxy->sync(Account, QDBus::NoBlock);
    QVERIFY(reply.isValid());
    QCOMPARE(reply.value(), 0);
    QVERIFY(m_proxy->abortRequest(1, 1030, QDBus::NoBlock).isValid());
}

void TestAsDBusInterface::unsentReplyIsNotWaitedFor()
{
    m_daemon->answer(Answer::silence());
    m_daemon->ignoreAlive();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(m_proxy->sync(Account, QDBus::NoBlock).isValid());
    QVERIFY(m_proxy->isRequestAlive(1, QDBus::NoBlock).isValid());
    QVERIFY(timer.elapsed() < 1000);
    QVERIFY(m_daemon->waitForCall("isRequestAlive").isValid());
}

void TestAsDBusInterface::silentDaemonIsLeftAfterTheBound()
{
    m_daemon->ignoreAlive();
    QElapsedTimer timer;
    timer.start();
    const QDBusReply<int> reply = m_proxy->isRequestAlive(1, QDBus::Block);
    QVERIFY(!reply.isValid());
    QCOMPARE(reply.error().type(), QDBusError::NoReply);
    QVERIFY(timer.elapsed() >= AliveTimeoutMs - 100);
    QVERIFY(timer.elapsed() < AliveTimeoutMs + 2000);
    // The late answer is nobody's.
    m_daemon->releaseAnswers();
    QCOMPARE(m_proxy->sync(Account, QDBus::Block).value(), 1);
}

void TestAsDBusInterface::silentDaemonIsNotCalledUntilItIsHeard_data()
{
    QTest::addColumn<QString>("sign");
    for (const char *sign : {"answer", "broadcast", "another daemon"})
        QTest::newRow(sign) << QString::fromLatin1(sign);
}

void TestAsDBusInterface::silentDaemonIsNotCalledUntilItIsHeard()
{
    QFETCH(QString, sign);
    m_daemon->ignoreAlive();
    QVERIFY(!m_proxy->isRequestAlive(1, QDBus::Block).isValid());
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 20; ++i)
        QCOMPARE(m_proxy->sync(Account, QDBus::Block).error().type(), QDBusError::NoReply);
    QVERIFY(timer.elapsed() < 1000);
    QCOMPARE(m_daemon->callCount("sync"), 0);
    // What needs no answer is left at its door.
    QVERIFY(m_proxy->abortRequest(1, 1030, QDBus::Block).isValid());
    QVERIFY(!m_daemon->waitForCall("abortRequest").wantsReply);
    if (sign == QLatin1String("answer"))
        m_daemon->releaseAnswers();
    else if (sign == QLatin1String("broadcast"))
        m_daemon->requestCompleted(200, Account, 7);
    else
        m_daemon->vanish();
    QVERIFY(m_daemon->appear());
    QTRY_VERIFY(m_proxy->sync(Account, QDBus::Block).isValid());
}

void TestAsDBusInterface::callsHaveTheirBounds()
{
    QCOMPARE(CallTimeoutMs, 10000);
    QCOMPARE(AliveTimeoutMs, 2000);
    const auto boundOf = [this](const auto &call) {
        m_proxy->setTimeout(-1);
        call();
        return m_proxy->timeout();
    };
    AsDBusInterface &p = *m_proxy;
    const QDBus::CallMode mode = QDBus::Block;
    QCOMPARE(boundOf([&] { p.sync(1, mode); }), CallTimeoutMs);
    QCOMPARE(boundOf([&] { p.folderSync(1, mode); }), CallTimeoutMs);
    QCOMPARE(boundOf([&] { p.syncSpecificFolders(1, {}, 0, 0, mode); }), CallTimeoutMs);
    QCOMPARE(boundOf([&] { p.downloadMessage(1, 1, mode); }), CallTimeoutMs);
    QCOMPARE(boundOf([&] { p.downloadAttachment(1, 1, Location, mode); }), CallTimeoutMs);
    QCOMPARE(boundOf([&] { p.sendMail(1, 1, mode); }), CallTimeoutMs);
    QCOMPARE(boundOf([&] { p.searchMailbox(1, {}, {}, mode); }), CallTimeoutMs);
    QCOMPARE(boundOf([&] { p.abortRequest(1, 1030, mode); }), CallTimeoutMs);
    QCOMPARE(boundOf([&] { p.stopSync(1, 1030, mode); }), CallTimeoutMs);
    QCOMPARE(boundOf([&] { p.isRequestAlive(1, mode); }), AliveTimeoutMs);
}

void TestAsDBusInterface::diedDaemonFailsTheCallAtOnce()
{
    m_daemon->answer(Answer::silence());
    QDBusPendingCall call = m_proxy->asyncCall(QStringLiteral("sync"), Account);
    QVERIFY(m_daemon->waitForCall("sync").isValid());
    m_daemon->vanish();
    QTRY_VERIFY_WITH_TIMEOUT(call.isFinished(), 2000);
    QVERIFY(call.isError());
}

void TestAsDBusInterface::hearsADaemonThatCameLater()
{
    m_daemon->vanish();
    AsDBusInterface early(QDBusConnection::sessionBus(), nullptr);
    QSignalSpy completed(&early, &AsDBusInterface::requestCompleted);
    QVERIFY(m_daemon->appear());
    QCOMPARE(early.sync(Account, QDBus::Block).value(), 1);
    m_daemon->complete(1, 200);
    QTRY_COMPARE(completed.count(), 1);
}

void TestAsDBusInterface::hearsTheNextDaemon()
{
    QSignalSpy completed(m_proxy.get(), &AsDBusInterface::requestCompleted);
    for (int round = 1; round <= 3; ++round) {
        m_daemon->vanish();
        QVERIFY(m_daemon->appear());
        const int id = m_proxy->sync(Account, QDBus::Block);
        QCOMPARE(id, round);
        m_daemon->complete(id, 200);
        QTRY_COMPARE(completed.count(), round);
    }
}

QTEST_GUILESS_MAIN(TestAsDBusInterface)

#include "tst_asdbusinterface.moc"
