// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/pushwatch.h"

#include "daemon/backoff.h"
#include "daemon/eas/pingcommand.h"
#include "daemon/logging.h"

#include <QRandomGenerator>

#include <qmailfolder.h>

#include <utility>

namespace Daemon {

namespace {

/** Folders in one request, as long as the server does not say less. */
constexpr int MostFolders = 100;
/** A server that answers so fast, and so often in a row without news, is asked more slowly. */
constexpr int QuickAnswerMs = 1000;
constexpr int MostQuickAnswers = 5;

/** A Ping's status, [MS-ASCMD] 2.2.3.177.11. */
enum PingStatus { HeartbeatOutOfRange = 5, TooManyFolders = 6, FolderSyncRequired = 7 };

/** Nothing but new settings helps; each further attempt could lock the account. */
bool isFinal(int code)
{
    return code == Eas::LoginRefused || code == Eas::BadConfiguration || code == Eas::Forbidden
        || code == Eas::NotActiveSync || code == Eas::PolicyDemanded;
}

} // namespace

PushWatch::PushWatch(const AccountContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_maxFolders(MostFolders)
{
    m_pause.setSingleShot(true);
    connect(&m_pause, &QTimer::timeout, this, &PushWatch::goOn);
}

PushWatch::~PushWatch()
{
    delete m_command;
}

void PushWatch::noteNews()
{
    m_quickAnswers = 0;
}

void PushWatch::resume()
{
    if (m_command || m_pause.isActive())
        return;
    m_givenUp = false;
    wait();
}

void PushWatch::postpone(const Eas::Result &reason)
{
    if (m_givenUp)
        return;
    delete m_command;
    // The server may count as delivered what was lost on its way, and would not tell of it again.
    m_syncFirst = true;
    onError(reason, nullptr);
}

void PushWatch::networkChanged()
{
    if (m_givenUp || (!m_command && !m_pause.isActive()))
        return;
    delete m_command;
    m_failures = 0;
    m_pause.start(0);
}

/** What was held back when the pause began comes before the next wait. */
void PushWatch::goOn()
{
    const QStringList held = std::exchange(m_held, {});
    if (std::exchange(m_syncFirst, false))
        emit syncNeeded();
    else if (!held.isEmpty())
        tell(held);
    else
        wait();
}

void PushWatch::wait()
{
    const QStringList collections = watchedCollections();
    if (collections.isEmpty()) {
        emit syncNeeded();
        return;
    }
    m_command = new Eas::PingCommand(m_context.session, m_heartbeat.seconds(), collections);
    m_command->setParent(this);
    Eas::PingCommand *command = m_command;
    connect(command, &Eas::Command::finished, this, [this, command] { onAnswer(command); });
    m_waiting.start();
    command->start();
}

void PushWatch::onAnswer(Eas::PingCommand *command)
{
    m_command = nullptr;
    command->deleteLater();
    const Eas::Result result = command->result();
    if (!result.ok()) {
        onError(result, command);
        return;
    }
    m_failures = 0;
    const QStringList changed = command->changedFolders();
    m_quickAnswers = m_waiting.elapsed() < QuickAnswerMs ? m_quickAnswers + 1 : 0;
    if (m_quickAnswers > MostQuickAnswers) {
        m_held = changed;
        m_failures = m_quickAnswers - MostQuickAnswers;
        pause(0);
    } else if (changed.isEmpty()) {
        m_heartbeat.carried();
        wait();
    } else {
        tell(changed);
    }
}

void PushWatch::tell(const QStringList &collectionIds)
{
    QStringList folders;
    for (const QString &collectionId : collectionIds) {
        if (const auto state = m_context.db->folder(m_context.id(), collectionId))
            folders.append(QString::number(state->folderId.toULongLong()));
    }
    if (folders.isEmpty())
        emit syncNeeded();
    else
        emit foldersChanged(folders);
}

void PushWatch::onError(const Eas::Result &result, Eas::PingCommand *command)
{
    if (isFinal(result.code)) {
        qCInfo(lcSync) << "account" << m_context.id() << "is not watched any more:" << result.text;
        m_givenUp = true;
        return;
    }
    ++m_failures;
    if (command && result.status == HeartbeatOutOfRange && command->heartbeat() > 0)
        m_heartbeat.bound(command->heartbeat());
    else if (command && result.status == TooManyFolders && command->maxFolders() > 0)
        m_maxFolders = command->maxFolders();
    else if (result.status == FolderSyncRequired && m_failures == 1) {
        emit syncNeeded();
        return;
    } else {
        if (command)
            m_heartbeat.cutAfter(int(m_waiting.elapsed() / 1000));
        pause(result.retryAfter);
        return;
    }
    // The server has said what it takes; a second refusal of the kind is an error like others.
    if (m_failures == 1)
        wait();
    else
        pause(result.retryAfter);
}

void PushWatch::pause(int retryAfter)
{
    const double share = QRandomGenerator::global()->generateDouble();
    m_pause.start(Backoff::pauseMs(m_failures, share, retryAfter));
    qCInfo(lcSync) << "account" << m_context.id() << "is watched again in"
                   << m_pause.interval() / 1000 << "s";
}

/** Those that were synchronised before: of others, the server knows no state to compare with. */
QStringList PushWatch::watchedCollections() const
{
    QStringList collections;
    const auto folders = m_context.db->folders(m_context.id());
    for (const Store::FolderState &folder : folders) {
        if (folder.syncKey == QLatin1String("0") || collections.size() >= m_maxFolders)
            continue;
        if (QMailFolder(folder.folderId).status() & QMailFolder::SynchronizationEnabled)
            collections.append(folder.serverId);
    }
    return collections;
}

} // namespace Daemon
