// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_FOLDERLITERAL_H
#define TESTS_SUPPORT_FOLDERLITERAL_H

#include "eas/folderid.h"

/** "in"_folder is the folder that the server calls "in". */
inline Eas::FolderId operator""_folder(const char *utf8, size_t size)
{
    return Eas::FolderId(QString::fromUtf8(utf8, int(size)));
}

namespace Eas {

/** What a comparison that fails says of it. */
inline char *toString(const FolderId &id)
{
    return qstrdup(id.text().toUtf8().constData());
}

} // namespace Eas

#endif
