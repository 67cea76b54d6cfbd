// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/serveraddress.h"

#include "translations/text.h"

#include <QHostAddress>

#include <algorithm>

namespace Eas {

namespace {

Result bad(const QString &text)
{
    return {BadConfiguration, text};
}

QString bare(const QString &host)
{
    const bool bracketed = host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']'));
    return bracketed ? host.mid(1, host.size() - 2) : host;
}

/** A label of a host's name, RFC 1123 2.1; underscores are seen in local names. */
bool isLabel(const QByteArray &label)
{
    const auto isPart = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
            || c == '-' || c == '_';
    };
    return !label.isEmpty() && label.size() <= 63 && !label.startsWith('-') && !label.endsWith('-')
        && std::all_of(label.begin(), label.end(), isPart);
}

bool isHost(const QString &host)
{
    if (!QHostAddress(bare(host)).isNull())
        return true;
    QByteArray ascii = QUrl::toAce(host);
    if (ascii.endsWith('.'))
        ascii.chop(1);
    const QList<QByteArray> labels = ascii.split('.');
    return !ascii.isEmpty() && ascii.size() <= 253
        && std::all_of(labels.begin(), labels.end(), isLabel);
}

} // namespace

Result ServerAddress::check() const
{
    if (host.isEmpty())
        return bad(FailureText::english("server: no name is set"));
    if (!isHost(host))
        return bad(FailureText::english("server: \"%1\" is not the name of a host").arg(host));
    if (port < 1 || port > 65535)
        return bad(FailureText::english("port: %1 is not a port").arg(port));
    if (encryption != NoEncryption && encryption != Tls)
        return bad(
            FailureText::english("encryption: %1 is neither 0 (none) nor 1 (TLS)").arg(encryption));
    return {};
}

QUrl ServerAddress::url() const
{
    QUrl url;
    url.setScheme(encryption == Tls ? QStringLiteral("https") : QStringLiteral("http"));
    url.setHost(bare(host));
    url.setPort(port);
    url.setPath(QStringLiteral("/Microsoft-Server-ActiveSync"));
    return url;
}

QStringList ServerAddress::loginDomains() const
{
    const int at = mailAddress.lastIndexOf(QLatin1Char('@'));
    const QString mailDomain = at < 0 ? QString() : mailAddress.mid(at + 1).trimmed();
    return mailDomain.isEmpty() ? QStringList {host} : QStringList {host, mailDomain};
}

Result Credentials::check() const
{
    if (user.isEmpty())
        return bad(FailureText::english("username: no name is set"));
    // The login is one header field in which the first colon ends the name.
    if (login().contains(QLatin1Char(':')))
        return bad(FailureText::english("username: a colon cannot be part of it"));
    return {};
}

QString Credentials::login() const
{
    return domain.isEmpty() ? user : domain + QLatin1Char('\\') + user;
}

QByteArray Credentials::authorization() const
{
    return "Basic " + (login() + QLatin1Char(':') + password).toUtf8().toBase64();
}

} // namespace Eas
