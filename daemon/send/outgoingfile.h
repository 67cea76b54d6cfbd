// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_OUTGOINGFILE_H
#define DAEMON_SEND_OUTGOINGFILE_H

#include "daemon/store/outgoing/messageskeleton.h"

#include <QIODevice>
#include <QTemporaryFile>

#include <functional>
#include <memory>

namespace Daemon {

/**
 * A message that is ready to go, in a file that has no name and so ends with the process.
 *
 * Attachments that the mail store has in files are not in it: they are put in, in base64, while it
 * is read. A reader fails before the last byte where one of them is not what it was.
 */
class OutgoingFile
{
public:
    OutgoingFile();
    /** Its readers give no more bytes. */
    ~OutgoingFile();

    /** Open for writing. */
    QIODevice *device() { return &m_file; }
    /** Ends the writing; false where not all of it could be written. */
    bool close(const QList<Store::Insertion> &insertions);
    /** Bytes of the whole message. */
    qint64 size() const;

    /** Called by each reader before its first byte is read; false keeps all of them here. */
    std::function<bool()> mayLeave;
    /** The same before its last byte, which false keeps here. */
    std::function<bool()> mayEnd;
    /** Whether the last byte was read by the last reader. */
    bool hasEnded() const;
    /** Whether a reader has failed over an attachment that is not what it was. */
    bool hasChanged() const;

    /**
     * The message, from its first byte.
     *
     * A second one is for a server that has refused what the first had read.
     */
    std::unique_ptr<QIODevice> reader();

private:
    class Reader;
    struct State;

    QTemporaryFile m_file;
    const std::shared_ptr<State> m_state; ///< readers can live longer than this object
};

} // namespace Daemon

#endif
