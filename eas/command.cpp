// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/command.h"

#include "eas/httpchannel.h"
#include "eas/log.h"
#include "eas/session.h"
#include "eas/status.h"
#include "translations/text.h"

#include <QIODevice>
#include <QTimer>
#include <QUrlQuery>

namespace Eas {

Command::Command(Session *session)
    : m_session(session)
{
}

Command::~Command()
{
    delete m_call;
    if (m_session)
        m_session->forget(this);
}

void Command::start()
{
    Q_ASSERT(!m_started);
    m_started = true;
    if (m_session)
        m_session->run(this);
    else
        complete({Cancelled, FailureText::english("the session is over")});
}

void Command::abort()
{
    complete({Cancelled, QStringLiteral("cancelled")});
}

QByteArray Command::contentType() const
{
    return QByteArrayLiteral("application/vnd.ms-sync.wbxml");
}

Result Command::evaluateEmpty()
{
    return {InvalidAnswer, FailureText::english("the server answered without content")};
}

void Command::headersArrived(const HttpAnswer &answer)
{
    Q_UNUSED(answer)
}

Result Command::evaluateFailure(const HttpAnswer &answer)
{
    return answer.result;
}

HttpRequest Command::request()
{
    const Device &device = m_session->device();
    HttpRequest request;
    request.method = isOptions() ? "OPTIONS" : "POST";
    request.headers.append({"User-Agent", device.userAgent.toUtf8()});
    if (!isOptions()) {
        QList<QPair<QString, QString>> items = {
            {QStringLiteral("Cmd"), QString::fromLatin1(name())},
            {QStringLiteral("User"), m_session->credentials().login()},
            {QStringLiteral("DeviceId"), device.id},
            {QStringLiteral("DeviceType"), device.type}};
        items += query();
        for (const auto &item : qAsConst(items))
            request.query += (request.query.isEmpty() ? QString() : QStringLiteral("&"))
                + item.first + QLatin1Char('=')
                + QString::fromLatin1(QUrl::toPercentEncoding(item.second));
        request.headers.append(
            {"MS-ASProtocolVersion", m_session->state().protocolVersion.toLatin1()});
        request.headers.append({"X-MS-PolicyKey", m_session->state().policyKey.toLatin1()});
        request.headers.append({"Content-Type", contentType()});
    }
    request.answerLimit = answerLimit();
    request.waitingTime = waitingTime();
    request.repeatable = isRepeatable();
    if (isStreamed())
        request.streamedBody = [this] { return streamedBody(); };
    else
        request.body = body();
    return request;
}

void Command::transfer()
{
    const Result prepared = prepare();
    if (!prepared.ok()) {
        complete(prepared);
        return;
    }
    m_parser.reset(newParser());
    m_hasLeft = false;
    m_call = m_session->channel()->send(request());
    connect(m_call, &HttpCall::accepted, this, &Command::headersArrived);
    connect(m_call, &HttpCall::received, this, &Command::take);
    connect(m_call, &HttpCall::progressed, this, &Command::progressed);
    connect(m_call, &HttpCall::left, this, [this] { m_hasLeft = true; });
    connect(m_call, &HttpCall::finished, this, &Command::transferEnded);
    qCDebug(lcEas, "%s: asking", name().constData());
}

void Command::take(const QByteArray &bytes)
{
    if (m_parser && !m_parser->feed(bytes))
        transferEnded({});
    else
        answerArrived();
}

void Command::transferEnded(const HttpAnswer &answer)
{
    if (m_finished)
        return;
    Result result = resultOfAnswer(answer);
    noteLoss(result);
    if (m_call) {
        m_call->disconnect(this);
        m_call->deleteLater();
        m_call.clear();
    }
    qCDebug(lcEas, "%s: %d %s", name().constData(), result.code, qUtf8Printable(result.text));
    if (m_session)
        result = m_session->interpret(this, result);
    if (!m_session || !m_session->handle(this, result))
        complete(result);
}

/** Notes an answer that was lost: the server may have carried out the request, unless it refused
 * it. Where a proxy has waited for it in vain, it may have. */
void Command::noteLoss(const Result &result)
{
    const bool isUnheard = result.outcome == Outcome::Unheard
        || (result.source == Source::Nothing
            && (result.code == NoConnection || result.code == Timeout
                || result.code == InvalidAnswer));
    m_answerLost = m_answerLost || (m_hasLeft && isUnheard) || (m_call && m_call->wasCut());
}

Result Command::resultOfAnswer(const HttpAnswer &answer)
{
    if (!answer.result.ok())
        return evaluateFailure(answer);
    if (answer.empty && (!m_parser || m_parser->isUntouched()))
        return evaluateEmpty();
    if (m_parser && !m_parser->finish())
        return {m_parser->errorCode(), m_parser->errorString()};
    const int status = m_parser ? m_parser->status() : 0;
    return status > 100 ? commonStatusResult(status) : evaluate();
}

void Command::complete(const Result &result)
{
    if (m_finished)
        return;
    m_finished = true;
    m_result = result;
    if (m_call) {
        m_call->disconnect(this);
        m_call->deleteLater();
        m_call.clear();
    }
    if (m_session)
        m_session->forget(this);
    QTimer::singleShot(0, this, &Command::finished);
}

} // namespace Eas
