// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_MAILFETCH_H
#define ACCOUNTS_WINDOW_MAILFETCH_H

#include "accounts/mailsnapshot.h"
#include "accounts/setup/accountdetails.h"

#include <qmailid.h>
#include <QObject>

#include <functional>

namespace Accounts {

class TaskRun;
class WaitingBar;

/** Synchronises an account and tells what has come; the others can be looked at meanwhile. */
class MailFetch : public QObject
{
    Q_OBJECT

public:
    /** Both must outlive it. */
    MailFetch(WaitingBar &bar, TaskRun &run, QObject *parent);

    /** Done, or why the account cannot be synchronised. */
    static Outcome check(const QMailAccountId &id);
    void synchronise(const QMailAccountId &id);
    /** The first synchronisation of an account that was just saved. */
    void bringFirst(const QMailAccountId &id);

private:
    using Ended =
        std::function<void(const Outcome &outcome, const QList<FolderDifference> &differences)>;
    void start(const QMailAccountId &id, const QString &title, const Ended &ended);

    WaitingBar &m_bar;
    TaskRun &m_run;
};

} // namespace Accounts

#endif
