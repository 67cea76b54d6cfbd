// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TREESTEP_H
#define DAEMON_TREESTEP_H

#include "daemon/syncstep.h"

namespace Eas {
class FolderSyncCommand;
}

namespace Daemon {

/** Brings the account's folder tree up to date. A refused key leads to the whole tree anew. */
class TreeStep : public SyncStep
{
    Q_OBJECT

public:
    TreeStep(const AccountContext &context, QObject *parent);

    void proceed() override;

private:
    void ask(const QString &key);
    void onAnswer(const Eas::FolderSyncCommand &command, const QString &key);
    void jobProgressed(int progress) override;
};

} // namespace Daemon

#endif
