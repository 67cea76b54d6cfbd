// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_MARK_H
#define DAEMON_STORE_MARK_H

#include <qmailfolderkey.h>
#include <qmailmessage.h>
#include <qmailmessagekey.h>

namespace Store {

/** A mark that messages or folders of the mail store have or have not, in a custom field of
 * theirs. */
class Mark
{
public:
    explicit Mark(const QString &field)
        : m_field(field)
    {
    }

    template <typename Marked>
    bool isSet(const Marked &one) const
    {
        return !one.customField(m_field).isNull();
    }
    template <typename Marked>
    void set(Marked *one, bool value = true) const
    {
        if (value)
            one->setCustomField(m_field, QStringLiteral("1"));
        else if (isSet(*one))
            one->removeCustomField(m_field);
    }
    void clear(QMailMessageMetaData *message) const { set(message, false); }
    const QString &field() const { return m_field; }
    /** The messages that have it. */
    QMailMessageKey key() const { return QMailMessageKey::customField(m_field); }
    /** The folders that have it. */
    QMailFolderKey folderKey() const { return QMailFolderKey::customField(m_field); }

private:
    const QString m_field;
};

/**
 * A search has brought the message, and no synchronisation has shown it since.
 *
 * It may lie further back than its folder is synchronised: a synchronisation that does not show it
 * says nothing about it. The first one that shows it takes the mark away.
 */
inline const Mark FoundMark {QStringLiteral("orvmail-found")};

/**
 * The server calls the message otherwise than when its content came: what it called the attachments
 * then may be another message's now. Of a folder: that, or one above it, has had another name or
 * place, by which the server may have called the attachments of what came before.
 */
inline const Mark RenamedMark {QStringLiteral("orvmail-renamed")};

/**
 * The message's follow-up flag is known to have neither dates nor a reminder at the server.
 *
 * The mail store keeps none of these: a flag that has some, or of which it is not known, would lose
 * them if it was set again from here.
 */
inline const Mark BareFlagMark {QStringLiteral("orvmail-bare-flag")};

} // namespace Store

#endif
