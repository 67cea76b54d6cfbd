// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_SYNCINFOTABLE_H
#define ASCLIENT_SYNCINFOTABLE_H

#include "asclient/syncinfonode.h"

#include <QByteArray>
#include <QString>

#include <atomic>

/**
 * The layout of the synchronisation state's file, and what its reader and its writer share.
 *
 * An account's entry is taken once and never given up while the file lives. All that is published
 * of an account lies in one 64-bit word, so that no reader ever sees half of an update. The writer
 * holds a lock on the whole file (of its open file description); a file without one is a dead
 * writer's.
 */
struct SyncInfoTable
{
    static constexpr quint32 Magic = 0x5359414f;
    static constexpr quint32 Version = 1;
    static constexpr quint32 Capacity = 1023;

    struct Entry
    {
        /** 0 while the entry is free; entries are taken from the front. */
        std::atomic<quint64> accountId;
        /** The sync state in the upper half, the progress in the lower one. */
        std::atomic<quint64> value;
    };

    /** Written last by the writer that makes the file. */
    std::atomic<quint32> magic;
    quint32 version;
    quint32 capacity;
    quint32 reserved;
    Entry entries[Capacity];

    /** The account's entry, or null. */
    const Entry *find(quint64 accountId) const;

    static quint64 packed(const SyncInfoNode &node);
    static void unpack(quint64 value, SyncInfoNode &node);

    /** The file of this user's state; empty where no private folder can be had. */
    static QString defaultPath();
};

static_assert(std::atomic<quint64>::is_always_lock_free && sizeof(std::atomic<quint64>) == 8
                  && sizeof(SyncInfoTable) == 16384,
              "the table is shared between processes as it lies in memory");

/** A regular file of this user that is open, and which file it is. */
class SyncInfoFile
{
public:
    SyncInfoFile() = default;
    ~SyncInfoFile() { close(); }
    SyncInfoFile(const SyncInfoFile &) = delete;
    SyncInfoFile &operator=(const SyncInfoFile &) = delete;

    /** Opens `path` with these flags of open(2); false, with errno, if it is no file of this user.
     */
    bool open(const QByteArray &path, int flags);
    void close();

    bool isOpen() const { return m_fd >= 0; }
    int descriptor() const { return m_fd; }
    /** The size now, in bytes; -1 when not open. */
    qint64 size() const;
    /** True while `path` names this very file. */
    bool isAt(const QByteArray &path) const;
    /** True while a writer holds the file. */
    bool isLocked() const;
    /** Takes the writer's lock without waiting. */
    bool lock();

private:
    int m_fd = -1;
};

#endif
