// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_ACTIONRUNNER_H
#define ACCOUNTS_ACTIONRUNNER_H

#include "accounts/outcome.h"

#include <qmailserviceaction.h>

#include <QObject>

#include <functional>

namespace Accounts {

class Console;

/** Lets the message server carry out one action, and shows its progress. */
class ActionRunner : public QObject
{
    Q_OBJECT

public:
    ActionRunner(Console &console, const QString &title, QObject *parent = nullptr);

    /** Done, or one line that tells how to get a message server. */
    static Outcome requireMessageServer();

    /**
     * Calls `start` with the action and returns when it has ended; SIGINT and SIGTERM cancel it.
     *
     * status() is then the action's last one.
     */
    bool run(const std::function<void(QMailRetrievalAction &)> &start);
    const QMailServiceAction::Status &status() const { return m_status; }

private:
    void onActivity(QMailServiceAction::Activity activity);

    Console &m_console;
    QString m_title;
    QMailServiceAction::Status m_status;
    bool m_ended = false;
    bool m_successful = false;
    bool m_cancelled = false;

signals:
    void ended();
};

} // namespace Accounts

#endif
