// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_SERVERUID_H
#define DAEMON_STORE_SERVERUID_H

#include "eas/itemlocator.h"

#include <QList>
#include <qmailmessage.h>
#include <qmailmessagekey.h>

namespace Store {

/**
 * A message's place at the server, and the one reader and writer of the mail store's text of it.
 *
 * The mail store wants the text unique within the account, and the protocol's item ids are unique
 * within their collection alone. So it holds both, joined by the unit separator US (U+001F), which
 * the server's ids cannot contain: they are XML text.
 *
 *     Kind          text                         the message
 *     None          empty, or without US         was never at the server, as a draft
 *     Item          COLLECTION US ITEM           is an item of a folder
 *     SearchResult  COLLECTION US US LONGID      was found by a search that told no item id
 *     Unnamed       COLLECTION US US US NUMBER   lies in a folder under an id that is not known:
 *                                                its move is pending, the server calls its folder
 *                                                otherwise, or shows another message under its id
 *                                                (displaced); NUMBER is its own in the mail store
 *
 * Only what the server itself has said is ever read as one of its ids.
 */
class ServerUid
{
public:
    enum class Kind { None, Item, SearchResult, Unnamed };

    ServerUid() = default;
    explicit ServerUid(const QMailMessageMetaData &message);
    static ServerUid item(const Eas::FolderId &collectionId, const QString &itemId);
    static ServerUid searchResult(const Eas::FolderId &collectionId, const QString &longId);
    static ServerUid unnamed(const Eas::FolderId &collectionId, const QMailMessageId &message);

    Kind kind() const { return m_kind; }
    bool isItem() const { return m_kind == Kind::Item; }
    /** Whether the server can be asked for the message. */
    bool isKnownThere() const { return isItem() || m_kind == Kind::SearchResult; }
    /** Whether the mail store has no text at all. */
    bool isEmpty() const { return m_text.isEmpty(); }

    /** Empty of None alone. */
    Eas::FolderId collectionId() const { return Eas::FolderId(m_text.left(m_collectionSize)); }
    bool isIn(const Eas::FolderId &collectionId) const;
    /** Empty of all but an Item. */
    QString itemId() const { return locator().serverId; }
    Eas::ItemLocator locator() const;

    void assignTo(QMailMessageMetaData *message) const { message->setServerUid(m_text); }
    /** The account's messages that are at one of these places. */
    static QMailMessageKey key(const QMailAccountId &account, const QList<ServerUid> &uids);
    /** Those of a folder of the mail store that are in the folder at the server, and some that are
     * in folders whose ids end alike. */
    static QMailMessageKey likelyIn(const QMailFolderId &folder, const Eas::FolderId &collectionId);

    bool operator==(const ServerUid &other) const { return m_text == other.m_text; }
    friend uint qHash(const ServerUid &uid, uint seed = 0) { return qHash(uid.m_text, seed); }

private:
    friend class RemovalRecords;

    explicit ServerUid(const QString &text);

    QString m_text;
    Kind m_kind = Kind::None;
    int m_collectionSize = 0;
};

} // namespace Store

#endif
