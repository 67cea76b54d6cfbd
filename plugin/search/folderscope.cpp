// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/search/folderscope.h"

#include <qmailstore.h>

namespace {

using FolderSet = QSet<QMailFolderId>;

FolderSet queryFolders(const QMailFolderKey &key)
{
    const QMailFolderIdList ids =
        QMailStore::instance()->queryFolders(key, QMailFolderSortKey(), 0, 0);
    return FolderSet(ids.cbegin(), ids.cend());
}

bool isFolderProperty(QMailMessageKey::Property property)
{
    return property == QMailMessageKey::ParentAccountId
        || property == QMailMessageKey::AncestorFolderIds
        || property == QMailMessageKey::ParentFolderId;
}

/** The folders that an argument on folders or accounts names; an ancestor is not among its
 * descendants. */
FolderSet namedFolders(const QMailMessageKey::ArgumentType &argument)
{
    // Deliberate: the later values of a list are not looked at.
    const QVariant value = argument.valueList.isEmpty() ? QVariant() : argument.valueList.at(0);
    if (argument.property == QMailMessageKey::ParentAccountId)
        return queryFolders(QMailFolderKey::parentAccountId(value.value<QMailAccountId>(),
                                                            QMailDataComparator::Equal));
    const QMailFolderId folder = value.value<QMailFolderId>();
    if (argument.property == QMailMessageKey::AncestorFolderIds)
        return queryFolders(
            QMailFolderKey::ancestorFolderIds(folder, QMailDataComparator::Includes));
    return {folder};
}

void addArgument(const QMailMessageKey::ArgumentType &argument, FolderSet &positive,
                 FolderSet &negative)
{
    if (!isFolderProperty(argument.property))
        return;
    if (argument.op == QMailKey::Equal || argument.op == QMailKey::Includes)
        positive.unite(namedFolders(argument));
    else if (argument.op == QMailKey::NotEqual || argument.op == QMailKey::Excludes)
        negative.unite(namedFolders(argument));
}

void addAlternatives(const QMailMessageKey &key, FolderSet &positive, FolderSet &negative)
{
    for (const QMailMessageKey &subKey : key.subKeys()) {
        const FolderScope scope = folderScopeFromKey(subKey);
        positive.unite(scope.first);
        negative.unite(scope.second);
    }
}

void restrict(const QMailMessageKey &key, FolderSet &positive, FolderSet &negative)
{
    bool seeded = !positive.isEmpty() || !negative.isEmpty();
    for (const QMailMessageKey &subKey : key.subKeys()) {
        const FolderScope scope = folderScopeFromKey(subKey);
        if (scope.first.isEmpty() && scope.second.isEmpty())
            continue;
        if (seeded) {
            // Deliberate for the excluded ones as well: only what every operand excludes stays out.
            positive.intersect(scope.first);
            negative.intersect(scope.second);
        } else {
            positive.unite(scope.first);
            negative.unite(scope.second);
            seeded = true;
        }
    }
}

} // namespace

FolderScope folderScopeFromKey(const QMailMessageKey &key)
{
    FolderScope scope;
    FolderSet &positive = key.isNegated() ? scope.second : scope.first;
    FolderSet &negative = key.isNegated() ? scope.first : scope.second;
    for (const QMailMessageKey::ArgumentType &argument : key.arguments())
        addArgument(argument, positive, negative);
    if (key.combiner() == QMailKey::Or)
        addAlternatives(key, positive, negative);
    else if (key.combiner() == QMailKey::And)
        restrict(key, positive, negative);
    return scope;
}
