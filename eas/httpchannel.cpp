// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/httpchannel.h"

#include "eas/cookiejar.h"

#include <QHostAddress>
#include <QSslConfiguration>

#include <algorithm>

namespace Eas {

namespace {

/**
 * Qt's network access looks at the machine's interfaces every ten seconds for as long as it exists.
 * That is not needed here, and an idle daemon must not wake up for it. Set before main(), while
 * there is one thread alone.
 */
const bool NoPolling =
    qputenv("QT_BEARER_POLL_TIMEOUT", "-1") && qputenv("QT_EXCLUDE_GENERIC_BEARER", "1");

bool isThisMachine(const QString &host)
{
    return host == QLatin1String("localhost") || QHostAddress(host).isLoopback();
}

} // namespace

HttpTimes &HttpTimes::usual()
{
    static HttpTimes times;
    return times;
}

HttpChannel::HttpChannel(QObject *parent)
    : QObject(parent)
    , m_manager(this)
    , m_tls(QSslConfiguration::defaultConfiguration())
{
    Q_UNUSED(NoPolling)
    m_tls.setProtocol(QSsl::TlsV1_2OrLater);
    m_tls.setPeerVerifyMode(QSslSocket::VerifyPeer);
    m_manager.setCookieJar(new CookieJar(&m_manager));
    m_manager.setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
}

HttpChannel::~HttpChannel() = default;

void HttpChannel::setCredentials(const Credentials &credentials)
{
    m_authorization = credentials.authorization();
}

HttpCall *HttpChannel::send(const HttpRequest &request)
{
    auto *call = new HttpCall(this, request);
    call->send();
    return call;
}

bool HttpChannel::mayFollow(const QUrl &from, const QUrl &to) const
{
    if (!to.isValid() || to.host().isEmpty() || !to.userInfo().isEmpty()
        || !belongsTogether(from.host(), to.host()))
        return false;
    if (to.scheme() == QLatin1String("https"))
        return true;
    return to.scheme() == QLatin1String("http") && from.scheme() == to.scheme()
        && from.host() == to.host();
}

bool HttpChannel::belongsTogether(const QString &from, const QString &to) const
{
    return from == to || (isThisMachine(from) && isThisMachine(to))
        || std::any_of(m_loginDomains.cbegin(), m_loginDomains.cend(),
                       [&to](const QString &domain) {
                           return to.compare(domain, Qt::CaseInsensitive) == 0
                               || to.endsWith(QLatin1Char('.') + domain, Qt::CaseInsensitive);
                       });
}

} // namespace Eas
