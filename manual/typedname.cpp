// SPDX-License-Identifier: LGPL-2.1-or-later
#include "manual/typedname.h"

#include <algorithm>

namespace Manual {

namespace {

bool isPlain(QChar character)
{
    return character.isLetterOrNumber() || QLatin1String("_@%+:,./-").contains(character);
}

/** What stands for itself within single quotes, and within a sentence that has the command in
 * double ones. */
bool isQuotable(QChar character)
{
    return character.isPrint() && character != QLatin1Char('\'') && character != QLatin1Char('"');
}

} // namespace

QString typedName(const QString &name, quint64 accountId)
{
    const bool isOption = name.startsWith(QLatin1Char('-'));
    if (name.isEmpty() || isOption || !std::all_of(name.begin(), name.end(), isQuotable))
        return QString::number(accountId);
    return std::all_of(name.begin(), name.end(), isPlain) ? name : QStringLiteral("'%1'").arg(name);
}

} // namespace Manual
