// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/sentflaggings.h"
#include "tests/plugin/servicefixture.h"

#include <QTest>

namespace {

/** A service in whose action the message server has two accounts' mails flagged. */
class FlaggingFixture : public ServiceFixture
{
public:
    FlaggingFixture() { flaggings.begin(service.get(), {first, second}); }

    SentFlaggings flaggings;
    const QMailMessageId first = QMailMessageId(1);
    const QMailMessageId second = QMailMessageId(2);
};

} // namespace

/** What a person sees of it is proved in tests/messageserver. */
class TestSentFlaggings : public QObject
{
    Q_OBJECT

private slots:
    void actionEndsOnceThoughTwoSourcesFlag();
    void actionEndsAfterTheCallThatFlags();
    void flaggingOfWhatNobodyBeganIsUnknown();
    void serviceThatIsGoneIsAskedForNothing();
    void earlierActionOfTheServiceIsOver();
};

void TestSentFlaggings::actionEndsOnceThoughTwoSourcesFlag()
{
    FlaggingFixture f;
    QVERIFY(f.flaggings.end({f.second}));
    QVERIFY(f.flaggings.end({f.first}));
    QTRY_COMPARE(f.spy.completions(), 1);
    QCoreApplication::processEvents();
    QCOMPARE(f.spy.takeOutcome(), texts({"completed true"}));
    QVERIFY(!f.flaggings.end({f.first}));
}

void TestSentFlaggings::actionEndsAfterTheCallThatFlags()
{
    FlaggingFixture f;
    QVERIFY(f.flaggings.end({f.first, f.second}));
    QCOMPARE(f.spy.completions(), 0);
    QTRY_COMPARE(f.spy.completions(), 1);
}

void TestSentFlaggings::flaggingOfWhatNobodyBeganIsUnknown()
{
    FlaggingFixture f;
    QVERIFY(!f.flaggings.end({QMailMessageId(3)}));
    QCoreApplication::processEvents();
    QCOMPARE(f.spy.completions(), 0);
}

void TestSentFlaggings::serviceThatIsGoneIsAskedForNothing()
{
    SentFlaggings flaggings;
    const QMailMessageIdList sent {QMailMessageId(1)};
    {
        ServiceFixture f;
        flaggings.begin(f.service.get(), sent);
    }
    QVERIFY(flaggings.end(sent));
    QVERIFY(!flaggings.end(sent));
}

void TestSentFlaggings::earlierActionOfTheServiceIsOver()
{
    FlaggingFixture f;
    const QMailMessageId later(3);
    f.flaggings.begin(f.service.get(), {later});
    QVERIFY(f.flaggings.end({later}));
    QTRY_COMPARE(f.spy.completions(), 1);
    QVERIFY(!f.flaggings.end({f.first, f.second}));
}

QTEST_GUILESS_MAIN(TestSentFlaggings)

#include "tst_sentflaggings.moc"
