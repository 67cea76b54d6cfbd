// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/search/searchcriteria.h"
#include "tests/plugin/keytree.h"
#include "tests/plugin/logrecorder.h"
#include "tests/support/chance.h"

#include <QTest>

#include <algorithm>

namespace {

using Key = QMailMessageKey;

const QDateTime Noon(QDate(2024, 5, 17), QTime(12, 0), Qt::UTC);

QString text(const QDateTime &time)
{
    return time.isValid() ? time.toUTC().toString(Qt::ISODateWithMs) : QStringLiteral("open");
}

QString describe(const SearchCriteria &criteria)
{
    return QStringLiteral("%1..%2 \"%3\" %4%5")
        .arg(text(criteria.interval.start), text(criteria.interval.end), criteria.text)
        .arg(criteria.textField)
        .arg(criteria.text.isNull() ? QStringLiteral(" null") : QString());
}

const QString Empty = QStringLiteral("open..open \"\" -1 null");

KeyTree condition(int property, int comparator, const QVariant &value)
{
    KeyTree tree;
    tree.arguments += {property, comparator, {value}};
    return tree;
}

SearchCriteria textCriteria(const char *text, int field)
{
    SearchCriteria criteria;
    criteria.text = QString::fromLatin1(text);
    criteria.textField = field;
    return criteria;
}

/** What a key must be reduced to, and the warnings on the way. */
struct Expectation
{
    QDateTime start;
    QDateTime end;
    QString text;
    int field = -1;
    bool isNothing() const { return !start.isValid() && !end.isValid() && field < 0; }
};

Expectation expectedOf(const KeyTree::Argument &argument, QStringList &warnings)
{
    Expectation expected;
    const QVariant value = argument.values.value(0);
    const QMap<int, int> ranks {{0x10, 1}, {0x8, 2}, {0x20, 3}, {0x2000000, 4}};
    if (ranks.contains(argument.property)) {
        if (argument.comparator != 6) {
            warnings += QStringLiteral("Unsupported comparer %1 for property  %2")
                            .arg(argument.comparator)
                            .arg(argument.property);
        } else if (!value.toString().isEmpty()) {
            expected.text = value.toString();
            expected.field = ranks.value(argument.property);
        }
    } else if (argument.property == 0x200) {
        const QDateTime time = value.toDateTime();
        if (argument.comparator == 2)
            expected.start = time;
        if (argument.comparator == 3 || argument.comparator == 4)
            expected.start = time.addSecs(-1);
        if (argument.comparator == 0)
            expected.end = time;
        if (argument.comparator == 1 || argument.comparator == 4)
            expected.end = time.addSecs(1);
    } else if (argument.property != 0x4 && argument.property != 0x1000
               && argument.property != 0x2000) {
        warnings +=
            QStringLiteral("Property %1 still not handled for search.").arg(argument.property);
    }
    return expected;
}

/** The earliest or latest valid time; invalid when there is none. */
QDateTime extreme(QList<QDateTime> times, bool latest)
{
    times.erase(std::remove_if(times.begin(), times.end(),
                               [](const QDateTime &time) { return !time.isValid(); }),
                times.end());
    if (times.isEmpty())
        return {};
    return latest ? *std::max_element(times.cbegin(), times.cend())
                  : *std::min_element(times.cbegin(), times.cend());
}

Expectation expectedOf(const KeyTree &tree, QStringList &warnings)
{
    QList<Expectation> parts;
    for (const KeyTree::Argument &argument : tree.arguments)
        parts += expectedOf(argument, warnings);
    for (const KeyTree &subKey : tree.subKeys)
        parts += expectedOf(subKey, warnings);
    parts.erase(std::remove_if(parts.begin(), parts.end(),
                               [](const Expectation &part) { return part.isNothing(); }),
                parts.end());
    if (parts.isEmpty())
        return {};
    if (tree.combiner == 0 && parts.count() == 1)
        return parts.first();
    if (tree.combiner == 0) {
        warnings += QStringLiteral("Attempting to combine more than thing, without a combiner?");
        return {};
    }
    if (tree.combiner != 1 && tree.combiner != 2) {
        warnings +=
            QStringLiteral("Unable to combine with an unknown combiner: %1").arg(tree.combiner);
        return {};
    }
    QList<QDateTime> starts;
    QList<QDateTime> ends;
    Expectation expected;
    for (const Expectation &part : parts) {
        starts += part.start;
        ends += part.end;
        if (part.field > expected.field) {
            expected.field = part.field;
            expected.text = part.text;
        }
    }
    // And: what all allow. Or: from the first start to the last end; what is open does not count.
    expected.start = extreme(starts, tree.combiner == 1);
    expected.end = extreme(ends, tree.combiner == 2);
    return expected;
}

QString describe(const Expectation &expected)
{
    return QStringLiteral("%1..%2 \"%3\" %4%5")
        .arg(text(expected.start), text(expected.end), expected.text)
        .arg(expected.field)
        .arg(expected.text.isNull() ? QStringLiteral(" null") : QString());
}

} // namespace

class TestSearchCriteria : public QObject
{
    Q_OBJECT

private slots:
    void theEmptyCriterionIsOpenWithoutAText();
    void subjectIncludesYieldsItsText();
    void everyTextFieldHasItsRank_data();
    void everyTextFieldHasItsRank();
    void subjectEqualWarnsAndYieldsNothing();
    void subjectIncludesAnEmptyTextYieldsNothingWithoutAWarning();
    void ofAListOfTextsOnlyTheFirstCounts();
    void receptionTimesBecomeIntervals_data();
    void receptionTimesBecomeIntervals();
    void aSentTimeIsNotSearchable();
    void everyOtherPropertyWarns_data();
    void everyOtherPropertyWarns();
    void aFolderOnlyKeyYieldsNothingWithoutAWarning();
    void theHigherRankWinsUnderAndAndOr();
    void onATieTheEarlierTextStays();
    void aTimeRangeByAndIsItsIntersection();
    void aTimeRangeByOrIsItsHullWithoutItsOpenSides();
    void twoBoundsOfOneSideFold();
    void twoConditionsWithoutACombinerWarnAndYieldNothing();
    void anUnknownCombinerWarnsEvenForOne();
    void aNegatedConditionIsSearchedAsIfItWereNot();
    void combiningNothingYieldsNothing();
    void randomTreesAgreeWithTheRules();
};

void TestSearchCriteria::theEmptyCriterionIsOpenWithoutAText()
{
    QCOMPARE(describe(SearchCriteria()), Empty);
    QVERIFY(SearchCriteria().isEmpty());
    const SearchCriteria range(Noon, QDateTime());
    QCOMPARE(describe(range), QStringLiteral("2024-05-17T12:00:00.000Z..open \"\" -1 null"));
    QVERIFY(!range.isEmpty());
    QVERIFY(!SearchCriteria(QDateTime(), Noon).isEmpty());
    QVERIFY(!textCriteria("", 1).isEmpty());
    LogRecorder log;
    QCOMPARE(describe(criteriaFromKey(Key())), Empty);
    QCOMPARE(log.takeWarnings(), QStringList());
}

void TestSearchCriteria::subjectIncludesYieldsItsText()
{
    const Key key = Key::subject(QStringLiteral("abc"), QMailDataComparator::Includes);
    QCOMPARE(describe(criteriaFromKey(key)), QStringLiteral("open..open \"abc\" 3"));
}

void TestSearchCriteria::everyTextFieldHasItsRank_data()
{
    QTest::addColumn<int>("property");
    QTest::addColumn<int>("rank");
    QTest::newRow("recipients") << int(Key::Recipients) << 1;
    QTest::newRow("sender") << int(Key::Sender) << 2;
    QTest::newRow("subject") << int(Key::Subject) << 3;
    QTest::newRow("preview") << int(Key::Preview) << 4;
}

void TestSearchCriteria::everyTextFieldHasItsRank()
{
    QFETCH(int, property);
    QFETCH(int, rank);
    const auto tree = condition(property, QMailKey::Includes, QStringLiteral("abc"));
    QCOMPARE(describe(criteriaFromKey(tree.toKey())),
             QStringLiteral("open..open \"abc\" %1").arg(rank));
}

void TestSearchCriteria::subjectEqualWarnsAndYieldsNothing()
{
    LogRecorder log;
    QCOMPARE(describe(criteriaFromKey(Key::subject(QStringLiteral("abc")))), Empty);
    QCOMPARE(log.takeWarnings(),
             QStringList(QStringLiteral("Unsupported comparer 4 for property  32")));
}

void TestSearchCriteria::subjectIncludesAnEmptyTextYieldsNothingWithoutAWarning()
{
    LogRecorder log;
    const Key key = Key::subject(QString(), QMailDataComparator::Includes);
    QCOMPARE(describe(criteriaFromKey(key)), Empty);
    QCOMPARE(log.takeWarnings(), QStringList());
}

void TestSearchCriteria::ofAListOfTextsOnlyTheFirstCounts()
{
    const Key key = Key::subject(QStringList {QStringLiteral("abc"), QStringLiteral("def")});
    QCOMPARE(describe(criteriaFromKey(key)), QStringLiteral("open..open \"abc\" 3"));
}

void TestSearchCriteria::receptionTimesBecomeIntervals_data()
{
    QTest::addColumn<int>("comparator");
    QTest::addColumn<QString>("interval");
    const QString noon = text(Noon);
    const QString before = text(Noon.addSecs(-1));
    const QString after = text(Noon.addSecs(1));
    const QString open = QStringLiteral("open");
    const QString range = QStringLiteral("%1..%2 \"\" -1 null");
    QTest::newRow("LessThan") << 0 << range.arg(open, noon);
    QTest::newRow("LessThanEqual") << 1 << range.arg(open, after);
    QTest::newRow("GreaterThan") << 2 << range.arg(noon, open);
    QTest::newRow("GreaterThanEqual") << 3 << range.arg(before, open);
    QTest::newRow("Equal") << 4 << range.arg(before, after);
    QTest::newRow("NotEqual") << 5 << Empty;
    QTest::newRow("Includes") << 6 << Empty;
    QTest::newRow("Excludes") << 7 << Empty;
    QTest::newRow("Present") << 8 << Empty;
    QTest::newRow("Absent") << 9 << Empty;
}

void TestSearchCriteria::receptionTimesBecomeIntervals()
{
    QFETCH(int, comparator);
    QFETCH(QString, interval);
    LogRecorder log;
    const auto tree = condition(Key::ReceptionTimeStamp, comparator, Noon);
    QCOMPARE(describe(criteriaFromKey(tree.toKey())), interval);
    QCOMPARE(log.takeWarnings(), QStringList());
}

void TestSearchCriteria::aSentTimeIsNotSearchable()
{
    LogRecorder log;
    QCOMPARE(describe(criteriaFromKey(Key::timeStamp(Noon))), Empty);
    QCOMPARE(log.takeWarnings(),
             QStringList(QStringLiteral("Property 64 still not handled for search.")));
}

void TestSearchCriteria::everyOtherPropertyWarns_data()
{
    QTest::addColumn<int>("property");
    for (int bit = 0; bit <= 26; ++bit) {
        const int property = 1 << bit;
        const QList<int> handled {Key::Recipients,        Key::Sender,
                                  Key::Subject,           Key::Preview,
                                  Key::ParentFolderId,    Key::ParentAccountId,
                                  Key::AncestorFolderIds, Key::ReceptionTimeStamp};
        if (!handled.contains(property))
            QTest::newRow(qPrintable(QString::number(property))) << property;
    }
}

void TestSearchCriteria::everyOtherPropertyWarns()
{
    QFETCH(int, property);
    LogRecorder log;
    const auto tree = condition(property, QMailKey::Includes, QStringLiteral("abc"));
    QCOMPARE(describe(criteriaFromKey(tree.toKey())), Empty);
    QCOMPARE(
        log.takeWarnings(),
        QStringList(QStringLiteral("Property %1 still not handled for search.").arg(property)));
}

void TestSearchCriteria::aFolderOnlyKeyYieldsNothingWithoutAWarning()
{
    LogRecorder log;
    const Key key =
        (Key::parentFolderId(QMailFolderId(7)) & Key::parentAccountId(QMailAccountId(1)))
        | ~Key::ancestorFolderIds(QMailFolderId(8));
    QCOMPARE(describe(criteriaFromKey(key)), Empty);
    QCOMPARE(log.takeWarnings(), QStringList());
}

void TestSearchCriteria::theHigherRankWinsUnderAndAndOr()
{
    const Key sender = Key::sender(QStringLiteral("a"), QMailDataComparator::Includes);
    const Key subject = Key::subject(QStringLiteral("b"), QMailDataComparator::Includes);
    for (const Key &key : {sender & subject, subject & sender, sender | subject, subject | sender})
        QCOMPARE(describe(criteriaFromKey(key)), QStringLiteral("open..open \"b\" 3"));
}

void TestSearchCriteria::onATieTheEarlierTextStays()
{
    for (const QMailKey::Combiner combiner : {QMailKey::And, QMailKey::Or}) {
        const SearchCriteria found =
            combineCriteria({textCriteria("first", 3), textCriteria("second", 3)}, combiner);
        QCOMPARE(found.text, QStringLiteral("first"));
    }
}

void TestSearchCriteria::aTimeRangeByAndIsItsIntersection()
{
    const Key after = Key::receptionTimeStamp(Noon, QMailDataComparator::GreaterThan);
    const Key before = Key::receptionTimeStamp(Noon.addSecs(60), QMailDataComparator::LessThan);
    const QString range =
        QStringLiteral("%1..%2 \"\" -1 null").arg(text(Noon), text(Noon.addSecs(60)));
    QCOMPARE(describe(criteriaFromKey(after & before)), range);
    QCOMPARE(describe(criteriaFromKey(before & after)), range);
}

void TestSearchCriteria::aTimeRangeByOrIsItsHullWithoutItsOpenSides()
{
    const Key after = Key::receptionTimeStamp(Noon, QMailDataComparator::GreaterThan);
    const Key before = Key::receptionTimeStamp(Noon.addSecs(60), QMailDataComparator::LessThan);
    QCOMPARE(describe(criteriaFromKey(after | before)),
             QStringLiteral("%1..%2 \"\" -1 null").arg(text(Noon), text(Noon.addSecs(60))));
}

void TestSearchCriteria::twoBoundsOfOneSideFold()
{
    const QList<SearchCriteria> ranges {SearchCriteria(Noon, Noon.addSecs(60)),
                                        SearchCriteria(Noon.addSecs(10), Noon.addSecs(90))};
    QCOMPARE(
        describe(combineCriteria(ranges, QMailKey::And)),
        QStringLiteral("%1..%2 \"\" -1 null").arg(text(Noon.addSecs(10)), text(Noon.addSecs(60))));
    QCOMPARE(describe(combineCriteria(ranges, QMailKey::Or)),
             QStringLiteral("%1..%2 \"\" -1 null").arg(text(Noon), text(Noon.addSecs(90))));
    // Of equal bounds the later element's is taken, time zone and all.
    const QDateTime sameMoment = Noon.toOffsetFromUtc(3600);
    for (const QMailKey::Combiner combiner : {QMailKey::And, QMailKey::Or}) {
        const SearchCriteria found = combineCriteria(
            {SearchCriteria(Noon, Noon), SearchCriteria(sameMoment, sameMoment)}, combiner);
        QCOMPARE(found.interval.start.offsetFromUtc(), 3600);
        QCOMPARE(found.interval.end.offsetFromUtc(), 3600);
    }
}

void TestSearchCriteria::twoConditionsWithoutACombinerWarnAndYieldNothing()
{
    KeyTree tree = condition(Key::Subject, QMailKey::Includes, QStringLiteral("a"));
    LogRecorder log;
    QCOMPARE(describe(criteriaFromKey(tree.toKey())), QStringLiteral("open..open \"a\" 3"));
    tree.arguments += {Key::Sender, QMailKey::Includes, {QStringLiteral("b")}};
    QCOMPARE(log.takeWarnings(), QStringList());
    QCOMPARE(describe(criteriaFromKey(tree.toKey())), Empty);
    QCOMPARE(
        log.takeWarnings(),
        QStringList(QStringLiteral("Attempting to combine more than thing, without a combiner?")));
}

void TestSearchCriteria::anUnknownCombinerWarnsEvenForOne()
{
    LogRecorder log;
    QCOMPARE(describe(combineCriteria({textCriteria("a", 3)}, QMailKey::Combiner(3))), Empty);
    QCOMPARE(log.takeWarnings(),
             QStringList(QStringLiteral("Unable to combine with an unknown combiner: 3")));
}

void TestSearchCriteria::aNegatedConditionIsSearchedAsIfItWereNot()
{
    const Key key = ~Key::subject(QStringLiteral("abc"), QMailDataComparator::Includes);
    QVERIFY(key.isNegated());
    QCOMPARE(describe(criteriaFromKey(key)), QStringLiteral("open..open \"abc\" 3"));
}

void TestSearchCriteria::combiningNothingYieldsNothing()
{
    LogRecorder log;
    for (const int combiner : {0, 1, 2, 3})
        QCOMPARE(describe(combineCriteria({}, QMailKey::Combiner(combiner))), Empty);
    QCOMPARE(log.takeWarnings(), QStringList());
}

void TestSearchCriteria::randomTreesAgreeWithTheRules()
{
    QRandomGenerator generator(testSeed());
    const auto makeArgument = [&] {
        static const int properties[] = {0x10,  0x8,   0x20,  0x20,   0x2000000, 0x200,
                                         0x200, 0x200, 0x200, 0x1000, 0x2000,    0x40};
        KeyTree::Argument argument {properties[generator.bounded(12)], generator.bounded(10), {}};
        const bool isText = argument.property < 0x40;
        // Mostly what is supported, so that something is left to combine.
        if ((isText || argument.property == 0x2000000) && generator.bounded(4) > 0)
            argument.comparator = QMailKey::Includes;
        else if (argument.property == 0x200 && generator.bounded(4) > 0)
            argument.comparator = generator.bounded(5);
        for (int count = generator.bounded(3); count > 0; --count) {
            if (argument.property == 0x200)
                argument.values += Noon.addSecs(generator.bounded(6));
            else
                argument.values +=
                    QString(generator.bounded(3), QLatin1Char('a' + generator.bounded(5)));
        }
        return argument;
    };
    LogRecorder log;
    int found = 0;
    for (int i = 0; i < 10000; ++i) {
        const KeyTree tree = KeyTree::random(generator, 4, makeArgument);
        QStringList warnings;
        const Expectation expected = expectedOf(tree, warnings);
        const QString actual = describe(criteriaFromKey(tree.toKey()));
        if (actual != describe(expected))
            QFAIL(qPrintable(
                QStringLiteral("tree %1: %2, not %3").arg(i).arg(actual, describe(expected))));
        QCOMPARE(log.takeWarnings(), warnings);
        found += !expected.isNothing();
    }
    // The trees do not agree by being empty.
    QVERIFY2(found > 2000, qPrintable(QString::number(found)));
}

QTEST_GUILESS_MAIN(TestSearchCriteria)

#include "tst_searchcriteria.moc"
