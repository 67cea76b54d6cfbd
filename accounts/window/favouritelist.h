// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_FAVOURITELIST_H
#define ACCOUNTS_WINDOW_FAVOURITELIST_H

#include "accounts/folderview.h"
#include "accounts/outcome.h"

#include <QListWidget>

namespace Accounts {

/** The folders of an account, those ticked that are favourites. */
class FavouriteList : public QListWidget
{
    Q_OBJECT

public:
    explicit FavouriteList(QWidget *parent = nullptr);

    void display(const QMailAccountId &account);
    /** Takes over what has changed in the store, unless a person has changed something here. */
    void refresh();
    bool isModified() const;
    Outcome save();

    /** A few rows; the others are scrolled to. */
    QSize sizeHint() const override;

private:
    bool isTicked(int row) const;

    QMailAccountId m_account;
    QList<FolderLine> m_folders;
};

} // namespace Accounts

#endif
