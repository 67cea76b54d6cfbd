// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_SERVERADDRESS_H
#define EAS_SERVERADDRESS_H

#include "eas/result.h"

#include <QString>
#include <QStringList>
#include <QUrl>

namespace Eas {

/** Where an account's server is, as the account's settings say. */
struct ServerAddress
{
    enum Encryption { NoEncryption = 0, Tls = 1 };

    QString host; ///< a name, an IPv4 address, or an IPv6 address with or without brackets
    int port = 0;
    int encryption = NoEncryption;
    QString mailAddress {}; ///< the account's; may be empty

    /** Success, or BadConfiguration with a text that names the setting and what is wrong with it.
     */
    Result check() const;
    /** The server's ActiveSync URL; valid only where check() finds nothing. */
    QUrl url() const;
    /** Domains whose hosts may get the login: the server's own name and the mail address's domain.
     */
    QStringList loginDomains() const;
};

/** Who the user is, as the account's settings say. */
struct Credentials
{
    QString user;
    QString password;
    QString domain; ///< may be empty

    /** Success, or BadConfiguration with a text that names the setting. An empty password is
     * allowed. */
    Result check() const;
    /** The name to log in with: the domain, a backslash and the user, or the user alone. */
    QString login() const;
    /** The value of the Authorization header, RFC 7617 with UTF-8. */
    QByteArray authorization() const;
};

/** What the server is told about this installation. */
struct Device
{
    QString id; ///< up to 32 letters and digits, different for each installation, never changing
    QString type = QStringLiteral("orvmail"); ///< up to 32 letters and digits
    QString userAgent = QStringLiteral("orvmail");
    QString model;
    QString friendlyName;
    QString os;
};

} // namespace Eas

#endif
