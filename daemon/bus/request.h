// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_BUS_REQUEST_H
#define DAEMON_BUS_REQUEST_H

#include "asclient/searchmailboxoptions.h"
#include "asclient/searchquery.h"

#include <QMetaType>
#include <QString>
#include <QStringList>

namespace Daemon {

/** The calls that start work, and what the daemon asks of itself. */
enum class RequestKind {
    Sync,
    FolderSync,
    SyncFolders,
    Upload, ///< local changes alone; no call asks for it
    DownloadMessage,
    DownloadAttachment,
    SendMail,
    Search
};

/** Whether stopping an account's synchronisation ends a request of this kind. */
inline bool isSynchronisation(RequestKind kind)
{
    return kind == RequestKind::Sync || kind == RequestKind::FolderSync
        || kind == RequestKind::SyncFolders || kind == RequestKind::Upload;
}

/** One call of the daemon's interface; which members matter depends on the kind. */
struct Request
{
    int id = 0;
    RequestKind kind = RequestKind::Sync;
    quint64 accountId = 0;
    QStringList folders; ///< decimal QMailFolderIds, unchecked
    int contentType = 0; ///< a hint; MessageLists brings headers and a preview, others texts
    quint64 messageId = 0;
    QString location; ///< of a message's part
    Activesync::SearchQuery query;
    Activesync::SearchMailboxOptions options;

    bool namesMessage() const
    {
        return kind == RequestKind::DownloadMessage || kind == RequestKind::DownloadAttachment
            || kind == RequestKind::SendMail;
    }
};

} // namespace Daemon

Q_DECLARE_METATYPE(Daemon::Request)

#endif
