// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_ACCOUNTWINDOW_H
#define ACCOUNTS_WINDOW_ACCOUNTWINDOW_H

#include "accounts/outcome.h"
#include "accounts/status/statusview.h"
#include "accounts/status/statuswatch.h"
#include "plugin/settings/accountsettings.h"

#include <qmailid.h>
#include <QWidget>

class QBoxLayout;
class QPushButton;
class QScrollArea;

namespace Accounts {

class AccountList;
class AccountPage;
class FirstPage;
class MailFetch;
class Saving;
class TaskRun;
class WaitingBar;

/**
 * The list of accounts beside the one that is chosen; above it where the window is narrow.
 *
 * The first step to a new account, and what can be done with an account, each have a page.
 */
class AccountWindow : public QWidget
{
    Q_OBJECT

public:
    explicit AccountWindow(QWidget *parent = nullptr);
    ~AccountWindow() override;

    /** False where the plugin gives no form. */
    bool isUsable() const;
    /** Milliseconds for which a server may keep silent while its login is tried. */
    void setTimeLimit(int milliseconds);

protected:
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void build();
    QWidget *newSide();
    QScrollArea *newPages();
    void addShortcuts();
    QPushButton *newButton(const QString &text, const char *name);
    void connectParts();
    void connectButtons();
    void setNarrow(bool narrow);
    void updateButtons();

    void select(const QMailAccountId &id);
    void refresh();
    void choose();
    bool isModified() const;
    bool mayDiscard();
    void showChosen();
    void showFirstPage(bool first);
    void showForm(const AccountSettings &settings, const Outcome &problem);
    void showFocused();
    void addNew();
    void removeChosen();

    void saveFound(const AccountSettings &settings);
    void onSaved(const QMailAccountId &id, bool isNew, bool isTried);
    void synchronise();
    void cancel();

    StatusWatch m_watch;
    QList<AccountView> m_accounts; ///< as they are shown
    AccountList *m_list;
    WaitingBar *m_bar;
    TaskRun *m_run;
    FirstPage *m_first;
    AccountPage *m_page;
    Saving *m_saving;
    MailFetch *m_fetch;
    QBoxLayout *m_both = nullptr;
    QScrollArea *m_pages = nullptr;
    QPushButton *m_add = nullptr;
    QPushButton *m_remove = nullptr;
    QPushButton *m_synchronise = nullptr;
    QPushButton *m_test = nullptr;
    QPushButton *m_save = nullptr;
    QPushButton *m_saveUnchecked = nullptr;
    bool m_isFirst = true; ///< the first page is shown
};

} // namespace Accounts

#endif
