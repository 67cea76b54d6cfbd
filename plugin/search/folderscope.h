// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SEARCH_FOLDERSCOPE_H
#define PLUGIN_SEARCH_FOLDERSCOPE_H

#include <qmailmessagekey.h>
#include <QPair>
#include <QSet>

/** The folders to include and those to exclude; nothing to include means every folder. */
using FolderScope = QPair<QSet<QMailFolderId>, QSet<QMailFolderId>>;

/**
 * The folders that a key's conditions on folders and accounts name, anywhere in its tree.
 *
 * Of an argument only the first value counts; every other condition is passed over in silence.
 */
FolderScope folderScopeFromKey(const QMailMessageKey &key);

#endif
