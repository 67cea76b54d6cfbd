// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_ACCOUNTPAGE_H
#define ACCOUNTS_WINDOW_ACCOUNTPAGE_H

#include "accounts/status/statusview.h"

#include <QWidget>

class QTabWidget;

namespace Accounts {

class AccountForm;
class OptionsPane;
class OutboxPane;
class StatusPane;
class TaskRun;

/** All about one account, or about a new one: how it fares, its settings, and its outbox. */
class AccountPage : public QWidget
{
    Q_OBJECT

public:
    /** `run` must outlive it. */
    explicit AccountPage(TaskRun &run, QWidget *parent = nullptr);

    /** False where the plugin gives no form; nothing else may be called then. */
    bool hasForm() const;

    /** Shows an account, or with an invalid id the settings of a new one. */
    void display(const QMailAccountId &id);
    /** Enters what is known of a new account. */
    void propose(const AccountSettings &settings);
    /** Tells how the account fares that is shown, which is one of these. */
    void showState(const QList<AccountView> &accounts);
    QMailAccountId account() const { return m_account; }
    /** The account is gone: what is shown and typed would be a new one. */
    void forgetAccount();

    /** Whether something was changed since the account was shown. */
    bool isModified() const;
    /** Whether what was changed is needed for the login at the server; always of a new account. */
    bool isLoginModified() const;
    /** Whether another program has changed the account since it was shown. */
    bool isOutdated() const;
    /** What is entered, laid over what the account has besides. */
    AccountDetails details() const;
    Outcome saveFavourites();

    /** Says what is wrong beside its field and puts the cursor there; Done takes it back. */
    void showProblem(const Outcome &problem);
    /** Puts the cursor into the first field that is to be filled. */
    void begin();
    void setNarrow(bool narrow);

signals:
    /** What has become of a mail of the outbox. */
    void told(const QString &text);

private:
    void showOutbox();
    void showNews(const AccountDetails &now);

    QMailAccountId m_account;
    AccountDetails m_stored; ///< as the account was when it was shown
    AccountDetails m_shown;  ///< the same as the fields have it
    StatusPane *m_status;
    QTabWidget *m_tabs;
    AccountForm *m_form;
    OptionsPane *m_options;
    OutboxPane *m_outbox;
};

} // namespace Accounts

#endif
