// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/foldersync.h"

#include "daemon/bus/logging.h"
#include "daemon/store/windowwriter.h"

namespace Daemon::FolderSync {

namespace {

/** [MS-ASCMD] 2.2.3.177.17, and those common to all commands, 2.2.2. */
enum SyncStatus {
    BadKey = 3,
    ObjectGone = 8,
    TreeChanged = 12,
    StateLost = 132,
    StateDamaged = 134
};

/** What some servers answer, instead of BadKey, to a key that is none of theirs. */
constexpr int HttpNotImplemented = 501;

} // namespace

Eas::FilterType filterOf(const Store::AccountRecord &record)
{
    const int days = record.keepDays;
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

Eas::Result nextWindow(const AccountContext &context, const QString &collectionId, int windowSize,
                       qint64 textBound, Eas::SyncRequest *request)
{
    auto state = context.db->folder(context.id(), collectionId);
    if (!state)
        return {Eas::NotFound, QStringLiteral("the folder is gone")};
    const Eas::FilterType filter = filterOf(context.record);
    request->collectionId = collectionId;
    request->syncKey = state->syncKey;
    request->windowSize = windowSize;
    request->filter = filter;
    request->body.type = Eas::Html;
    request->body.truncation = textBound;
    if (state->filter == int(filter))
        return {};
    state->filter = int(filter);
    return context.db->saveFolder(context.id(), *state);
}

bool isKeyLost(const Eas::Result &result)
{
    return result.status == BadKey || result.status == StateLost || result.status == StateDamaged
        || result.httpStatus == HttpNotImplemented;
}

bool isTreeStale(const Eas::Result &result)
{
    return result.status == TreeChanged || result.status == ObjectGone;
}

Eas::Result beginAnew(const AccountContext &context, const QString &collectionId,
                      const Eas::Result &reason)
{
    qCInfo(lcSync) << "account" << context.id() << "compares folder" << collectionId
                   << "anew with the server:" << reason.text;
    return Store::startReconciling(*context.db, context.id(), collectionId);
}

bool isEmpty(const Eas::SyncWindow &window)
{
    return itemCount(window) == 0;
}

int itemCount(const Eas::SyncWindow &window)
{
    return window.added.size() + window.changed.size() + window.removed.size()
        + window.outOfRange.size();
}

void logWindow(const AccountContext &context, const Eas::SyncWindow &window)
{
    for (const QString &item : window.unreadable)
        qCWarning(lcSync) << "account" << context.id() << "folder" << window.collectionId
                          << "leaves out a message that cannot be read:" << item;
    qCDebug(lcSync) << "account" << context.id() << "folder" << window.collectionId
                    << "window:" << window.added.size() << "new," << window.changed.size()
                    << "changed," << window.removed.size() << "gone"
                    << (window.moreAvailable ? ", more to come" : "");
}

} // namespace Daemon::FolderSync
