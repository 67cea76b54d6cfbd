// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/serveruid.h"

namespace Store {

namespace {
const QChar Separator(0x1f);
}

ServerUid::ServerUid(const QMailMessageMetaData &message)
    : ServerUid(message.serverUid())
{
}

ServerUid::ServerUid(const QString &text)
    : m_text(text)
    , m_collectionSize(qMax(0, text.indexOf(Separator)))
{
    if (m_collectionSize == 0)
        return;
    const QString rest = text.mid(m_collectionSize + 1);
    const int separators = rest.count(Separator);
    if (separators == 0 && !rest.isEmpty())
        m_kind = Kind::Item;
    else if (separators == 1 && rest.startsWith(Separator) && rest.size() > 1)
        m_kind = Kind::SearchResult;
    else
        m_kind = Kind::Unnamed;
}

ServerUid ServerUid::item(const Eas::FolderId &collectionId, const QString &itemId)
{
    return ServerUid(collectionId.text() + Separator + itemId);
}

ServerUid ServerUid::searchResult(const Eas::FolderId &collectionId, const QString &longId)
{
    return item(collectionId, Separator + longId);
}

ServerUid ServerUid::unnamed(const Eas::FolderId &collectionId, const QMailMessageId &message)
{
    return searchResult(collectionId, Separator + QString::number(message.toULongLong()));
}

bool ServerUid::isIn(const Eas::FolderId &collectionId) const
{
    return m_kind != Kind::None && this->collectionId() == collectionId;
}

Eas::ItemLocator ServerUid::locator() const
{
    const QString name = m_text.mid(m_text.lastIndexOf(Separator) + 1);
    return {collectionId(), isItem() ? name : QString(),
            m_kind == Kind::SearchResult ? name : QString()};
}

QMailMessageKey ServerUid::likelyIn(const QMailFolderId &folder, const Eas::FolderId &collectionId)
{
    return QMailMessageKey::parentFolderId(folder)
        & QMailMessageKey::serverUid(collectionId.text() + Separator,
                                     QMailDataComparator::Includes);
}

QMailMessageKey ServerUid::key(const QMailAccountId &account, const QList<ServerUid> &uids)
{
    QStringList texts;
    for (const ServerUid &uid : uids)
        texts.append(uid.m_text);
    return texts.isEmpty()
        ? QMailMessageKey::nonMatchingKey()
        : QMailMessageKey::parentAccountId(account) & QMailMessageKey::serverUid(texts);
}

} // namespace Store
