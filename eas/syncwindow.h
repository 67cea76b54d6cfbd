// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_SYNCWINDOW_H
#define EAS_SYNCWINDOW_H

#include "eas/folderid.h"
#include "eas/mailitem.h"
#include "eas/result.h"

#include <QList>
#include <QMap>
#include <QStringList>

namespace Eas {

/** What the server says to a local change of an item. */
enum class ItemAnswer { Taken, Gone, Refused };

/** One folder's share of an answer to Sync, [MS-ASCMD] 2.2.1.21: a window of changes. */
struct SyncWindow
{
    FolderId collectionId;
    /** The key to send next time; meaningless unless `result` is a success. */
    QString syncKey;
    /** How the server has answered for this folder. */
    Result result;
    /** Nothing at all changed: the answer was empty. The key stays as it was. */
    bool unchanged = false;
    /** The answer to key "0", which never brings items: ask again with the new key. */
    bool initial = false;
    bool moreAvailable = false;
    QList<MailItem> added;
    QList<MailItem> changed;
    /** Gone from the folder at the server. */
    QStringList removed;
    /** Still at the server, but older than what was asked for. */
    QStringList outOfRange;
    /** The answer to each local change or deletion that the server did not simply accept. */
    QMap<QString, ItemAnswer> refused;
    /** What was left out because it could not be understood: server ids (where known) and why, for
     * the log. */
    QStringList unreadable;
};

} // namespace Eas

#endif
