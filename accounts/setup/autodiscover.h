// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_SETUP_AUTODISCOVER_H
#define ACCOUNTS_SETUP_AUTODISCOVER_H

#include "accounts/setup/autodiscoveranswer.h"
#include "accounts/setup/logincheck.h"
#include "eas/result.h"

#include <QList>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QSslConfiguration>
#include <QStringList>
#include <QTimer>

#include <functional>

class QDnsLookup;

namespace Accounts {

/**
 * Finds the ActiveSync server of a mail address, [MS-OXDISCO] 3.1.5.
 *
 * Asks the address's domain, its host "autodiscover", and what the domain's SRV record names, in
 * this order, over TLS with a trusted certificate alone. The password goes only to a server that
 * asks for it, by HTTP Basic as to the account's server. What leads to a host that the address
 * itself does not name is confirmed first; where it is not, the search goes on with the next one.
 */
class Autodiscover : public QObject
{
    Q_OBJECT

public:
    /** Asked before another host is trusted with the login; false: leave it. */
    using Confirm = std::function<bool(const QString &host)>;

    /** `user`: as it stands in the login, behind the domain where there is one. */
    Autodiscover(const QString &email, const QString &user, const QString &password,
                 const Confirm &confirm, QObject *parent = nullptr);
    ~Autodiscover() override;

    /** For tests: asks these instead of what the address leads to. */
    void setCandidates(const QList<QUrl> &candidates) { m_candidates = candidates; }
    /** For tests: servers have a certificate of their own there. */
    void setTlsConfiguration(const QSslConfiguration &configuration) { m_tls = configuration; }

    /** Milliseconds after which it gives up; what a person is asked meanwhile does not count. */
    void setTimeLimit(int milliseconds) { m_timeLimit = milliseconds; }

    void start();
    /** Ends it with Cancelled and no text. */
    void cancel();
    /** Runs it to its end, in an event loop of its own. */
    Eas::Result run();

    /** Success, LoginRefused where a host took no such login, Cancelled where the text names hosts
     * that were not confirmed, else NotFound; the text of LoginRefused and NotFound names each host
     * that was tried and why it led nowhere. */
    const Eas::Result &result() const { return m_result; }
    /** The server's URL; after success. */
    QUrl server() const { return m_server; }

    /** The URLs that an address leads to without asking anybody. */
    static QList<QUrl> candidatesFor(const QString &email);

signals:
    void finished();

private:
    void tryNext();
    void giveUp();
    void lookUp();
    void lookedUp();
    void post(const QUrl &url);
    void postLogin(const QUrl &url);
    void send(QNetworkRequest request);
    void replied();
    void login(const QNetworkReply &refusal);
    void followTo(const QUrl &url);
    void evaluate(const QByteArray &document);
    void found(const QUrl &server);
    void askFor(const QString &email);
    bool isTrusted(const QString &host);
    bool isConfirmed(const QString &host);
    void missed(const QString &reason);
    void drop();
    void timedOut();
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
    /** For all of it, and for one host to be reached. */
    int m_timeLimit = LoginCheck::UsualTimeLimit;
    QTimer m_limit;
    QTimer m_hostLimit;
    /** The host that is asked. */
    QString m_host;
    /** Each host that was tried and why it led nowhere. */
    QStringList m_misses;
    /** Hosts that were not confirmed. */
    QStringList m_unconfirmed;
    bool m_loginRefused = false;
    bool m_over = false;
    Eas::Result m_result;
    QUrl m_server;
    QPointer<QNetworkReply> m_reply;
    QDnsLookup *m_lookup = nullptr;
};

} // namespace Accounts

#endif
