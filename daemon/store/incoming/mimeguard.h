// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_MIMEGUARD_H
#define DAEMON_STORE_INCOMING_MIMEGUARD_H

#include <QByteArray>

namespace Store {

/** Keeps messages from QMF's parser that would crash it or take it very long. */
namespace MimeGuard {

/**
 * Whether the message has a sensible number of parts, and no multipart has a parameter of a long
 * name.
 *
 * The parser recurses into nested parts until the stack ends, and its time grows with the square of
 * their number: in the daemon, the message server and each mail program that opens the message. A
 * parameter with a name of more than 68 characters it writes into lines for ever, into memory.
 */
bool isHarmless(const QByteArray &message);

} // namespace MimeGuard

} // namespace Store

#endif
