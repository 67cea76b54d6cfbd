// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_SYNCINFOSHMWRITER_H
#define ASCLIENT_SYNCINFOSHMWRITER_H

#include "asclient/syncinfonode.h"

#include <QString>

#include <memory>

/**
 * The one writer of the synchronisation state in shared memory; for the daemon, and for tests.
 *
 * Shows that it lives by a lock on the file that ends with its process. The state is cleared when
 * the writer is made and when it is destroyed.
 */
class SyncInfoShmWriter
{
public:
    /** A writer of this user's state, or of the file `path`. */
    explicit SyncInfoShmWriter(const QString &path = QString());
    ~SyncInfoShmWriter();
    SyncInfoShmWriter(const SyncInfoShmWriter &) = delete;
    SyncInfoShmWriter &operator=(const SyncInfoShmWriter &) = delete;

    /** False when the state could not be opened or another writer holds it; errorString() says. */
    bool isOpen() const;
    QString errorString() const;

    /** Publishes one account's state; false when the table is full or not open. */
    bool publish(const SyncInfoNode &node);

private:
    class Table;
    std::unique_ptr<Table> m_table;
    QString m_error;
};

#endif
