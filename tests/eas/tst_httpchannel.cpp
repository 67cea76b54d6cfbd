// SPDX-License-Identifier: LGPL-2.1-or-later
//
// HTTP to one server: what goes out, what each kind of answer means, and what a server cannot make
// it do.
#include "eas/httpchannel.h"
#include "eas/requestbody.h"
#include "tests/eas/scriptedserver.h"
#include "tests/eas/testcertificate.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QtTest>

#include <zlib.h>

using namespace Eas;

namespace {

/** A call with everything that it said. */
class Heard
{
public:
    explicit Heard(HttpCall *call)
        : m_call(call)
    {
        QObject::connect(call, &HttpCall::received, call, [this](const QByteArray &bytes) {
            content += bytes;
            ++pieces;
        });
        QObject::connect(call, &HttpCall::finished, call, [this](const HttpAnswer &a) {
            answer = a;
            ++ends;
        });
    }
    ~Heard() { delete m_call; }

    bool wait(int milliseconds = 10000)
    {
        return QTest::qWaitFor([this] { return ends > 0; }, milliseconds);
    }
    int code() const { return answer.result.code; }
    HttpCall *call() const { return m_call; }

    HttpAnswer answer;
    QByteArray content;
    int pieces = 0;
    int ends = 0;

private:
    QPointer<HttpCall> m_call;
};

/** A channel on a machine that trusts this certificate. */
std::unique_ptr<HttpChannel> channelThatTrusts(const QSslCertificate &certificate)
{
    const QSslConfiguration usual = QSslConfiguration::defaultConfiguration();
    QSslConfiguration trusting = usual;
    trusting.addCaCertificate(certificate);
    QSslConfiguration::setDefaultConfiguration(trusting);
    auto channel = std::make_unique<HttpChannel>();
    QSslConfiguration::setDefaultConfiguration(usual);
    return channel;
}

QByteArray gzip(const QByteArray &bytes)
{
    z_stream stream {};
    deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY);
    QByteArray packed(int(deflateBound(&stream, uLong(bytes.size()))), '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data()));
    stream.avail_in = uInt(bytes.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = uInt(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(int(stream.total_out));
    deflateEnd(&stream);
    return packed;
}

const Credentials Alice {QStringLiteral("alice"), QStringLiteral("secret"), {}};

HttpRequest post(const QByteArray &body = "hello")
{
    HttpRequest request;
    request.query = QStringLiteral("Cmd=Test&User=a%5Cb");
    request.headers = {{"Content-Type", "text/x-test"}, {"X-Own", "own"}};
    request.body = body;
    return request;
}

/** A device that says it has more than it has. */
std::unique_ptr<QIODevice> lyingBody()
{
    auto inner = std::make_unique<QBuffer>();
    inner->setData("short");
    inner->open(QIODevice::ReadOnly);
    auto body = std::make_unique<RequestBody>();
    body->add(std::move(inner), 500000);
    return body;
}

} // namespace

class TestHttpChannel : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void theRequestIsAsItWasAskedFor();
    void oneConnectionCarriesManyRequests();
    void cookiesGoBackToTheHostThatSetThem();
    void aServerCannotPileUpCookies();
    void everyStatusMeansSomething_data();
    void everyStatusMeansSomething();
    void aRefusedLoginIsOneRequest_data();
    void aRefusedLoginIsOneRequest();
    void retryAfterIsRead_data();
    void retryAfterIsRead();
    void contentComesInPiecesOfABoundedSize();
    void packedContentIsUnpacked();
    void packedContentInSeveralMembersIsUnpacked();
    void damagedPackedContentIsRefused();
    void cutPackedContentIsNoConnection();
    void aBombIsRefused();
    void anAnswerBeyondTheLimitIsRefused();
    void aLongErrorPageIsNotReadToItsEnd();
    void anEndlessHeaderTimesOut();
    void cutAnswersAreNoConnection_data();
    void cutAnswersAreNoConnection();
    void aRequestIsNeverSentTwiceByItself();
    void aDeadKeptConnectionIsReplacedOnce();
    void whatMayNotBeRepeatedIsNot();
    void nothingListensThere();
    void theHostDoesNotExist();
    void somethingElseThanHttpAnswers();
    void noAnswerInTime();
    void aTrickleIsNoTimeout();
    void anAnswerThatStopsTimesOut();
    void aFailureWhoseContentStopsIsToldByItsHeader();
    void aRequestThatWaitsHasItsOwnTime();
    void aLongBodyIsStreamed();
    void aBodyThatEndsTooEarlyFails();
    void redirectsThatMayBeFollowed_data();
    void redirectsThatMayBeFollowed();
    void aRedirectIsFollowedWithTheBody();
    void aRedirectToAnotherHostWithoutTlsIsNotFollowed();
    void aRedirectToAStrangerIsNotFollowed();
    void aRedirectInACircleEnds();
    void aRedirectToItselfEnds();
    void tlsWithATrustedCertificate();
    void anUntrustedCertificateIsAConfigurationError();
    void aCertificateForAnotherHostIsAConfigurationError();
    void anExpiredCertificateIsAConfigurationError();
    void aServerWithoutTlsIsAConfigurationError();
    void deletingACallEndsIt();
    void deletingTheCallFromItsOwnSignals();

private:
    ScriptedServer *m_server = nullptr;
    HttpChannel *m_channel = nullptr;

    QUrl urlOf(const ScriptedServer &server, const char *scheme = "http",
               const char *host = "127.0.0.1")
    {
        return QUrl(QStringLiteral("%1://%2:%3/Microsoft-Server-ActiveSync")
                        .arg(QLatin1String(scheme), QLatin1String(host))
                        .arg(server.serverPort()));
    }
};

void TestHttpChannel::init()
{
    m_server = new ScriptedServer;
    m_channel = new HttpChannel;
    m_channel->setUrl(urlOf(*m_server));
    m_channel->setCredentials(Alice);
    HttpTimes times;
    times.idle = times.answer = times.waitingGrace = 20000;
    m_channel->setTimes(times);
}

void TestHttpChannel::cleanup()
{
    delete m_channel;
    delete m_server;
}

void TestHttpChannel::theRequestIsAsItWasAskedFor()
{
    m_server->enqueue(ScriptedServer::http(200, "world", {{"X-Answer", "yes"}}));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(Success));
    QCOMPARE(heard.content, QByteArray("world"));
    QCOMPARE(heard.answer.header("x-answer"), QByteArray("yes"));
    QVERIFY(!heard.answer.empty);
    QCOMPARE(m_server->requests().size(), 1);
    const SeenRequest &seen = m_server->requests().first();
    QCOMPARE(seen.method, QByteArray("POST"));
    QCOMPARE(seen.target, QByteArray("/Microsoft-Server-ActiveSync?Cmd=Test&User=a%5Cb"));
    QCOMPARE(seen.body, QByteArray("hello"));
    QCOMPARE(seen.headers.value("authorization"), "Basic " + QByteArray("alice:secret").toBase64());
    QCOMPARE(seen.headers.value("content-type"), QByteArray("text/x-test"));
    QCOMPARE(seen.headers.value("x-own"), QByteArray("own"));
    QCOMPARE(seen.headers.value("accept-encoding"), QByteArray("gzip"));
    QVERIFY(!seen.headers.contains("cookie"));
}

void TestHttpChannel::oneConnectionCarriesManyRequests()
{
    m_server->setAnswer([](const SeenRequest &) {
        return ScriptedAnswer {ScriptedServer::http(200, "ok", {{"Set-Cookie", "a=b"}}), false};
    });
    for (int i = 0; i < 5; ++i) {
        Heard heard(m_channel->send(post()));
        QVERIFY(heard.wait());
        QCOMPARE(heard.code(), int(Success));
    }
    QCOMPARE(m_server->requests().size(), 5);
    QCOMPARE(m_server->connections(), 1);
}

void TestHttpChannel::cookiesGoBackToTheHostThatSetThem()
{
    m_server->enqueue(ScriptedServer::http(
        200, "ok", {{"Set-Cookie", "backend=b7; Path=/; HttpOnly"}, {"Set-Cookie", "a=1"}}));
    m_server->setAnswer([](const SeenRequest &) {
        return ScriptedAnswer {ScriptedServer::http(200, "ok"), false};
    });
    const auto ask = [](HttpChannel *channel) {
        Heard heard(channel->send(post()));
        QVERIFY(heard.wait());
        QCOMPARE(heard.code(), int(Success));
    };
    ask(m_channel);
    ask(m_channel);
    const QByteArray sent = m_server->requests().last().headers.value("cookie");
    QVERIFY2(sent.contains("backend=b7") && sent.contains("a=1"), sent.constData());
    // Neither to another host, nor for another account.
    const QUrl url = m_channel->url();
    QUrl other = url;
    other.setHost(QStringLiteral("localhost"));
    m_channel->setUrl(other);
    ask(m_channel);
    QVERIFY(!m_server->requests().last().headers.contains("cookie"));
    HttpChannel stranger;
    stranger.setUrl(url);
    ask(&stranger);
    QVERIFY(!m_server->requests().last().headers.contains("cookie"));
    m_channel->setUrl(url);
    ask(m_channel);
    QVERIFY(m_server->requests().last().headers.contains("cookie"));
}

void TestHttpChannel::aServerCannotPileUpCookies()
{
    int number = 0;
    m_server->setAnswer([&number](const SeenRequest &) {
        const QByteArray name = "c" + QByteArray::number(++number);
        return ScriptedAnswer {
            ScriptedServer::http(200, "ok",
                                 {{"Set-Cookie", name + "=1"},
                                  {"Set-Cookie", "large" + name + '=' + QByteArray(5000, 'x')}}),
            false};
    });
    for (int i = 0; i < 60; ++i) {
        Heard heard(m_channel->send(post()));
        QVERIFY(heard.wait());
    }
    const QByteArray sent = m_server->requests().last().headers.value("cookie");
    QCOMPARE(sent.split(';').size(), int(Limits::Cookies));
    QVERIFY(sent.contains("c59=1"));
    QVERIFY(!sent.contains("c1=1"));
    QVERIFY(!sent.contains("large"));
}

void TestHttpChannel::everyStatusMeansSomething_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("code");
    const QList<QPair<int, int>> rows = {
        {200, Success},       {204, ServerFailed},  {301, NotActiveSync},  {302, NotActiveSync},
        {307, NotActiveSync}, {400, NotActiveSync}, {401, LoginRefused},   {403, Forbidden},
        {404, NotActiveSync}, {405, NotActiveSync}, {408, Timeout},        {413, NoRoom},
        {418, ServerFailed},  {429, ServerFailed},  {449, PolicyDemanded}, {451, NotActiveSync},
        {500, ServerFailed},  {501, ServerFailed},  {502, ServerFailed},   {503, ServerFailed},
        {504, Timeout},       {507, NoRoom}};
    for (const auto &row : rows)
        QTest::newRow(QByteArray::number(row.first)) << row.first << row.second;
}

void TestHttpChannel::everyStatusMeansSomething()
{
    QFETCH(int, status);
    QFETCH(int, code);
    m_server->enqueue(ScriptedServer::http(status, status == 204 ? "" : "<html>a page</html>",
                                           {{"Location", "http://elsewhere.invalid/"}}));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), code);
    QCOMPARE(heard.answer.status, status);
    QCOMPARE(heard.answer.result.outcome == Outcome::ProvisionWanted, status == 449);
    QCOMPARE(heard.content.isEmpty(), status != 200);
    QVERIFY(status == 200 || !heard.answer.result.text.isEmpty());
    QTest::qWait(0);
    QCOMPARE(heard.ends, 1);
    QCOMPARE(m_server->requests().size(), 1);
}

void TestHttpChannel::aRefusedLoginIsOneRequest_data()
{
    QTest::addColumn<QByteArray>("challenge");
    QTest::newRow("none") << QByteArray();
    QTest::newRow("basic") << QByteArray("Basic realm=\"x\"");
    QTest::newRow("basic in lower case") << QByteArray("basic realm=\"x\"");
    QTest::newRow("digest") << QByteArray("Digest realm=\"x\", nonce=\"1\", qop=\"auth\"");
    QTest::newRow("ntlm") << QByteArray("NTLM");
    QTest::newRow("negotiate") << QByteArray("Negotiate");
    QTest::newRow("bearer") << QByteArray("Bearer");
}

void TestHttpChannel::aRefusedLoginIsOneRequest()
{
    QFETCH(QByteArray, challenge);
    m_server->setAnswer([challenge](const SeenRequest &) {
        QList<ScriptedServer::Header> headers;
        if (!challenge.isEmpty())
            headers.append({"WWW-Authenticate", challenge});
        return ScriptedAnswer {ScriptedServer::http(401, "no", headers), false};
    });
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(LoginRefused));
    QCOMPARE(m_server->requests().size(), 1);
    Heard options(m_channel->send({"OPTIONS", {}, {}, {}, {}, true, 1000, 0}));
    QVERIFY(options.wait());
    QCOMPARE(options.code(), int(LoginRefused));
    QCOMPARE(m_server->requests().size(), 2);
    QCOMPARE(m_server->requests().last().method, QByteArray("OPTIONS"));
}

void TestHttpChannel::retryAfterIsRead_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("seconds");
    QTest::newRow("none") << QByteArray() << 0;
    QTest::newRow("seconds") << QByteArray("120") << 120;
    QTest::newRow("zero") << QByteArray("0") << 0;
    QTest::newRow("negative") << QByteArray("-5") << 0;
    QTest::newRow("too many") << QByteArray("99999999") << Limits::RetryAfter;
    QTest::newRow("more than a number holds") << QByteArray("99999999999999999999999") << 0;
    QTest::newRow("a date") << QByteArray("Sat, 21 Nov 2026 10:02:03 GMT") << 123;
    QTest::newRow("a date that has passed") << QByteArray("Sat, 21 Nov 2026 09:00:00 GMT") << 0;
    QTest::newRow("a date far away")
        << QByteArray("Sat, 21 Nov 2099 09:00:00 GMT") << Limits::RetryAfter;
    QTest::newRow("rubbish") << QByteArray("soon") << 0;
}

void TestHttpChannel::retryAfterIsRead()
{
    QFETCH(QByteArray, value);
    QFETCH(int, seconds);
    m_server->enqueue(ScriptedServer::http(
        503, {}, {{"Date", "Sat, 21 Nov 2026 10:00:00 GMT"}, {"Retry-After", value}}));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(ServerFailed));
    QCOMPARE(heard.answer.result.retryAfter, seconds);
}

void TestHttpChannel::contentComesInPiecesOfABoundedSize()
{
    const QByteArray content(3 * 1000 * 1000, 'x');
    m_server->enqueue(ScriptedServer::http(200, content));
    HttpCall *call = m_channel->send(post());
    int largest = 0;
    connect(call, &HttpCall::received, this,
            [&largest](const QByteArray &bytes) { largest = qMax(largest, bytes.size()); });
    QSignalSpy progressed(call, &HttpCall::progressed);
    Heard heard(call);
    QVERIFY(heard.wait());
    QCOMPARE(heard.content, content);
    QVERIFY(heard.pieces > 5);
    QVERIFY(largest <= Limits::ReadAhead);
    QCOMPARE(progressed.last().at(0).toLongLong(), qint64(content.size()));
    QCOMPARE(progressed.last().at(1).toLongLong(), qint64(content.size()));
}

void TestHttpChannel::packedContentIsUnpacked()
{
    QByteArray content;
    for (int i = 0; i < 200000; ++i)
        content += QByteArray::number(i * 7919LL);
    m_server->enqueue(ScriptedServer::http(200, gzip(content), {{"Content-Encoding", "gzip"}}));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(Success));
    QCOMPARE(heard.content, content);
}

void TestHttpChannel::packedContentInSeveralMembersIsUnpacked()
{
    m_server->enqueue(
        ScriptedServer::http(200, gzip("one ") + gzip("two"), {{"Content-Encoding", "GZIP"}}));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(Success));
    QCOMPARE(heard.content, QByteArray("one two"));
}

void TestHttpChannel::damagedPackedContentIsRefused()
{
    QByteArray packed = gzip("some content that is packed, some content that is packed");
    packed[20] = char(packed[20] ^ 0x5a);
    m_server->enqueue(ScriptedServer::http(200, packed, {{"Content-Encoding", "gzip"}}));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(InvalidAnswer));
}

void TestHttpChannel::cutPackedContentIsNoConnection()
{
    const QByteArray packed = gzip("some content that is packed, some content that is packed");
    m_server->enqueue(
        ScriptedServer::http(200, packed.left(packed.size() - 9), {{"Content-Encoding", "gzip"}}));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(NoConnection));
}

void TestHttpChannel::aBombIsRefused()
{
    const QByteArray bomb = gzip(QByteArray(60 * 1000 * 1000, '\0'));
    QVERIFY(bomb.size() < 100000);
    m_server->enqueue(ScriptedServer::http(200, bomb, {{"Content-Encoding", "gzip"}}));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(InvalidAnswer));
    QVERIFY2(heard.answer.result.text.contains(QLatin1String("grows")),
             qPrintable(heard.answer.result.text));
    QVERIFY(heard.content.size() < 25 * 1000 * 1000);
}

void TestHttpChannel::anAnswerBeyondTheLimitIsRefused()
{
    HttpRequest request = post();
    request.answerLimit = 100000;
    m_server->enqueue(ScriptedServer::http(200, QByteArray(100000, 'x')));
    m_server->enqueue(ScriptedServer::http(200, QByteArray(100001, 'x')));
    Heard inside(m_channel->send(request));
    QVERIFY(inside.wait());
    QCOMPARE(inside.code(), int(Success));
    Heard outside(m_channel->send(request));
    QVERIFY(outside.wait());
    QCOMPARE(outside.code(), int(InvalidAnswer));
}

void TestHttpChannel::aLongErrorPageIsNotReadToItsEnd()
{
    m_server->enqueue("HTTP/1.1 500 Scripted\r\nContent-Length: 2000000000\r\n\r\n"
                      + QByteArray(4000000, 'x'));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(ServerFailed));
}

void TestHttpChannel::anEndlessHeaderTimesOut()
{
    HttpTimes times;
    times.answer = 300;
    m_channel->setTimes(times);
    m_server->enqueue("HTTP/1.1 200 OK\r\n"
                      + QByteArray("X-Long: and on and on and on\r\n").repeated(20000));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(Timeout));
}

void TestHttpChannel::cutAnswersAreNoConnection_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("half a status") << QByteArray("HTTP/1.1 2");
    QTest::newRow("half a header") << QByteArray("HTTP/1.1 200 OK\r\nContent-Le");
    QTest::newRow("no content") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n");
    QTest::newRow("half the content")
        << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhello");
    QTest::newRow("half the chunks")
        << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n");
    QTest::newRow("half a chunk") << QByteArray(
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n9\r\nhello");
}

void TestHttpChannel::cutAnswersAreNoConnection()
{
    QFETCH(QByteArray, bytes);
    m_server->enqueue(bytes, true);
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(NoConnection));
    QCOMPARE(m_server->requests().size(), 1);
    // The next one works when the cause is gone.
    m_server->enqueue(ScriptedServer::http(200, "fine"));
    Heard next(m_channel->send(post()));
    QVERIFY(next.wait());
    QCOMPARE(next.content, QByteArray("fine"));
}

void TestHttpChannel::aRequestIsNeverSentTwiceByItself()
{
    m_server->setAnswer([](const SeenRequest &) { return ScriptedAnswer {{}, true}; });
    for (const QByteArray &body : {QByteArray("short"), QByteArray(2000000, 'x')}) {
        const int before = m_server->requests().size();
        Heard heard(m_channel->send(post(body)));
        QVERIFY(heard.wait());
        QCOMPARE(heard.code(), int(NoConnection));
        QTest::qWait(50);
        QCOMPARE(m_server->requests().size(), before + 1);
    }
}

void TestHttpChannel::aDeadKeptConnectionIsReplacedOnce()
{
    m_server->enqueue(ScriptedServer::http(200, "first"));
    m_server->enqueue({}, true);
    m_server->enqueue(ScriptedServer::http(200, "second"));
    Heard first(m_channel->send(post()));
    QVERIFY(first.wait());
    Heard second(m_channel->send(post()));
    QVERIFY(second.wait());
    QCOMPARE(second.content, QByteArray("second"));
    QCOMPARE(m_server->requests().size(), 3);
    QCOMPARE(m_server->connections(), 2);
    // But once only.
    m_server->enqueue({}, true);
    m_server->enqueue({}, true);
    Heard third(m_channel->send(post()));
    QVERIFY(third.wait());
    QCOMPARE(third.code(), int(NoConnection));
    QCOMPARE(m_server->requests().size(), 5);
}

void TestHttpChannel::whatMayNotBeRepeatedIsNot()
{
    m_server->enqueue(ScriptedServer::http(200, "first"));
    m_server->enqueue({}, true);
    Heard first(m_channel->send(post()));
    QVERIFY(first.wait());
    HttpRequest request = post();
    request.repeatable = false;
    Heard second(m_channel->send(request));
    QVERIFY(second.wait());
    QCOMPARE(second.code(), int(NoConnection));
    QTest::qWait(50);
    QCOMPARE(m_server->requests().size(), 2);
}

void TestHttpChannel::nothingListensThere()
{
    m_server->close();
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(NoConnection));
    QVERIFY(!heard.answer.result.text.isEmpty());
}

void TestHttpChannel::theHostDoesNotExist()
{
    m_channel->setUrl(QUrl(QStringLiteral("http://nowhere.invalid:80/x")));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(NoConnection));
}

void TestHttpChannel::somethingElseThanHttpAnswers()
{
    m_server->enqueue("220 mail.example.test ESMTP at your service, tell me what you want\r\n",
                      true);
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QVERIFY2(heard.code() == InvalidAnswer || heard.code() == NoConnection,
             qPrintable(heard.answer.result.text));
}

void TestHttpChannel::noAnswerInTime()
{
    HttpTimes times;
    times.answer = 50;
    m_channel->setTimes(times);
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(Timeout));
    QCOMPARE(m_server->requests().size(), 1);
}

void TestHttpChannel::aTrickleIsNoTimeout()
{
    HttpTimes times;
    times.idle = 2000;
    m_channel->setTimes(times);
    QByteArray chunks = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (int i = 0; i < 50; ++i)
        chunks += "1\r\nx\r\n";
    m_server->enqueue(chunks + "0\r\n\r\n");
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.content, QByteArray(50, 'x'));
}

void TestHttpChannel::anAnswerThatStopsTimesOut()
{
    HttpTimes times;
    times.idle = 50;
    m_channel->setTimes(times);
    m_server->enqueue("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhello");
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(Timeout));
    QCOMPARE(heard.content, QByteArray("hello"));
}

void TestHttpChannel::aFailureWhoseContentStopsIsToldByItsHeader()
{
    HttpTimes times;
    times.idle = 50;
    m_channel->setTimes(times);
    m_server->enqueue("HTTP/1.1 449 Retry\r\nContent-Length: 10\r\n\r\nhello");
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(PolicyDemanded));
    QVERIFY(heard.answer.result.outcome == Outcome::ProvisionWanted);
}

void TestHttpChannel::aRequestThatWaitsHasItsOwnTime()
{
    HttpTimes times;
    times.answer = 1;
    times.waitingGrace = 50;
    m_channel->setTimes(times);
    HttpRequest request = post();
    request.waitingTime = 300;
    QElapsedTimer timer;
    timer.start();
    Heard heard(m_channel->send(request));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(Timeout));
    QVERIFY(timer.elapsed() >= 300);
}

void TestHttpChannel::aLongBodyIsStreamed()
{
    QByteArray content(5 * 1000 * 1000, 'y');
    content[4999999] = 'z';
    HttpRequest request = post();
    request.streamedBody = [content] {
        auto inner = std::make_unique<QBuffer>();
        inner->setData(content);
        inner->open(QIODevice::ReadOnly);
        auto body = std::make_unique<RequestBody>();
        body->add("head");
        body->add(std::move(inner), content.size());
        body->add("tail");
        return body;
    };
    m_server->enqueue(ScriptedServer::http(200));
    Heard heard(m_channel->send(request));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(Success));
    QVERIFY(heard.answer.empty);
    QCOMPARE(m_server->requests().first().body, "head" + content + "tail");
}

void TestHttpChannel::aBodyThatEndsTooEarlyFails()
{
    HttpTimes times;
    times.idle = 500;
    m_channel->setTimes(times);
    HttpRequest request = post();
    request.streamedBody = [] { return lyingBody(); };
    Heard heard(m_channel->send(request));
    QVERIFY(heard.wait());
    QVERIFY(heard.code() != Success);
    QCOMPARE(m_server->requests().size(), 0);
}

void TestHttpChannel::redirectsThatMayBeFollowed_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("TLS, another host of the mail's domain")
        << "https://a.test/x" << "https://b.mail.test/y" << true;
    QTest::newRow("TLS, the mail's domain") << "https://a.test/x" << "https://Mail.test/y" << true;
    QTest::newRow("TLS, below the server") << "https://a.test/x" << "https://b.a.test/y" << true;
    QTest::newRow("TLS, this machine by another name")
        << "https://localhost/x" << "https://127.0.0.1/y" << true;
    QTest::newRow("TLS, a stranger") << "https://a.test/x" << "https://b.test/y" << false;
    QTest::newRow("TLS, a stranger whose name ends so")
        << "https://a.test/x" << "https://evilmail.test/y" << false;
    QTest::newRow("TLS, a stranger whose name begins so")
        << "https://a.test/x" << "https://mail.test.evil/y" << false;
    QTest::newRow("up to TLS, same host") << "http://a.test/x" << "https://a.test/x" << true;
    QTest::newRow("up to TLS, another host")
        << "http://a.test/x" << "https://b.mail.test/x" << true;
    QTest::newRow("down from TLS") << "https://a.test/x" << "http://a.test/x" << false;
    QTest::newRow("no TLS, same host") << "http://a.test/x" << "http://a.test:81/y" << true;
    QTest::newRow("no TLS, same host, other case")
        << "http://a.test/x" << "http://A.TEST/y" << true;
    QTest::newRow("no TLS, another host") << "http://a.test/x" << "http://b.mail.test/x" << false;
    QTest::newRow("another protocol") << "https://a.test/x" << "ftp://a.test/x" << false;
    QTest::newRow("a file") << "https://a.test/x" << "file:///etc/passwd" << false;
    QTest::newRow("no host") << "https://a.test/x" << "https:///x" << false;
    QTest::newRow("a login in it") << "https://a.test/x" << "https://a:b@b.a.test/x" << false;
    QTest::newRow("relative") << "https://a.test/x" << "/y" << false;
    QTest::newRow("nothing") << "https://a.test/x" << "" << false;
    QTest::newRow("rubbish") << "https://a.test/x" << "https://[" << false;
}

void TestHttpChannel::redirectsThatMayBeFollowed()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(bool, allowed);
    m_channel->setLoginDomains({QStringLiteral("a.test"), QStringLiteral("mail.test"), QString()});
    QCOMPARE(m_channel->mayFollow(QUrl(from), QUrl(to)), allowed);
}

void TestHttpChannel::aRedirectIsFollowedWithTheBody()
{
    ScriptedServer other;
    other.enqueue(ScriptedServer::http(200, "here"));
    const QByteArray target =
        urlOf(other).toEncoded().replace("Microsoft", "Other") + "?Cmd=Theirs#x";
    m_server->enqueue(ScriptedServer::http(451, "moved", {{"X-MS-Location", target}}));
    QSignalSpy moved(m_channel, &HttpChannel::moved);
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.content, QByteArray("here"));
    QCOMPARE(other.requests().size(), 1);
    QCOMPARE(other.requests().first().target,
             QByteArray("/Other-Server-ActiveSync?Cmd=Test&User=a%5Cb"));
    QCOMPARE(other.requests().first().body, QByteArray("hello"));
    QCOMPARE(moved.size(), 1);
    QCOMPARE(moved.first().first().toUrl(), m_channel->url());
    // From now on there at once.
    other.enqueue(ScriptedServer::http(200, "again"));
    Heard next(m_channel->send(post()));
    QVERIFY(next.wait());
    QCOMPARE(next.content, QByteArray("again"));
    QCOMPARE(m_server->requests().size(), 1);
}

void TestHttpChannel::aRedirectToAnotherHostWithoutTlsIsNotFollowed()
{
    ScriptedServer other;
    m_server->enqueue(ScriptedServer::http(
        451, {}, {{"X-MS-Location", urlOf(other, "http", "localhost").toEncoded()}}));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(NotActiveSync));
    QCOMPARE(other.connections(), 0);
    QCOMPARE(m_channel->url(), urlOf(*m_server));
}

void TestHttpChannel::aRedirectToAStrangerIsNotFollowed()
{
    m_channel->setLoginDomains({QStringLiteral("127.0.0.1"), QStringLiteral("example.test")});
    m_server->enqueue(
        ScriptedServer::http(451, {}, {{"X-MS-Location", "https://stranger.invalid/x"}}));
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    // Not even asked for.
    QCOMPARE(heard.code(), int(NotActiveSync));
    QVERIFY(heard.answer.result.text.contains(QLatin1String("https://stranger.invalid/x")));
    QCOMPARE(m_channel->url(), urlOf(*m_server));
}

void TestHttpChannel::aRedirectInACircleEnds()
{
    int count = 0;
    m_server->setAnswer([this, &count](const SeenRequest &) {
        const QByteArray to = urlOf(*m_server).toEncoded() + QByteArray::number(++count);
        return ScriptedAnswer {ScriptedServer::http(451, {}, {{"X-MS-Location", to}}), false};
    });
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(NotActiveSync));
    QCOMPARE(m_server->requests().size(), Limits::Redirects + 1);
}

void TestHttpChannel::aRedirectToItselfEnds()
{
    m_server->setAnswer([this](const SeenRequest &) {
        return ScriptedAnswer {
            ScriptedServer::http(451, {}, {{"X-MS-Location", urlOf(*m_server).toEncoded()}}),
            false};
    });
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(NotActiveSync));
    QCOMPARE(m_server->requests().size(), 1);
}

void TestHttpChannel::tlsWithATrustedCertificate()
{
    const TestCertificate certificate = TestCertificate::make("localhost", "DNS:localhost");
    if (!certificate.isValid())
        QSKIP("openssl is not installed");
    ScriptedServer server(certificate.certificate, certificate.key);
    server.enqueue(ScriptedServer::http(200, "safe"));
    const auto channel = channelThatTrusts(certificate.certificate);
    channel->setUrl(urlOf(server, "https", "localhost"));
    Heard heard(channel->send(post()));
    QVERIFY(heard.wait());
    QVERIFY2(heard.code() == Success, qPrintable(heard.answer.result.text));
    QCOMPARE(heard.content, QByteArray("safe"));
}

static void refuseCertificate(const char *name, int days, bool trusted, const char *said)
{
    const TestCertificate certificate =
        TestCertificate::make(name, QByteArray("DNS:") + name, days);
    if (!certificate.isValid())
        QSKIP("openssl is not installed");
    ScriptedServer server(certificate.certificate, certificate.key);
    const auto channel =
        trusted ? channelThatTrusts(certificate.certificate) : std::make_unique<HttpChannel>();
    channel->setUrl(QUrl(QStringLiteral("https://localhost:%1/x").arg(server.serverPort())));
    Heard heard(channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(BadConfiguration));
    const QString text = heard.answer.result.text;
    QVERIFY2(text.contains(QLatin1String("certificate")) && text.contains(QLatin1String(said)),
             qPrintable(text));
    QCOMPARE(server.requests().size(), 0);
}

void TestHttpChannel::anUntrustedCertificateIsAConfigurationError()
{
    refuseCertificate("localhost", 2, false, "self-signed");
}

void TestHttpChannel::aCertificateForAnotherHostIsAConfigurationError()
{
    refuseCertificate("other.test", 2, true, "host name");
}

void TestHttpChannel::anExpiredCertificateIsAConfigurationError()
{
    refuseCertificate("localhost", -2, true, "expired");
}

void TestHttpChannel::aServerWithoutTlsIsAConfigurationError()
{
    m_server->enqueue("HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n");
    m_server->setAnswer([](const SeenRequest &) { return ScriptedAnswer {}; });
    m_channel->setUrl(urlOf(*m_server, "https", "127.0.0.1"));
    // It never sees the end of a header in what TLS begins with; a real one closes.
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [this] {
        if (m_server->bytesSeen() > 0)
            m_server->sayToAll("HTTP/1.1 400 Bad Request\r\n\r\n");
    });
    timer.start(5);
    Heard heard(m_channel->send(post()));
    QVERIFY(heard.wait());
    QCOMPARE(heard.code(), int(BadConfiguration));
    QCOMPARE(m_server->requests().size(), 0);
}

void TestHttpChannel::deletingACallEndsIt()
{
    Heard *heard = new Heard(m_channel->send(post(QByteArray(1000000, 'x'))));
    QTRY_VERIFY(m_server->bytesSeen() > 0);
    delete heard;
    m_server->enqueue(ScriptedServer::http(200, "next"));
    m_server->hangUp();
    Heard next(m_channel->send(post()));
    QVERIFY(next.wait());
    QCOMPARE(next.content, QByteArray("next"));
}

void TestHttpChannel::deletingTheCallFromItsOwnSignals()
{
    m_server->setAnswer([](const SeenRequest &) {
        return ScriptedAnswer {ScriptedServer::http(200, gzip(QByteArray(300000, 'x')),
                                                    {{"Content-Encoding", "gzip"}}),
                               false};
    });
    QPointer<HttpCall> call = m_channel->send(post());
    connect(call, &HttpCall::accepted, this, [&call] { delete call; });
    QTRY_VERIFY(!call);
    call = m_channel->send(post());
    connect(call, &HttpCall::received, this, [&call] { delete call; });
    QTRY_VERIFY(!call);
    call = m_channel->send(post());
    connect(call, &HttpCall::progressed, this, [&call] { delete call; });
    QTRY_VERIFY(!call);
    call = m_channel->send(post());
    connect(call, &HttpCall::finished, this, [&call] { delete call; });
    QTRY_VERIFY(!call);
}

QTEST_GUILESS_MAIN(TestHttpChannel)
#include "tst_httpchannel.moc"
