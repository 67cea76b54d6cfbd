// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_FOLDERSYNC_H
#define DAEMON_SYNC_FOLDERSYNC_H

#include "daemon/tasks/accountcontext.h"
#include "eas/synccommand.h"

namespace Daemon {

/** What all steps that synchronise folders agree on. */
namespace FolderSync {

/** Bytes of a text that are brought without being asked for. */
constexpr qint64 TextBound = 64 * 1024;
/** The same where headers and a preview suffice. */
constexpr qint64 PreviewBound = 4 * 1024;

/** How far back the account's messages are wanted. */
Eas::FilterType filterOf(const Store::AccountRecord &record);
/** For how many days a server shows messages at least; 0: for ever. */
int daysShown(const Store::AccountRecord &record);

/**
 * Asks for the folder's next window, with so many bytes of each text; remembers the filter.
 * NotFound when the folder is not here.
 */
Eas::Result nextWindow(const AccountContext &context, const Eas::FolderId &collectionId,
                       int windowSize, qint64 textBound, Eas::SyncRequest *request);

/** How many items a window has, gone ones included. */
int itemCount(const Eas::SyncWindow &window);

/** The server does not know the folder's key any more. */
bool isKeyLost(const Eas::Result &result);

/** Has the folder reconciled with what the server has. */
Eas::Result startReconciling(const AccountContext &context, const Eas::FolderId &collectionId,
                             const Eas::Result &reason);

/** Tells the log what a window brings, and what was left out of it. */
void logWindow(const AccountContext &context, const Eas::SyncWindow &window);

} // namespace FolderSync

} // namespace Daemon

#endif
