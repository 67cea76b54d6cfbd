// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_FOLDERVIEW_H
#define ACCOUNTS_FOLDERVIEW_H

#include <QList>
#include <qmailid.h>
#include <QString>

namespace Accounts {

/** One folder of an account, as a person sees it. */
struct FolderLine
{
    QMailFolderId id;
    QString path; ///< "Work/Old"
    int total = 0;
    int unread = 0;
    bool favourite = false;
};

/** The account's folders in the mail store, sorted by their paths. */
QList<FolderLine> foldersOf(const QMailAccountId &account);

/** The folder of that path or of that number; invalid: no such one. */
QMailFolderId findFolder(const QMailAccountId &account, const QString &pathOrId);

/** Makes a folder a favourite or takes that away. */
bool setFavourite(const QMailFolderId &id, bool favourite);

} // namespace Accounts

#endif
