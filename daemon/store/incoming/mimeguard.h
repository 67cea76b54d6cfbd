// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_MIMEGUARD_H
#define DAEMON_STORE_INCOMING_MIMEGUARD_H

#include <QByteArray>

class QMailMessage;
class QMailMessagePart;

namespace Store {

/** Keeps from QMF what in a message would crash its parser, take it very long, or deceive it. */
namespace MimeGuard {

/**
 * Whether QMF gets over the message, in the daemon, the message server and each mail program that
 * opens it. It must have a sensible number of parts and a head of sensible length:
 *
 * - The parser recurses into nested parts until the stack ends, and its time grows with the square
 *   of their number, and with that of the addresses times the number of their lists.
 * - A multipart's parameter with a name of more than 68 characters is broken into lines for ever.
 * - Where a parameter's value (RFC 2231) ends behind "%", it is read beyond its end.
 */
bool isHarmless(const QByteArray &message);

/**
 * Takes out what only this machine's own programs may say in a message: headers that QMF keeps for
 * itself, and files of this machine as the place of a content, which QMF would show, and send when
 * the message is forwarded.
 */
void disarm(QMailMessage *message);
/** The same for one part that has none in it. */
void disarm(QMailMessagePart *part);

} // namespace MimeGuard

} // namespace Store

#endif
