// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_TRANSFERENCODING_H
#define DAEMON_STORE_OUTGOING_TRANSFERENCODING_H

#include "eas/result.h"

#include <qmailmessage.h>

namespace Store {

/** Brings messages into a form that every server passes on unchanged (RFC 5322, RFC 2045). */
namespace TransferEncoding {

/** For a folder of files that are needed while a message is written; on the mail store's disk. */
QString scratchTemplate();

/**
 * Encodes every body that is not 7-bit text in short lines; what is signed stays byte for byte.
 *
 * The bodies are then read from files in the folder `scratch`.
 */
Eas::Result makeSafe(QMailMessage *message, const QString &scratch);

} // namespace TransferEncoding

} // namespace Store

#endif
