// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_OUTBOXPANE_H
#define ACCOUNTS_WINDOW_OUTBOXPANE_H

#include "accounts/status/outboxmemory.h"

#include <QWidget>

class QLabel;
class QListWidget;
class QPushButton;

namespace Accounts {

class ProblemLabel;
class TaskRun;

/** What of an account waits to be sent and why, and what a person can do about it. */
class OutboxPane : public QWidget
{
    Q_OBJECT

public:
    /** `run` must outlive it. */
    explicit OutboxPane(TaskRun &run, QWidget *parent = nullptr);

    /** An invalid id: no account, and nothing waits. */
    void display(const QMailAccountId &account);
    void refresh();
    int count() const { return m_mails.size(); }

signals:
    /** What has become of a mail, for a person. */
    void told(const QString &text);

private:
    void build();
    QPushButton *newButton(const QString &text, const char *name, void (OutboxPane::*action)());
    void showMails();
    void updateButtons();
    void sendAgain();
    void makeDraft();
    bool isWantedAgain(const Activesync::WaitingMail &mail);
    void taskEnded(const QMailAccountId &account, const Outcome &outcome, const QString &success);

    TaskRun &m_run;
    QMailAccountId m_account;
    WaitingMails m_mails;
    bool m_isUnreadable = false; ///< m_mails is from before
    QLabel *m_label = nullptr;
    QListWidget *m_list;
    ProblemLabel *m_problem;
    QPushButton *m_again = nullptr;
    QPushButton *m_draft = nullptr;
};

} // namespace Accounts

#endif
