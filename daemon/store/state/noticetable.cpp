// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/noticetable.h"

#include <QStringList>
#include <QVariant>

namespace Store {

namespace {

QString textOf(const QSet<quint64> &subjects)
{
    QStringList numbers;
    for (const quint64 subject : subjects)
        numbers.append(QString::number(subject));
    return numbers.join(QLatin1Char(' '));
}

QSet<quint64> subjectsOf(const QString &text)
{
    QSet<quint64> subjects;
    const QStringList numbers = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString &number : numbers)
        subjects.insert(number.toULongLong());
    return subjects;
}

} // namespace

Notice NoticeTable::find(Notice::Cause cause) const
{
    Notice notice;
    notice.cause = cause;
    const Statement query =
        select(QStringLiteral("SELECT subjects, shown FROM notice WHERE account = ? AND cause = ?"),
               {accountNumber(), int(cause)});
    if (query->next()) {
        notice.subjects = subjectsOf(query->value(0).toString());
        notice.shown = query->value(1).toString();
    }
    return notice;
}

Eas::Result NoticeTable::save(const Notice &notice)
{
    if (notice.subjects.isEmpty())
        return execute(QStringLiteral("DELETE FROM notice WHERE account = ? AND cause = ?"),
                       {accountNumber(), int(notice.cause)});
    return StateTable::save(
        QStringLiteral("INSERT OR REPLACE INTO notice (cause, subjects, shown, account)"
                       " SELECT ?, ?, ?, id FROM account WHERE id = ?"),
        {int(notice.cause), textOf(notice.subjects), notNull(notice.shown), accountNumber()});
}

} // namespace Store
