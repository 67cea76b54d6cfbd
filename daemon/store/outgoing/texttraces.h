// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_TEXTTRACES_H
#define DAEMON_STORE_OUTGOING_TEXTTRACES_H

#include <qmailmessage.h>
#include <QSet>

namespace Store {

/** What a message is known by when its own id was replaced: its text's letters, its attachments. */
namespace TextTraces {

/** The letters that the message's text begins with; empty where it has none. */
QString beginning(const QMailMessage &message);

/** Whether the message's text contains such letters, however they are quoted, folded or marked up.
 */
bool contains(const QMailMessage &message, const QString &letters);

/** The names of the attachments that are in the message themselves. */
QSet<QString> attachmentNames(const QMailMessage &message);

} // namespace TextTraces

} // namespace Store

#endif
