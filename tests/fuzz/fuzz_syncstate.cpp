// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The reader of the synchronisation state on a damaged file. The first byte is what becomes of the
// file: whether a writer holds it, whether it begins with what belongs there, whether it has its
// size; the rest is laid over its beginning.
#include "asclient/syncinfoshmreader.h"
#include "asclient/syncinfotable.h"
#include "tests/fuzz/require.h"

#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

namespace {

enum Option { Held = 1, Headed = 2, Sized = 4, Whole = Held | Headed | Sized };

/** The file with its lock, one for all inputs. */
class StateFile
{
public:
    StateFile()
        : path(directory.filePath(QStringLiteral("sync-state")))
    {
        REQUIRE(m_file.open(path.toLocal8Bit(), O_RDWR | O_CREAT));
    }

    void write(const QByteArray &bytes, int options)
    {
        struct flock lock = {};
        lock.l_type = options & Held ? F_WRLCK : F_UNLCK;
        lock.l_whence = SEEK_SET;
        REQUIRE(fcntl(m_file.descriptor(), F_OFD_SETLK, &lock) == 0);
        REQUIRE(ftruncate(m_file.descriptor(), 0) == 0);
        if (options & Sized)
            REQUIRE(ftruncate(m_file.descriptor(), sizeof(SyncInfoTable)) == 0);
        quint32 header[4] = {SyncInfoTable::Magic, SyncInfoTable::Version, SyncInfoTable::Capacity};
        const bool headed = options & Headed;
        if (headed)
            put(header, sizeof header, 0);
        put(bytes.constData(), size_t(bytes.size()), headed ? sizeof header : 0);
    }

    const QTemporaryDir directory;
    const QString path;

private:
    void put(const void *bytes, size_t size, size_t offset)
    {
        REQUIRE(pwrite(m_file.descriptor(), bytes, size, off_t(offset)) == ssize_t(size));
    }

    SyncInfoFile m_file;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static StateFile file;
    // It reads on from what it has mapped, as the plugin's does.
    static SyncInfoShmReader reader(file.path);
    if (size == 0 || size > sizeof(SyncInfoTable) - 16)
        return 0;
    const int options = data[0] & Whole;
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 1, int(size) - 1);
    file.write(bytes, options);
    SyncInfoShmReader fresh(file.path);
    quint64 ids[] = {1, 7, ~quint64(0), 0};
    memcpy(&ids[3], bytes.constData(), qMin(sizeof ids[3], size_t(bytes.size())));
    for (const quint64 id : ids) {
        SyncInfoNode node;
        const bool found = fresh.fill(node, id);
        REQUIRE(!found || (options & Held));
        REQUIRE(node.accountId == (found ? id : 0));
        REQUIRE(node.progress >= 0 && node.progress <= 1000);
        REQUIRE(found || (node.syncState == 0 && node.progress == 0));
        SyncInfoNode other;
        reader.fill(other, id);
        REQUIRE(other.progress >= 0 && other.progress <= 1000);
    }
    return 0;
}
