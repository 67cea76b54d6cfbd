// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef STORE_PARTORIGIN_H
#define STORE_PARTORIGIN_H

#include "daemon/store/references.h"

#include <optional>

namespace Store {

/** Finds out whether a part of a message has its content itself, and where it is otherwise. */
class PartOrigin
{
public:
    explicit PartOrigin(const QMailMessage &message);

    /** Nothing where the part has its content; an invalid message where nobody knows of it. */
    std::optional<ContentOrigin> of(const QMailMessagePart &part) const;

private:
    std::optional<ContentOrigin> ofReference(const QMailMessagePart &part) const;
    std::optional<ContentOrigin> ofEmpty(const QMailMessagePart &part) const;
    std::optional<ContentOrigin> ofEmbedded(const QMailMessagePart &part) const;
    QMailMessageId embedded(const QMailMessage &copy) const;

    const QMailAccountId m_account;
    const QMailMessageId m_original; ///< what the message is about, as far as is known
};

} // namespace Store

#endif
