// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/contentcheck.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace Store {

namespace {

/** Parts lie beside the message, in files of their own. */
QDir partsOf(const QMailMessageMetaData &message)
{
    return QDir(message.contentIdentifier() + QStringLiteral("-parts"));
}

} // namespace

bool isContentDamaged(const QMailMessageMetaData &message, qint64 least)
{
    const QFileInfo content(message.contentIdentifier());
    qint64 size = content.size();
    if (!content.exists() || size == 0)
        return true;
    for (const QFileInfo &part : partsOf(message).entryInfoList(QDir::Files))
        size += part.size();
    return size < least;
}

bool isContentLost(const QMailMessageMetaData &message, bool hasParts)
{
    const QDir parts = partsOf(message);
    if (isContentDamaged(message, 1) || (hasParts && !parts.exists()))
        return true;
    const QFileInfoList files = parts.entryInfoList(QDir::Files);
    return std::any_of(files.begin(), files.end(),
                       [](const QFileInfo &file) { return file.size() == 0; });
}

} // namespace Store
