// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/searchmailboxoptions.h"
#include "asclient/searchquery.h"
#include "tests/messageserver/serverfixture.h"

#include <QTest>

#include <functional>

using Answer = ScriptedDaemon::Answer;
using Search = Watched<QMailSearchAction>;
using Key = QMailMessageKey;

class TestSearch;
using MakeKey = std::function<Key(const TestSearch &)>;
Q_DECLARE_METATYPE(MakeKey)

/** Searches at the server: keys that a client made and the message server passed on. */
class TestSearch : public ServerFixture
{
    Q_OBJECT

private slots:
    void passesOnTheClientsKey_data();
    void passesOnTheClientsKey();
    void sendsEveryOptionAsAgreed();
    void sendsTheBodyText();
    void asksNothingWithoutAText_data();
    void asksNothingWithoutAText();
    void asksNothingOfAnAccountWithoutTheFolder();
    void asksNothingOfAnAccountOfWhichAFolderIsExcluded();
    void asksEveryAccountThatTheKeyAllows();
    void searchesHereWhenAskedTo();
    void searchesHereUnderALimit();
    void failsAsTheDaemonSays_data();
    void failsAsTheDaemonSays();
    void failsWhileTheDaemonIsAbsent();
    void endsWhenTheRequestEndsNotWhenTheResultComes();
    void foundMessagesAreInTheStoreForTheClient();
    void cancels();
    void cancelsBeforeTheDaemonWasAsked();
    void lateEndOfACancelledSearchEndsNothingElse();
    void cancelsOnlyTheLatestOfTwoSearches();
    void findsALostBroadcastByThePoll();

private:
    void fillStore() override;
    void search(Search &search, const Key &key, const QString &body = QString());
    Activesync::SearchQuery startSearch(Search &search, const Key &key,
                                        const QString &body = QString());
    QStringList folderNames(const QStringList &ids) const;

public:
    QMailFolderId inbox;
    QMailFolderId work;
    QMailFolderId deep;
    using ServerFixture::folder;
    using ServerFixture::m_account;
};

namespace {

const QString Alpha = QStringLiteral("alpha");
const QString Beta = QStringLiteral("beta");

QDateTime at(int hour)
{
    return QDateTime(QDate(2025, 3, 4), QTime(hour, 30), Qt::UTC);
}

Key subject(const QString &text = Alpha)
{
    return Key::subject(text, QMailDataComparator::Includes);
}

Key from(const QString &text)
{
    return Key::sender(text, QMailDataComparator::Includes);
}

Key received(int hour, QMailDataComparator::RelationComparator comparator)
{
    return Key::receptionTimeStamp(at(hour), comparator);
}

} // namespace

void TestSearch::fillStore()
{
    inbox = folder(QMailFolder::InboxFolder);
    work = StoreFixture::addFolder(m_account, QStringLiteral("Work"),
                                   QMailFolder::StandardFolder(0), inbox);
    deep = StoreFixture::addFolder(m_account, QStringLiteral("Deep"),
                                   QMailFolder::StandardFolder(0), work);
}

void TestSearch::search(Search &search, const Key &key, const QString &body)
{
    search.action.searchMessages(key, body, QMailSearchAction::Remote, QMailMessageSortKey());
}

/** Has the client search; the query that the daemon gets. */
Activesync::SearchQuery TestSearch::startSearch(Search &it, const Key &key, const QString &body)
{
    search(it, key, body);
    return m_daemon->waitForCall("searchMailbox")
        .arguments.value(1)
        .value<Activesync::SearchQuery>();
}

/** In the order of the alphabet: that of the list is not settled. */
QStringList TestSearch::folderNames(const QStringList &ids) const
{
    QStringList names;
    for (const QString &id : ids)
        names.append(QMailFolder(QMailFolderId(id.toULongLong())).path());
    names.sort();
    return names;
}

void TestSearch::passesOnTheClientsKey_data()
{
    QTest::addColumn<MakeKey>("key");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("folders");
    QTest::addColumn<QDateTime>("after");
    QTest::addColumn<QDateTime>("before");
    const QString all = QStringLiteral("Deep Drafts Inbox Junk Outbox Sent Trash Work");
    const QDateTime open;
    const auto row = [&](const char *name, const MakeKey &key, const QString &text = Alpha,
                         const QString &folders = QString(), const QDateTime &after = QDateTime(),
                         const QDateTime &before = QDateTime()) {
        QTest::newRow(name) << key << text << (folders.isNull() ? all : folders) << after << before;
    };
    const auto folders = [&](const char *name, const MakeKey &key, const char *names) {
        row(name, key, Alpha, QLatin1String(names));
    };
    const auto times = [&](const char *name, const Key &key, const QDateTime &after,
                           const QDateTime &before) {
        row(name, [key](const TestSearch &) { return subject() & key; }, Alpha, all, after, before);
    };
    using Test = const TestSearch &;
    constexpr auto Includes = QMailDataComparator::Includes;
    constexpr auto Excludes = QMailDataComparator::Excludes;
    constexpr auto Equal = QMailDataComparator::Equal;
    constexpr auto NotEqual = QMailDataComparator::NotEqual;

    row("subject", [](Test) { return subject(); });
    row("sender", [](Test) { return from(Alpha); });
    row("recipients", [](Test) { return Key::recipients(Alpha, Includes); });
    row("preview", [](Test) { return Key::preview(Alpha, Includes); });
    row(
        "letters of every kind",
        [](Test) { return subject(QString::fromUtf8("Grüße 世界 🐧 %_'\"*")); },
        QString::fromUtf8("Grüße 世界 🐧 %_'\"*"));
    row("negated subject", [](Test) { return ~subject(); });
    row("subject goes before sender", [](Test) { return from(Beta) & subject(); });
    row("subject goes before sender, either", [](Test) { return subject() | from(Beta); });
    row("first of two subjects", [](Test) { return subject() | subject(Beta); });
    row("in the depth of a tree", [](Test) {
        return Key::status(QMailMessage::Read, Excludes) & (from(Beta) | (subject() & from(Beta)));
    });

    times("before", received(9, QMailDataComparator::LessThan), open, at(9));
    times("until", received(9, QMailDataComparator::LessThanEqual), open, at(9).addSecs(1));
    times("after", received(9, QMailDataComparator::GreaterThan), at(9), open);
    times("since", received(9, QMailDataComparator::GreaterThanEqual), at(9).addSecs(-1), open);
    times("between",
          received(9, QMailDataComparator::GreaterThan)
              & received(17, QMailDataComparator::LessThan),
          at(9), at(17));
    times("narrowest",
          received(9, QMailDataComparator::GreaterThan)
              & received(11, QMailDataComparator::GreaterThan),
          at(11), open);
    times("widest",
          received(9, QMailDataComparator::GreaterThan)
              | received(11, QMailDataComparator::GreaterThan),
          at(9), open);
    times("at", Key::receptionTimeStamp(at(9), Equal), at(9).addSecs(-1), at(9).addSecs(1));
    times("not at", Key::receptionTimeStamp(at(9), NotEqual), open, open);
    times("time of sending", Key::timeStamp(at(9), QMailDataComparator::GreaterThan), open, open);

    folders("a folder", [](Test t) { return subject() & Key::parentFolderId(t.inbox); }, "Inbox");
    folders(
        "the first of a list of folders",
        [](Test t) {
            return subject() & Key::parentFolderId(QMailFolderIdList {t.work, t.deep}, Includes);
        },
        "Work");
    folders(
        "either of two folders",
        [](Test t) {
            return subject() & (Key::parentFolderId(t.inbox) | Key::parentFolderId(t.deep));
        },
        "Deep Inbox");
    folders(
        "below a folder",
        [](Test t) { return subject() & Key::ancestorFolderIds(t.inbox, Includes); }, "Deep Work");
    folders(
        "a folder and all below",
        [](Test t) {
            return subject()
                & (Key::parentFolderId(t.inbox) | Key::ancestorFolderIds(t.inbox, Includes));
        },
        "Deep Inbox Work");
    folders(
        "below a folder that has none",
        [](Test t) { return subject() & Key::ancestorFolderIds(t.deep, Includes); },
        qPrintable(all));
    row("the account", [](Test t) { return subject() & Key::parentAccountId(t.m_account); });
    // Conditions on one level add up, whatever combines them.
    row("the account and a folder of it", [](Test t) {
        return subject() & Key::parentAccountId(t.m_account) & Key::parentFolderId(t.work);
    });
}

void TestSearch::passesOnTheClientsKey()
{
    QFETCH(MakeKey, key);
    QFETCH(QString, text);
    QFETCH(QString, folders);
    QFETCH(QDateTime, after);
    QFETCH(QDateTime, before);
    m_daemon->answer(Answer::nextId().completing(200));
    Search it;
    const Activesync::SearchQuery query = startSearch(it, key(*this));
    QCOMPARE(query.text, text);
    QCOMPARE(query.selector, 1);
    QCOMPARE(folderNames(query.folders).join(QLatin1Char(' ')), folders);
    QCOMPARE(query.receivedAfter, after);
    QCOMPARE(query.receivedBefore, before);
    QCOMPARE(query.reserved, QString());
    verifySucceeded(it.watcher);
    QCOMPARE(m_daemon->calls().size(), 1);
}

void TestSearch::sendsEveryOptionAsAgreed()
{
    m_daemon->answer(Answer::nextId().completing(200));
    Search it;
    search(it, subject());
    const auto call = m_daemon->waitForCall("searchMailbox");
    QCOMPARE(call.accountId(), m_account.toULongLong());
    QCOMPARE(call.signature, QStringLiteral("t(siasxxs)(iissbbiiib)"));
    QVERIFY(call.wantsReply);
    const auto options = call.arguments.value(2).value<Activesync::SearchMailboxOptions>();
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
    verifySucceeded(it.watcher);
}

void TestSearch::sendsTheBodyText()
{
    m_daemon->answer(Answer::nextId().completing(200));
    Search both;
    QCOMPARE(startSearch(both, subject(), Beta).text, Beta);
    verifySucceeded(both.watcher);
    Search bodyAlone;
    QCOMPARE(startSearch(bodyAlone, Key::parentAccountId(m_account), Beta).text, Beta);
    verifySucceeded(bodyAlone.watcher);
}

void TestSearch::asksNothingWithoutAText_data()
{
    QTest::addColumn<MakeKey>("key");
    using Test = const TestSearch &;
    QTest::newRow("times alone") << MakeKey(
        [](Test) { return received(9, QMailDataComparator::GreaterThan); });
    QTest::newRow("folders alone") << MakeKey([](Test t) { return Key::parentFolderId(t.inbox); });
    QTest::newRow("another comparison")
        << MakeKey([](Test) { return Key::subject(Alpha, QMailDataComparator::Equal); });
    QTest::newRow("what the server cannot search")
        << MakeKey([](Test) { return Key::size(1000, QMailDataComparator::GreaterThan); });
    QTest::newRow("everything") << MakeKey([](Test) { return Key(); });
}

void TestSearch::asksNothingWithoutAText()
{
    QFETCH(MakeKey, key);
    Search it;
    search(it, key(*this));
    verifySucceeded(it.watcher);
    QCOMPARE(m_daemon->calls().size(), 0);
    QCOMPARE(logCount("Empty search criteria text"), 1);
}

void TestSearch::asksNothingOfAnAccountWithoutTheFolder()
{
    const QMailAccountId other = addSecondAccount();
    const QMailFolderId theirs =
        StoreFixture::addFolder(other, QStringLiteral("Inbox"), QMailFolder::InboxFolder);
    m_daemon->answer(Answer::nextId().completing(200));
    // The key names no account: both are asked, and only the other one has the folder.
    Search it;
    search(it, subject() & (Key::parentFolderId(theirs) | Key::parentFolderId(inbox)));
    verifySucceeded(it.watcher);
    QHash<qulonglong, QStringList> asked;
    for (const auto &call : m_daemon->calls("searchMailbox"))
        asked[call.accountId()] = call.arguments.at(1).value<Activesync::SearchQuery>().folders;
    QCOMPARE(asked.value(other.toULongLong()), QStringList(QString::number(theirs.toULongLong())));
    QCOMPARE(asked.value(m_account.toULongLong()),
             QStringList(QString::number(inbox.toULongLong())));
    m_daemon->forgetCalls();

    Search theirsAlone;
    search(theirsAlone, subject() & Key::parentFolderId(theirs));
    verifySucceeded(theirsAlone.watcher);
    for (const auto &call : m_daemon->calls("searchMailbox"))
        QCOMPARE(call.accountId(), other.toULongLong());
    QCOMPARE(m_daemon->calls().size(), 1);
}

void TestSearch::asksNothingOfAnAccountOfWhichAFolderIsExcluded()
{
    // The message server's own choice; it never gets as far as the plugin.
    Search it;
    search(it, subject() & Key::parentFolderId(inbox, QMailDataComparator::NotEqual));
    verifyEnded(it.watcher);
    QCOMPARE(m_daemon->calls().size(), 0);
    QCOMPARE(logCount("server-side search for messages"), 0);
}

void TestSearch::asksEveryAccountThatTheKeyAllows()
{
    const QMailAccountId other = addSecondAccount();
    StoreFixture::addFolder(other, QStringLiteral("Inbox"), QMailFolder::InboxFolder);
    Search it;
    search(it, subject());
    const auto first = m_daemon->waitForCall("searchMailbox");
    const auto second = m_daemon->waitForCall("searchMailbox");
    QVERIFY(first.accountId() != second.accountId());
    // For the client the action ends with the first account that is done.
    m_daemon->complete(first.requestId, 200);
    succeed(it, second);
    settle();
    QCOMPARE(it.watcher.endCount(), 1);
    m_daemon->forgetCalls();

    m_daemon->answer(Answer::nextId().completing(200));
    Search one;
    search(one, subject() & Key::parentAccountId(other));
    verifySucceeded(one.watcher);
    QCOMPARE(m_daemon->calls().size(), 1);
    QCOMPARE(m_daemon->calls().constFirst().accountId(), other.toULongLong());
}

void TestSearch::searchesHereWhenAskedTo()
{
    StoreFixture::addMessage(m_account, inbox, Alpha);
    Search it;
    it.action.searchMessages(subject(), QString(), QMailSearchAction::Local, QMailMessageSortKey());
    verifySucceeded(it.watcher);
    QCOMPARE(it.action.matchingMessageIds().size(), 1);
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestSearch::searchesHereUnderALimit()
{
    // The plugin has no search with a limit; the message server then searches the store.
    StoreFixture::addMessage(m_account, inbox, Alpha);
    Search it;
    it.action.searchMessages(subject(), QString(), QMailSearchAction::Remote, quint64(10),
                             QMailMessageSortKey());
    verifyEnded(it.watcher);
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestSearch::failsAsTheDaemonSays_data()
{
    QTest::addColumn<int>("daemonCode");
    QTest::addColumn<int>("errorCode");
    QTest::addRow("no connection") << 902 << 1034;
    QTest::addRow("refused password") << 401 << 1029;
    QTest::addRow("server failed") << 500 << 1027;
}

void TestSearch::failsAsTheDaemonSays()
{
    QFETCH(int, daemonCode);
    QFETCH(int, errorCode);
    m_daemon->answer(Answer::nextId().completing(daemonCode));
    Search it;
    search(it, subject());
    verifyFailed(it.watcher, errorCode);
}

void TestSearch::failsWhileTheDaemonIsAbsent()
{
    m_daemon->vanish();
    Search it;
    search(it, subject());
    verifyFailed(it.watcher, 1037);
}

void TestSearch::endsWhenTheRequestEndsNotWhenTheResultComes()
{
    Search it;
    search(it, subject());
    const auto call = m_daemon->waitForCall("searchMailbox");
    m_daemon->searchMailboxCompleted(200, m_account.toULongLong(), {3, {1, 2, 3}}, call.requestId);
    settle();
    QCOMPARE(it.watcher.endCount(), 0);
    succeed(it, call);
}

void TestSearch::foundMessagesAreInTheStoreForTheClient()
{
    Search it;
    search(it, subject());
    const auto call = m_daemon->waitForCall("searchMailbox");
    // What the daemon finds it puts into the store, while the search runs.
    const QMailMessageId found = StoreFixture::addMessage(m_account, inbox, Alpha);
    m_daemon->searchMailboxCompleted(200, m_account.toULongLong(), {1, {found.toULongLong()}},
                                     call.requestId);
    succeed(it, call);
    Search here;
    here.action.searchMessages(subject(), QString(), QMailSearchAction::Local,
                               QMailMessageSortKey());
    verifySucceeded(here.watcher);
    QCOMPARE(here.action.matchingMessageIds(), QMailMessageIdList {found});
}

void TestSearch::cancels()
{
    Search it;
    search(it, subject());
    const auto call = m_daemon->waitForCall("searchMailbox");
    QVERIFY(it.watcher.waitForStart());
    it.action.cancelOperation();
    const auto abort = m_daemon->waitForCall("abortRequest");
    QCOMPARE(abort.arguments, QVariantList({call.requestId, 1030}));
    QVERIFY(it.watcher.waitForEnd());
    m_daemon->complete(call.requestId, 1030);
    settle();
    QCOMPARE(it.watcher.endCount(), 1);
}

void TestSearch::cancelsBeforeTheDaemonWasAsked()
{
    Retrieval running;
    const auto call = startFolders(running);
    Search it;
    search(it, subject());
    it.action.cancelOperation();
    settle();
    QCOMPARE(m_daemon->callCount("abortRequest"), 0);
    fail(running, call, 401, 1029);
    verifyEnded(it.watcher);
}

void TestSearch::lateEndOfACancelledSearchEndsNothingElse()
{
    for (int round = 0; round < 20; ++round) {
        Search it;
        search(it, subject());
        const auto call = m_daemon->waitForCall("searchMailbox");
        QVERIFY(it.watcher.waitForStart());
        it.action.cancelOperation();
        QVERIFY(m_daemon->waitForCall("abortRequest").isValid());
        QVERIFY(it.watcher.waitForEnd());
        Retrieval next;
        const auto nextCall = startFolders(next);
        m_daemon->complete(call.requestId, 1030);
        m_daemon->complete(nextCall.requestId, 401);
        // Its own end, not the search's.
        verifyFailed(next.watcher, 1029);
        QCOMPARE(it.watcher.endCount(), 1);
    }
}

void TestSearch::cancelsOnlyTheLatestOfTwoSearches()
{
    Search first;
    search(first, subject());
    const auto one = m_daemon->waitForCall("searchMailbox");
    succeed(first, one);
    m_daemon->searchMailboxCompleted(200, m_account.toULongLong(), {}, one.requestId);
    Search second;
    search(second, subject(Beta));
    const auto two = m_daemon->waitForCall("searchMailbox");
    QVERIFY(second.watcher.waitForStart());
    second.action.cancelOperation();
    QCOMPARE(m_daemon->waitForCall("abortRequest").arguments, QVariantList({two.requestId, 1030}));
    m_daemon->complete(two.requestId, 1030);
    QVERIFY(second.watcher.waitForEnd());
    QCOMPARE(m_daemon->callCount("abortRequest"), 1);
}

void TestSearch::findsALostBroadcastByThePoll()
{
    const auto state = pollSoon();
    m_daemon->answerAlive(0);
    Search it;
    search(it, subject());
    const auto call = m_daemon->waitForCall("searchMailbox");
    QCOMPARE(m_daemon->waitForCall("isRequestAlive").arguments, QVariantList {call.requestId});
    verifySucceeded(it.watcher);
}

QTEST_GUILESS_MAIN(TestSearch)

#include "tst_search.moc"
