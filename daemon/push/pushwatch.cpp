// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/push/pushwatch.h"

#include "daemon/bus/logging.h"
#include "daemon/sync/folderrank.h"
#include "daemon/tasks/backoff.h"
#include "eas/pingcommand.h"

#include <QRandomGenerator>

#include <qmailfolder.h>

#include <algorithm>
#include <utility>

namespace Daemon {

namespace {

/** Folders in one request, as long as the server does not say less. */
constexpr int MaximumFolders = 100;
/** An answer before this part of the heartbeat, or of a minute, is over comes early; */
constexpr double EarlyShare = 0.8;
/** ... a server that answers early so often in a row, and brings nothing, is asked more slowly. */
constexpr int MaximumEarlyAnswers = 5;
/** Early news that is true is fetched so often at once, and then as often as this, in ms. */
constexpr int NewsAtOnce = 12;
constexpr int BetweenNewsMs = 3000;
/** Changes of the network within this are one that comes and goes, in ms. */
constexpr int SteadyNetworkMs = 60 * 1000;

/** After this a busy server, too, has begun to wait, in ms. */
constexpr int SettledMs = 5 * 1000;

/** A Ping's status, [MS-ASCMD] 2.2.3.177.11. */
enum PingStatus { HeartbeatOutOfRange = 5, TooManyFolders = 6, FolderSyncRequired = 7 };

/** Each further attempt could lock the account at the server. */
bool isFinal(int code)
{
    return code == Eas::LoginRefused;
}

double spread()
{
    return QRandomGenerator::global()->generateDouble();
}

} // namespace

PushWatch::PushWatch(const AccountContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_maxFolders(MaximumFolders)
{
    connect(&m_pause, &Alarm::rang, this, &PushWatch::goOn);
}

PushWatch::~PushWatch()
{
    delete m_command;
}

void PushWatch::noteNews()
{
    m_earlyAnswers = 0;
}

void PushWatch::resume()
{
    const bool isPausing = m_pause.isActive();
    if (m_command || (isPausing && !isPauseInVain()))
        return;
    m_pause.stop();
    m_givenUp = false;
    // What a failed synchronisation has left, this one need not have brought.
    if (isPausing && m_vainSyncs == 0)
        goOn();
    else
        wait();
}

/** Whether a synchronisation that succeeded ends the pause: it has found folders to watch, or the
 * server works again that had failed, or has news again that had none. */
bool PushWatch::isPauseInVain() const
{
    const bool hasFailed = m_failures > 0 || m_graveFailures > 0;
    const bool hasNews = m_isNewsEmpty && m_earlyAnswers == 0;
    return (m_vainSyncs > 0 || hasFailed || hasNews) && !folders().isEmpty();
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

void PushWatch::rest()
{
    delete m_command;
    m_pause.stop();
}

void PushWatch::makeWay()
{
    if (m_command && waitedMs() < SettledMs)
        delete m_command;
}

void PushWatch::networkChanged()
{
    if (m_givenUp || (!m_command && !m_pause.isActive()))
        return;
    const qint64 now = Alarm::now();
    const bool isSteady = m_networkChanges == 0 || now - m_networkChangedAt > SteadyNetworkMs;
    if (!isSteady && m_pause.isActive() && !m_command)
        return;
    delete m_command;
    m_networkChangedAt = now;
    m_failures = m_graveFailures = 0;
    m_networkChanges = isSteady ? 1 : m_networkChanges + 1;
    m_isNewsEmpty = false;
    m_pause.start(isSteady ? 0 : Backoff::pauseMs(m_networkChanges - 1, spread(), 0));
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
    const QStringList all = folders();
    if (all.isEmpty()) {
        awaitFolders();
        return;
    }
    m_vainSyncs = 0;
    m_command = new Eas::PingCommand(m_context.session, m_heartbeat.seconds(),
                                     m_turns.next(all, m_maxFolders));
    m_command->setParent(this);
    Eas::PingCommand *command = m_command;
    connect(command, &Eas::Command::finished, this, [this, command] { onAnswer(command); });
    m_waitingSince = Alarm::now();
    command->start();
}

/** A server that has no folders has none right after the next synchronisation either. */
void PushWatch::awaitFolders()
{
    if (++m_vainSyncs == 1) {
        emit syncNeeded();
        return;
    }
    m_syncFirst = true;
    pause(Backoff::pauseMs(m_vainSyncs - 1, spread(), 0));
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
    if (m_failures > 0 || m_graveFailures > 0)
        emit troubled({});
    m_failures = m_graveFailures = 0;
    const QStringList changed = command->changedFolders();
    if (comesTooEarly(changed)) {
        m_held = changed;
    } else if (changed.isEmpty()) {
        // Who waits its turn is not to wait longer.
        if (folders().size() <= m_maxFolders)
            m_heartbeat.carried();
        wait();
    } else {
        tell(changed);
    }
}

/** Whether the server answers early too often; then there is a pause. */
bool PushWatch::comesTooEarly(const QStringList &changed)
{
    const int heartbeat = qMin(m_heartbeat.seconds(), int(Heartbeat::Least));
    if (waitedMs() >= heartbeat * 1000 * EarlyShare) {
        m_earlyAnswers = 0;
        return false;
    }
    const int untilNews = changed.isEmpty() ? 0 : untilNextNews();
    if (++m_earlyAnswers > MaximumEarlyAnswers) {
        pause(Backoff::pauseMs(m_earlyAnswers - MaximumEarlyAnswers, spread(), 0));
        m_isNewsEmpty = true;
    } else if (untilNews > 0) {
        pause(untilNews);
    }
    return m_pause.isActive();
}

/** How long what the server tells of has to wait, in ms: more may come without end. Each news uses
 * up some time; so much may be used up in advance. */
int PushWatch::untilNextNews()
{
    const qint64 now = Alarm::now();
    m_newsUsedUp = qMax(m_newsUsedUp, now) + BetweenNewsMs;
    return int(qMax(qint64(0), m_newsUsedUp - now - NewsAtOnce * BetweenNewsMs));
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
    if (command)
        emit troubled(result);
    if (isFinal(result.code)) {
        qCInfo(lcSync) << "account" << m_context.id() << "is not watched any more:" << result.text;
        m_givenUp = true;
        m_pause.stop();
        return;
    }
    if (Backoff::isGrave(result.code)) {
        pause(Backoff::gravePauseMs(++m_graveFailures, spread(), result.retryAfter));
        return;
    }
    const bool isTreeStale = command && result.status == FolderSyncRequired;
    // Said again, or after another error, the tree is fetched after a pause: to do so at once could
    // go round for ever.
    m_syncFirst = m_syncFirst || (isTreeStale && m_failures > 0);
    // The server has said what it takes; a second refusal of the kind is an error like others.
    if (++m_failures == 1 && isTreeStale)
        emit syncNeeded();
    else if (command && !isTreeStale && adapt(result, command) && m_failures == 1)
        wait();
    else
        pause(Backoff::pauseMs(m_failures, spread(), result.retryAfter));
}

/** Learns from an error what the next wait should be like; whether the server has said so itself.
 */
bool PushWatch::adapt(const Eas::Result &result, const Eas::PingCommand *command)
{
    if (result.status == HeartbeatOutOfRange && command->heartbeat() > 0) {
        m_heartbeat.bound(command->heartbeat());
        return true;
    }
    if (result.status == TooManyFolders && command->maxFolders() > 0) {
        m_maxFolders = command->maxFolders();
        return true;
    }
    m_heartbeat.cutAfter(waitedMs() / 1000);
    return false;
}

void PushWatch::pause(int milliseconds)
{
    m_isNewsEmpty = false;
    m_pause.start(milliseconds);
    qCInfo(lcSync) << "account" << m_context.id() << "is watched again in" << milliseconds / 1000
                   << "s";
}

/** The collections that can be watched, the most important first: of those that were never
 * synchronised, the server knows no state to compare with. */
QStringList PushWatch::folders() const
{
    QList<Store::FolderState> found;
    const auto all = m_context.db->folders(m_context.id());
    for (const Store::FolderState &folder : all) {
        if (folder.syncKey != QLatin1String("0")
            && QMailFolder(folder.folderId).status() & QMailFolder::SynchronizationEnabled)
            found.append(folder);
    }
    std::stable_sort(found.begin(), found.end(), [](const auto &a, const auto &b) {
        return folderRank(a.type) < folderRank(b.type);
    });
    QStringList collections;
    for (const Store::FolderState &folder : qAsConst(found))
        collections.append(folder.serverId);
    return collections;
}

} // namespace Daemon
