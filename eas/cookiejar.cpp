// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/cookiejar.h"

#include "eas/limits.h"

#include <QNetworkCookie>

namespace Eas {

bool CookieJar::setCookiesFromUrl(const QList<QNetworkCookie> &cookies, const QUrl &url)
{
    QList<QNetworkCookie> taken;
    for (QNetworkCookie cookie : cookies) {
        if (cookie.toRawForm().size() <= Limits::CookieSize) {
            cookie.setDomain(QString());
            taken.append(cookie);
        }
    }
    const bool set = QNetworkCookieJar::setCookiesFromUrl(taken, url);
    const QList<QNetworkCookie> all = allCookies();
    if (all.size() > Limits::Cookies)
        setAllCookies(all.mid(all.size() - Limits::Cookies));
    return set;
}

} // namespace Eas
