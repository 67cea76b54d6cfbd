// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_FIRSTPAGE_H
#define ACCOUNTS_WINDOW_FIRSTPAGE_H

#include "accounts/outcome.h"
#include "plugin/settings/accountsettings.h"

#include <QWidget>

#include <memory>

class QLineEdit;
class QPushButton;

namespace Accounts {

class Autodiscover;
class ProblemLabel;
class WaitingBar;

/**
 * The first step to a new account: mail address and password, from which the server is found.
 *
 * The person is asked before the password goes to a host that the address does not name.
 */
class FirstPage : public QWidget
{
    Q_OBJECT

public:
    /** The bar must outlive it. */
    explicit FirstPage(WaitingBar &bar, QWidget *parent = nullptr);
    ~FirstPage() override;

    /** Milliseconds after which the search is given up. */
    void setTimeLimit(int milliseconds) { m_timeLimit = milliseconds; }
    /** Nothing is typed, and nothing searched for. */
    void clear();
    /** Whether something is typed. */
    bool isModified() const;
    /** Puts the cursor into the first field. */
    void begin();
    void setSearchAllowed(bool allowed);
    void cancel();

signals:
    void serverFound(const AccountSettings &settings);
    /** The person enters the rest; `problem`: why it could not be found, or Done. */
    void formWanted(const AccountSettings &settings, const Accounts::Outcome &problem);

private:
    void build();
    QPushButton *newButton(const QString &text, const char *name, void (FirstPage::*action)());
    AccountSettings typed() const;
    Outcome check(const AccountSettings &settings) const;
    void search();
    void searchEnded();
    void leaveForForm();
    bool isTrusted(const QString &host);
    void setSearching(bool searching);

    WaitingBar &m_bar;
    QLineEdit *m_address;
    QLineEdit *m_password;
    ProblemLabel *m_addressProblem;
    ProblemLabel *m_passwordProblem;
    QPushButton *m_find = nullptr;
    int m_timeLimit;
    std::unique_ptr<Autodiscover> m_search;
    /** The login was refused once; a second time it is the server that is asked for. */
    bool m_loginRefused = false;
};

} // namespace Accounts

#endif
