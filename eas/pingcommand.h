// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_PINGCOMMAND_H
#define EAS_PINGCOMMAND_H

#include "eas/command.h"
#include "eas/folderid.h"

#include <QList>

namespace Eas {

/**
 * Waits until something changes in one of some folders, or until the heartbeat is over,
 * [MS-ASCMD] 2.2.1.13.
 *
 * Success for both; changedFolders() is empty after the latter. Its own outcomes are
 * HeartbeatOutOfRange, TooManyFolders and TreeStale.
 */
class PingCommand : public Command
{
    Q_OBJECT

public:
    /** `heartbeat`: seconds that the server may wait. */
    PingCommand(Session *session, int heartbeat, const QList<FolderId> &collectionIds);

    const QList<FolderId> &changedFolders() const { return m_changed; }
    /** The bound that comes with HeartbeatOutOfRange, seconds; else 0. */
    int heartbeat() const { return m_bound; }
    /** The bound that comes with TooManyFolders; else 0. */
    int maxFolders() const { return m_maxFolders; }

protected:
    QByteArray name() const override { return QByteArrayLiteral("Ping"); }
    QByteArray body() override;
    AnswerParser *newParser() override;
    Result evaluate() override;
    int waitingTime() const override { return m_heartbeat * 1000; }

private:
    class Parser;

    const int m_heartbeat;
    const QList<FolderId> m_collectionIds;
    Parser *m_parser = nullptr;
    QList<FolderId> m_changed;
    int m_bound = 0;
    int m_maxFolders = 0;
};

} // namespace Eas

#endif
