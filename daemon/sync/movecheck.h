// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_MOVECHECK_H
#define DAEMON_SYNC_MOVECHECK_H

#include "daemon/tasks/task.h"
#include "eas/folderid.h"

#include <QFile>
#include <qmailid.h>

namespace Eas {
class FetchMessageCommand;
}

namespace Daemon {

/**
 * Asks the server about messages that we moved to a folder and that its synchronisation has not
 * shown there: those that the server does not have any more are removed here.
 *
 * Another client may have taken such a message away before the server told us of it, and then it
 * never tells. But a server need not show a message to who moved it, so nothing is removed here of
 * which it does not say itself that it is gone. Does not fail where the server cannot be asked; the
 * next synchronisation of the folder asks again.
 */
class MoveCheck : public Task
{
    Q_OBJECT

public:
    MoveCheck(const AccountContext &context, const Eas::FolderId &collectionId, QObject *parent);

private:
    void perform() override;
    void askNext();
    /** The message's id at the server; empty where the folder has nothing more to say of it. */
    QString itemId(const QMailMessageId &id) const;
    void onAnswer(const QMailMessageId &message, const Eas::FetchMessageCommand &command);

    const Eas::FolderId m_collectionId;
    QMailMessageIdList m_left;
    int m_asked = 0;
    QFile m_nowhere; ///< takes the texts that are not needed
};

} // namespace Daemon

#endif
