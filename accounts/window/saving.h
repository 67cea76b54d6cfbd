// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_SAVING_H
#define ACCOUNTS_WINDOW_SAVING_H

#include "plugin/settings/accountsettings.h"

#include <qmailid.h>
#include <QObject>

#include <memory>

namespace Accounts {

class AccountPage;
class LoginCheck;
class TaskRun;
class WaitingBar;

/** Tries the login of what the page shows, and saves it. */
class Saving : public QObject
{
    Q_OBJECT

public:
    /** All must outlive it. */
    Saving(AccountPage &page, WaitingBar &bar, TaskRun &run, QObject *parent);
    ~Saving() override;

    /** Milliseconds for which a server may keep silent. */
    void setTimeLimit(int milliseconds) { m_timeLimit = milliseconds; }

    void test() { check(false); }
    /** What the login depends on is tried first. */
    void save();
    void saveUnchecked();
    void cancel();
    /** Another account is shown: what is tried concerns nobody any more. */
    void drop();

signals:
    /** Whether the person may save what the server has refused. */
    void uncheckedOffered(bool offered);
    /** `isTried`: the server has accepted its login. */
    void saved(const QMailAccountId &id, bool isNew, bool isTried);

private:
    void check(bool forSaving);
    void checkEnded(bool forSaving);
    void write(bool isTried);

    AccountPage &m_page;
    WaitingBar &m_bar;
    TaskRun &m_run;
    std::unique_ptr<LoginCheck> m_check;
    /** What m_check tries; a person may go on typing meanwhile. */
    AccountSettings m_checked;
    int m_timeLimit;
};

} // namespace Accounts

#endif
