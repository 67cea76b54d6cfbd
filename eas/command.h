// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_COMMAND_H
#define EAS_COMMAND_H

#include "eas/answerparser.h"
#include "eas/limits.h"
#include "eas/result.h"
#include "eas/session.h"

#include <QByteArray>
#include <QIODevice>
#include <QObject>
#include <QPointer>

#include <memory>

namespace Eas {

class HttpCall;
struct HttpAnswer;
struct HttpRequest;

/**
 * One request to the server and its answer; a class for each of the protocol's commands.
 *
 * Made with its arguments, started once, ended by exactly one finished(), which comes from the
 * event loop and never from within start() or abort(). The caller owns it and may delete it at any
 * time, which cancels it silently. What the answer said is then read from the command itself.
 */
class Command : public QObject
{
    Q_OBJECT

public:
    ~Command() override;

    void start();
    /** Ends it with Cancelled, unless it has ended. */
    void abort();

    bool isFinished() const { return m_finished; }
    const Result &result() const { return m_result; }
    /** Whether an answer did not come, or not whole, to a request that the server may have carried
     * out; stays true when a repetition is answered. */
    bool isAnswerLost() const { return m_answerLost; }
    Session *session() const { return m_session; }

signals:
    /** It has ended, with what result() says. */
    void finished();
    /** Bytes of the answer so far, unpacked, and of all of it, -1 where that is not known. */
    void progressed(qint64 received, qint64 total);

protected:
    explicit Command(Session *session);

    /** The command's name in the URL. */
    virtual QByteArray name() const = 0;
    /** Success, or why there is nothing to send: asked once the protocol's version is known. */
    virtual Result prepare() { return {}; }
    /** The document to send; asked again for a repetition. */
    virtual QByteArray body() = 0;
    /** Whether streamedBody() is sent instead of body(). */
    virtual bool isStreamed() const { return false; }
    /** A new device with what is to be sent, for one transfer. */
    virtual std::unique_ptr<QIODevice> streamedBody() { return nullptr; }
    /** Whether the request is idempotent. */
    virtual bool isRepeatable() const { return true; }
    virtual QByteArray contentType() const;
    /** More of the URL's query: pairs of name and value. */
    virtual QList<QPair<QString, QString>> query() const { return {}; }
    /** The parser of the answer; a new one for each transfer. */
    virtual AnswerParser *newParser() = 0;
    /** The answer was complete: what it means. Never called where transport or parser failed. */
    virtual Result evaluate() = 0;
    /** The server has answered 200 without content; by default that is an invalid answer. */
    virtual Result evaluateEmpty();
    /** Milliseconds that the request allows the server to wait before it answers. */
    virtual int waitingTime() const { return 0; }
    virtual qint64 answerLimit() const { return Limits::AnswerSize; }
    /** Whether the version must be known and the device provisioned for it. */
    virtual bool needsSession() const { return true; }
    virtual bool isOptions() const { return false; }
    /** More of the answer was read. Whoever is told of it may delete the command. */
    virtual void answerArrived() { }
    virtual void headersArrived(const HttpAnswer &answer);
    /** What a failure on the level of HTTP means; by default the result that it has already. */
    virtual Result evaluateFailure(const HttpAnswer &answer);

private:
    friend class Session;

    HttpRequest request();
    void transfer();
    void take(const QByteArray &bytes);
    Result resultOfAnswer(const HttpAnswer &answer);
    void noteLoss(const Result &result);
    void transferEnded(const HttpAnswer &answer);
    void complete(const Result &result);

    QPointer<Session> m_session;
    std::unique_ptr<AnswerParser> m_parser;
    QPointer<HttpCall> m_call;
    Result m_result;
    bool m_started = false;
    bool m_finished = false;
    bool m_hasLeft = false; ///< some of the current request was sent
    bool m_answerLost = false;
    /** What the session has done for this command already, so that it is done only once. */
    int m_stagesDone = 0;
};

} // namespace Eas

#endif
