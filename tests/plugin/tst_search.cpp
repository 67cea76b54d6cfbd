// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/searchquery.h"
#include "tests/plugin/loadedplugin.h"
#include "tests/plugin/logrecorder.h"

#include <qmailmessagesortkey.h>
#include <QTest>

using Answer = ScriptedDaemon::Answer;

namespace {

using Key = QMailMessageKey;

const QDateTime Noon(QDate(2024, 5, 17), QTime(12, 0), Qt::UTC);

} // namespace

/**
 * A search at the server, with the loaded plugin: its lines in the log, and when there is something
 * to cancel. What the daemon is asked for and how it ends is proved in tests/messageserver.
 */
class TestSearch : public LoadedPlugin
{
    Q_OBJECT

private slots:
    void theLogTellsTheSearch();
    void theLogTellsTheTimeRangeInUtc();
    void anAccountWithoutFoldersSearchesNothing();
    void theSortKeyIsIgnored();
    void aRefusedSearchFailsAndLeavesNothingToCancel();
    void cancellingRightAfterTheSearchAbortsItWithCode1030();
    void cancellingWithoutASearchOnlyCompletes();
    void cancellingTwiceAbortsTwice();
    void aCompletedSearchLeavesNothingToCancel();
    void aCompletionForAnotherAccountOrRequestChangesNothing();
    void aLateCompletionOfTheFirstSearchLeavesTheSecond();

private:
    static Key subject(const char *text)
    {
        return Key::subject(QString::fromLatin1(text), QMailDataComparator::Includes);
    }
    bool search(const Key &key)
    {
        return source().searchMessages(key, QString(), QMailMessageSortKey());
    }
    Activesync::SearchQuery query(int index = 0) const
    {
        return m_daemon->calls("searchMailbox")
            .value(index)
            .arguments.value(1)
            .value<Activesync::SearchQuery>();
    }
    static QStringList sorted(QStringList list)
    {
        list.sort();
        return list;
    }
    int aborts() const { return m_daemon->callCount("abortRequest"); }
};

void TestSearch::theLogTellsTheSearch()
{
    LogRecorder log;
    QVERIFY(search(subject("abc") & Key::parentFolderId(folder(QMailFolder::InboxFolder))));
    const QStringList lines = log.takeLines();
    QCOMPARE(lines.mid(0, 3),
             QStringList({QStringLiteral("server-side search for messages in account %1").arg(id()),
                          QStringLiteral("server-side search in 1 folders"),
                          QStringLiteral("searching for messages with text \"abc\" \"\" \"\"")}));
    QCOMPARE(lines.last(), QStringLiteral("result =  1 for AccountId= %1").arg(id()));
}

void TestSearch::theLogTellsTheTimeRangeInUtc()
{
    const QDateTime there = Noon.toOffsetFromUtc(7200);
    QVERIFY(there.toString(Qt::TextDate) != Noon.toString(Qt::TextDate));
    LogRecorder log;
    QVERIFY(search(subject("abc") & Key::receptionTimeStamp(there, QMailDataComparator::GreaterThan)
                   & Key::receptionTimeStamp(there.addDays(1), QMailDataComparator::LessThan)));
    QVERIFY(query().receivedAfter.isValid());
    QCOMPARE(log.takeLines().value(2),
             QStringLiteral("searching for messages with text \"abc\" \"and received before %1\" "
                            "\"and received after %2\"")
                 .arg(Noon.addDays(1).toString(Qt::TextDate), Noon.toString(Qt::TextDate)));
}

void TestSearch::anAccountWithoutFoldersSearchesNothing()
{
    StoreFixture::Account bare;
    bare.name = QStringLiteral("Bare");
    const QMailAccountId account = StoreFixture::addAccount(bare);
    const std::unique_ptr<QMailMessageService> service(
        QMailMessageServiceFactory::createService(QStringLiteral("orvmail"), account));
    ServiceSpy spy(service.get());
    QVERIFY(service->source().searchMessages(subject("abc"), QString(), QMailMessageSortKey()));
    QTRY_COMPARE(spy.completions(), 1);
    QCOMPARE(m_daemon->calls().count(), 0);
}

void TestSearch::theSortKeyIsIgnored()
{
    QVERIFY(search(subject("abc")));
    QVERIFY(source().searchMessages(subject("abc"), QString(), QMailMessageSortKey::subject()));
    const auto calls = m_daemon->calls("searchMailbox");
    QCOMPARE(calls.count(), 2);
    QCOMPARE(query(0).text, query(1).text);
    QCOMPARE(sorted(query(0).folders), sorted(query(1).folders));
}

void TestSearch::aRefusedSearchFailsAndLeavesNothingToCancel()
{
    m_daemon->answer(Answer::id(-1));
    QVERIFY(search(subject("abc")));
    QCOMPARE(m_spy->takeOutcome(),
             QStringList({QStringLiteral("error 1037"), QStringLiteral("completed false")}));
    QVERIFY(source().cancelSearch());
    QTRY_COMPARE(m_spy->completions(), 1);
    QCOMPARE(aborts(), 0);
}

void TestSearch::cancellingRightAfterTheSearchAbortsItWithCode1030()
{
    QVERIFY(search(subject("abc")));
    m_spy->take();
    LogRecorder log;
    QVERIFY(source().cancelSearch());
    QCOMPARE(log.takeLines(), QStringList(QStringLiteral("aborting search request 1")));
    const auto abort = m_daemon->waitForCall("abortRequest");
    QCOMPARE(abort.arguments, QVariantList({1, 1030}));
    QVERIFY(!abort.wantsReply);
    QTRY_COMPARE(m_spy->completions(), 1);
    QCOMPARE(m_spy->take(), QStringList(QStringLiteral("completed true")));
}

void TestSearch::cancellingWithoutASearchOnlyCompletes()
{
    LogRecorder log;
    QVERIFY(source().cancelSearch());
    QCOMPARE(log.takeLines(), QStringList());
    QCOMPARE(m_spy->take(), QStringList());
    QTRY_COMPARE(m_spy->completions(), 1);
    m_daemon->settle();
    QCOMPARE(m_daemon->calls().count(), 0);
}

void TestSearch::cancellingTwiceAbortsTwice()
{
    QVERIFY(search(subject("abc")));
    QVERIFY(source().cancelSearch());
    QVERIFY(source().cancelSearch());
    QTRY_COMPARE(aborts(), 2);
    QTRY_COMPARE(m_spy->completions(), 2);
}

void TestSearch::aCompletedSearchLeavesNothingToCancel()
{
    QVERIFY(search(subject("abc")));
    LogRecorder log;
    m_daemon->searchMailboxCompleted(404, id(), {}, 1);
    m_daemon->settle();
    QCOMPARE(
        log.takeLines(),
        QStringList(QStringLiteral("Search in mailbox COMPLETED signal received for the account "
                                   "%1 status 404 request-id 1 , last search request-id is 1")
                        .arg(id())));
    QVERIFY(source().cancelSearch());
    m_daemon->settle();
    QCOMPARE(aborts(), 0);
}

void TestSearch::aCompletionForAnotherAccountOrRequestChangesNothing()
{
    QVERIFY(search(subject("abc")));
    LogRecorder log;
    m_daemon->searchMailboxCompleted(200, id() + 100, {}, 1);
    m_daemon->settle();
    QCOMPARE(log.takeLines(), QStringList());
    m_daemon->searchMailboxCompleted(200, id(), {}, 2);
    m_daemon->settle();
    QVERIFY(source().cancelSearch());
    QTRY_COMPARE(aborts(), 1);
    QCOMPARE(m_daemon->calls("abortRequest").first().arguments, QVariantList({1, 1030}));
}

void TestSearch::aLateCompletionOfTheFirstSearchLeavesTheSecond()
{
    QVERIFY(search(subject("abc")));
    QVERIFY(search(subject("def")));
    m_daemon->searchMailboxCompleted(200, id(), {}, 1);
    m_daemon->settle();
    QVERIFY(source().cancelSearch());
    QTRY_COMPARE(aborts(), 1);
    QCOMPARE(m_daemon->calls("abortRequest").first().arguments, QVariantList({2, 1030}));
}

QTEST_GUILESS_MAIN(TestSearch)

#include "tst_search.moc"
