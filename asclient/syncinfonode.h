// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_SYNCINFONODE_H
#define ASCLIENT_SYNCINFONODE_H

#include <QtGlobal>

/** What the daemon publishes of one account. The progress is the last numeric field. */
struct SyncInfoNode
{
    /** Value of syncState while a synchronisation of the account runs. */
    static constexpr int SyncRunning = 2;

    qulonglong accountId = 0;
    /** SyncRunning, or 0 when nothing runs. */
    int syncState = 0;
    /** Progress of the running work, 0 to 1000. */
    int progress = 0;
};

#endif
