// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_SYNCINFOSHMREADER_H
#define ASCLIENT_SYNCINFOSHMREADER_H

#include "asclient/syncinfonode.h"

#include <QString>

#include <memory>

/**
 * Read-only view of the synchronisation state that the daemon publishes in shared memory.
 *
 * Never blocks and never sees half of an update. Where there is no state (no daemon, a dead one, a
 * damaged file or one of another version) every account reads as "nothing running, progress 0";
 * the state is picked up when it appears.
 */
class SyncInfoShmReader
{
public:
    /** The process-wide reader of this user's state; created on first use. */
    static SyncInfoShmReader &instance();

    /** A reader of the state in the file `path`. */
    explicit SyncInfoShmReader(const QString &path);
    ~SyncInfoShmReader();
    SyncInfoShmReader(const SyncInfoShmReader &) = delete;
    SyncInfoShmReader &operator=(const SyncInfoShmReader &) = delete;

    /** Fills `node` for the account; false, and a node with zeros, where nothing is published. */
    bool fill(SyncInfoNode &node, qulonglong accountId);

private:
    class Mapping;
    std::unique_ptr<Mapping> m_mapping;
    QString m_path;
};

#endif
