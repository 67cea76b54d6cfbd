// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_HEADFETCH_H
#define DAEMON_SEND_HEADFETCH_H

#include "daemon/send/headbuffer.h"
#include "daemon/tasks/task.h"
#include "eas/itemlocator.h"

#include <qmailmessage.h>

namespace Daemon {

/** Asks the server for a message's head, and the beginning of what follows it. */
class HeadFetch : public Task
{
    Q_OBJECT

public:
    HeadFetch(const AccountContext &context, const Eas::ItemLocator &locator, QObject *parent);

    /**
     * Valid after it has finished with Success; without headers where the server tells none, or
     * such as QMF does not get over.
     */
    QMailMessage message() const;

private:
    void perform() override;

    const Eas::ItemLocator m_locator;
    HeadBuffer m_buffer;
    QByteArray m_bytes;
};

} // namespace Daemon

#endif
