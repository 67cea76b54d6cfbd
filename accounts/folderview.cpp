// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/folderview.h"

#include <qmailfolder.h>
#include <qmailmessage.h>
#include <qmailstore.h>

#include <algorithm>

namespace Accounts {

namespace {

constexpr int MaximumDepth = 64;

QString nameOf(const QMailFolder &folder)
{
    return folder.displayName().isEmpty() ? folder.path() : folder.displayName();
}

QString pathOf(QMailFolder folder)
{
    QString path = nameOf(folder);
    for (int depth = 0; folder.parentFolderId().isValid() && depth < MaximumDepth; ++depth) {
        folder = QMailStore::instance()->folder(folder.parentFolderId());
        path.prepend(nameOf(folder) + QLatin1Char('/'));
    }
    return path;
}

} // namespace

QList<FolderLine> foldersOf(const QMailAccountId &account)
{
    QMailStore *store = QMailStore::instance();
    QList<FolderLine> lines;
    const QMailFolderIdList ids = store->queryFolders(QMailFolderKey::parentAccountId(account));
    for (const QMailFolderId &id : ids) {
        const QMailFolder folder = store->folder(id);
        const QMailMessageKey here =
            QMailMessageKey::parentFolderId(id) & QMailMessageKey::parentAccountId(account);
        const QMailMessageKey unread =
            QMailMessageKey::status(QMailMessage::Read, QMailDataComparator::Excludes);
        lines.append({id, pathOf(folder), store->countMessages(here),
                      store->countMessages(here & unread),
                      bool(folder.status() & QMailFolder::Favourite)});
    }
    std::sort(lines.begin(), lines.end(), [](const FolderLine &a, const FolderLine &b) {
        return a.path.compare(b.path, Qt::CaseInsensitive) < 0;
    });
    return lines;
}

QMailFolderId findFolder(const QMailAccountId &account, const QString &pathOrId)
{
    const QList<FolderLine> lines = foldersOf(account);
    for (const FolderLine &line : lines) {
        if (line.path == pathOrId)
            return line.id;
    }
    for (const FolderLine &line : lines) {
        if (QString::number(line.id.toULongLong()) == pathOrId)
            return line.id;
    }
    return QMailFolderId();
}

bool setFavourite(const QMailFolderId &id, bool favourite)
{
    QMailFolder folder = QMailStore::instance()->folder(id);
    folder.setStatus(QMailFolder::Favourite, favourite);
    return QMailStore::instance()->updateFolder(&folder);
}

} // namespace Accounts
