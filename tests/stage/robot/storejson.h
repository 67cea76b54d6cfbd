// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STAGE_ROBOT_STOREJSON_H
#define TESTS_STAGE_ROBOT_STOREJSON_H

#include <QJsonObject>
#include <qmailfolder.h>
#include <qmailmessage.h>

namespace Robot {

/** What the message server marks a message with that it has tried to send often enough. */
const QString GivenUpField = QStringLiteral("dontSend");

/** "Parent/Child" of display names, as a person reads it; empty for an invalid id. */
QString folderPath(const QMailFolderId &id);

/** What the mail store says of a folder, its standard role in its account with it. */
QJsonObject folderToJson(const QMailFolderId &id);

/** The header fields and the state of a message; with `content`, its text and its attachments, too
    (digests are of what an attachment decodes to). */
QJsonObject messageToJson(const QMailMessage &message, bool content);

} // namespace Robot

#endif
