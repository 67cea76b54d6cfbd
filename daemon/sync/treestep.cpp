// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/treestep.h"

#include "daemon/log/logging.h"
#include "daemon/store/folderwriter.h"
#include "daemon/store/state/accountkeys.h"
#include "eas/foldersynccommand.h"
#include "eas/synckey.h"

namespace Daemon {

void TreeStep::perform()
{
    m_isAnswerMissing = m_context.keys().isTreeAwaited();
    const QString key = m_context.keys().state().folderSyncKey;
    m_isKeyUnknown = key == Eas::FirstKey;
    ask(key);
}

void TreeStep::ask(const QString &key)
{
    if (key != Eas::FirstKey)
        noteAsked();
    auto *command = new Eas::FolderSyncCommand(m_context.session, key);
    run(command, [this, command, key] { onAnswer(*command, key); });
}

/** Notes on disk, before a byte leaves, that an answer is awaited: it may be lost. */
void TreeStep::noteAsked()
{
    if (m_isNoted)
        return;
    m_isNoted = true;
    const Eas::Result noted = m_context.keys().awaitTree();
    if (!noted.ok())
        qCWarning(lcSync) << "account" << m_context.id() << noted.text;
}

void TreeStep::onAnswer(const Eas::FolderSyncCommand &command, const QString &key)
{
    if (command.result().outcome == Eas::Outcome::KeyLost && key != Eas::FirstKey) {
        m_isKeyUnknown = true;
        qCInfo(lcSync) << "account" << m_context.id() << "fetches its folder tree anew";
        ask(Eas::FirstKey);
        return;
    }
    if (!command.result().ok()) {
        onFailure(command, key);
        return;
    }
    const bool isMissing = key != Eas::FirstKey && (m_isAnswerMissing || command.isAnswerLost());
    if (isMissing && command.changes().isEmpty()) {
        qCInfo(lcSync) << "account" << m_context.id()
                       << "fetches its folder tree anew: an answer about it was lost";
        ask(Eas::FirstKey);
        return;
    }
    emit progressed(500);
    write(std::make_unique<Store::FolderWriter>(*m_context.db, m_context.id(), command.changes()),
          [this] { end({}); });
}

void TreeStep::onFailure(const Eas::FolderSyncCommand &command, const QString &key)
{
    m_isAnswerMissing = m_isAnswerMissing || command.isAnswerLost();
    if (m_isNoted && !m_isAnswerMissing) {
        m_isNoted = false;
        const Eas::Result forgotten = m_context.keys().awaitTree(false);
        if (!forgotten.ok())
            qCWarning(lcSync) << "account" << m_context.id() << forgotten.text;
    }
    retryOrFail(command.result(), [this, key] { ask(key); });
}

void TreeStep::jobProgressed(int progress)
{
    emit progressed(500 + progress / 2);
}

} // namespace Daemon
