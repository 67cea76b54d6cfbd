// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_ACCOUNTFORM_H
#define ACCOUNTS_WINDOW_ACCOUNTFORM_H

#include "accounts/accountdetails.h"

#include <qmailid.h>

#include <QWidget>

#include <memory>

class QLabel;
class QLineEdit;
class QMailMessageServiceEditor;

namespace Accounts {

/**
 * One account's settings: its name, and the very form that the plugin hands out.
 *
 * What is wrong is said in the row of the field that is wrong.
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
    QMailAccountId account() const { return m_account; }
    /** The account is gone: what is shown and typed would be a new one. */
    void forgetAccount() { m_account = QMailAccountId(); }
    /** Whether something was typed since the account was shown. */
    bool isModified() const;
    /** What the form says, laid over what the account has besides. */
    AccountDetails details() const;

    /** Says what is wrong beside its field and puts the cursor there; an empty one clears. */
    void showProblem(const Outcome &problem);
    /** Puts the cursor into the first field. */
    void begin();

private:
    void build();
    void addMessages();
    void suggestTls();
    AccountSettings typedSettings() const;
    QWidget *inputFor(const QString &setting) const;

    QMailMessageServiceEditor *m_editor;
    QMailAccountId m_account;
    AccountDetails m_shown;
    QLineEdit *m_name;
    QLabel *m_nameMessage;
    /** Says what concerns no field, or one that the form does not have. */
    QLabel *m_message;
};

} // namespace Accounts

#endif
