// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_EAS_SCRIPTEDSERVER_H
#define TESTS_EAS_SCRIPTEDSERVER_H

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QPointer>
#include <QSslCertificate>
#include <QSslKey>
#include <QTcpServer>
#include <QUrlQuery>

#include <functional>

/** A request as it came. */
struct SeenRequest
{
    QByteArray method;
    QByteArray target;
    QMap<QByteArray, QByteArray> headers; ///< names in lower case
    QByteArray body;
    int connection = 0; ///< 1 for the first one, and so on

    QByteArray path() const
    {
        return target.left(target.indexOf('?') < 0 ? target.size() : target.indexOf('?'));
    }
    QString query(const char *name) const;
    /** The body as XML. */
    QByteArray xml() const;
};

/** What is to be written for a request, byte for byte. */
struct ScriptedAnswer
{
    QByteArray bytes;
    bool close = false; ///< whether the connection ends behind them
};

/**
 * An HTTP server that says what the test tells it: one answer after the other, then nothing any
 * more.
 */
class ScriptedServer : public QTcpServer
{
public:
    /** Listens on the loopback; with a certificate and its key it speaks TLS. */
    explicit ScriptedServer(const QSslCertificate &certificate = QSslCertificate(),
                            const QSslKey &key = QSslKey());

    using Header = QPair<QByteArray, QByteArray>;
    static QByteArray http(int status, const QByteArray &body = QByteArray(),
                           const QList<Header> &headers = {});
    /** The answer to OPTIONS of a server that speaks `versions`. */
    static QByteArray options(const QByteArray &versions = "2.5,12.0,12.1,14.0,14.1");
    /** A document in XML as an answer. */
    static QByteArray document(const QByteArray &xml);

    void enqueue(const QByteArray &bytes, bool close = false) { m_answers.append({bytes, close}); }
    /** Answers whatever is not enqueued. */
    void setAnswer(const std::function<ScriptedAnswer(const SeenRequest &)> &answer)
    {
        m_answer = answer;
    }
    /** Writes to every connection, asked or not, and ends it. */
    void sayToAll(const QByteArray &bytes);
    /** Closes every connection. */
    void hangUp();

    const QList<SeenRequest> &requests() const { return m_requests; }
    void forgetRequests() { m_requests.clear(); }
    int connections() const { return m_connections; }
    /** Bytes of requests that came so far, also of one that is not complete. */
    qint64 bytesSeen() const { return m_bytesSeen; }

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    struct Connection
    {
        QByteArray buffer;
        int number = 0;
    };

    void read(QTcpSocket *socket);
    void answer(QTcpSocket *socket, const SeenRequest &request);

    QSslCertificate m_certificate;
    QSslKey m_key;
    QMap<QTcpSocket *, Connection> m_open;
    QList<ScriptedAnswer> m_answers;
    std::function<ScriptedAnswer(const SeenRequest &)> m_answer;
    QList<SeenRequest> m_requests;
    int m_connections = 0;
    qint64 m_bytesSeen = 0;
};

#endif
