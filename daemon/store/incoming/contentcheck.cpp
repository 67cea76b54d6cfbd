// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/contentcheck.h"

#include <QDir>
#include <QFileInfo>

namespace Store {

bool isContentDamaged(const QMailMessageMetaData &message, qint64 least)
{
    const QFileInfo content(message.contentIdentifier());
    qint64 size = content.size();
    if (!content.exists() || size == 0)
        return true;
    // Parts lie beside the message, in files of their own.
    const QDir parts(content.filePath() + QStringLiteral("-parts"));
    for (const QFileInfo &part : parts.entryInfoList(QDir::Files))
        size += part.size();
    return size < least;
}

} // namespace Store
