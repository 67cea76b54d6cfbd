// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_OUTGOINGFILE_H
#define DAEMON_SEND_OUTGOINGFILE_H

#include <QIODevice>
#include <QTemporaryFile>

#include <functional>
#include <memory>

namespace Daemon {

/** A message that is ready to go, in a file that has no name and so ends with the process. */
class OutgoingFile
{
public:
    OutgoingFile();

    /** Open for writing. */
    QIODevice *device() { return &m_file; }
    /** Ends the writing; false where not all of it could be written. */
    bool close();
    qint64 size() const { return m_size; }

    /** Called by each reader before its first byte is read; false keeps all of them here. */
    std::function<bool()> mayLeave;
    /** Whether a byte was ever read from here. */
    bool hasBegun() const { return m_begun; }
    /** Whether the last byte was read by the last reader. */
    bool hasEnded() const { return m_ended; }

    /**
     * What the file holds, from its first byte; the file must outlive the device.
     *
     * A second one is for a server that has refused what the first had read.
     */
    std::unique_ptr<QIODevice> reader();

private:
    class Reader;

    QTemporaryFile m_file;
    qint64 m_size = 0;
    bool m_begun = false;
    bool m_ended = false;
};

} // namespace Daemon

#endif
