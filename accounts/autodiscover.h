// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_AUTODISCOVER_H
#define ACCOUNTS_AUTODISCOVER_H

#include "accounts/autodiscoveranswer.h"
#include "daemon/eas/result.h"

#include <QList>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QSslConfiguration>

#include <functional>

class QDnsLookup;

namespace Accounts {

/**
 * Finds the ActiveSync server of a mail address, [MS-OXDISCO] 3.1.5.
 *
 * Asks the address's domain, its host "autodiscover", and what the domain's SRV record names, in
 * this order, over TLS with a trusted certificate alone. The password goes only to a server that
 * asks for it. What leads to a host that the address itself does not name is confirmed first.
 */
class Autodiscover : public QObject
{
    Q_OBJECT

public:
    /** Asked before another host is trusted with the login; false: leave it. */
    using Confirm = std::function<bool(const QString &host)>;

    Autodiscover(const QString &email, const QString &user, const QString &password,
                 const Confirm &confirm, QObject *parent = nullptr);
    ~Autodiscover() override;

    /** Asks these instead of what the address leads to. */
    void setCandidates(const QList<QUrl> &candidates) { m_candidates = candidates; }
    /** For servers with a certificate of their own. */
    void setTlsConfiguration(const QSslConfiguration &configuration) { m_tls = configuration; }

    void start();
    /** Runs it to its end, in an event loop of its own. */
    Eas::Result run();

    /** Success, LoginRefused, Cancelled where a redirect was not confirmed, else NotFound. */
    const Eas::Result &result() const { return m_result; }
    /** The server's URL; after success. */
    QUrl server() const { return m_server; }

    /** The URLs that an address leads to without asking anybody. */
    static QList<QUrl> candidatesFor(const QString &email);

signals:
    void finished();

private:
    void tryNext();
    void lookUp();
    void lookedUp();
    void post(const QUrl &url);
    void replied();
    void followTo(const QUrl &url);
    void evaluate(const QByteArray &document);
    void found(const QUrl &server);
    void askFor(const QString &email);
    bool isTrusted(const QString &host);
    void end(const Eas::Result &result);

    QNetworkAccessManager m_network;
    QSslConfiguration m_tls = QSslConfiguration::defaultConfiguration();
    QString m_email;
    QString m_user;
    QString m_password;
    Confirm m_confirm;
    QList<QUrl> m_candidates;
    bool m_lookedUp = false;
    int m_hops = 0;
    bool m_loginSent = false;
    /** Why no candidate led further; the most telling one. */
    Eas::Result m_failure;
    Eas::Result m_result;
    QUrl m_server;
    QPointer<QNetworkReply> m_reply;
    QDnsLookup *m_lookup = nullptr;
};

} // namespace Accounts

#endif
