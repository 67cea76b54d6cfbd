// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_ACCOUNTWINDOW_H
#define ACCOUNTS_WINDOW_ACCOUNTWINDOW_H

#include "accounts/outcome.h"
#include "plugin/settings/accountsettings.h"

#include <qmailid.h>

#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;

namespace Accounts {

class AccountForm;
class LoginCheck;
class Synchronisation;

/** The list of accounts beside the settings of the one that is chosen. */
class AccountWindow : public QWidget
{
    Q_OBJECT

public:
    explicit AccountWindow(QWidget *parent = nullptr);
    ~AccountWindow() override;

    /** False where the plugin gives no form. */
    bool isUsable() const;
    /** Milliseconds for which a server may keep silent while its login is tried. */
    void setTimeLimit(int milliseconds) { m_timeLimit = milliseconds; }

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void build();
    void buildWaiting();
    QPushButton *newButton(const QString &text, const QString &name,
                           void (AccountWindow::*action)());
    void addRow(const QString &name, const QMailAccountId &id);
    void select(const QMailAccountId &id);
    void refresh();
    void choose();
    bool mayDiscard();
    void showChosen();
    QMailAccountId chosen() const;
    void addNew();
    void removeChosen();
    void testLogin();
    void save();
    void saveUnchecked();
    void check(bool forSaving);
    void checkEnded(bool forSaving);
    bool write();
    void bringMail(const QMailAccountId &id);
    void mailBrought(const QMailAccountId &id);
    void cancel();
    void waitFor(const QString &what);
    void stopWaiting();
    void showWaiting();
    void say(const QString &text);

    QListWidget *m_list;
    AccountForm *m_form;
    QLabel *m_status;
    QPushButton *m_remove = nullptr;
    QPushButton *m_test = nullptr;
    QPushButton *m_save = nullptr;
    QPushButton *m_saveUnchecked = nullptr;
    std::unique_ptr<LoginCheck> m_check;
    /** What m_check tries; a person may go on typing meanwhile. */
    AccountSettings m_checked;
    int m_timeLimit;
    std::unique_ptr<Synchronisation> m_firstMail;
    QPushButton *m_cancel = nullptr;
    QProgressBar *m_progress = nullptr;
    /** What is waited for, and for how long already. */
    QString m_waitingFor;
    int m_waited = 0;
    QTimer m_ticker;
};

} // namespace Accounts

#endif
