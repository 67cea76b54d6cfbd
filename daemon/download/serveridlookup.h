// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_DOWNLOAD_SERVERIDLOOKUP_H
#define DAEMON_DOWNLOAD_SERVERIDLOOKUP_H

#include "daemon/tasks/task.h"
#include "eas/itemlocator.h"

#include <qmailid.h>

namespace Daemon {

/**
 * Finds out the id of a message at the server.
 *
 * After a move whose answer was lost, it is not known until a synchronisation of the folder shows
 * it; so that comes first. NotFound where the message is not there either.
 */
class ServerIdLookup : public Task
{
    Q_OBJECT

public:
    ServerIdLookup(const AccountContext &context, const QMailMessageId &message, QObject *parent);

    /** Where the message is, once the task has succeeded. */
    Eas::ItemLocator locator() const;

private:
    void perform() override;

    const QMailMessageId m_message;
};

} // namespace Daemon

#endif
