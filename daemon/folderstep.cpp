// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/folderstep.h"

#include "daemon/logging.h"
#include "daemon/store/windowwriter.h"

namespace Daemon {

namespace {

/** A collection's status, [MS-ASCMD] 2.2.3.177.17, and those common to all commands, 2.2.2. */
enum SyncStatus {
    Ok = 1,
    BadKey = 3,
    ObjectGone = 8,
    TreeChanged = 12,
    StateLost = 132,
    StateDamaged = 134
};

/** A server that says "more" and brings nothing is asked this often. */
constexpr int EmptyWindows = 5;

bool isEmpty(const Eas::SyncWindow &window)
{
    return window.added.isEmpty() && window.changed.isEmpty() && window.removed.isEmpty()
        && window.outOfRange.isEmpty();
}

bool isKeyLost(int status)
{
    return status == BadKey || status == StateLost || status == StateDamaged;
}

} // namespace

FolderStep::FolderStep(const AccountContext &context, const QString &collectionId, QObject *parent)
    : SyncStep(context, parent)
    , m_collectionId(collectionId)
{
}

bool FolderStep::isTreeStale(const Eas::Result &result)
{
    return result.status == TreeChanged || result.status == ObjectGone;
}

void FolderStep::proceed()
{
    ask();
}

void FolderStep::ask()
{
    auto state = m_context.db->folder(m_context.id(), m_collectionId);
    if (!state) {
        finishLater({Eas::NotFound, QStringLiteral("the folder is gone")});
        return;
    }
    if (state->filter != int(filter())) {
        state->filter = int(filter());
        const Eas::Result saved = m_context.db->saveFolder(m_context.id(), *state);
        if (!saved.ok()) {
            finishLater(saved, true);
            return;
        }
    }
    Eas::SyncRequest request;
    request.collectionId = m_collectionId;
    request.syncKey = m_key = state->syncKey;
    request.windowSize = WindowSize;
    request.filter = filter();
    request.body.type = Eas::Html;
    request.body.truncation = TextBound;
    auto *command = new Eas::SyncCommand(m_context.session, {request});
    start(command, [this, command] { onAnswer(*command); });
}

Eas::FilterType FolderStep::filter() const
{
    const int days = m_context.record.keepDays;
    if (days <= 0 || days > 31)
        return Eas::FilterType::Everything;
    if (days <= 1)
        return Eas::FilterType::OneDay;
    if (days <= 3)
        return Eas::FilterType::ThreeDays;
    if (days <= 7)
        return Eas::FilterType::OneWeek;
    return days <= 14 ? Eas::FilterType::TwoWeeks : Eas::FilterType::OneMonth;
}

void FolderStep::onAnswer(const Eas::SyncCommand &command)
{
    Eas::Result result = command.result();
    if (result.ok()) {
        const Eas::SyncWindow &window = command.windows().first();
        if (window.status == Ok) {
            takeWindow(window);
            return;
        }
        result = Eas::SyncCommand::statusResult(window.status);
        result.status = window.status;
    }
    if (isKeyLost(result.status))
        beginAnew(result);
    else
        retryOrFail(result, [this] { ask(); });
}

void FolderStep::beginAnew(const Eas::Result &reason)
{
    if (m_begunAnew) {
        emit finished(reason, false);
        return;
    }
    m_begunAnew = true;
    qCInfo(lcSync) << "account" << m_context.id() << "compares folder" << m_collectionId
                   << "anew with the server:" << reason.text;
    const Eas::Result result =
        Store::startReconciling(*m_context.db, m_context.id(), m_collectionId);
    if (result.ok())
        ask();
    else
        emit finished(result, true);
}

void FolderStep::takeWindow(const Eas::SyncWindow &window)
{
    m_retry.reset();
    for (const QString &item : window.unreadable)
        qCWarning(lcSync) << "account" << m_context.id() << "folder" << m_collectionId
                          << "leaves out a message that cannot be read:" << item;
    qCDebug(lcSync) << "account" << m_context.id() << "folder" << m_collectionId
                    << "window:" << window.added.size() << "new," << window.changed.size()
                    << "changed," << window.removed.size() << "gone"
                    << (window.moreAvailable ? ", more to come" : "");
    auto job = std::make_unique<Store::WindowWriter>(*m_context.db, m_context.id(), window);
    write(std::move(job), [this, window] { windowWritten(window); });
}

void FolderStep::windowWritten(const Eas::SyncWindow &window)
{
    m_progress += (1000 - m_progress) / 4;
    emit progressed(m_progress);
    if (window.initial) {
        ask();
    } else if (!window.moreAvailable) {
        emit finished({}, false);
    } else if (isLooping(window)) {
        emit finished({Eas::InvalidAnswer, QStringLiteral("the server does not get on")}, false);
    } else {
        emit paused();
    }
}

bool FolderStep::isLooping(const Eas::SyncWindow &window)
{
    m_emptyWindows = isEmpty(window) ? m_emptyWindows + 1 : 0;
    return m_emptyWindows >= EmptyWindows || window.syncKey == m_key;
}

void FolderStep::jobProgressed(int progress)
{
    emit progressed(m_progress + (1000 - m_progress) / 4 * progress / 1000);
}

} // namespace Daemon
