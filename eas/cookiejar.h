// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_COOKIEJAR_H
#define EAS_COOKIEJAR_H

#include <QNetworkCookieJar>

namespace Eas {

/**
 * The cookies of one account's server, RFC 6265, for as long as its channel lives: load balancers
 * find by them the machine that knows the client.
 *
 * Each goes back to the host alone that has set it, whatever it says itself, and there are at most
 * Limits::Cookies of them.
 */
class CookieJar : public QNetworkCookieJar
{
    Q_OBJECT

public:
    using QNetworkCookieJar::QNetworkCookieJar;

    bool setCookiesFromUrl(const QList<QNetworkCookie> &cookies, const QUrl &url) override;
};

} // namespace Eas

#endif
