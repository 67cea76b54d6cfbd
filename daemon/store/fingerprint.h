// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_FINGERPRINT_H
#define DAEMON_STORE_FINGERPRINT_H

#include <QByteArray>
#include <qmailmessage.h>
#include <qmailmessagekey.h>

namespace Store {

/** Properties of a message that its fingerprint is made of, and its id. */
const QMailMessageKey::Properties fingerprintProperties = QMailMessageKey::Id
    | QMailMessageKey::ReceptionTimeStamp | QMailMessageKey::Subject | QMailMessageKey::Sender;

/** What tells a message in a folder although the server may give it another id. */
QByteArray fingerprint(const QMailMessageMetaData &message);

} // namespace Store

#endif
