// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_ACCOUNTFORM_H
#define ACCOUNTS_WINDOW_ACCOUNTFORM_H

#include "accounts/setup/accountdetails.h"

#include <qmailid.h>
#include <QMap>
#include <QWidget>

class QGridLayout;
class QLineEdit;
class QMailMessageServiceEditor;

namespace Accounts {

class ProblemLabel;

/**
 * One account's name and login: the latter in the very form that the plugin hands out.
 *
 * What is wrong is said beside the field that is wrong, or beneath it where there is no room.
 */
class AccountForm : public QWidget
{
    Q_OBJECT

public:
    explicit AccountForm(QWidget *parent = nullptr);
    ~AccountForm() override;

    /** False where the plugin gives no form; nothing else may be called then. */
    bool hasForm() const { return m_editor; }

    /** Shows an account, or with an invalid id the settings of a new one. */
    void display(const QMailAccountId &id);
    /** Enters what is known of a new account. */
    void propose(const AccountSettings &settings);
    /** Lays what is typed over `details`. */
    void writeTo(AccountDetails *details) const;

    /** Says what is wrong and puts the cursor there; Done takes back what was said. */
    void showProblem(const Outcome &problem);
    /** Puts the cursor into the first field that is empty, or into the first. */
    void begin();
    /** Whether there is no room beside the fields. */
    void setNarrow(bool narrow);

private:
    void build();
    void spreadRows();
    void addProblem(const QString &setting, QWidget *input);
    void placeProblems();
    void suggestTls();
    AccountSettings typedSettings() const;
    QWidget *inputFor(const QString &setting) const;
    void enter(const QString &setting, const QString &text);

    QMailMessageServiceEditor *m_editor;
    QGridLayout *m_grid = nullptr;
    QLineEdit *m_name;
    /** By the settings that they are about. */
    QMap<QString, ProblemLabel *> m_problems;
    /** Says what concerns no field, or one that the form does not have. */
    ProblemLabel *m_otherProblem;
    bool m_isNarrow = false;
};

} // namespace Accounts

#endif
