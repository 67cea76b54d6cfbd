// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/conversationtable.h"

#include <qmailstore.h>
#include <QSet>
#include <QStringList>
#include <QtMath>

namespace Store {

namespace {

/** After so many new conversations, those are forgotten whose threads are gone. */
constexpr qint64 ForgetAfter = 4096;
constexpr int ForgetAtOnce = 500;

QVariant number(quint64 id)
{
    return qint64(id);
}

ConversationRecord recordOf(const QSqlQuery &row)
{
    ConversationRecord record;
    record.digest = row.value(0).toByteArray();
    record.thread = QMailThreadId(row.value(1).toULongLong());
    record.first = QMailMessageId(row.value(2).toULongLong());
    record.last = QMailMessageId(row.value(3).toULongLong());
    record.messages = row.value(4).toInt();
    return record;
}

} // namespace

QList<ConversationRecord> ConversationTable::find(const QList<QByteArray> &digests) const
{
    if (digests.isEmpty())
        return {};
    QStringList marks;
    QVariantList values {accountNumber()};
    // Each length is a statement of its own, which is kept: padded, there are few.
    const int length = int(qNextPowerOfTwo(uint(digests.size() - 1)));
    for (int i = 0; i < length; ++i) {
        marks.append(QStringLiteral("?"));
        values.append(digests.value(i, digests.last()));
    }
    return rows(QStringLiteral("SELECT digest, thread, first, last, messages FROM conversation"
                               " WHERE account = ? AND digest IN (%1)")
                    .arg(marks.join(QLatin1Char(','))),
                values, recordOf);
}

Eas::Result ConversationTable::save(const QList<ConversationRecord> &records)
{
    QList<QVariantList> rows;
    for (const ConversationRecord &record : records)
        rows.append({record.digest, number(record.thread.toULongLong()),
                     number(record.first.toULongLong()), number(record.last.toULongLong()),
                     record.messages, accountNumber()});
    const qint64 before = lastNumber();
    // A row keeps its number, so that the last one tells how many conversations have come.
    const Eas::Result result = together([&] {
        return executeEach(
            QStringLiteral("INSERT INTO conversation"
                           " (digest, thread, first, last, messages, account)"
                           " SELECT ?, ?, ?, ?, ?, id FROM account WHERE id = ?"
                           " ON CONFLICT (account, digest) DO UPDATE SET thread = excluded.thread,"
                           " first = excluded.first, last = excluded.last,"
                           " messages = excluded.messages"),
            rows);
    });
    if (result.ok() && before / ForgetAfter != lastNumber() / ForgetAfter)
        return forgetVanished();
    return result;
}

/** Of all accounts: any of them may be the one whose threads went. */
Eas::Result ConversationTable::forgetVanished()
{
    using Row = QPair<qint64, quint64>;
    QMailStore *store = QMailStore::instance();
    Eas::Result result;
    QList<Row> some;
    do {
        const qint64 after = some.isEmpty() ? 0 : some.last().first;
        some = rows(QStringLiteral("SELECT number, thread FROM conversation WHERE number > ?"
                                   " ORDER BY number LIMIT ?"),
                    {after, ForgetAtOnce}, [](const QSqlQuery &row) {
                        return Row(row.value(0).toLongLong(), row.value(1).toULongLong());
                    });
        QMailThreadIdList threads;
        for (const Row &row : qAsConst(some))
            threads.append(QMailThreadId(row.second));
        QSet<quint64> present;
        for (const QMailThreadId &id : store->queryThreads(QMailThreadKey::id(threads)))
            present.insert(id.toULongLong());
        if (store->lastError() != QMailStore::NoError)
            break; // what cannot be read is not gone
        QList<QVariantList> gone;
        for (const Row &row : qAsConst(some)) {
            if (!present.contains(row.second))
                gone.append({row.first});
        }
        result = together([&] {
            return executeEach(QStringLiteral("DELETE FROM conversation WHERE number = ?"), gone);
        });
    } while (result.ok() && some.size() == ForgetAtOnce);
    return result;
}

qint64 ConversationTable::lastNumber() const
{
    return firstRow(QStringLiteral("SELECT MAX(number) FROM conversation"), {},
                    [](const QSqlQuery &row) { return row.value(0).toLongLong(); })
        .value_or(0);
}

} // namespace Store
