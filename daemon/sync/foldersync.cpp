// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/foldersync.h"

#include "daemon/log/logging.h"
#include "daemon/store/incoming/reconciliation.h"
#include "daemon/store/state/folderkeys.h"
#include "translations/text.h"

namespace Daemon::FolderSync {

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

int daysShown(const Store::AccountRecord &record)
{
    switch (filterOf(record)) {
    case Eas::FilterType::Everything:
        break;
    case Eas::FilterType::OneDay:
        return 1;
    case Eas::FilterType::ThreeDays:
        return 3;
    case Eas::FilterType::OneWeek:
        return 7;
    case Eas::FilterType::TwoWeeks:
        return 14;
    case Eas::FilterType::OneMonth:
        return 28; // a February's
    }
    return 0;
}

Eas::Result nextWindow(const AccountContext &context, const Eas::FolderId &collectionId,
                       int windowSize, qint64 textBound, Eas::SyncRequest *request)
{
    auto state = context.folders().find(collectionId);
    if (!state)
        return {Eas::NotFound, FailureText::english("the folder is gone")};
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
    return context.folders().save(*state);
}

bool isKeyLost(const Eas::Result &result)
{
    // Some servers answer a key that is none of theirs by HTTP.
    return result.outcome == Eas::Outcome::KeyLost
        || result.outcome == Eas::Outcome::NotImplemented;
}

Eas::Result startReconciling(const AccountContext &context, const Eas::FolderId &collectionId,
                             const Eas::Result &reason)
{
    qCInfo(lcSync) << "account" << context.id() << "reconciles folder" << collectionId
                   << "with the server:" << reason.text;
    return Store::startReconciling(*context.db, context.id(), collectionId);
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
