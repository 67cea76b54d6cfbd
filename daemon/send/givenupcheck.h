// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_GIVENUPCHECK_H
#define DAEMON_SEND_GIVENUPCHECK_H

#include "daemon/store/outgoing/outbox.h"
#include "daemon/tasks/job.h"

#include <QList>

namespace Daemon {

/**
 * Finds out whether messages were sent that the message server has given up after some attempts,
 * and takes those out of the outbox that the server's folder of sent messages has.
 *
 * What is not found there stays as it is: only the person who wrote it decides whether it is sent
 * once more.
 */
class GivenUpCheck : public Job
{
    Q_OBJECT

public:
    /** `messages`: those of Store::Outbox::givenUp() that are to be looked for. */
    GivenUpCheck(const AccountContext &context, const QList<Store::Outgoing> &messages,
                 QObject *parent = nullptr);

signals:
    /** The server does not show this one as it is now, and will not: it is not worth another look.
     */
    void notFound(const Store::Outgoing &message);

private:
    void perform() override { lookNext(); }
    void lookNext();
    void onLooked(const Store::Outgoing &message, bool isFound, const Eas::Result &result);
    void settle(const Store::Outgoing &message);

    Store::Outbox m_outbox;
    QList<Store::Outgoing> m_messages;
};

} // namespace Daemon

#endif
