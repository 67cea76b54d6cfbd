// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_MAILTEXT_H
#define DAEMON_STORE_MAILTEXT_H

#include <QByteArray>
#include <qmailaddress.h>
#include <QString>

namespace Store {

/** Texts from a server, made fit for headers and bodies in the mail store. */
namespace MailText {

constexpr int MaximumHeaderLength = 4096;   ///< characters of a subject or a name
constexpr int MaximumIdLength = 1024;       ///< characters of an id
constexpr int MaximumAddressText = 0x20000; ///< characters of one list of addresses

/** One line without control characters, at most so long; cut between characters. */
QString headerText(const QString &text, int maximum = MaximumHeaderLength);

/** A list of addresses from header text; what cannot be understood is kept as a name. */
QList<QMailAddress> addresses(const QString &text);

/** A header's text for addresses, in ASCII: names in other scripts are all encoded in UTF-8. */
QString encodedAddresses(const QList<QMailAddress> &addresses);

/** A file's name without folders, control characters and odd ends. */
QString fileName(const QString &name);

/** Whether QMF writes the text into a header's parameter, and reads it back, as it is. */
bool isParameter(const QString &text);

/** TYPE/SUBTYPE in lower case, or empty if it is no media type. */
QByteArray mediaType(const QString &text);

/**
 * A text for a body of the store: CR LF line ends, no NUL, at least one line break.
 *
 * An empty single-part text message crashes a mail program that opens it.
 */
QByteArray storableText(const QByteArray &text);

} // namespace MailText

} // namespace Store

#endif
