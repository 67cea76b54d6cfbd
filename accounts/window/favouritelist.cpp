// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/favouritelist.h"

#include <algorithm>

namespace Accounts {

namespace {

bool isSame(const QList<FolderLine> &a, const QList<FolderLine> &b)
{
    return std::equal(a.cbegin(), a.cend(), b.cbegin(), b.cend(),
                      [](const FolderLine &one, const FolderLine &other) {
                          return one.id == other.id && one.path == other.path
                              && one.favourite == other.favourite;
                      });
}

} // namespace

FavouriteList::FavouriteList(QWidget *parent)
    : QListWidget(parent)
{
    setObjectName(QStringLiteral("favourites"));
    setAccessibleName(tr("Favourite folders"));
}

void FavouriteList::display(const QMailAccountId &account)
{
    m_account = account;
    m_folders = account.isValid() ? foldersOf(account) : QList<FolderLine>();
    clear();
    for (const FolderLine &folder : m_folders) {
        auto *item = new QListWidgetItem(folder.path, this);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setCheckState(folder.favourite ? Qt::Checked : Qt::Unchecked);
    }
}

void FavouriteList::refresh()
{
    if (m_account.isValid() && !isModified() && !isSame(m_folders, foldersOf(m_account)))
        display(m_account);
}

bool FavouriteList::isTicked(int row) const
{
    return item(row)->checkState() == Qt::Checked;
}

bool FavouriteList::isModified() const
{
    for (int row = 0; row < m_folders.size(); ++row) {
        if (isTicked(row) != m_folders.at(row).favourite)
            return true;
    }
    return false;
}

Outcome FavouriteList::save()
{
    for (int row = 0; row < m_folders.size(); ++row) {
        if (isTicked(row) == m_folders.at(row).favourite)
            continue;
        if (!setFavourite(m_folders.at(row).id, isTicked(row)))
            return Outcome::refused(
                tr("the mail store refuses to change the folder %1").arg(m_folders.at(row).path));
        m_folders[row].favourite = isTicked(row);
    }
    return {};
}

QSize FavouriteList::sizeHint() const
{
    return {QListWidget::sizeHint().width(), 6 * fontMetrics().lineSpacing()};
}

} // namespace Accounts
