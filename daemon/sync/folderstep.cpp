// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/folderstep.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/alarm.h"
#include "daemon/pacing/pauses.h"
#include "daemon/store/incoming/windowwriter.h"
#include "daemon/store/state/unconfirmedmessages.h"
#include "daemon/sync/foldersync.h"
#include "daemon/sync/movecheck.h"
#include "daemon/tasks/workreport.h"
#include "eas/limits.h"
#include "eas/synckey.h"
#include "translations/text.h"

namespace Daemon {

namespace {

/** A server that says "more" and brings nothing, or the same again, is asked this often. */
constexpr int IdleWindows = 5;

/** Whether another key may get a better answer. */
bool isKeySuspect(const Eas::Result &result)
{
    // A status that all commands share is not about the folder, a busy server's not about the key.
    const bool isBusy = result.retryAfter > 0
        || (result.code == Eas::ServerFailed && result.outcome == Eas::Outcome::TryLater);
    if (result.source == Eas::Source::AllCommands || isBusy)
        return false;
    const bool isAnswerBad =
        result.source != Eas::Source::Http || result.outcome == Eas::Outcome::Broken;
    return isAnswerBad && (result.code == Eas::InvalidAnswer || result.code == Eas::ServerFailed);
}

/** How the server has answered for the one folder that it was asked for. */
Eas::Result resultOf(const Eas::SyncCommand &command)
{
    return command.result().ok() ? command.windows().first().result : command.result();
}

} // namespace

FolderStep::FolderStep(const AccountContext &context, const Eas::FolderId &collectionId,
                       qint64 textBound, QObject *parent)
    : Task(context, parent)
    , m_collectionId(collectionId)
    , m_textBound(textBound)
{
}

void FolderStep::ask()
{
    request(false, [this](const Eas::SyncCommand &command) { onAnswer(command); });
}

/** Asks for the next window, or, `isFromStart`, for the first one by key "0". */
void FolderStep::request(bool isFromStart, const Answered &then)
{
    Eas::SyncRequest request;
    const Eas::Result prepared = FolderSync::nextWindow(
        m_context, m_collectionId, m_windowSize.value(), m_textBound, &request);
    if (!prepared.ok()) {
        end(prepared);
        return;
    }
    if (isFromStart)
        request.syncKey = Eas::FirstKey;
    m_key = request.syncKey;
    m_asked.start();
    auto *command = new Eas::SyncCommand(m_context.session, {request});
    run(command, [command, then] { then(*command); });
}

void FolderStep::onAnswer(const Eas::SyncCommand &command)
{
    const Eas::Result result = resultOf(command);
    if (result.ok())
        takeWindow(command.windows().first());
    else if (FolderSync::isKeyLost(result) && m_isReconciling)
        end(result);
    else if (FolderSync::isKeyLost(result))
        reconcile(result, [this] { ask(); });
    else if (isKeySuspect(result) && m_key != Eas::FirstKey && !m_isReconciling && !m_isKeyTrusted)
        onBadAnswer(result);
    else
        retryOrFail(result, [this] { ask(); });
}

void FolderStep::onBadAnswer(const Eas::Result &result)
{
    if (m_badAnswers == int(std::size(Pauses::BadAnswers))) {
        // The key is given up only if the server has a good answer to key "0".
        request(true, [this, result](const auto &command) { onStartTried(command, result); });
        return;
    }
    qCInfo(lcSync) << "account" << m_context.id() << "asks again for folder" << m_collectionId
                   << "soon:" << result.text;
    Alarm::once(Pauses::BadAnswers[m_badAnswers++], this, [this] { ask(); });
}

void FolderStep::onStartTried(const Eas::SyncCommand &command, const Eas::Result &reason)
{
    if (!resultOf(command).ok() || !command.windows().first().initial) {
        m_hasServerFailed = true;
        end(reason);
        return;
    }
    const Eas::SyncWindow window = command.windows().first();
    reconcile(reason, [this, window] { takeWindow(window); });
}

void FolderStep::reconcile(const Eas::Result &reason, const std::function<void()> &then)
{
    m_isReconciling = true;
    m_named.clear();
    const Eas::Result result = FolderSync::startReconciling(m_context, m_collectionId, reason);
    if (result.ok())
        then();
    else
        end(result);
}

void FolderStep::takeWindow(const Eas::SyncWindow &window)
{
    m_retry.reset();
    m_badAnswers = 0;
    FolderSync::logWindow(m_context, window);
    auto job = std::make_unique<Store::WindowWriter>(*m_context.db, m_context.id(), window);
    const Store::WindowWriter *writer = job.get();
    write(std::move(job), [this, window, writer] {
        if (writer->hasChangedFolder()) {
            m_broughtNews = true;
            m_context.report->tellNews();
        }
        if (writer->startsAnew())
            startAnew();
        else
            windowWritten(window);
    });
}

/** The same items come once more. */
void FolderStep::startAnew()
{
    qCInfo(lcSync) << "account" << m_context.id() << "reconciles folder" << m_collectionId
                   << "from the start: its items have other ids, and deletions of before are left";
    m_named.clear();
    ask();
}

void FolderStep::windowWritten(const Eas::SyncWindow &window)
{
    m_windowSize.adapt(FolderSync::itemCount(window), m_asked.elapsed());
    m_progress += (1000 - m_progress) / 4;
    emit progressed(m_progress);
    if ((window.initial || window.moreAvailable) && isLooping(window))
        end({Eas::InvalidAnswer, FailureText::english("the server does not get on")});
    else if (window.initial)
        ask();
    else if (!window.moreAvailable)
        checkMoves();
    else
        emit paused();
}

void FolderStep::checkMoves()
{
    if (m_context.unconfirmed().acknowledgedMoves(m_collectionId).isEmpty()) {
        end({});
        return;
    }
    run(new MoveCheck(m_context, m_collectionId, this),
        [this](const Eas::Result &result) { end(result); });
}

bool FolderStep::isLooping(const Eas::SyncWindow &window)
{
    m_idleWindows = namesNewItems(window) ? 0 : m_idleWindows + 1;
    return m_idleWindows >= IdleWindows || window.syncKey == m_key
        || m_named.size() > Eas::Limits::FolderItems;
}

bool FolderStep::namesNewItems(const Eas::SyncWindow &window)
{
    constexpr uint Added = 0, Changed = 1, Gone = 2;
    const int before = m_named.size();
    for (const Eas::MailItem &item : window.added)
        m_named.insert(qHash(item.serverId, Added));
    // Somebody may mark thousands as read while they come in.
    for (const Eas::MailItem &item : window.changed)
        m_named.insert(qHash(item.serverId, Changed));
    for (const QString &id : window.removed + window.outOfRange)
        m_named.insert(qHash(id, Gone));
    return m_named.size() > before;
}

void FolderStep::jobProgressed(int progress)
{
    emit progressed(m_progress + (1000 - m_progress) / 4 * progress / 1000);
}

} // namespace Daemon
