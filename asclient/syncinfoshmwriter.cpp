// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/syncinfoshmwriter.h"

#include "asclient/syncinfotable.h"

#include <QFile>

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

/** The file that this writer made and holds. */
class SyncInfoShmWriter::Table
{
public:
    explicit Table(const QByteArray &path)
        : m_path(path)
    {
    }
    ~Table();
    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;

    /** Takes the place at the path with a new, empty table; otherwise says why it cannot. */
    bool open(QString &error);
    bool publish(const SyncInfoNode &node);

private:
    enum Taking { Taken, Refused, Again };
    Taking take(QString &error);
    bool make();

    const QByteArray m_path;
    SyncInfoFile m_file;
    SyncInfoTable *m_table = nullptr;
};

SyncInfoShmWriter::Table::~Table()
{
    if (!m_table)
        return;
    for (SyncInfoTable::Entry &entry : m_table->entries)
        entry.value.store(0, std::memory_order_release);
    munmap(m_table, sizeof(SyncInfoTable));
    if (m_file.isAt(m_path))
        unlink(m_path.constData());
}

bool SyncInfoShmWriter::Table::open(QString &error)
{
    Taking taking = Again;
    // Again after removing what a dead writer left, or when another writer replaced the file
    // meanwhile.
    for (int tries = 0; taking == Again && tries < 100; ++tries)
        taking = take(error);
    return taking == Taken;
}

/** One attempt. Whoever holds the lock of the file at the path is the one writer. */
SyncInfoShmWriter::Table::Taking SyncInfoShmWriter::Table::take(QString &error)
{
    if (!m_file.open(m_path, O_RDWR | O_CREAT)) {
        error = QString::fromLocal8Bit(strerror(errno));
        return Refused;
    }
    if (!m_file.lock()) {
        error = QStringLiteral("another process publishes the synchronisation state");
        return Refused;
    }
    if (!m_file.isAt(m_path))
        return Again;
    if (m_file.size() != 0) {
        // Left by a dead writer, or no table. Not truncated, as a reader may have it mapped.
        unlink(m_path.constData());
        return Again;
    }
    if (make())
        return Taken;
    error = QString::fromLocal8Bit(strerror(errno));
    return Refused;
}

bool SyncInfoShmWriter::Table::make()
{
    // Reserves the space: a full disk is an error here and not a signal at the first write.
    errno = posix_fallocate(m_file.descriptor(), 0, sizeof(SyncInfoTable));
    if (errno != 0)
        return false;
    void *memory = mmap(nullptr, sizeof(SyncInfoTable), PROT_READ | PROT_WRITE, MAP_SHARED,
                        m_file.descriptor(), 0);
    if (memory == MAP_FAILED)
        return false;
    m_table = static_cast<SyncInfoTable *>(memory);
    m_table->version = SyncInfoTable::Version;
    m_table->capacity = SyncInfoTable::Capacity;
    m_table->magic.store(SyncInfoTable::Magic, std::memory_order_release);
    return true;
}

bool SyncInfoShmWriter::Table::publish(const SyncInfoNode &node)
{
    for (SyncInfoTable::Entry &entry : m_table->entries) {
        const quint64 id = entry.accountId.load(std::memory_order_relaxed);
        if (id != 0 && id != node.accountId)
            continue;
        entry.value.store(SyncInfoTable::packed(node), std::memory_order_release);
        entry.accountId.store(node.accountId, std::memory_order_release);
        return true;
    }
    return false;
}

SyncInfoShmWriter::SyncInfoShmWriter(const QString &path)
{
    const QString place = path.isEmpty() ? SyncInfoTable::defaultPath() : path;
    auto table = std::make_unique<Table>(QFile::encodeName(place));
    if (table->open(m_error))
        m_table = std::move(table);
}

SyncInfoShmWriter::~SyncInfoShmWriter() = default;

bool SyncInfoShmWriter::isOpen() const
{
    return m_table != nullptr;
}

QString SyncInfoShmWriter::errorString() const
{
    return m_error;
}

bool SyncInfoShmWriter::publish(const SyncInfoNode &node)
{
    return m_table && node.accountId != 0 && m_table->publish(node);
}
