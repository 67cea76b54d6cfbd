// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/searchmailboxoptions.h"
#include "asclient/searchquery.h"
#include "tests/plugin/logrecorder.h"
#include "tests/plugin/servicespy.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <QTest>

#include <qmailmessageservice.h>
#include <qmailmessagesortkey.h>

#include <memory>

using Answer = ScriptedDaemon::Answer;

namespace {

using Key = QMailMessageKey;

const QDateTime Noon(QDate(2024, 5, 17), QTime(12, 0), Qt::UTC);

} // namespace

/** The life of a search at the server, with the loaded plugin. */
class TestSearch : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void aSearchArrivesAtTheDaemonFieldByField();
    void theTimeRangeArrives();
    void theLogTellsTheTimeRangeInUtc();
    void theFoldersAreTheAccountsCutDownByTheKey();
    void aKeyOfAnotherAccountsFolderSearchesNothing();
    void anAccountWithoutFoldersSearchesNothing();
    void theBodyTextReplacesTheKeysText();
    void theBodyTextAloneIsEnough();
    void aTimeRangeWithoutATextIsNotSent();
    void theSortKeyIsIgnored();
    void theSearchEndsWithItsRequest();
    void aFailedSearchEndsTheActionWithItsError();
    void aRefusedSearchFailsAndLeavesNothingToCancel();
    void cancellingRightAfterTheSearchAbortsItWithCode1030();
    void cancellingWithoutASearchOnlyCompletes();
    void cancellingTwiceAbortsTwice();
    void aCompletedSearchLeavesNothingToCancel();
    void aCompletionForAnotherAccountOrRequestChangesNothing();
    void aLateCompletionOfTheFirstSearchLeavesTheSecond();
    void aSearchWithALimitIsNotImplemented();

private:
    quint64 id() const { return m_account.toULongLong(); }
    QMailMessageSource &source() { return m_service->source(); }
    static Key subject(const char *text)
    {
        return Key::subject(QString::fromLatin1(text), QMailDataComparator::Includes);
    }
    bool search(const Key &key, const QString &body = QString())
    {
        return source().searchMessages(key, body, QMailMessageSortKey());
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
    static QString number(const QMailFolderId &folder)
    {
        return QString::number(folder.toULongLong());
    }
    int aborts() const { return m_daemon->callCount("abortRequest"); }

    std::unique_ptr<ScriptedDaemon> m_daemon;
    QMailAccountId m_account;
    QMailFolderId m_top;
    QMailFolderId m_child;
    QMailFolderId m_other;
    QMailFolderId m_foreign;
    std::unique_ptr<QMailMessageService> m_service;
    std::unique_ptr<ServiceSpy> m_spy;
};

void TestSearch::init()
{
    m_daemon = std::make_unique<ScriptedDaemon>();
    m_account = StoreFixture::addAccount();
    const auto standard = QMailFolder::StandardFolder(0);
    m_top = StoreFixture::addFolder(m_account, QStringLiteral("top"));
    m_child = StoreFixture::addFolder(m_account, QStringLiteral("child"), standard, m_top);
    m_other = StoreFixture::addFolder(m_account, QStringLiteral("other"));
    StoreFixture::Account other;
    other.name = QStringLiteral("Other");
    m_foreign = StoreFixture::addFolder(StoreFixture::addAccount(other), QStringLiteral("foreign"));
    m_service.reset(
        QMailMessageServiceFactory::createService(QStringLiteral("orvmail"), m_account));
    QVERIFY(m_service);
    m_spy = std::make_unique<ServiceSpy>(m_service.get());
}

void TestSearch::cleanup()
{
    m_service.reset();
    m_daemon.reset();
    StoreFixture::clear();
}

void TestSearch::aSearchArrivesAtTheDaemonFieldByField()
{
    LogRecorder log;
    QVERIFY(search(subject("abc") & Key::parentFolderId(m_other)));
    const auto calls = m_daemon->calls();
    QCOMPARE(calls.count(), 1);
    QCOMPARE(calls.first().method, QStringLiteral("searchMailbox"));
    QVERIFY(calls.first().wantsReply);
    QCOMPARE(calls.first().accountId(), id());
    const auto query = this->query();
    QCOMPARE(query.text, QStringLiteral("abc"));
    QCOMPARE(query.selector, 1);
    QCOMPARE(query.folders, QStringList(number(m_other)));
    QVERIFY(!query.receivedAfter.isValid());
    QVERIFY(!query.receivedBefore.isValid());
    QCOMPARE(query.reserved, QString());
    const auto options = calls.first().arguments.value(2).value<Activesync::SearchMailboxOptions>();
    QCOMPARE(options.rangeStart, -1);
    QCOMPARE(options.rangeEnd, -1);
    QCOMPARE(options.userName, QString());
    QCOMPARE(options.password, QString());
    QCOMPARE(options.rebuildResults, false);
    QCOMPARE(options.deepTraversal, true);
    QCOMPARE(options.mimeSupport, 0);
    QCOMPARE(options.bodyType, 2);
    QCOMPARE(options.truncationSize, -1);
    QCOMPARE(options.allOrNone, false);
    const QStringList lines = log.takeLines();
    QCOMPARE(lines.mid(0, 3),
             QStringList({QStringLiteral("server-side search for messages in account %1").arg(id()),
                          QStringLiteral("server-side search in 1 folders"),
                          QStringLiteral("searching for messages with text \"abc\" \"\" \"\"")}));
    QCOMPARE(lines.last(), QStringLiteral("result =  1 for AccountId= %1").arg(id()));
}

void TestSearch::theTimeRangeArrives()
{
    LogRecorder log;
    QVERIFY(search(subject("abc")
                   & Key::receptionTimeStamp(Noon, QMailDataComparator::GreaterThanEqual)
                   & Key::receptionTimeStamp(Noon.addDays(1), QMailDataComparator::LessThan)));
    QCOMPARE(query().receivedAfter, Noon.addSecs(-1));
    QCOMPARE(query().receivedBefore, Noon.addDays(1));
    QCOMPARE(
        log.takeLines().value(2),
        QStringLiteral("searching for messages with text \"abc\" \"and received before %1\" "
                       "\"and received after %2\"")
            .arg(Noon.addDays(1).toString(Qt::TextDate), Noon.addSecs(-1).toString(Qt::TextDate)));
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

void TestSearch::theFoldersAreTheAccountsCutDownByTheKey()
{
    const QStringList all = sorted({number(m_top), number(m_child), number(m_other)});
    QVERIFY(search(subject("abc")));
    QCOMPARE(sorted(query(0).folders), all);
    // The account is named, a folder of it is left out.
    QVERIFY(search(subject("abc") & Key::parentAccountId(m_account)));
    QCOMPARE(sorted(query(1).folders), all);
    QVERIFY(search(subject("abc") & ~Key::parentFolderId(m_other)));
    QCOMPARE(sorted(query(2).folders), sorted({number(m_top), number(m_child)}));
    QVERIFY(search(subject("abc") & Key::ancestorFolderIds(m_top)));
    QCOMPARE(query(3).folders, QStringList(number(m_child)));
    // An ancestor without subfolders restricts nothing.
    QVERIFY(search(subject("abc") & Key::ancestorFolderIds(m_other)));
    QCOMPARE(sorted(query(4).folders), all);
    QVERIFY(
        search(subject("abc") & (Key::parentFolderId(m_foreign) | Key::parentFolderId(m_other))));
    QCOMPARE(query(5).folders, QStringList(number(m_other)));
}

void TestSearch::aKeyOfAnotherAccountsFolderSearchesNothing()
{
    LogRecorder log;
    QVERIFY(search(subject("abc") & Key::parentFolderId(m_foreign)));
    QVERIFY(log.takeLines().contains(QStringLiteral("server-side search in 0 folders")));
    QCOMPARE(log.takeWarnings(), QStringList());
    QCOMPARE(m_spy->take(), QStringList());
    QTRY_COMPARE(m_spy->completions(), 1);
    QCOMPARE(m_spy->take(), QStringList(QStringLiteral("completed true")));
    QCOMPARE(m_daemon->calls().count(), 0);
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

void TestSearch::theBodyTextReplacesTheKeysText()
{
    QVERIFY(search(subject("abc"), QStringLiteral("body")));
    QCOMPARE(query().text, QStringLiteral("body"));
}

void TestSearch::theBodyTextAloneIsEnough()
{
    QVERIFY(search(Key(), QStringLiteral("body")));
    QCOMPARE(query().text, QStringLiteral("body"));
    QCOMPARE(query().folders.count(), 3);
}

void TestSearch::aTimeRangeWithoutATextIsNotSent()
{
    LogRecorder log;
    QVERIFY(search(Key::receptionTimeStamp(Noon, QMailDataComparator::GreaterThan)));
    QCOMPARE(log.takeWarnings(), QStringList(QStringLiteral("Empty search criteria text")));
    QCOMPARE(m_spy->take(), QStringList());
    QTRY_COMPARE(m_spy->completions(), 1);
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

void TestSearch::theSearchEndsWithItsRequest()
{
    QVERIFY(search(subject("abc")));
    Activesync::SearchMailboxResult result;
    result.total = 3;
    result.messageIds = {1, 2, 3};
    m_daemon->searchMailboxCompleted(200, id(), result, 1);
    m_daemon->settle();
    QCOMPARE(m_spy->completions(), 0);
    m_daemon->complete(1, 200);
    m_daemon->settle();
    QCOMPARE(m_spy->takeOutcome(),
             QStringList({QStringLiteral("activity 2"), QStringLiteral("completed true")}));
}

void TestSearch::aFailedSearchEndsTheActionWithItsError()
{
    QVERIFY(search(subject("abc")));
    m_daemon->complete(1, 902);
    m_daemon->settle();
    QCOMPARE(m_spy->takeOutcome(),
             QStringList({QStringLiteral("error 1034"), QStringLiteral("completed false")}));
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

void TestSearch::aSearchWithALimitIsNotImplemented()
{
    QVERIFY(
        !source().searchMessages(subject("abc"), QString(), quint64(10), QMailMessageSortKey()));
    QCOMPARE(m_daemon->calls().count(), 0);
}

QTEST_GUILESS_MAIN(TestSearch)

#include "tst_search.moc"
