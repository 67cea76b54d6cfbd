// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/download/namingtask.h"

#include "daemon/store/currentmessages.h"
#include "daemon/store/serveruid.h"
#include "daemon/sync/folderstep.h"
#include "daemon/sync/foldersync.h"

namespace Daemon {

namespace {

Store::ServerUid uidOf(const QMailMessageId &message)
{
    return Store::ServerUid::split(Store::currentMessage(message).serverUid());
}

Eas::Result notThere()
{
    return {Eas::NotFound, QStringLiteral("the server does not have the message")};
}

} // namespace

NamingTask::NamingTask(const AccountContext &context, const QMailMessageId &message,
                       QObject *parent)
    : Task(context, parent)
    , m_message(message)
{
}

void NamingTask::proceed()
{
    const Store::ServerUid uid = uidOf(m_message);
    if (uid.isKnownThere() || uid.collectionId.isEmpty()) {
        finishLater(uid.isKnownThere() ? Eas::Result() : notThere());
        return;
    }
    auto *folder = new FolderStep(m_context, uid.collectionId, FolderSync::TextBound, this);
    connect(folder, &Task::paused, folder, &Task::proceed);
    connect(folder, &Task::finished, this, &NamingTask::onFolderDone);
    folder->proceed();
}

void NamingTask::onFolderDone(const Eas::Result &result, bool local)
{
    const bool isNamed = uidOf(m_message).isKnownThere();
    emit finished(result.ok() && !isNamed ? notThere() : result, local);
}

Eas::ItemLocator NamingTask::locator() const
{
    return uidOf(m_message).locator();
}

} // namespace Daemon
