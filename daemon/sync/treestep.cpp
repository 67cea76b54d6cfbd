// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/treestep.h"

#include "daemon/bus/logging.h"
#include "daemon/store/folderwriter.h"
#include "eas/foldersynccommand.h"

namespace Daemon {

namespace {
const QString NoKey = QStringLiteral("0");
}

TreeStep::TreeStep(const AccountContext &context, QObject *parent)
    : Task(context, parent)
{
}

void TreeStep::proceed()
{
    m_isAnswerMissing = m_context.db->isTreeAwaited(m_context.id());
    const QString key = m_context.db->account(m_context.id()).folderSyncKey;
    m_wasForgotten = key == NoKey;
    ask(key);
}

void TreeStep::ask(const QString &key)
{
    if (key != NoKey)
        noteAsked();
    auto *command = new Eas::FolderSyncCommand(m_context.session, key);
    start(command, [this, command, key] { onAnswer(*command, key); });
}

/** Before the first byte leaves: what the server has carried out must never be unknown here. */
void TreeStep::noteAsked()
{
    if (m_isNoted)
        return;
    m_isNoted = true;
    const Eas::Result noted = m_context.db->awaitTree(m_context.id());
    if (!noted.ok())
        qCWarning(lcSync) << "account" << m_context.id() << noted.text;
}

void TreeStep::onAnswer(const Eas::FolderSyncCommand &command, const QString &key)
{
    if (command.keyRefused() && key != NoKey) {
        m_wasForgotten = true;
        qCInfo(lcSync) << "account" << m_context.id() << "fetches its folder tree anew";
        ask(NoKey);
        return;
    }
    if (!command.result().ok()) {
        onFailure(command, key);
        return;
    }
    const bool isMissing = key != NoKey && (m_isAnswerMissing || command.isAnswerLost());
    if (isMissing && command.changes().isEmpty()) {
        qCInfo(lcSync) << "account" << m_context.id()
                       << "fetches its folder tree anew: an answer about it was lost";
        ask(NoKey);
        return;
    }
    emit progressed(500);
    write(std::make_unique<Store::FolderWriter>(*m_context.db, m_context.id(), command.changes()),
          [this] { emit finished({}, false); });
}

void TreeStep::onFailure(const Eas::FolderSyncCommand &command, const QString &key)
{
    m_isAnswerMissing = m_isAnswerMissing || command.isAnswerLost();
    if (m_isNoted && !m_isAnswerMissing) {
        m_isNoted = false;
        const Eas::Result forgotten = m_context.db->awaitTree(m_context.id(), false);
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
