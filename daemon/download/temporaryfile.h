// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_DOWNLOAD_TEMPORARYFILE_H
#define DAEMON_DOWNLOAD_TEMPORARYFILE_H

#include <QTemporaryFile>

namespace Daemon {

/**
 * A temporary file in the mail store's folder that fails before the disk is full.
 *
 * What a server sends must not take the room that the mail store needs for its next write.
 */
class TemporaryFile : public QTemporaryFile
{
public:
    using QTemporaryFile::QTemporaryFile;

protected:
    qint64 writeData(const char *bytes, qint64 length) override;

private:
    qint64 m_allowed = 0; ///< bytes until the disk is looked at again
};

} // namespace Daemon

#endif
