// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_FINGERPRINT_H
#define DAEMON_STORE_FINGERPRINT_H

#include <QByteArray>
#include <qmailmessage.h>
#include <qmailmessagekey.h>

namespace Store {

/** Properties of a message that its fingerprint is made of, and its id. */
const QMailMessageKey::Properties FingerprintProperties = QMailMessageKey::Id
    | QMailMessageKey::ReceptionTimeStamp | QMailMessageKey::Subject | QMailMessageKey::Sender;

/**
 * By which a message of a folder is recognised when the server gives it another id.
 *
 * Stored in the state database while a folder is reconciled: a fingerprint that is made in another
 * way matches nothing there.
 */
QByteArray fingerprint(const QMailMessageMetaData &message);

} // namespace Store

#endif
