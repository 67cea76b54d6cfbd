// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_DOWNLOAD_NAMINGTASK_H
#define DAEMON_DOWNLOAD_NAMINGTASK_H

#include "daemon/tasks/task.h"
#include "eas/itemlocator.h"

#include <qmailid.h>

namespace Daemon {

/**
 * Learns what the server calls a message.
 *
 * Of one whose move was answered by a lost connection the id is not known until a synchronisation
 * of the folder shows it; so that comes first. NotFound where the message is not there either.
 */
class NamingTask : public Task
{
    Q_OBJECT

public:
    NamingTask(const AccountContext &context, const QMailMessageId &message, QObject *parent);

    void proceed() override;
    /** Where the message is, once the step has succeeded. */
    Eas::ItemLocator locator() const;

private:
    void onFolderDone(const Eas::Result &result, bool local);

    const QMailMessageId m_message;
};

} // namespace Daemon

#endif
