// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_PARTFILE_H
#define DAEMON_STORE_OUTGOING_PARTFILE_H

#include <QFile>

#include <memory>

namespace Store {

/**
 * A file of the mail store with the content of a part, decoded, held open.
 *
 * The mail store never writes into such a file again: an edited message gets files of its own.
 */
class PartFile
{
public:
    /** Null where there is no such file. */
    static std::shared_ptr<PartFile> open(const QString &path);

    /** Bytes, when it was opened. */
    qint64 size() const { return m_size; }
    /** As many bytes as are there, at most `size`; -1 after an error. */
    qint64 read(qint64 at, char *data, qint64 size) const;
    /** Whether it is what it was when it was opened, and was not removed since. */
    bool isUnchanged() const;

private:
    explicit PartFile(const QString &path);

    QFile m_file;
    qint64 m_size = 0;
    qint64 m_changed = 0; ///< nanoseconds since 1970
};

} // namespace Store

#endif
