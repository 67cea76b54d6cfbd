// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_STOREDPARTS_H
#define DAEMON_STORE_OUTGOING_STOREDPARTS_H

#include "daemon/store/outgoing/partfile.h"

#include <QByteArray>
#include <QHash>
#include <qmailmessage.h>

namespace Store {

/**
 * Attachments that go in base64 and that the mail store has in files of their own, so that they
 * need not be composed before the message leaves.
 *
 * Each is taken out of the message, and a short token, by which its file is found, is its body
 * instead. So it is the same one wherever the message's parts are moved to afterwards.
 */
class StoredParts
{
public:
    StoredParts() = default;
    /** Takes them out of a message as it is in the store. */
    explicit StoredParts(QMailMessage *message);

    /** Where the body is one of the tokens: the file whose content stands there, else null. */
    std::shared_ptr<PartFile> fileOf(const QMailMessageBody &body) const;

private:
    void takeOut(const QString &folder, QMailMessagePartContainer *container);
    void takeOut(const QString &folder, QMailMessagePart *part);

    QHash<QByteArray, std::shared_ptr<PartFile>> m_files; ///< by their tokens
};

} // namespace Store

#endif
