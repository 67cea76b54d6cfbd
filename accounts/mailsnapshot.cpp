// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/mailsnapshot.h"

#include "accounts/folderview.h"

#include <qmailmessage.h>
#include <qmailstore.h>
#include <QMap>

namespace Accounts {

MailSnapshot::MailSnapshot(const QMailAccountId &account)
{
    const QList<FolderLine> folders = foldersOf(account);
    for (const FolderLine &folder : folders)
        m_paths.insert(folder.id, folder.path);
    const QMailMessageMetaDataList messages = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::parentAccountId(account),
        QMailMessageKey::Id | QMailMessageKey::ParentFolderId | QMailMessageKey::Status);
    for (const QMailMessageMetaData &message : messages)
        m_messages.insert(message.id(), {message.parentFolderId(), message.status()});
}

QList<FolderDifference> MailSnapshot::differenceTo(const MailSnapshot &later) const
{
    QHash<QMailFolderId, QString> paths = m_paths;
    for (auto path = later.m_paths.cbegin(); path != later.m_paths.cend(); ++path)
        paths.insert(path.key(), path.value());
    QMap<QString, FolderDifference> differences;
    const auto in = [&](const QMailFolderId &folder) -> FolderDifference & {
        const QString path = paths.value(folder, QStringLiteral("(elsewhere)"));
        differences[path].path = path;
        return differences[path];
    };
    for (auto old = m_messages.cbegin(); old != m_messages.cend(); ++old) {
        const auto now = later.m_messages.constFind(old.key());
        const bool isGone = now == later.m_messages.cend() || now->folder != old->folder;
        if (isGone)
            ++in(old->folder).removed;
        else if (now->status != old->status)
            ++in(old->folder).changed;
    }
    for (auto now = later.m_messages.cbegin(); now != later.m_messages.cend(); ++now) {
        const auto old = m_messages.constFind(now.key());
        if (old == m_messages.cend() || old->folder != now->folder)
            ++in(now->folder).added;
    }
    return differences.values();
}

} // namespace Accounts
