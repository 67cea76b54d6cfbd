// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PACING_SIZES_H
#define DAEMON_PACING_SIZES_H

#include "daemon/pacing/adaptivesize.h"

/** How much is done at once. What goes beyond goes with the next request or step. */
namespace Daemon::Sizes {

/**
 * Items that a window is asked for, so that fetching and writing it takes about a second: it is not
 * interrupted, and a person who wants a message meanwhile waits.
 */
constexpr AdaptiveSize::Range Window {50, 5, 200, 1000};
/**
 * Messages that the mail store is given in one step. Each step is made durable by itself, which
 * costs as much as many messages do; while it lasts, no other program can write to the store.
 */
constexpr AdaptiveSize::Range Writing {50, 4, 200, 150};

/** Folders that are asked for in one request, most of which bring nothing, */
constexpr int BatchFolders = 20;
/** ... and items of all of them together. */
constexpr int BatchItems = 200;
/** Local changes in one request. */
constexpr int UploadChanges = 1000;
/** Messages whose moves are checked after one synchronisation of their folder. */
constexpr int CheckedMoves = 20;
/** Folders that are watched in one request, as long as the server does not say less. */
constexpr int WatchedFolders = 100;
/** Results that a search is asked for in one request. */
constexpr int SearchPage = 100;

} // namespace Daemon::Sizes

#endif
