// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_SMALLDISK_H
#define TESTS_SUPPORT_SMALLDISK_H

/**
 * Mounts a small file system on a folder, for this process and those that it starts alone. `size`
 * as in "size=8m". To be called before there is a second thread. False where that is not permitted.
 */
bool mountSmallDisk(const char *path, const char *size);

#endif
