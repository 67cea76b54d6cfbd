// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/setup/autodiscover.h"

#include "eas/httpstatus.h"
#include "eas/serveraddress.h"
#include "translations/text.h"

#include <QDnsLookup>
#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QRegularExpression>

namespace Accounts {

namespace {

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

QString notConfirmedText(const QString &host)
{
    return Text::tr("%1 was not confirmed").arg(host);
}

/** What HTTP has said; a success where nothing has come. */
Eas::Result answerOf(const QNetworkReply &reply)
{
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    return status.isValid() ? Eas::httpStatusResult(status.toInt()) : Eas::Result {};
}

/** Whether Basic is among the logins that a service would take. */
bool offersBasic(const QNetworkReply &reply)
{
    static const QRegularExpression scheme(QStringLiteral("(^|,)\\s*Basic(\\s|,|$)"),
                                           QRegularExpression::CaseInsensitiveOption);
    return scheme.match(QString::fromLatin1(reply.rawHeader("WWW-Authenticate"))).hasMatch();
}

/** Why a service has told nothing, in words. */
QString reasonOf(const QNetworkReply &reply)
{
    const Eas::Result answer = answerOf(reply);
    if (answer.code == Eas::LoginRefused)
        return Text::tr("user name or password refused");
    if (!answer.ok())
        return Text::tr("no such service (%1)").arg(answer.http);
    switch (reply.error()) {
    case QNetworkReply::HostNotFoundError:
        return Text::tr("there is no host of this name");
    case QNetworkReply::SslHandshakeFailedError:
        return Text::tr("its certificate is not trusted");
    case QNetworkReply::OperationCanceledError:
        return Text::tr("no answer in time");
    default:
        return reply.errorString();
    }
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
{
    m_limit.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, this, &Autodiscover::timedOut);
    m_hostLimit.setSingleShot(true);
    // The reply then ends as cancelled, and the next host is asked.
    connect(&m_hostLimit, &QTimer::timeout, this, [this] { m_reply->abort(); });
}

Autodiscover::~Autodiscover()
{
    drop();
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
    m_limit.start(m_timeLimit);
    tryNext();
}

void Autodiscover::cancel()
{
    drop();
    end({Eas::Cancelled, {}});
}

void Autodiscover::drop()
{
    m_hostLimit.stop();
    if (m_lookup)
        m_lookup->disconnect(this);
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    m_reply->abort();
}

void Autodiscover::timedOut()
{
    missed(Text::tr("no answer in time"));
    drop();
    giveUp();
}

void Autodiscover::giveUp()
{
    QStringList unconfirmed;
    for (const QString &host : qAsConst(m_unconfirmed))
        unconfirmed.append(notConfirmedText(host));
    // With one of them trusted, the search may well succeed, but a wrong password comes first: that
    // would go to them.
    if (!unconfirmed.isEmpty() && !m_loginRefused)
        end({Eas::Cancelled, unconfirmed.join(QLatin1String("; "))});
    else
        end({m_loginRefused ? Eas::LoginRefused : Eas::NotFound,
             m_misses.join(QLatin1String("; "))});
}

/** The host that was asked leads nowhere. */
void Autodiscover::missed(const QString &reason)
{
    m_misses.append(m_host + QLatin1String(": ") + reason);
}

void Autodiscover::tryNext()
{
    if (!m_candidates.isEmpty())
        post(m_candidates.takeFirst());
    else if (!m_lookedUp)
        lookUp();
    else
        giveUp();
}

void Autodiscover::lookUp()
{
    m_lookedUp = true;
    m_host = Text::tr("service record of %1").arg(domainOf(m_email));
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
    if (!isThere)
        missed(Text::tr("there is none"));
    if (isThere && isTrusted(target))
        m_candidates.append(serviceAt(target, records.first().port()));
    tryNext();
}

void Autodiscover::post(const QUrl &url)
{
    m_host = url.host();
    m_loginSent = false;
    send(QNetworkRequest(url));
    // A host that nobody reaches must leave time for the others; one that speaks may take its time.
    m_hostLimit.start(m_timeLimit * 3 / 10);
    connect(m_reply, &QNetworkReply::encrypted, &m_hostLimit, &QTimer::stop);
}

/** The same once more, with the login as the account's server will get it. */
void Autodiscover::postLogin(const QUrl &url)
{
    m_loginSent = true;
    QNetworkRequest request(url);
    request.setRawHeader("Authorization",
                         Eas::Credentials {m_user, m_password, QString()}.authorization());
    send(request);
}

void Autodiscover::send(QNetworkRequest request)
{
    request.setSslConfiguration(m_tls);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("text/xml"));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    // Qt's own login has Latin-1 alone.
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
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
    m_hostLimit.stop();
    reply->deleteLater();
    const Eas::Result answer = answerOf(*reply);
    const QUrl target = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (target.isValid()) {
        followTo(reply->url().resolved(target));
        return;
    }
    if (answer.ok() && reply->error() == QNetworkReply::NoError) {
        evaluate(reply->readAll());
        return;
    }
    if (answer.code == Eas::LoginRefused && !m_loginSent) {
        login(*reply);
        return;
    }
    m_loginRefused = m_loginRefused || answer.code == Eas::LoginRefused;
    missed(reasonOf(*reply));
    tryNext();
}

/** The service wants to know who asks. */
void Autodiscover::login(const QNetworkReply &refusal)
{
    if (offersBasic(refusal)) {
        postLogin(refusal.url());
        return;
    }
    missed(Text::tr("it takes no login by HTTP Basic"));
    tryNext();
}

void Autodiscover::followTo(const QUrl &url)
{
    if (url.scheme() != QLatin1String("https") || ++m_hops > MaximumHops) {
        missed(Text::tr("it redirects in a circle, or to where there is no TLS"));
        tryNext();
        return;
    }
    if (isTrusted(url.host()))
        post(url);
    else
        tryNext();
}

void Autodiscover::evaluate(const QByteArray &document)
{
    const AutodiscoverAnswer answer = AutodiscoverAnswer::parse(document);
    if (answer.kind == AutodiscoverAnswer::Found) {
        found(answer.server);
    } else if (answer.kind == AutodiscoverAnswer::OtherAddress) {
        askFor(answer.email);
    } else {
        missed(answer.kind == AutodiscoverAnswer::Failed && !answer.reason.isEmpty()
                   ? answer.reason
                   : Text::tr("it names no ActiveSync server"));
        tryNext();
    }
}

void Autodiscover::found(const QUrl &server)
{
    if (server.scheme() != QLatin1String("https")) {
        missed(Text::tr("its server %1 is not reached by TLS").arg(server.host()));
        tryNext();
        return;
    }
    if (!isTrusted(server.host())) {
        tryNext();
        return;
    }
    m_server = server;
    end({});
}

void Autodiscover::askFor(const QString &email)
{
    if (++m_hops > MaximumHops || !email.contains(QLatin1Char('@'))) {
        missed(Text::tr("it leads to no other address"));
        tryNext();
        return;
    }
    if (isTrusted(domainOf(email))) {
        m_email = email;
        m_lookedUp = false;
        m_candidates = candidatesFor(email);
    }
    tryNext();
}

/** Whether the host belongs to the address, or is confirmed, which is asked once; otherwise the
 * host that has named it leads nowhere. */
bool Autodiscover::isTrusted(const QString &host)
{
    const QString domain = domainOf(m_email).toLower();
    const QString name = host.toLower();
    if (name == domain || name.endsWith(QLatin1Char('.') + domain))
        return true;
    if (!m_unconfirmed.contains(name)) {
        if (isConfirmed(host))
            return true;
        m_unconfirmed.append(name);
    }
    missed(notConfirmedText(name));
    return false;
}

bool Autodiscover::isConfirmed(const QString &host)
{
    const int left = m_limit.remainingTime();
    m_limit.stop();
    const bool confirmed = m_confirm(host);
    m_limit.start(qMax(0, left));
    return confirmed;
}

void Autodiscover::end(const Eas::Result &result)
{
    if (m_over)
        return;
    m_over = true;
    m_limit.stop();
    m_result = result;
    emit finished();
}

} // namespace Accounts
