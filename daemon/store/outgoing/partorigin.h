// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_PARTORIGIN_H
#define DAEMON_STORE_OUTGOING_PARTORIGIN_H

#include "daemon/store/outgoing/references.h"

#include <optional>

namespace Store {

/**
 * Finds out whether a part of a message has its content itself, and where it is otherwise.
 *
 * What a part does not name itself is looked for in the message's account alone, and is taken only
 * where it can be nothing else.
 */
class PartOrigin
{
public:
    explicit PartOrigin(const QMailMessage &message);

    /** Nothing where the part has its content; an invalid message where its origin is not found. */
    std::optional<ContentOrigin> of(const QMailMessagePart &part) const;

private:
    std::optional<ContentOrigin> ofReference(const QMailMessagePart &part) const;
    ContentOrigin ofEmpty(const QMailMessagePart &part) const;
    QMailMessageIdList withAttachments() const;
    std::optional<ContentOrigin> ofEmbedded(const QMailMessagePart &part) const;
    QMailMessageId embedded(const QMailMessage &copy) const;

    const QMailAccountId m_account;
    const QMailMessageId m_guess;    ///< the mail program's, of what the message is about
    const QMailMessageId m_original; ///< the same, where all speaks for it
};

} // namespace Store

#endif
