// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/download/serveridlookup.h"

#include "daemon/store/currentmessages.h"
#include "daemon/store/serveruid.h"
#include "daemon/sync/folderstep.h"
#include "daemon/sync/foldersync.h"

namespace Daemon {

namespace {

Store::ServerUid uidOf(const QMailMessageId &message)
{
    return Store::ServerUid(Store::currentMessage(message));
}

Eas::Result notThere()
{
    return {Eas::NotFound, QStringLiteral("the server does not have the message")};
}

} // namespace

ServerIdLookup::ServerIdLookup(const AccountContext &context, const QMailMessageId &message,
                               QObject *parent)
    : Task(context, parent)
    , m_message(message)
{
}

void ServerIdLookup::perform()
{
    const Store::ServerUid uid = uidOf(m_message);
    if (uid.kind() != Store::ServerUid::Kind::Unnamed) {
        end(uid.isKnownThere() ? Eas::Result() : notThere());
        return;
    }
    run(new FolderStep(m_context, uid.collectionId(), FolderSync::TextBound, this),
        [this](const Eas::Result &result) {
            const bool isNamed = uidOf(m_message).isKnownThere();
            end(result.ok() && !isNamed ? notThere() : result);
        });
}

Eas::ItemLocator ServerIdLookup::locator() const
{
    return uidOf(m_message).locator();
}

} // namespace Daemon
