// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/bus/asdbusadaptor.h"

#include "daemon/bus/front.h"

#include <QDBusMetaType>

namespace Daemon {

namespace {

Request requestOf(RequestKind kind, quint64 accountId, quint64 messageId = 0)
{
    Request request;
    request.kind = kind;
    request.accountId = accountId;
    request.messageId = messageId;
    return request;
}

} // namespace

AsDBusAdaptor::AsDBusAdaptor(Front *front)
    : QDBusAbstractAdaptor(front)
    , m_front(front)
{
    qDBusRegisterMetaType<Activesync::SearchQuery>();
    qDBusRegisterMetaType<Activesync::SearchMailboxOptions>();
    qDBusRegisterMetaType<Activesync::SearchMailboxResult>();
}

int AsDBusAdaptor::sync(qulonglong accountId, const QDBusMessage &call)
{
    m_front->accept(requestOf(RequestKind::Sync, accountId), call);
    return 0;
}

int AsDBusAdaptor::folderSync(qulonglong accountId, const QDBusMessage &call)
{
    m_front->accept(requestOf(RequestKind::FolderSync, accountId), call);
    return 0;
}

int AsDBusAdaptor::syncSpecificFolders(qulonglong accountId, const QStringList &folders,
                                       int contentType, int, const QDBusMessage &call)
{
    // The hint `value` is passed over: local changes go first anyway.
    Request request = requestOf(RequestKind::SyncFolders, accountId);
    request.folders = folders;
    request.contentType = contentType;
    m_front->accept(request, call);
    return 0;
}

int AsDBusAdaptor::downloadMessage(qulonglong accountId, qulonglong messageId,
                                   const QDBusMessage &call)
{
    m_front->accept(requestOf(RequestKind::DownloadMessage, accountId, messageId), call);
    return 0;
}

int AsDBusAdaptor::downloadAttachment(qulonglong accountId, qulonglong messageId,
                                      const QString &location, const QDBusMessage &call)
{
    Request request = requestOf(RequestKind::DownloadAttachment, accountId, messageId);
    request.location = location;
    m_front->accept(request, call);
    return 0;
}

int AsDBusAdaptor::sendMail(qulonglong accountId, qulonglong messageId, const QDBusMessage &call)
{
    m_front->accept(requestOf(RequestKind::SendMail, accountId, messageId), call);
    return 0;
}

int AsDBusAdaptor::searchMailbox(qulonglong accountId, const Activesync::SearchQuery &query,
                                 const Activesync::SearchMailboxOptions &options,
                                 const QDBusMessage &call)
{
    Request request = requestOf(RequestKind::Search, accountId);
    request.query = query;
    request.options = options;
    m_front->accept(request, call);
    return 0;
}

void AsDBusAdaptor::abortRequest(int requestId, int code)
{
    m_front->abortRequest(requestId, code);
}

int AsDBusAdaptor::isRequestAlive(int requestId)
{
    return m_front->isRequestAlive(requestId) ? 1 : 0;
}

void AsDBusAdaptor::stopSync(qulonglong accountId, int code)
{
    m_front->stopSync(accountId, code);
}

} // namespace Daemon
