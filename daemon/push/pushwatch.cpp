// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/push/pushwatch.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/pauses.h"
#include "daemon/pacing/sizes.h"
#include "daemon/store/state/folderkeys.h"
#include "daemon/tasks/workreport.h"
#include "eas/pingcommand.h"
#include "eas/synckey.h"

#include <QDateTime>

#include <utility>

namespace Daemon {

namespace {

/** An answer before this part of the heartbeat, or of a minute, is over comes early; */
constexpr double EarlyShare = 0.8;
/** ... a server that answers early so often in a row, and brings nothing, is asked more slowly. */
constexpr int MaximumEarlyAnswers = 5;
/** So much early news is fetched at once, the rest after pauses. */
constexpr int NewsAtOnce = 12;

} // namespace

PushWatch::PushWatch(const AccountContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_maxFolders(Sizes::WatchedFolders)
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
    m_failure = {};
    emit stateChanged();
    if (m_command || (isPausing && !endsPause()))
        return;
    m_pause.stop();
    m_givenUp = false;
    // What a failed synchronisation has left comes first: this one need not have brought it.
    if (isPausing && m_vainSyncs == 0)
        goOn();
    else
        wait();
}

/** Whether a synchronisation that succeeded ends the pause: it has found folders to watch, or the
 * server works again that had failed, or has news again that had none. */
bool PushWatch::endsPause() const
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
    // The server may take what was lost on its way for delivered, and not tell of it again.
    m_syncFirst = true;
    onError(reason, nullptr);
}

void PushWatch::stop()
{
    delete m_command;
    m_pause.stop();
    m_waitsSince = 0;
    emit stateChanged();
}

void PushWatch::makeWay()
{
    if (m_command && waitedMs() < Pauses::WatchSettling) {
        delete m_command;
        emit stateChanged();
    }
}

void PushWatch::networkChanged()
{
    if (m_givenUp || (!m_command && !m_pause.isActive()))
        return;
    const qint64 now = Alarm::now();
    const bool isSteady = m_networkChanges == 0 || now - m_networkChangedAt > Pauses::SteadyNetwork;
    if (!isSteady && m_pause.isActive() && !m_command)
        return;
    delete m_command;
    m_waitsSince = 0;
    m_networkChangedAt = now;
    m_failures = m_graveFailures = 0;
    m_networkChanges = isSteady ? 1 : m_networkChanges + 1;
    m_isNewsEmpty = false;
    m_pause.start(isSteady ? 0 : Pauses::AfterFailure.pauseMs(m_networkChanges - 1));
    m_pausesUntil = QDateTime::currentSecsSinceEpoch() + m_pause.interval() / 1000;
    emit stateChanged();
}

/** What was held back when the pause began comes before the next wait. */
void PushWatch::goOn()
{
    const QList<Eas::FolderId> held = std::exchange(m_held, {});
    emit stateChanged();
    if (std::exchange(m_syncFirst, false))
        emit syncNeeded();
    else if (!held.isEmpty())
        tell(held);
    else
        wait();
}

void PushWatch::wait()
{
    const QList<Eas::FolderId> all = folders();
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
    if (m_waitsSince == 0)
        m_waitsSince = QDateTime::currentSecsSinceEpoch();
    command->start();
    emit stateChanged();
}

/** No folder can be watched: has the account synchronised, at once and then after pauses. */
void PushWatch::awaitFolders()
{
    if (++m_vainSyncs == 1) {
        emit stateChanged();
        emit syncNeeded();
        return;
    }
    m_syncFirst = true;
    pause(Pauses::AfterFailure.pauseMs(m_vainSyncs - 1));
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
        m_context.report->noteEnd(m_context, {});
    m_failures = m_graveFailures = 0;
    m_failure = {};
    const QList<Eas::FolderId> changed = command->changedFolders();
    if (comesTooEarly(changed)) {
        m_held = changed;
    } else if (changed.isEmpty()) {
        // Where folders take turns, a longer heartbeat would keep the others waiting.
        if (folders().size() <= m_maxFolders)
            m_heartbeat.carried();
        wait();
    } else {
        tell(changed);
        emit stateChanged();
    }
}

/** Whether the server answers early too often; then there is a pause. */
bool PushWatch::comesTooEarly(const QList<Eas::FolderId> &changed)
{
    const int heartbeat = qMin(m_heartbeat.seconds(), int(Heartbeat::Minimum));
    if (waitedMs() >= heartbeat * 1000 * EarlyShare) {
        m_earlyAnswers = 0;
        return false;
    }
    const int untilNews = changed.isEmpty() ? 0 : untilNextNews();
    if (++m_earlyAnswers > MaximumEarlyAnswers) {
        pause(Pauses::AfterFailure.pauseMs(m_earlyAnswers - MaximumEarlyAnswers));
        m_isNewsEmpty = true;
    } else if (untilNews > 0) {
        pause(untilNews);
    }
    return m_pause.isActive();
}

/** Milliseconds until this news may be fetched, which is now unless the server tells of news
 * without end: each uses up Pauses::BetweenNews, NewsAtOnce of them in advance. */
int PushWatch::untilNextNews()
{
    const qint64 now = Alarm::now();
    m_newsUsedUp = qMax(m_newsUsedUp, now) + Pauses::BetweenNews;
    return int(qMax(qint64(0), m_newsUsedUp - now - NewsAtOnce * Pauses::BetweenNews));
}

void PushWatch::tell(const QList<Eas::FolderId> &collectionIds)
{
    QStringList folders;
    for (const Eas::FolderId &collectionId : collectionIds) {
        if (const auto state = m_context.folders().find(collectionId))
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
        m_context.report->noteEnd(m_context, result);
    m_waitsSince = 0;
    // A cancellation says nothing about the server.
    if (result.code != Eas::Cancelled)
        m_failure = result;
    if (Backoff::isFinal(result.code)) {
        qCInfo(lcSync) << "account" << m_context.id() << "is not watched any more:" << result.text;
        m_givenUp = true;
        m_pause.stop();
        emit stateChanged();
        return;
    }
    if (Backoff::isGrave(result.code)) {
        pause(Pauses::AfterGraveFailure.pauseMs(++m_graveFailures, result.retryAfter));
        return;
    }
    const bool isTreeStale = command && result.outcome == Eas::Outcome::TreeStale;
    // After an earlier failure, the tree is fetched after a pause: at once, this could loop for
    // ever.
    m_syncFirst = m_syncFirst || (isTreeStale && m_failures > 0);
    // A bound that the server names is followed at once; after a second refusal there is a pause.
    emit stateChanged();
    if (++m_failures == 1 && isTreeStale)
        emit syncNeeded();
    else if (command && !isTreeStale && adapt(result, command) && m_failures == 1)
        wait();
    else
        pause(Pauses::AfterFailure.pauseMs(m_failures, result.retryAfter));
}

/** Learns from an error how to wait next; whether the server has named the bound itself. */
bool PushWatch::adapt(const Eas::Result &result, const Eas::PingCommand *command)
{
    if (result.outcome == Eas::Outcome::HeartbeatOutOfRange && command->heartbeat() > 0) {
        m_heartbeat.bound(command->heartbeat());
        return true;
    }
    if (result.outcome == Eas::Outcome::TooManyFolders && command->maxFolders() > 0) {
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
    m_pausesUntil = QDateTime::currentSecsSinceEpoch() + milliseconds / 1000;
    emit stateChanged();
    qCInfo(lcSync) << "account" << m_context.id() << "is watched again in" << milliseconds / 1000
                   << "s";
}

/** The folders that can be watched, the most important first; for one that was never synchronised,
 * the server has no state to compare with. */
QList<Eas::FolderId> PushWatch::folders() const
{
    QList<Eas::FolderId> collections;
    for (const Store::FolderState &folder : m_context.folders().enabled()) {
        if (folder.syncKey != Eas::FirstKey)
            collections.append(folder.serverId);
    }
    return collections;
}

} // namespace Daemon
