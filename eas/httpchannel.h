// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_HTTPCHANNEL_H
#define EAS_HTTPCHANNEL_H

#include "eas/httpcall.h"
#include "eas/serveraddress.h"

#include <QNetworkAccessManager>
#include <QSslConfiguration>

namespace Eas {

/** How long an answer is waited for; the defaults are in limits.h. */
struct HttpTimes
{
    int idle = Limits::IdleTime;
    int answer = Limits::AnswerTime;
    int waitingGrace = Limits::WaitingGrace;

    /** What every channel begins with; changed at the program's start alone. */
    static HttpTimes &usual();
};

/**
 * HTTP to one account's server, over connections that are kept open.
 *
 * The login goes along with each request, only to where the account's settings or a redirect that
 * is allowed point to: never to another host without TLS, and never without TLS once it went with
 * it. A request is sent once, as the server may have acted on it already; only a repeatable one is
 * sent again when a kept connection was dead.
 */
class HttpChannel : public QObject
{
    Q_OBJECT

public:
    explicit HttpChannel(QObject *parent = nullptr);
    ~HttpChannel() override;

    /** Where to, before any redirect. */
    void setUrl(const QUrl &url) { m_url = url; }
    QUrl url() const { return m_url; }
    void setCredentials(const Credentials &credentials);
    /** Domains whose hosts may get the login by a redirect; the host that is asked always may. */
    void setLoginDomains(const QStringList &domains) { m_loginDomains = domains; }
    /** For tests: other times than the usual ones. */
    void setTimes(const HttpTimes &times) { m_times = times; }
    const HttpTimes &times() const { return m_times; }

    /** Sends a request; the call is the caller's, and reports from the event loop alone. */
    HttpCall *send(const HttpRequest &request);

    /** Whether the login may follow a redirect from one URL to another: not without TLS to another
     * host or after TLS, and never out of the login's domains. */
    bool mayFollow(const QUrl &from, const QUrl &to) const;

signals:
    /** The server wants to be asked at another URL from now on (HTTP 451). */
    void moved(const QUrl &url);

private:
    friend class HttpCall;

    bool belongsTogether(const QString &from, const QString &to) const;

    QNetworkAccessManager m_manager;
    QUrl m_url;
    QByteArray m_authorization;
    QStringList m_loginDomains;
    QSslConfiguration m_tls;
    HttpTimes m_times = HttpTimes::usual();
    /** An answer has come: the next request may use its connection, which may be dead by then. */
    bool m_hasAnswered = false;
};

} // namespace Eas

#endif
