// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_MAILSNAPSHOT_H
#define ACCOUNTS_MAILSNAPSHOT_H

#include <QHash>
#include <QList>
#include <qmailid.h>
#include <QString>

namespace Accounts {

/** What has changed in one folder between two snapshots. */
struct FolderDifference
{
    QString path;
    int added = 0;
    int removed = 0;
    int changed = 0; ///< read, flagged, answered, and the like
};

/** Which messages an account has in the mail store, where, and in which state. */
class MailSnapshot
{
public:
    explicit MailSnapshot(const QMailAccountId &account);

    /** What is different in `later`, a snapshot of the same account; folders without any difference
     * are left out. */
    QList<FolderDifference> differenceTo(const MailSnapshot &later) const;

private:
    struct Entry
    {
        QMailFolderId folder;
        quint64 status;
    };

    QHash<QMailMessageId, Entry> m_messages;
    QHash<QMailFolderId, QString> m_paths;
};

} // namespace Accounts

#endif
