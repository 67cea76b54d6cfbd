// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_OPTIONSPANE_H
#define ACCOUNTS_WINDOW_OPTIONSPANE_H

#include "accounts/setup/accountdetails.h"

#include <qmailid.h>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QVBoxLayout;

namespace Accounts {

class FavouriteList;
class ProblemLabel;

/** What a person decides about an account besides its login. */
class OptionsPane : public QWidget
{
    Q_OBJECT

public:
    explicit OptionsPane(QWidget *parent = nullptr);

    /** An invalid id: a new account, which has no folders yet. */
    void display(const QMailAccountId &account, const AccountDetails &details);
    /** Shows folders that have come meanwhile. */
    void refreshFolders();
    bool areFavouritesModified() const;
    void writeTo(AccountDetails *details) const;
    /** Of what is shown, writeTo() gives all but the favourites. */
    Outcome saveFavourites();

    /** Whether the setting of that name is shown here. */
    static bool hasSetting(const QString &setting);
    /** Tells it at its setting; an outcome that is Done takes back what was told. */
    void showProblem(const Outcome &problem);

private:
    void build();
    QLabel *newLabel(const QString &text, QWidget *buddy);
    void addSwitch(QVBoxLayout *layout, QCheckBox *box, const QString &explanation);
    void fillKeep(int days);
    void showFolders(bool areThere);

    QLineEdit *m_fullName;
    QCheckBox *m_enabled;
    ProblemLabel *m_enabledProblem;
    QCheckBox *m_push;
    QCheckBox *m_notifications;
    QComboBox *m_keep;
    QLabel *m_favouritesLabel = nullptr;
    FavouriteList *m_favourites;
};

} // namespace Accounts

#endif
