// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/search/searchcriteria.h"

#include <QDebug>

#include <algorithm>

namespace {

SearchCriteria textCriteria(const QMailMessageKey::ArgumentType &argument, const QVariant &value,
                            int field)
{
    if (argument.op != QMailKey::Includes) {
        qWarning() << "Unsupported comparer" << int(argument.op) << "for property "
                   << int(argument.property);
        return {};
    }
    SearchCriteria criteria;
    const QString text = value.toString();
    if (!text.isEmpty()) {
        criteria.text = text;
        criteria.textField = field;
    }
    return criteria;
}

/** The inclusive comparisons are widened by a second: the server's bounds are exclusive. */
SearchCriteria timeCriteria(QMailKey::Comparator comparator, const QDateTime &time)
{
    switch (comparator) {
    case QMailKey::LessThan:
        return {QDateTime(), time};
    case QMailKey::LessThanEqual:
        return {QDateTime(), time.addSecs(1)};
    case QMailKey::GreaterThan:
        return {time, QDateTime()};
    case QMailKey::GreaterThanEqual:
        return {time.addSecs(-1), QDateTime()};
    case QMailKey::Equal:
        return {time.addSecs(-1), time.addSecs(1)};
    default:
        return {};
    }
}

SearchCriteria criteriaFromArgument(const QMailMessageKey::ArgumentType &argument)
{
    const QVariant value = argument.valueList.isEmpty() ? QVariant() : argument.valueList.at(0);
    switch (argument.property) {
    case QMailMessageKey::Recipients:
        return textCriteria(argument, value, 1);
    case QMailMessageKey::Sender:
        return textCriteria(argument, value, 2);
    case QMailMessageKey::Subject:
        return textCriteria(argument, value, 3);
    case QMailMessageKey::Preview:
        return textCriteria(argument, value, 4);
    case QMailMessageKey::ReceptionTimeStamp:
        return timeCriteria(argument.op, value.toDateTime());
    case QMailMessageKey::ParentFolderId:
    case QMailMessageKey::ParentAccountId:
    case QMailMessageKey::AncestorFolderIds:
        return {};
    default:
        qWarning() << "Property" << int(argument.property) << "still not handled for search.";
        return {};
    }
}

/** Of two bounds that are both valid, `other` wins when the choice says so. */
template <typename Choice>
void foldBound(QDateTime &bound, const QDateTime &other, Choice prefersOther)
{
    if (!bound.isValid() || (other.isValid() && prefersOther(other, bound)))
        bound = other;
}

void fold(SearchCriteria &result, const SearchCriteria &next, QMailKey::Combiner combiner)
{
    const auto later = [](const QDateTime &a, const QDateTime &b) { return a >= b; };
    const auto earlier = [](const QDateTime &a, const QDateTime &b) { return a <= b; };
    if (combiner == QMailKey::And) {
        foldBound(result.interval.start, next.interval.start, later);
        foldBound(result.interval.end, next.interval.end, earlier);
    } else {
        // Deliberate: a bound that is open in one operand is not open in the result.
        foldBound(result.interval.start, next.interval.start, earlier);
        foldBound(result.interval.end, next.interval.end, later);
    }
    if (!next.text.isEmpty() && result.textField < next.textField) {
        result.text = next.text;
        result.textField = next.textField;
    }
}

} // namespace

SearchCriteria::SearchCriteria(const QDateTime &start, const QDateTime &end)
    : interval {start, end}
{
}

bool SearchCriteria::isEmpty() const
{
    return !interval.start.isValid() && !interval.end.isValid() && textField < 0;
}

SearchCriteria criteriaFromKey(const QMailMessageKey &key)
{
    // Deliberate: a negated condition is searched as if it were not.
    QList<SearchCriteria> found;
    for (const QMailMessageKey::ArgumentType &argument : key.arguments())
        found.append(criteriaFromArgument(argument));
    for (const QMailMessageKey &subKey : key.subKeys())
        found.append(criteriaFromKey(subKey));
    found.erase(std::remove_if(found.begin(), found.end(),
                               [](const SearchCriteria &criteria) { return criteria.isEmpty(); }),
                found.end());
    return combineCriteria(found, key.combiner());
}

SearchCriteria combineCriteria(const QList<SearchCriteria> &criteria, QMailKey::Combiner combiner)
{
    if (criteria.isEmpty())
        return {};
    switch (combiner) {
    case QMailKey::And:
    case QMailKey::Or: {
        SearchCriteria result = criteria.first();
        for (int i = 1; i < criteria.count(); ++i)
            fold(result, criteria.at(i), combiner);
        return result;
    }
    case QMailKey::None:
        if (criteria.count() == 1)
            return criteria.first();
        qWarning() << "Attempting to combine more than thing, without a combiner?";
        return {};
    }
    qWarning() << "Unable to combine with an unknown combiner:" << int(combiner);
    return {};
}
