// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/autodiscover.h"

#include <QAuthenticator>
#include <QDnsLookup>
#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace Accounts {

namespace {

/** Milliseconds that one service may take to answer. */
constexpr int AnswerTime = 20 * 1000;
/** Redirects in all, by URL or by address. */
constexpr int MaximumHops = 10;
/** Bytes; an answer has a few hundred. */
constexpr qint64 AnswerSize = 1024 * 1024;

QString domainOf(const QString &email)
{
    return email.section(QLatin1Char('@'), -1);
}

QUrl serviceAt(const QString &host, int port = -1)
{
    QUrl url;
    url.setScheme(QStringLiteral("https"));
    url.setHost(host);
    url.setPort(port == 443 ? -1 : port);
    url.setPath(QStringLiteral("/autodiscover/autodiscover.xml"));
    return url;
}

} // namespace

Autodiscover::Autodiscover(const QString &email, const QString &user, const QString &password,
                           const Confirm &confirm, QObject *parent)
    : QObject(parent)
    , m_email(email)
    , m_user(user)
    , m_password(password)
    , m_confirm(confirm)
    , m_candidates(candidatesFor(email))
    , m_failure {Eas::NotFound, QStringLiteral("nobody there tells the server")}
{
    connect(&m_network, &QNetworkAccessManager::authenticationRequired, this,
            [this](QNetworkReply *, QAuthenticator *authenticator) {
                // Asked a second time, the login was refused; left empty, the request ends.
                if (m_loginSent)
                    return;
                m_loginSent = true;
                authenticator->setUser(m_user);
                authenticator->setPassword(m_password);
            });
}

Autodiscover::~Autodiscover()
{
    if (m_reply)
        m_reply->disconnect(this);
}

QList<QUrl> Autodiscover::candidatesFor(const QString &email)
{
    const QString domain = domainOf(email);
    return {serviceAt(domain), serviceAt(QLatin1String("autodiscover.") + domain)};
}

Eas::Result Autodiscover::run()
{
    QEventLoop loop;
    connect(this, &Autodiscover::finished, &loop, &QEventLoop::quit);
    QMetaObject::invokeMethod(this, &Autodiscover::start, Qt::QueuedConnection);
    loop.exec();
    return m_result;
}

void Autodiscover::start()
{
    tryNext();
}

void Autodiscover::tryNext()
{
    if (!m_candidates.isEmpty())
        post(m_candidates.takeFirst());
    else if (!m_lookedUp)
        lookUp();
    else
        end(m_failure);
}

void Autodiscover::lookUp()
{
    m_lookedUp = true;
    m_lookup = new QDnsLookup(QDnsLookup::SRV,
                              QLatin1String("_autodiscover._tcp.") + domainOf(m_email), this);
    connect(m_lookup, &QDnsLookup::finished, this, &Autodiscover::lookedUp);
    m_lookup->lookup();
}

/** Anybody may have answered: a host that comes from here is confirmed like any redirect. */
void Autodiscover::lookedUp()
{
    const QList<QDnsServiceRecord> records = m_lookup->serviceRecords();
    const QString target = records.isEmpty() ? QString() : records.first().target();
    // The root as a target says that there is no such service, RFC 2782.
    const bool isThere = !target.isEmpty() && target != QLatin1String(".");
    if (isThere && isTrusted(target))
        m_candidates.append(serviceAt(target, records.first().port()));
    if (m_result.ok())
        tryNext();
}

void Autodiscover::post(const QUrl &url)
{
    QNetworkRequest request(url);
    request.setSslConfiguration(m_tls);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("text/xml"));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setTransferTimeout(AnswerTime);
    m_loginSent = false;
    m_reply = m_network.post(request, autodiscoverRequest(m_email));
    connect(m_reply, &QNetworkReply::downloadProgress, this, [this](qint64 received) {
        if (received > AnswerSize)
            m_reply->abort();
    });
    connect(m_reply, &QNetworkReply::finished, this, &Autodiscover::replied);
}

void Autodiscover::replied()
{
    QNetworkReply *reply = m_reply;
    reply->deleteLater();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QUrl target = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (target.isValid()) {
        followTo(reply->url().resolved(target));
        return;
    }
    if (status == 200 && reply->error() == QNetworkReply::NoError) {
        evaluate(reply->readAll());
        return;
    }
    if (status == 401)
        m_failure = {Eas::LoginRefused, {}};
    else if (m_failure.code == Eas::NotFound
             && reply->error() == QNetworkReply::SslHandshakeFailedError)
        m_failure.text =
            QStringLiteral("the certificate of %1 is not trusted").arg(reply->url().host());
    tryNext();
}

void Autodiscover::followTo(const QUrl &url)
{
    if (url.scheme() != QLatin1String("https") || ++m_hops > MaximumHops) {
        tryNext();
        return;
    }
    if (isTrusted(url.host()))
        post(url);
}

void Autodiscover::evaluate(const QByteArray &document)
{
    const AutodiscoverAnswer answer = AutodiscoverAnswer::parse(document);
    if (answer.kind == AutodiscoverAnswer::Found) {
        found(answer.server);
    } else if (answer.kind == AutodiscoverAnswer::OtherAddress) {
        askFor(answer.email);
    } else {
        if (answer.kind == AutodiscoverAnswer::Failed && m_failure.code == Eas::NotFound)
            m_failure.text = answer.reason;
        tryNext();
    }
}

void Autodiscover::found(const QUrl &server)
{
    if (server.scheme() != QLatin1String("https")) {
        m_failure = {Eas::NotFound, QStringLiteral("%1 is not reached by TLS").arg(server.host())};
        tryNext();
        return;
    }
    if (!isTrusted(server.host()))
        return;
    m_server = server;
    end({});
}

void Autodiscover::askFor(const QString &email)
{
    if (++m_hops > MaximumHops || !email.contains(QLatin1Char('@'))) {
        tryNext();
        return;
    }
    if (!isTrusted(domainOf(email)))
        return;
    m_email = email;
    m_lookedUp = false;
    m_candidates = candidatesFor(email);
    tryNext();
}

/** Whether the host belongs to the address, or is confirmed; otherwise everything ends. */
bool Autodiscover::isTrusted(const QString &host)
{
    const QString domain = domainOf(m_email).toLower();
    const QString name = host.toLower();
    if (name == domain || name.endsWith(QLatin1Char('.') + domain) || m_confirm(host))
        return true;
    end({Eas::Cancelled, QStringLiteral("%1 was not confirmed").arg(host)});
    return false;
}

void Autodiscover::end(const Eas::Result &result)
{
    m_result = result;
    emit finished();
}

} // namespace Accounts
