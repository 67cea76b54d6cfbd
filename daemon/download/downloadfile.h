// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_DOWNLOAD_DOWNLOADFILE_H
#define DAEMON_DOWNLOAD_DOWNLOADFILE_H

#include "daemon/download/temporaryfile.h"
#include "eas/result.h"

namespace Daemon {

/** Where a download goes before the mail store takes it: a file of its own, gone with the object.
 */
class DownloadFile
{
public:
    DownloadFile();

    /** Makes the file; NoRoom where that cannot be. */
    Eas::Result open();
    /** Writing to it fails before the disk is full. */
    QIODevice *device() { return &m_file; }
    /** Writes all of it to the disk; NoRoom where it does not fit. */
    Eas::Result finish();
    /** After finish(); the file may be moved away, and is then not removed. */
    QString path() const { return m_path; }

    /** Removes what a daemon that was killed left behind. */
    static void removeLeftovers();

private:
    TemporaryFile m_file;
    QString m_path;
};

} // namespace Daemon

#endif
