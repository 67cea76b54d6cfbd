// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/httpcall.h"

#include "eas/gzipdecoder.h"
#include "eas/httpchannel.h"
#include "eas/httpstatus.h"
#include "eas/log.h"
#include "eas/requestbody.h"
#include "translations/text.h"

#include <QNetworkReply>
#include <QSslError>

namespace Eas {

QByteArray HttpAnswer::header(const QByteArray &name) const
{
    for (const auto &field : headers) {
        if (field.first.compare(name, Qt::CaseInsensitive) == 0)
            return field.second;
    }
    return {};
}

HttpCall::HttpCall(HttpChannel *channel, const HttpRequest &request)
    : m_channel(channel)
    , m_request(request)
    , m_url(channel->url())
    , m_timer(this)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &HttpCall::timedOut);
}

HttpCall::~HttpCall()
{
    drop();
}

void HttpCall::send()
{
    m_hasLeft = false;
    QUrl url = m_url;
    url.setQuery(m_request.query, QUrl::StrictMode);
    QNetworkRequest request(url);
    request.setSslConfiguration(m_channel->m_tls);
    request.setRawHeader("Authorization", m_channel->m_authorization);
    // Set here, it keeps Qt from unpacking the answer, which Qt does without a bound.
    request.setRawHeader("Accept-Encoding", "gzip");
    for (const auto &header : m_request.headers)
        request.setRawHeader(header.first, header.second);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    QIODevice *body = newBody().release();
    m_reply = m_channel->m_manager.sendCustomRequest(request, m_request.method, body);
    body->setParent(m_reply);
    connect(m_reply, &QNetworkReply::uploadProgress, this, &HttpCall::contentSent);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &HttpCall::readHeader);
    connect(m_reply, &QNetworkReply::readyRead, this, &HttpCall::readBody);
    connect(m_reply, &QNetworkReply::finished, this, &HttpCall::replyFinished);
    connect(m_reply, &QNetworkReply::sslErrors, this, [this](const QList<QSslError> &errors) {
        for (const QSslError &error : errors)
            m_tlsErrors.append(error.errorString());
    });
    // A short request counts as sent at once.
    wait(body->size() > Limits::ReadAhead ? m_channel->m_times.idle : answerTime());
}

std::unique_ptr<QIODevice> HttpCall::newBody() const
{
    if (m_request.streamedBody)
        return m_request.streamedBody();
    auto body = std::make_unique<RequestBody>();
    body->add(m_request.body);
    return body;
}

void HttpCall::wait(int milliseconds)
{
    m_timer.start(milliseconds);
}

void HttpCall::contentSent(qint64 sent, qint64 total)
{
    if (!m_headerRead)
        wait(sent < total ? m_channel->m_times.idle : answerTime());
    if (sent > 0) {
        m_hasLeft = true;
        emit left();
    }
}

int HttpCall::answerTime() const
{
    const HttpTimes &times = m_channel->m_times;
    return m_request.waitingTime > 0 ? m_request.waitingTime + times.waitingGrace : times.answer;
}

void HttpCall::readHeader()
{
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (m_headerRead || status < 200)
        return;
    m_headerRead = true;
    m_channel->m_hasAnswered = true;
    m_answer.status = status;
    m_answer.headers = m_reply->rawHeaderPairs();
    wait(m_channel->m_times.idle);
    if (status != 200)
        return;
    bool known = false;
    m_length = m_answer.header("Content-Length").toLongLong(&known);
    if (!known)
        m_length = -1;
    // Set only now, as Qt forgets a bound that is set before the request starts. Not for a short
    // answer: with a bound set, Qt may report its end before its content.
    if (m_length < 0 || m_length > Limits::ReadAhead)
        m_reply->setReadBufferSize(Limits::ReadAhead);
    const QByteArray encoding = m_answer.header("Content-Encoding").trimmed().toLower();
    if (encoding == "gzip" || encoding == "x-gzip")
        m_decoder.reset(new GzipDecoder);
    else
        m_total = m_length;
    emit accepted(m_answer);
}

void HttpCall::readBody()
{
    const QPointer<HttpCall> self(this);
    readHeader();
    while (self && !m_ended && m_reply && m_reply->bytesAvailable() > 0) {
        wait(m_channel->m_times.idle);
        const QByteArray bytes = m_reply->read(Limits::ReadAhead);
        m_packed += bytes.size();
        if (m_answer.status != 200) {
            // The page that comes with an error is not read, and the end of a long one not waited
            // for.
            if (m_packed > Limits::ReadAhead)
                end(httpStatusResult(m_answer.status));
        } else if (!takeContent(bytes) && self && !m_ended) {
            end(m_contentResult);
        }
    }
}

/** Whether more is wanted; where not, m_contentResult says why, unless this object is gone. */
bool HttpCall::takeContent(const QByteArray &bytes)
{
    if (!m_decoder)
        return handOn(bytes);
    // A receiver may delete this object in the middle of a packed piece.
    const QPointer<HttpCall> self(this);
    const std::shared_ptr<GzipDecoder> decoder = m_decoder;
    const bool wanted =
        decoder->decode(bytes, [this](const QByteArray &piece) { return handOn(piece); });
    if (self && !decoder->errorString().isEmpty())
        m_contentResult = {InvalidAnswer, decoder->errorString()};
    return wanted;
}

bool HttpCall::handOn(const QByteArray &bytes)
{
    m_received += bytes.size();
    if (m_received > m_request.answerLimit) {
        m_contentResult = {
            InvalidAnswer,
            FailureText::english("an answer of more than %1 bytes").arg(m_request.answerLimit)};
        return false;
    }
    const QPointer<HttpCall> self(this);
    m_answer.empty = false;
    emit received(bytes);
    if (self && !m_ended)
        emit progressed(m_received, m_total);
    return self && !m_ended;
}

void HttpCall::replyFinished()
{
    const QPointer<HttpCall> self(this);
    readBody();
    if (!self || m_ended || tryAgain() || followRedirect())
        return;
    end(resultOfReply());
}

/** Sends the request again, on a new connection, if the one that was kept open has died
 * meanwhile. */
bool HttpCall::tryAgain()
{
    const QNetworkReply::NetworkError error = m_reply->error();
    const bool cut =
        error == QNetworkReply::RemoteHostClosedError || error == QNetworkReply::ContentReSendError;
    if (!cut || m_headerRead || m_repeated || !m_request.repeatable || !m_channel->m_hasAnswered)
        return false;
    qCDebug(lcEas, "the connection was dead; asking again on a new one");
    m_repeated = true;
    m_wasCut = m_hasLeft;
    drop();
    send();
    return true;
}

/** Follows a redirect where that is allowed; whether it does. */
bool HttpCall::followRedirect()
{
    const QUrl to(QString::fromUtf8(m_answer.header("X-MS-Location").trimmed()), QUrl::StrictMode);
    if (m_answer.status != 451 || m_redirects == Limits::Redirects
        || !m_channel->mayFollow(m_url, to))
        return false;
    QUrl bare = to;
    bare.setQuery(QString());
    bare.setFragment(QString());
    if (bare == m_url)
        return false;
    qCDebug(lcEas, "the server redirects to %s", qUtf8Printable(bare.toString()));
    ++m_redirects;
    m_url = bare;
    m_headerRead = false;
    m_packed = 0;
    m_length = -1;
    m_answer = {};
    drop();
    m_channel->setUrl(bare);
    const QPointer<HttpCall> self(this);
    emit m_channel->moved(bare);
    if (self && m_channel)
        send();
    return true;
}

Result HttpCall::resultOfReply()
{
    if (m_answer.status == 451)
        return {NotActiveSync,
                FailureText::english(
                    "the server redirects in a circle, or to where the login goes only "
                    "if the account says so: %1")
                    .arg(QString::fromUtf8(m_answer.header("X-MS-Location")))};
    if (m_answer.status != 0 && m_answer.status != 200) {
        Result result = httpStatusResult(m_answer.status);
        result.retryAfter =
            retryAfterSeconds(m_answer.header("Retry-After"), m_answer.header("Date"));
        return result;
    }
    if (m_reply->error() != QNetworkReply::NoError || m_answer.status == 0)
        return transportResult();
    if (m_length > m_packed)
        return {NoConnection,
                FailureText::english("only %1 of the answer's %2 bytes have come")
                    .arg(m_packed)
                    .arg(m_length)};
    if (m_decoder && !m_decoder->isComplete() && m_packed > 0)
        return {NoConnection, FailureText::english("the packed answer was cut")};
    return {};
}

Result HttpCall::transportResult() const
{
    const QString text = m_reply->errorString();
    switch (m_reply->error()) {
    case QNetworkReply::SslHandshakeFailedError:
        return failure(BadConfiguration, Cause::Certificate,
                       m_tlsErrors.isEmpty()
                           ? FailureText::english("no TLS with the server: %1").arg(text)
                           : FailureText::english("the server's certificate is not trusted: %1")
                                 .arg(m_tlsErrors.join(QStringLiteral("; "))));
    case QNetworkReply::HostNotFoundError:
        // Qt's text would carry the name into the log.
        return failure(NoConnection, Cause::NoSuchHost,
                       FailureText::english("there is no host of this name"));
    case QNetworkReply::ConnectionRefusedError:
        return failure(NoConnection, Cause::Refused, text);
    case QNetworkReply::RemoteHostClosedError:
        return failure(NoConnection, Cause::Cut,
                       m_headerRead ? FailureText::english("the answer was cut: %1").arg(text)
                                    : text);
    case QNetworkReply::TimeoutError:
    case QNetworkReply::ProxyTimeoutError:
        return {Timeout, text};
    case QNetworkReply::ProtocolFailure:
    case QNetworkReply::ProtocolInvalidOperationError:
    case QNetworkReply::ProtocolUnknownError:
        return {InvalidAnswer, text};
    default:
        return {NoConnection,
                m_headerRead ? FailureText::english("the answer was cut: %1").arg(text) : text};
    }
}

void HttpCall::timedOut()
{
    if (!m_headerRead)
        end({Timeout, FailureText::english("no answer in time")});
    else if (m_answer.status == 200)
        end({Timeout, FailureText::english("the answer stopped in the middle")});
    else
        end(resultOfReply());
}

void HttpCall::end(const Result &result)
{
    m_ended = true;
    drop();
    m_answer.result = result;
    emit finished(m_answer);
}

void HttpCall::drop()
{
    m_timer.stop();
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
        m_reply->deleteLater();
        m_reply.clear();
    }
}

} // namespace Eas
