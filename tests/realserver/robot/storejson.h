// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <qmailfolder.h>
#include <qmailmessage.h>

#include <QJsonObject>

namespace Robot {

/** "Parent/Child" of display names, as a person reads it; empty for an invalid id. */
QString folderPath(const QMailFolderId &id);

/** What the mail store says of a folder, its standard role in its account with it. */
QJsonObject folderToJson(const QMailFolderId &id);

/** The header fields and the state of a message; with `content`, its text and its attachments, too
    (digests are of what an attachment decodes to). */
QJsonObject messageToJson(const QMailMessageId &id, bool content);

} // namespace Robot
