// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/folderstep.h"

#include "daemon/bus/logging.h"
#include "daemon/store/windowwriter.h"
#include "daemon/sync/foldersync.h"
#include "daemon/sync/movedcheck.h"
#include "daemon/tasks/alarm.h"
#include "eas/limits.h"

namespace Daemon {

namespace {

/** A server that says "more" and brings nothing, or the same again, is asked this often. */
constexpr int IdleWindows = 5;

/** So many bad answers to one key, with pauses between them, are the key's fault. */
constexpr int MaximumBadAnswers = 3;
constexpr int PausesMs[MaximumBadAnswers - 1] = {2000, 8000};

/** What a server's program says that breaks down over a request. */
constexpr int HttpServerError = 500;
/** From this status on, [MS-ASCMD] 2.2.2, it is not about the folder. */
constexpr int FirstCommonStatus = 101;

/** Whether another key may get a better answer. */
bool isKeySuspect(const Eas::Result &result)
{
    if (result.status >= FirstCommonStatus || result.retryAfter > 0)
        return false;
    const bool isAnswerBad = result.httpStatus == 0 || result.httpStatus == HttpServerError;
    return isAnswerBad && (result.code == Eas::InvalidAnswer || result.code == Eas::ServerFailed);
}

/** How the server has answered for the one folder that it was asked for. */
Eas::Result resultOf(const Eas::SyncCommand &command)
{
    if (!command.result().ok())
        return command.result();
    const int status = command.windows().first().status;
    Eas::Result result = Eas::SyncCommand::statusResult(status);
    result.status = result.ok() ? 0 : status;
    return result;
}

} // namespace

FolderStep::FolderStep(const AccountContext &context, const QString &collectionId, qint64 textBound,
                       QObject *parent)
    : Task(context, parent)
    , m_collectionId(collectionId)
    , m_textBound(textBound)
{
}

void FolderStep::proceed()
{
    ask();
}

void FolderStep::ask()
{
    Eas::SyncRequest request;
    const Eas::Result prepared = FolderSync::nextWindow(
        m_context, m_collectionId, m_windowSize.value(), m_textBound, &request);
    if (!prepared.ok()) {
        finishLater(prepared, prepared.code != Eas::NotFound);
        return;
    }
    m_key = request.syncKey;
    m_asked.start();
    auto *command = new Eas::SyncCommand(m_context.session, {request});
    start(command, [this, command] { onAnswer(*command); });
}

void FolderStep::onAnswer(const Eas::SyncCommand &command)
{
    const Eas::Result result = resultOf(command);
    if (result.ok())
        takeWindow(command.windows().first());
    else if (FolderSync::isKeyLost(result))
        beginAnew(result);
    else if (isKeySuspect(result) && m_key != FolderSync::NoKey && !m_begunAnew && !m_isKeyTrusted)
        onBadAnswer(result);
    else
        retryOrFail(result, [this] { ask(); });
}

void FolderStep::onBadAnswer(const Eas::Result &result)
{
    if (++m_badAnswers == MaximumBadAnswers) {
        tryFromStart(result);
        return;
    }
    qCInfo(lcSync) << "account" << m_context.id() << "asks again for folder" << m_collectionId
                   << "soon:" << result.text;
    Alarm::once(PausesMs[m_badAnswers - 1], this, [this] { ask(); });
}

/** Nothing is given up here before the server has shown that it has a good answer to no key. */
void FolderStep::tryFromStart(const Eas::Result &reason)
{
    Eas::SyncRequest request;
    const Eas::Result prepared = FolderSync::nextWindow(
        m_context, m_collectionId, m_windowSize.value(), m_textBound, &request);
    if (!prepared.ok()) {
        finishLater(prepared, prepared.code != Eas::NotFound);
        return;
    }
    request.syncKey = FolderSync::NoKey;
    auto *command = new Eas::SyncCommand(m_context.session, {request});
    start(command, [this, command, reason] { onStartTried(*command, reason); });
}

void FolderStep::onStartTried(const Eas::SyncCommand &command, const Eas::Result &reason)
{
    if (!resultOf(command).ok() || !command.windows().first().initial) {
        m_hasServerFailed = true;
        emit finished(reason, false);
        return;
    }
    m_begunAnew = true;
    m_named.clear();
    m_key = FolderSync::NoKey;
    const Eas::Result result = FolderSync::beginAnew(m_context, m_collectionId, reason);
    if (result.ok())
        takeWindow(command.windows().first());
    else
        emit finished(result, true);
}

void FolderStep::beginAnew(const Eas::Result &reason)
{
    if (m_begunAnew) {
        emit finished(reason, false);
        return;
    }
    m_begunAnew = true;
    m_named.clear();
    const Eas::Result result = FolderSync::beginAnew(m_context, m_collectionId, reason);
    if (result.ok())
        ask();
    else
        emit finished(result, true);
}

void FolderStep::takeWindow(const Eas::SyncWindow &window)
{
    m_retry.reset();
    m_badAnswers = 0;
    FolderSync::logWindow(m_context, window);
    auto job = std::make_unique<Store::WindowWriter>(*m_context.db, m_context.id(), window);
    const Store::WindowWriter *writer = job.get();
    write(std::move(job), [this, window, writer] {
        m_broughtNews = m_broughtNews || writer->hasChangedFolder();
        windowWritten(window);
    });
}

void FolderStep::windowWritten(const Eas::SyncWindow &window)
{
    m_windowSize.took(FolderSync::itemCount(window), m_asked.elapsed());
    m_progress += (1000 - m_progress) / 4;
    emit progressed(m_progress);
    if ((window.initial || window.moreAvailable) && isLooping(window)) {
        emit finished({Eas::InvalidAnswer, QStringLiteral("the server does not get on")}, false);
    } else if (window.initial) {
        ask();
    } else if (!window.moreAvailable) {
        checkMoved();
    } else {
        emit paused();
    }
}

void FolderStep::checkMoved()
{
    if (m_context.db->moved(m_context.id(), m_collectionId).isEmpty()) {
        emit finished({}, false);
        return;
    }
    auto *check = new MovedCheck(m_context, m_collectionId, this);
    connect(check, &Task::finished, this, &Task::finished);
    check->proceed();
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
