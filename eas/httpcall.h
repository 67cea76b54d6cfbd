// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_HTTPCALL_H
#define EAS_HTTPCALL_H

#include "eas/limits.h"
#include "eas/result.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <memory>

class QIODevice;
class QNetworkReply;

namespace Eas {

class GzipDecoder;
class HttpChannel;

/** A request to the server; the channel adds URL and login. */
struct HttpRequest
{
    QByteArray method = "POST";
    QString query; ///< the URL's query, encoded
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;
    /** Makes what is sent instead of body where that is too long for memory: open, of a known size.
     */
    std::function<std::unique_ptr<QIODevice>()> streamedBody;
    /**
     * Whether it may be sent a second time if the connection, kept open since an earlier request,
     * turns out to be dead: idempotent requests alone.
     */
    bool repeatable = true;
    qint64 answerLimit = Limits::AnswerSize;
    int waitingTime = 0; ///< milliseconds that the server may wait before it answers
};

/** How a request ended on the level of HTTP. */
struct HttpAnswer
{
    Result result;  ///< Success for HTTP 200 alone
    int status = 0; ///< 0: no answer
    QList<QPair<QByteArray, QByteArray>> headers;
    bool empty = true; ///< the answer had no content

    QByteArray header(const QByteArray &name) const;
};

/**
 * One request on its way, until finished() was emitted once; deleting it cancels silently.
 *
 * The answer's content comes in pieces, unpacked; the content of an answer that is no success is
 * not handed on.
 */
class HttpCall : public QObject
{
    Q_OBJECT

public:
    ~HttpCall() override;

    /** Whether the connection broke after some of the request was sent, and it was sent again. */
    bool wasCut() const { return m_wasCut; }

signals:
    /** The answer's header is here and says 200; before any received(). */
    void accepted(const Eas::HttpAnswer &answer);
    void received(const QByteArray &bytes);
    /** Bytes of the answer so far, unpacked, and of all of it, -1 where that is not known. */
    void progressed(qint64 received, qint64 total);
    /** Some, or more, of the request's content was sent. */
    void left();
    void finished(const Eas::HttpAnswer &answer);

private:
    friend class HttpChannel;

    HttpCall(HttpChannel *channel, const HttpRequest &request);

    void send();
    std::unique_ptr<QIODevice> newBody() const;
    void wait(int milliseconds);
    int answerTime() const;
    void contentSent(qint64 sent, qint64 total);
    void readHeader();
    void readBody();
    bool takeContent(const QByteArray &bytes);
    bool handOn(const QByteArray &bytes);
    void replyFinished();
    void timedOut();
    void end(const Result &result);
    void drop();
    bool tryAgain();
    bool followRedirect();
    Result resultOfReply();
    Result transportResult() const;

    QPointer<HttpChannel> m_channel;
    const HttpRequest m_request;
    QUrl m_url;
    QPointer<QNetworkReply> m_reply;
    std::shared_ptr<GzipDecoder> m_decoder;
    HttpAnswer m_answer;
    QTimer m_timer;
    QStringList m_tlsErrors;
    /** What was wrong with the content, where something was. */
    Result m_contentResult;
    qint64 m_received = 0;
    qint64 m_packed = 0;  ///< bytes that have come
    qint64 m_length = -1; ///< bytes that are to come, -1 where the server does not say
    qint64 m_total = -1;
    int m_redirects = 0;
    bool m_headerRead = false;
    bool m_hasLeft = false; ///< some of the request was sent
    bool m_repeated = false;
    bool m_wasCut = false;
    bool m_ended = false;
};

} // namespace Eas

Q_DECLARE_METATYPE(Eas::HttpAnswer)

#endif
