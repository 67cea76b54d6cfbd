// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/search/folderscope.h"
#include "tests/plugin/keytree.h"
#include "tests/plugin/logrecorder.h"
#include "tests/support/chance.h"
#include "tests/support/storefixture.h"

#include <qmailstore.h>
#include <QTest>

#include <algorithm>
#include <map>
#include <set>

namespace {

using Key = QMailMessageKey;
using Ids = std::set<quint64>;

struct Scope
{
    Ids include;
    Ids exclude;
    bool operator==(const Scope &other) const
    {
        return include == other.include && exclude == other.exclude;
    }
};

QString text(const Ids &ids)
{
    QStringList list;
    for (const quint64 id : ids)
        list += QString::number(id);
    return QLatin1Char('{') + list.join(QLatin1Char(',')) + QLatin1Char('}');
}

QString text(const Scope &scope)
{
    return text(scope.include) + QLatin1Char('-') + text(scope.exclude);
}

Scope scopeOf(const Key &key)
{
    const FolderScope found = folderScopeFromKey(key);
    Scope scope;
    for (const QMailFolderId &id : found.first)
        scope.include.insert(id.toULongLong());
    for (const QMailFolderId &id : found.second)
        scope.exclude.insert(id.toULongLong());
    return scope;
}

Ids intersection(const Ids &a, const Ids &b)
{
    Ids both;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::inserter(both, both.end()));
    return both;
}

/** The tree on one line, for a failing test's message. */
QString text(const KeyTree &tree)
{
    QStringList parts;
    for (const KeyTree::Argument &argument : tree.arguments) {
        QStringList values;
        for (const QVariant &value : argument.values)
            values += QStringLiteral("%1%2")
                          .arg(QLatin1String(value.typeName() ? value.typeName() : ""))
                          .arg(value.canConvert<QMailFolderId>()
                                   ? value.value<QMailFolderId>().toULongLong()
                                   : value.value<QMailAccountId>().toULongLong());
        parts += QStringLiteral("%1 op%2 [%3]")
                     .arg(argument.property)
                     .arg(argument.comparator)
                     .arg(values.join(QLatin1Char(' ')));
    }
    for (const KeyTree &subKey : tree.subKeys)
        parts += text(subKey);
    return QStringLiteral("%1%2(%3)")
        .arg(tree.negated ? QStringLiteral("~") : QString())
        .arg(tree.combiner)
        .arg(parts.join(QStringLiteral(", ")));
}

KeyTree condition(int property, int comparator, const QVariantList &values)
{
    KeyTree tree;
    tree.arguments += {property, comparator, values};
    return tree;
}

KeyTree combined(int combiner, const QList<KeyTree> &subKeys)
{
    KeyTree tree;
    tree.combiner = combiner;
    tree.subKeys = subKeys;
    return tree;
}

QVariant value(const QMailFolderId &id)
{
    return QVariant::fromValue(id);
}

QVariant value(const QMailAccountId &id)
{
    return QVariant::fromValue(id);
}

} // namespace

/**
 * Two accounts: A with top (child (grandchild)), other; B with foreign (foreignChild).
 */
class TestFolderScope : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void noConditionOnFoldersYieldsTwoEmptySets();
    void aParentFolderIsIncludedAndNegatedExcluded();
    void aParentFolderNotEqualIsExcludedAndNegatedIncluded();
    void ancestorsYieldTheDescendantsAlone();
    void anAncestorWithoutSubfoldersYieldsAnEmptyIncludeSet();
    void ofAListOfAccountsOnlyTheFirstCounts();
    void anotherAccountYieldsThatAccountsFolders();
    void orOfTwoFoldersYieldsBoth();
    void andOfTwoFolderOperandsYieldsTheirIntersection();
    void andPassesOverOperandsWithoutAFolder();
    void andWithOwnArgumentsIntersects();
    void andIntersectsTheExcludedFolders();
    void anUnknownCombinerLooksAtNoSubKey();
    void anUnsupportedComparisonIsIgnoredWithoutAMessage();
    void aNegationSwapsWhatTheSubKeysContribute();
    void aValueOfAnotherTypeIsAnInvalidId();
    void randomTreesAgreeWithTheRules();

private:
    Ids foldersOf(quint64 account) const;
    Ids descendantsOf(quint64 folder) const;
    Ids named(const KeyTree::Argument &argument) const;
    Scope rules(const KeyTree &tree) const;

    QMailAccountId m_a;
    QMailAccountId m_b;
    QMailFolderId m_top;
    QMailFolderId m_child;
    QMailFolderId m_grandchild;
    QMailFolderId m_other;
    QMailFolderId m_foreign;
    QMailFolderId m_foreignChild;
    std::map<quint64, quint64> m_parents;
    std::map<quint64, quint64> m_accounts;
};

void TestFolderScope::initTestCase()
{
    const auto add = [](const QMailAccountId &account, const char *name,
                        const QMailFolderId &parent = QMailFolderId()) {
        return StoreFixture::addFolder(account, QString::fromLatin1(name),
                                       QMailFolder::StandardFolder(0), parent);
    };
    m_a = StoreFixture::addAccount();
    StoreFixture::Account other;
    other.name = QStringLiteral("Other");
    m_b = StoreFixture::addAccount(other);
    m_top = add(m_a, "top");
    m_child = add(m_a, "child", m_top);
    m_grandchild = add(m_a, "grandchild", m_child);
    m_other = add(m_a, "other");
    m_foreign = add(m_b, "foreign");
    m_foreignChild = add(m_b, "foreign child", m_foreign);
    // All that the store has, its own folder of no account as well.
    for (const QMailFolderId &id : QMailStore::instance()->queryFolders()) {
        const QMailFolder folder(id);
        m_parents[id.toULongLong()] = folder.parentFolderId().toULongLong();
        m_accounts[id.toULongLong()] = folder.parentAccountId().toULongLong();
    }
}

void TestFolderScope::cleanupTestCase()
{
    StoreFixture::clear();
}

void TestFolderScope::noConditionOnFoldersYieldsTwoEmptySets()
{
    const Key key = Key::subject(QStringLiteral("abc"), QMailDataComparator::Includes)
        & Key::status(QMailMessageMetaData::Read);
    QCOMPARE(text(scopeOf(key)), QStringLiteral("{}-{}"));
    QCOMPARE(text(scopeOf(Key())), QStringLiteral("{}-{}"));
    QCOMPARE(text(scopeOf(~Key())), QStringLiteral("{}-{}"));
}

void TestFolderScope::aParentFolderIsIncludedAndNegatedExcluded()
{
    const Ids top {m_top.toULongLong()};
    QCOMPARE(text(scopeOf(Key::parentFolderId(m_top))), text(Scope {top, {}}));
    QCOMPARE(text(scopeOf(~Key::parentFolderId(m_top))), text(Scope {{}, top}));
    QCOMPARE(text(scopeOf(Key::parentFolderId(QMailFolderIdList {m_top, m_other}))),
             text(Scope {top, {}}));
}

void TestFolderScope::aParentFolderNotEqualIsExcludedAndNegatedIncluded()
{
    const Ids top {m_top.toULongLong()};
    const Key notTop = Key::parentFolderId(m_top, QMailDataComparator::NotEqual);
    QCOMPARE(text(scopeOf(notTop)), text(Scope {{}, top}));
    QCOMPARE(text(scopeOf(~notTop)), text(Scope {top, {}}));
    QCOMPARE(text(scopeOf(Key::parentFolderId(QMailFolderIdList {m_top, m_other},
                                              QMailDataComparator::Excludes))),
             text(Scope {{}, top}));
}

void TestFolderScope::ancestorsYieldTheDescendantsAlone()
{
    const Ids below {m_child.toULongLong(), m_grandchild.toULongLong()};
    QCOMPARE(text(scopeOf(Key::ancestorFolderIds(m_top))), text(Scope {below, {}}));
    QCOMPARE(text(scopeOf(Key::ancestorFolderIds(m_top, QMailDataComparator::Excludes))),
             text(Scope {{}, below}));
}

void TestFolderScope::anAncestorWithoutSubfoldersYieldsAnEmptyIncludeSet()
{
    QCOMPARE(text(scopeOf(Key::ancestorFolderIds(m_other))), QStringLiteral("{}-{}"));
}

void TestFolderScope::ofAListOfAccountsOnlyTheFirstCounts()
{
    const Key key = Key::parentAccountId(QMailAccountIdList {m_a, m_b});
    QCOMPARE(text(scopeOf(key)), text(Scope {foldersOf(m_a.toULongLong()), {}}));
}

void TestFolderScope::anotherAccountYieldsThatAccountsFolders()
{
    const Ids foreign {m_foreign.toULongLong(), m_foreignChild.toULongLong()};
    QCOMPARE(text(scopeOf(Key::parentAccountId(m_b))), text(Scope {foreign, {}}));
    QCOMPARE(text(scopeOf(Key::parentAccountId(m_b, QMailDataComparator::NotEqual))),
             text(Scope {{}, foreign}));
}

void TestFolderScope::orOfTwoFoldersYieldsBoth()
{
    const Scope both {{m_top.toULongLong(), m_other.toULongLong()}, {}};
    QCOMPARE(text(scopeOf(Key::parentFolderId(m_top) | Key::parentFolderId(m_other))), text(both));
    const KeyTree tree =
        combined(QMailKey::Or,
                 {condition(Key::ParentFolderId, QMailKey::Equal, {value(m_top)}),
                  condition(Key::ParentFolderId, QMailKey::Equal, {value(m_other)})});
    QCOMPARE(text(scopeOf(tree.toKey())), text(both));
}

void TestFolderScope::andOfTwoFolderOperandsYieldsTheirIntersection()
{
    const auto folder = [](const QMailFolderId &id) {
        return condition(Key::ParentFolderId, QMailKey::Equal, {value(id)});
    };
    QCOMPARE(text(scopeOf(combined(QMailKey::And, {folder(m_top), folder(m_other)}).toKey())),
             QStringLiteral("{}-{}"));
    QCOMPARE(text(scopeOf(combined(QMailKey::And, {folder(m_top), folder(m_top)}).toKey())),
             text(Scope {{m_top.toULongLong()}, {}}));
}

void TestFolderScope::andPassesOverOperandsWithoutAFolder()
{
    const KeyTree tree =
        combined(QMailKey::And,
                 {condition(Key::Subject, QMailKey::Includes, {QStringLiteral("abc")}),
                  condition(Key::ParentFolderId, QMailKey::Equal, {value(m_top)}),
                  condition(Key::Subject, QMailKey::Includes, {QStringLiteral("def")})});
    QCOMPARE(text(scopeOf(tree.toKey())), text(Scope {{m_top.toULongLong()}, {}}));
}

void TestFolderScope::andWithOwnArgumentsIntersects()
{
    KeyTree tree = combined(QMailKey::And,
                            {condition(Key::ParentFolderId, QMailKey::Equal, {value(m_other)})});
    tree.arguments += {Key::ParentAccountId, QMailKey::Equal, {value(m_a)}};
    QCOMPARE(text(scopeOf(tree.toKey())), text(Scope {{m_other.toULongLong()}, {}}));
}

void TestFolderScope::andIntersectsTheExcludedFolders()
{
    const auto without = [](const QMailFolderId &id) {
        return condition(Key::ParentFolderId, QMailKey::NotEqual, {value(id)});
    };
    QCOMPARE(text(scopeOf(combined(QMailKey::And, {without(m_top), without(m_other)}).toKey())),
             QStringLiteral("{}-{}"));
    QCOMPARE(text(scopeOf(combined(QMailKey::And, {without(m_top), without(m_top)}).toKey())),
             text(Scope {{}, {m_top.toULongLong()}}));
}

void TestFolderScope::anUnknownCombinerLooksAtNoSubKey()
{
    for (const int combiner : {0, 3}) {
        KeyTree tree =
            combined(combiner, {condition(Key::ParentFolderId, QMailKey::Equal, {value(m_top)})});
        QCOMPARE(text(scopeOf(tree.toKey())), QStringLiteral("{}-{}"));
    }
}

void TestFolderScope::anUnsupportedComparisonIsIgnoredWithoutAMessage()
{
    LogRecorder log;
    for (const int comparator :
         {int(QMailKey::LessThan), int(QMailKey::LessThanEqual), int(QMailKey::GreaterThan),
          int(QMailKey::GreaterThanEqual), int(QMailKey::Present), int(QMailKey::Absent), 15}) {
        const KeyTree tree = condition(Key::ParentFolderId, comparator, {value(m_top)});
        QCOMPARE(text(scopeOf(tree.toKey())), QStringLiteral("{}-{}"));
    }
    QCOMPARE(log.takeWarnings(), QStringList());
    QCOMPARE(log.takeLines(), QStringList());
}

void TestFolderScope::aNegationSwapsWhatTheSubKeysContribute()
{
    KeyTree tree = combined(QMailKey::Or,
                            {condition(Key::ParentFolderId, QMailKey::Equal, {value(m_top)}),
                             condition(Key::ParentFolderId, QMailKey::NotEqual, {value(m_other)})});
    tree.negated = true;
    QCOMPARE(text(scopeOf(tree.toKey())),
             text(Scope {{m_other.toULongLong()}, {m_top.toULongLong()}}));
}

void TestFolderScope::aValueOfAnotherTypeIsAnInvalidId()
{
    for (const QVariantList &values :
         {QVariantList {}, QVariantList {QStringLiteral("x")}, QVariantList {QVariant()}}) {
        const KeyTree tree = condition(Key::ParentFolderId, QMailKey::Equal, values);
        QCOMPARE(text(scopeOf(tree.toKey())), QStringLiteral("{0}-{}"));
    }
}

Ids TestFolderScope::foldersOf(quint64 account) const
{
    Ids ids;
    for (const auto &[folder, owner] : m_accounts) {
        if (owner == account)
            ids.insert(folder);
    }
    return ids;
}

Ids TestFolderScope::descendantsOf(quint64 folder) const
{
    Ids ids;
    for (const auto &[id, parent] : m_parents) {
        for (quint64 above = parent; above != 0; above = m_parents.at(above)) {
            if (above == folder)
                ids.insert(id);
        }
    }
    return ids;
}

Ids TestFolderScope::named(const KeyTree::Argument &argument) const
{
    const QVariant first = argument.values.value(0);
    if (argument.property == Key::ParentAccountId)
        return foldersOf(first.value<QMailAccountId>().toULongLong());
    const quint64 folder = first.value<QMailFolderId>().toULongLong();
    return argument.property == Key::AncestorFolderIds ? descendantsOf(folder) : Ids {folder};
}

/** The rules, said once more on the plain tree: what it states, turned round at the end if negated.
 */
Scope TestFolderScope::rules(const KeyTree &tree) const
{
    const Ids properties {Key::ParentAccountId, Key::AncestorFolderIds, Key::ParentFolderId};
    Ids inside;
    Ids outside;
    for (const KeyTree::Argument &argument : tree.arguments) {
        if (properties.count(argument.property) == 0)
            continue;
        const bool names = argument.comparator == 4 || argument.comparator == 6;
        const bool bans = argument.comparator == 5 || argument.comparator == 7;
        const Ids folders = names || bans ? named(argument) : Ids();
        (bans ? outside : inside).insert(folders.begin(), folders.end());
    }
    bool anySoFar = !inside.empty() || !outside.empty();
    for (const KeyTree &subKey : tree.subKeys) {
        const Scope scope = rules(subKey);
        if (tree.combiner == 2 || (tree.combiner == 1 && !anySoFar)) {
            inside.insert(scope.include.begin(), scope.include.end());
            outside.insert(scope.exclude.begin(), scope.exclude.end());
        } else if (tree.combiner == 1 && !(scope.include.empty() && scope.exclude.empty())) {
            inside = intersection(inside, scope.include);
            outside = intersection(outside, scope.exclude);
        }
        anySoFar = anySoFar || !scope.include.empty() || !scope.exclude.empty();
    }
    return tree.negated ? Scope {outside, inside} : Scope {inside, outside};
}

void TestFolderScope::randomTreesAgreeWithTheRules()
{
    QRandomGenerator generator(testSeed());
    const QVariantList folders {
        value(m_top),     value(m_child),        value(m_grandchild),    value(m_other),
        value(m_foreign), value(m_foreignChild), value(QMailFolderId()), value(QMailFolderId(999)),
        QVariant()};
    const QVariantList accounts {value(m_a),
                                 value(m_a),
                                 value(m_b),
                                 value(QMailAccountId()),
                                 value(QMailAccountId(999)),
                                 QStringLiteral("x")};
    const auto pick = [&](const QVariantList &list) {
        return list.at(generator.bounded(list.count()));
    };
    const auto makeArgument = [&] {
        static const int properties[] = {Key::ParentFolderId,    Key::ParentFolderId,
                                         Key::AncestorFolderIds, Key::AncestorFolderIds,
                                         Key::ParentAccountId,   Key::Subject};
        // Mostly those that name a folder.
        static const int comparators[] = {4, 4, 5, 6, 6, 7, 0, 3, 8, 9};
        KeyTree::Argument argument {
            properties[generator.bounded(6)], comparators[generator.bounded(10)], {}};
        for (int count = generator.bounded(3); count >= 0; --count)
            argument.values += pick(argument.property == Key::ParentAccountId ? accounts : folders);
        return argument;
    };
    int restricted = 0;
    for (int i = 0; i < 10000; ++i) {
        const KeyTree tree = KeyTree::random(generator, 4, makeArgument);
        const Scope expected = rules(tree);
        const Scope actual = scopeOf(tree.toKey());
        if (!(actual == expected))
            QFAIL(qPrintable(QStringLiteral("tree %1 %2: %3, not %4")
                                 .arg(i)
                                 .arg(text(tree), text(actual), text(expected))));
        restricted += !expected.include.empty() || !expected.exclude.empty();
    }
    // The trees do not agree by being empty.
    QVERIFY2(restricted > 2000, qPrintable(QString::number(restricted)));
}

QTEST_GUILESS_MAIN(TestFolderScope)

#include "tst_folderscope.moc"
