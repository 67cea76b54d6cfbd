// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/narrowing.h"

#include "daemon/store/mark.h"

#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <optional>

namespace Store {

namespace {

using Message = QMailMessageMetaData;

/** With more of them, to name each costs more than to look at all messages. */
constexpr int MaximumNamed = 200;

QString has(quint64 flags)
{
    return QStringLiteral("(status & %1) <> 0").arg(flags);
}

QString hasNone(quint64 flags)
{
    return QStringLiteral("(status & %1) = 0").arg(flags);
}

QString differ(quint64 ours, quint64 theirs)
{
    return QStringLiteral("(%1) <> (%2)").arg(has(ours), has(theirs));
}

/** The rows of the index where its column is `value`, or all of them; nothing where they are many,
 * or the index is not there. */
std::optional<QMailMessageIdList> few(const Narrowing::Index &index,
                                      const QVariant &value = QVariant())
{
    // By the store's own connection. SQLite refuses to answer without the index, or by one of that
    // name whose condition is another.
    QSqlQuery query(QMail::createDatabase());
    const QString which =
        value.isValid() ? QStringLiteral("%1 = ? AND ").arg(index.column) : QString();
    const QString sql = QStringLiteral("SELECT id FROM %1 INDEXED BY %2 WHERE %3(%4) LIMIT %5")
                            .arg(index.table, index.name, which, index.condition)
                            .arg(MaximumNamed + 1);
    query.setForwardOnly(true);
    if (!query.prepare(sql))
        return std::nullopt;
    if (value.isValid())
        query.addBindValue(value);
    if (!query.exec())
        return std::nullopt;
    QMailMessageIdList ids;
    while (query.next())
        ids.append(QMailMessageId(query.value(0).toULongLong()));
    // An answer that an error has ended counts as none.
    if (query.lastError().isValid() || ids.size() > MaximumNamed)
        return std::nullopt;
    return ids;
}

/** These alone, and of them what the key matches. */
QMailMessageKey named(const QMailMessageIdList &ids, const QMailMessageKey &key)
{
    return ids.isEmpty() ? QMailMessageKey::nonMatchingKey() : QMailMessageKey::id(ids) & key;
}

} // namespace

/**
 * What LocalChanges, Moves and Outbox ask the mail store for, at least. A status of NULL matches
 * nothing, as in the store's own statements.
 */
Narrowing::Index Narrowing::unsettledIndex()
{
    // The flags' values are those of this store, known once it is open.
    QMailStore::instance();
    const quint64 settled =
        Message::Outbox | Message::Draft | Message::Trash | Message::Removed | Message::Temporary;
    const QStringList conditions = {
        QStringLiteral("previousparentfolderid <> 0"),
        differ(Message::Read, Message::ReadElsewhere),
        differ(Message::Important, Message::ImportantElsewhere),
        has(Message::Outbox),
        QStringLiteral("(%1 AND %2 AND (serveruid IS NULL OR serveruid = ''))")
            .arg(has(Message::Outgoing), hasNone(settled)),
    };
    return {QStringLiteral("orvmail_unsettled_message"), QStringLiteral("mailmessages"),
            QStringLiteral("parentaccountid"), conditions.join(QStringLiteral(" OR "))};
}

Narrowing::Index Narrowing::foundIndex()
{
    return {QStringLiteral("orvmail_found_message"), QStringLiteral("mailmessagecustom"),
            QStringLiteral("id"), QStringLiteral("name = '%1'").arg(FoundMark.field())};
}

QMailMessageKey Narrowing::unsettled(const QMailAccountId &account, const QMailMessageKey &key)
{
    const auto ids = few(unsettledIndex(), account.toULongLong());
    return ids ? named(*ids, key) : key;
}

QMailMessageMetaDataList Narrowing::unsettled(const QMailAccountId &account,
                                              const QMailMessageKey &key,
                                              const QMailMessageKey::Properties &properties)
{
    const QMailMessageKey narrowed = unsettled(account, key);
    return narrowed.isNonMatching()
        ? QMailMessageMetaDataList()
        : QMailStore::instance()->messagesMetaData(narrowed, properties);
}

QMailMessageKey Narrowing::found(const QMailMessageKey &among)
{
    const auto ids = few(foundIndex());
    return ids ? named(*ids, among) : among & FoundMark.key();
}

} // namespace Store
