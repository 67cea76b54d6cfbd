// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_SETUP_AUTODISCOVERANSWER_H
#define ACCOUNTS_SETUP_AUTODISCOVERANSWER_H

#include <QByteArray>
#include <QString>
#include <QUrl>

namespace Accounts {

/** What an Autodiscover service says about an address, [MS-ASCMD] 2.2.1.1. */
struct AutodiscoverAnswer
{
    enum Kind { NotUnderstood, Found, OtherAddress, Failed };

    Kind kind = NotUnderstood;
    QUrl server;    ///< Found: where the ActiveSync server is
    QString email;  ///< OtherAddress: the address to ask for instead
    QString reason; ///< Failed: the service's own words

    static AutodiscoverAnswer parse(const QByteArray &document);
};

/** The document that asks for the server of an address. */
QByteArray autodiscoverRequest(const QString &email);

} // namespace Accounts

#endif
