// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/treestep.h"

#include "daemon/eas/foldersynccommand.h"
#include "daemon/logging.h"
#include "daemon/store/folderwriter.h"

namespace Daemon {

namespace {
const QString NoKey = QStringLiteral("0");
}

TreeStep::TreeStep(const AccountContext &context, QObject *parent)
    : SyncStep(context, parent)
{
}

void TreeStep::proceed()
{
    ask(m_context.db->account(m_context.id()).folderSyncKey);
}

void TreeStep::ask(const QString &key)
{
    auto *command = new Eas::FolderSyncCommand(m_context.session, key);
    start(command, [this, command, key] { onAnswer(*command, key); });
}

void TreeStep::onAnswer(const Eas::FolderSyncCommand &command, const QString &key)
{
    if (command.keyRefused() && key != NoKey) {
        qCInfo(lcSync) << "account" << m_context.id() << "fetches its folder tree anew";
        ask(NoKey);
        return;
    }
    if (!command.result().ok()) {
        retryOrFail(command.result(), [this, key] { ask(key); });
        return;
    }
    emit progressed(500);
    write(std::make_unique<Store::FolderWriter>(*m_context.db, m_context.id(), command.changes()),
          [this] { emit finished({}, false); });
}

void TreeStep::jobProgressed(int progress)
{
    emit progressed(500 + progress / 2);
}

} // namespace Daemon
