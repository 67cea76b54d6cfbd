// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/syncinfoshmreader.h"

#include "asclient/syncinfotable.h"

#include <QFile>

#include <fcntl.h>
#include <sys/mman.h>

/** The state's file in memory, mapped again when another file takes its place. */
class SyncInfoShmReader::Mapping
{
public:
    explicit Mapping(const QByteArray &path)
        : m_path(path)
    {
    }
    ~Mapping() { unmap(); }
    Mapping(const Mapping &) = delete;
    Mapping &operator=(const Mapping &) = delete;

    /** The table of a living writer, or null; valid until the next call. */
    const SyncInfoTable *table();

private:
    bool isCurrent() const;
    bool map();
    void unmap();

    const QByteArray m_path;
    SyncInfoFile m_file;
    const SyncInfoTable *m_table = nullptr;
};

const SyncInfoTable *SyncInfoShmReader::Mapping::table()
{
    if (!isCurrent()) {
        unmap();
        if (!map()) {
            unmap();
            return nullptr;
        }
    }
    return m_file.isLocked() ? m_table : nullptr;
}

bool SyncInfoShmReader::Mapping::isCurrent() const
{
    // The size again: an access beyond the end of the file would be a SIGBUS.
    return m_table && m_file.isAt(m_path) && m_file.size() == qint64(sizeof(SyncInfoTable));
}

bool SyncInfoShmReader::Mapping::map()
{
    if (!m_file.open(m_path, O_RDONLY) || m_file.size() != qint64(sizeof(SyncInfoTable)))
        return false;
    void *memory =
        mmap(nullptr, sizeof(SyncInfoTable), PROT_READ, MAP_SHARED, m_file.descriptor(), 0);
    if (memory == MAP_FAILED)
        return false;
    m_table = static_cast<const SyncInfoTable *>(memory);
    return m_table->magic.load(std::memory_order_acquire) == SyncInfoTable::Magic
        && m_table->version == SyncInfoTable::Version
        && m_table->capacity == SyncInfoTable::Capacity;
}

void SyncInfoShmReader::Mapping::unmap()
{
    if (m_table)
        munmap(const_cast<SyncInfoTable *>(m_table), sizeof(SyncInfoTable));
    m_table = nullptr;
    m_file.close();
}

SyncInfoShmReader &SyncInfoShmReader::instance()
{
    static SyncInfoShmReader reader(SyncInfoTable::defaultPath());
    return reader;
}

SyncInfoShmReader::SyncInfoShmReader(const QString &path)
    : m_mapping(std::make_unique<Mapping>(QFile::encodeName(path)))
{
}

SyncInfoShmReader::~SyncInfoShmReader() = default;

bool SyncInfoShmReader::fill(SyncInfoNode &node, qulonglong accountId)
{
    node = SyncInfoNode();
    const SyncInfoTable *table = accountId ? m_mapping->table() : nullptr;
    const SyncInfoTable::Entry *entry = table ? table->find(accountId) : nullptr;
    if (!entry)
        return false;
    node.accountId = accountId;
    SyncInfoTable::unpack(entry->value.load(std::memory_order_acquire), node);
    return true;
}
