// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/downloadworld.h"

#include <qmailaccountconfiguration.h>
#include <qmaildisconnected.h>
#include <qmailserviceconfiguration.h>
#include <qmailstore.h>
#include <QSet>
#include <QTest>

#include <memory>

using Activesync::SearchMailboxOptions;
using Activesync::SearchMailboxResult;
using Activesync::SearchQuery;

/** The daemon searches at the server, and what it found is in the mail store. */
class TestMailboxSearch : public DaemonFixture<DownloadWorld>
{
    Q_OBJECT

private slots:
    void whatIsFoundIsToldBeforeTheCompletion();
    void textIsFoundInEveryFolder_data();
    void textIsFoundInEveryFolder();
    void nothingIsFoundWhereNothingMatches();
    void onlyTheFoldersThatAreNamedAreSearched_data();
    void onlyTheFoldersThatAreNamedAreSearched();
    void anApostropheFindsNoMoreThanItSays_data();
    void anApostropheFindsNoMoreThanItSays();
    void boundsOfTimeAreKept_data();
    void boundsOfTimeAreKept();
    void resultsOfManyPagesCome();
    void aSearchBringsABoundedNumber();
    void aRangeOfTheResultsCanBeAskedFor();
    void aServerThatIgnoresTheRangeEndsTheSearch();
    void oldMessagesAreAddedSoThatAPersonCanReadThem();
    void addedMessagesAreFoundAgain_data();
    void addedMessagesAreFoundAgain();
    void addedMessagesSurviveSynchronisations();
    void aSynchronisationThatShowsAnAddedMessageTakesItOver();
    void whatHasGoneVanishesWithAFullSynchronisation();
    void whatTheUserDeletedDoesNotComeBack_data();
    void whatTheUserDeletedDoesNotComeBack();
    void whatTheUserMovedIsFoundWhereItLies_data();
    void whatTheUserMovedIsFoundWhereItLies();
    void whatTheServerDoesNotSynchroniseIsNotDropped();
    void anOpaqueIdIsMatchedWithTheStore();
    void anIdWithAColonIsMatchedWhereTheFolderBeginsWithDrafts();
    void aMessageWithAnOpaqueIdIsReadAndLaterRecognised_data();
    void aMessageWithAnOpaqueIdIsReadAndLaterRecognised();
    void aSearchThatIsTooComplexIsTriedFolderByFolder();
    void boundsThatAreRefusedAreLeftOut();
    void failuresAreTold_data();
    void failuresAreTold();
    void anAbortedSearchEndsAtOnce();
    void itGoesBeforeTheRestOfASynchronisation();

private:
    bool begin() override
    {
        m_results.clear();
        connect(&world().proxy, &Activesync::AsDBusInterface::searchMailboxCompleted, this,
                [this](int, qulonglong, const SearchMailboxResult &result, int id) {
                    m_results.insert(id, result);
                });
        return world().begin();
    }
    /** A message that came so many days ago. */
    void deliver(const QString &subject, int daysAgo, const QString &folder = Inbox);
    int search(const SearchQuery &query, const SearchMailboxOptions &options = {});
    /** Searches all folders, or these, and waits; the code. */
    int find(const QString &text, const QStringList &folders = {});
    /** Finds a message that is here at a server with this quirk in its ids. */
    void findWhatIsHere(const char *quirk);
    SearchQuery query(const QString &text, const QStringList &folders = {});
    QStringList foundSubjects() const;

    QHash<int, SearchMailboxResult> m_results;
    SearchMailboxResult m_found;
    static const QString Inbox;
};

const QString TestMailboxSearch::Inbox = QStringLiteral("Inbox");

void TestMailboxSearch::deliver(const QString &subject, int daysAgo, const QString &folder)
{
    const QByteArray message = "From: carol@example.com\r\nTo: alice@example.com\r\nSubject: "
        + subject.toUtf8() + "\r\n\r\nThe text of " + subject.toUtf8() + "\r\n";
    const qint64 received = QDateTime::currentSecsSinceEpoch() - qint64(daysAgo) * 86400 - 600;
    world().server.deliver(QStringLiteral("alice"), folder, message,
                           {{QStringLiteral("received"), received}});
}

void TestMailboxSearch::findWhatIsHere(const char *quirk)
{
    deliver(QStringLiteral("needle"), 1);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.control("options", {{QLatin1String(quirk), true}});
    QCOMPARE(find(QStringLiteral("needle")), 200);
    QCOMPARE(m_found.messageIds,
             QList<qulonglong>({world().find(QStringLiteral("needle")).toULongLong()}));
}

SearchQuery TestMailboxSearch::query(const QString &text, const QStringList &folders)
{
    SearchQuery query;
    query.text = text;
    query.selector = 1;
    for (const QString &folder : folders)
        query.folders.append(QString::number(world().folder(folder).toULongLong()));
    return query;
}

int TestMailboxSearch::search(const SearchQuery &query, const SearchMailboxOptions &options)
{
    const int id =
        world()
            .proxy.searchMailbox(world().account.toULongLong(), query, options, QDBus::Block)
            .value();
    const int code = world().codeOf(id);
    m_found = m_results.value(id);
    return code;
}

int TestMailboxSearch::find(const QString &text, const QStringList &folders)
{
    return search(query(text, folders));
}

QStringList TestMailboxSearch::foundSubjects() const
{
    QStringList subjects;
    for (const qulonglong id : m_found.messageIds)
        subjects.append(QMailMessageMetaData(QMailMessageId(id)).subject());
    subjects.sort();
    return subjects;
}

void TestMailboxSearch::whatIsFoundIsToldBeforeTheCompletion()
{
    deliver(QStringLiteral("needle"), 1);
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(world().listener.count(QStringLiteral("syncCompleted")), 1);
    world().listener.clear();
    QCOMPARE(find(QStringLiteral("needle")), 200);
    const QStringList broadcasts = world().listener.broadcasts();
    QCOMPARE(broadcasts.size(), 2);
    QVERIFY(broadcasts.first().startsWith(QLatin1String("searchMailboxCompleted 200")));
    QVERIFY(broadcasts.last().startsWith(QLatin1String("requestCompleted 200")));
    QCOMPARE(m_found.total, 1);
    QCOMPARE(m_found.messageIds,
             QList<qulonglong>({world().find(QStringLiteral("needle")).toULongLong()}));
    QCOMPARE(world().messageCount(), 1);
}

void TestMailboxSearch::textIsFoundInEveryFolder_data()
{
    QTest::addColumn<bool>("bareIds");
    QTest::newRow("folders have one id") << false;
    QTest::newRow("a search calls folders by their ids without escapes") << true;
}

void TestMailboxSearch::textIsFoundInEveryFolder()
{
    QFETCH(bool, bareIds);
    world().server.control("options", {{QStringLiteral("bare_search_ids"), bareIds}});
    world().createFolder(QStringLiteral("Work"));
    deliver(QStringLiteral("needle one"), 1);
    deliver(QStringLiteral("hay"), 1);
    deliver(QStringLiteral("needle two"), 1, QStringLiteral("Work"));
    deliver(QStringLiteral("needle three"), 1, QStringLiteral("Sent"));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(find(QStringLiteral("NEEDLE")), 200);
    QCOMPARE(foundSubjects(),
             QStringList({QStringLiteral("needle one"), QStringLiteral("needle three"),
                          QStringLiteral("needle two")}));
    QCOMPARE(m_found.total, 3);
}

void TestMailboxSearch::nothingIsFoundWhereNothingMatches()
{
    deliver(QStringLiteral("hay"), 1);
    QCOMPARE(world().syncAndWait(), 200);
    for (const bool isLenient : {false, true}) {
        world().server.control("options", {{QStringLiteral("simple_search"), isLenient}});
        QCOMPARE(find(QStringLiteral("needle")), 200);
        QCOMPARE(m_found.total, 0);
        QVERIFY(m_found.messageIds.isEmpty());
    }
    SearchQuery nowhere = query(QStringLiteral("hay"));
    nowhere.folders = QStringList {QStringLiteral("999999"), QStringLiteral("x")};
    QCOMPARE(search(nowhere), 200);
    QCOMPARE(m_found.total, 0);
}

void TestMailboxSearch::onlyTheFoldersThatAreNamedAreSearched_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("isLenient");
    QTest::newRow("few") << 2 << false;
    QTest::newRow("few, a simple server") << 2 << true;
    QTest::newRow("many") << 7 << false;
    QTest::newRow("many, a simple server") << 7 << true;
}

void TestMailboxSearch::onlyTheFoldersThatAreNamedAreSearched()
{
    QFETCH(int, count);
    QFETCH(bool, isLenient);
    QStringList folders;
    QStringList expected;
    for (int i = 0; i < 10; ++i) {
        const QString name = QStringLiteral("Folder %1").arg(i);
        world().createFolder(name);
        deliver(QStringLiteral("needle %1").arg(i), 1, name);
        if (i < count) {
            folders.append(name);
            expected.append(QStringLiteral("needle %1").arg(i));
        }
    }
    QCOMPARE(world().syncAndWait(), 200);
    world().server.control("options", {{QStringLiteral("simple_search"), isLenient}});
    QCOMPARE(find(QStringLiteral("needle"), folders), 200);
    QCOMPARE(foundSubjects(), expected);
    QCOMPARE(m_found.total, count);
}

void TestMailboxSearch::anApostropheFindsNoMoreThanItSays_data()
{
    QTest::addColumn<bool>("findsAll");
    QTest::newRow("a server that finds what it is asked for") << false;
    QTest::newRow("a server that takes it for the text's end") << true;
}

void TestMailboxSearch::anApostropheFindsNoMoreThanItSays()
{
    QFETCH(bool, findsAll);
    deliver(QStringLiteral("A baker's dozen"), 1);
    deliver(QStringLiteral("A Baker\u2019s loaf"), 2);
    deliver(QStringLiteral("A baker and a dozen"), 3);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.control("options",
                           {{QStringLiteral("simple_search"), findsAll},
                            {QStringLiteral("apostrophe_is_all"), findsAll}});
    QCOMPARE(find(QStringLiteral("baker's dozen"), {Inbox}), 200);
    QCOMPARE(foundSubjects(), QStringList({QStringLiteral("A baker's dozen")}));
    QCOMPARE(m_found.total, 1);
    QCOMPARE(find(QStringLiteral("o'clock"), {Inbox}), 200);
    QCOMPARE(foundSubjects(), QStringList());
}

void TestMailboxSearch::boundsOfTimeAreKept_data()
{
    QTest::addColumn<int>("after");
    QTest::addColumn<int>("before");
    QTest::addColumn<bool>("isLenient");
    QTest::addColumn<QStringList>("expected");
    for (const bool lenient : {false, true}) {
        const char *who = lenient ? "a simple server" : "a server that knows bounds";
        const auto all = QStringList {QStringLiteral("needle 1"), QStringLiteral("needle 10"),
                                      QStringLiteral("needle 5")};
        QTest::addRow("none, %s", who) << 0 << 0 << lenient << all;
        QTest::addRow("before, %s", who) << 0 << 3 << lenient << QStringList(all.mid(1));
        QTest::addRow("after, %s", who) << 7 << 0 << lenient << QStringList({all[0], all[2]});
        QTest::addRow("both, %s", who) << 7 << 3 << lenient << QStringList(all.mid(2));
    }
}

void TestMailboxSearch::boundsOfTimeAreKept()
{
    QFETCH(int, after);
    QFETCH(int, before);
    QFETCH(bool, isLenient);
    QFETCH(QStringList, expected);
    for (const int days : {1, 5, 10})
        deliver(QStringLiteral("needle %1").arg(days), days);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.control("options", {{QStringLiteral("simple_search"), isLenient}});
    SearchQuery wanted = query(QStringLiteral("needle"));
    const QDateTime now = QDateTime::currentDateTimeUtc();
    if (after > 0)
        wanted.receivedAfter = now.addDays(-after);
    if (before > 0)
        wanted.receivedBefore = now.addDays(-before);
    QCOMPARE(search(wanted), 200);
    QCOMPARE(foundSubjects(), expected);
    QCOMPARE(m_found.total, expected.size());
}

void TestMailboxSearch::resultsOfManyPagesCome()
{
    for (int i = 0; i < 230; ++i)
        deliver(QStringLiteral("needle %1").arg(i), 60);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 0);
    QCOMPARE(find(QStringLiteral("needle"), {Inbox}), 200);
    QCOMPARE(m_found.total, 230);
    QCOMPARE(m_found.messageIds.size(), 230);
    QCOMPARE(QSet<qulonglong>(m_found.messageIds.cbegin(), m_found.messageIds.cend()).size(), 230);
    QCOMPARE(world().messageCount(), 230);
}

void TestMailboxSearch::aSearchBringsABoundedNumber()
{
    for (int i = 0; i < 620; ++i)
        deliver(QStringLiteral("needle %1").arg(i), 60);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(find(QStringLiteral("needle"), {Inbox}), 200);
    QCOMPARE(m_found.total, 620);
    QCOMPARE(m_found.messageIds.size(), 500);
    QCOMPARE(world().messageCount(), 500);
}

void TestMailboxSearch::aRangeOfTheResultsCanBeAskedFor()
{
    for (int i = 0; i < 20; ++i)
        deliver(QStringLiteral("needle %1").arg(i), i);
    QCOMPARE(world().syncAndWait(), 200);
    SearchMailboxOptions options;
    options.rangeStart = 5;
    options.rangeEnd = 7;
    QCOMPARE(search(query(QStringLiteral("needle"), {Inbox}), options), 200);
    QCOMPARE(foundSubjects(),
             QStringList({QStringLiteral("needle 5"), QStringLiteral("needle 6"),
                          QStringLiteral("needle 7")}));
    QCOMPARE(m_found.total, 20);
}

void TestMailboxSearch::aServerThatIgnoresTheRangeEndsTheSearch()
{
    for (int i = 0; i < 100; ++i)
        deliver(QStringLiteral("needle %1").arg(i), 2);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.control("options", {{QStringLiteral("ignores_search_range"), true}});
    QCOMPARE(find(QStringLiteral("needle"), {Inbox}), 200);
    QCOMPARE(m_found.messageIds.size(), 100);
    QVERIFY(world().server.requestCount("Search") <= 2);
}

void TestMailboxSearch::oldMessagesAreAddedSoThatAPersonCanReadThem()
{
    deliver(QStringLiteral("needle"), 90, QStringLiteral("Sent"));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 0);
    QCOMPARE(find(QStringLiteral("needle")), 200);
    const QMailMessageId id(m_found.messageIds.value(0));
    QVERIFY(id.isValid());
    const QMailMessage message(id);
    QCOMPARE(message.subject(), QStringLiteral("needle"));
    QCOMPARE(message.parentFolderId(), world().folder(QStringLiteral("Sent")));
    QCOMPARE(message.parentAccountId(), world().account);
    QVERIFY(message.status() & QMailMessage::Sent);
    QVERIFY(!(message.status() & QMailMessage::New));
    QCOMPARE(bool(message.status() & QMailMessage::Read),
             bool(message.status() & QMailMessage::ReadElsewhere));
    QCOMPARE(message.receivedDate().toUTC().date(),
             QDateTime::currentDateTimeUtc().addSecs(-90 * 86400 - 600).date());
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QTRY_VERIFY(QMailMessage(id).body().data().contains(QLatin1String("The text of needle")));
}

void TestMailboxSearch::addedMessagesAreFoundAgain_data()
{
    QTest::addColumn<QString>("quirk");
    QTest::newRow("LongIds tell the items' ids") << QString();
    QTest::newRow("LongIds have a colon") << QStringLiteral("colon_long_ids");
    QTest::newRow("LongIds tell nothing") << QStringLiteral("opaque_long_ids");
}

void TestMailboxSearch::addedMessagesAreFoundAgain()
{
    QFETCH(QString, quirk);
    if (!quirk.isEmpty())
        world().server.control("options", {{quirk, true}});
    deliver(QStringLiteral("needle"), 90);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(find(QStringLiteral("needle")), 200);
    const QList<qulonglong> first = m_found.messageIds;
    QCOMPARE(first.size(), 1);
    QCOMPARE(find(QStringLiteral("needle")), 200);
    QCOMPARE(m_found.messageIds, first);
    QCOMPARE(world().messageCount(), 1);
    // A message of which the form of the server's ids is known comes into the folder.
    deliver(QStringLiteral("recent"), 1);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(find(QStringLiteral("needle")), 200);
    QCOMPARE(m_found.messageIds, first);
    QCOMPARE(world().messageCount(), 2);
}

void TestMailboxSearch::addedMessagesSurviveSynchronisations()
{
    deliver(QStringLiteral("needle"), 90);
    deliver(QStringLiteral("recent"), 2);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(find(QStringLiteral("needle")), 200);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 2);
    // A key that is lost makes the daemon compare the folder with what the server shows.
    world().server.control("forget", {{QStringLiteral("user"), QStringLiteral("alice")}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 2);
    QCOMPARE(world().find(QStringLiteral("needle")).toULongLong(), m_found.messageIds.value(0));
    deliver(QStringLiteral("newer"), 0);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 3);
}

void TestMailboxSearch::aSynchronisationThatShowsAnAddedMessageTakesItOver()
{
    deliver(QStringLiteral("needle"), 90);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(find(QStringLiteral("needle")), 200);
    const QMailMessageId id(m_found.messageIds.value(0));
    world().keepDays(0);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 1);
    QCOMPARE(world().find(QStringLiteral("needle")), id);
    // From now on it goes as others go.
    world().changeAtServer("delete", QStringLiteral("needle"));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 0);
}

void TestMailboxSearch::whatHasGoneVanishesWithAFullSynchronisation()
{
    deliver(QStringLiteral("needle"), 90);
    deliver(QStringLiteral("other"), 80);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(find(QStringLiteral("needle")), 200);
    world().changeAtServer("delete", QStringLiteral("needle"));
    world().keepDays(0);
    world().server.control("forget", {{QStringLiteral("user"), QStringLiteral("alice")}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(), QStringList({QStringLiteral("other")}));
}

void TestMailboxSearch::whatTheUserDeletedDoesNotComeBack_data()
{
    QTest::addColumn<bool>("isOpaque");
    QTest::newRow("LongIds tell the items' ids") << false;
    QTest::newRow("LongIds tell nothing") << true;
}

void TestMailboxSearch::whatTheUserDeletedDoesNotComeBack()
{
    QFETCH(bool, isOpaque);
    world().server.control("options", {{QStringLiteral("opaque_long_ids"), isOpaque}});
    deliver(QStringLiteral("needle"), 1);
    deliver(QStringLiteral("old needle"), 90);
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(QMailStore::instance()->removeMessage(world().find(QStringLiteral("needle")),
                                                  QMailStore::CreateRemovalRecord));
    QCOMPARE(find(QStringLiteral("needle")), 200);
    // What no synchronisation has shown cannot be what was deleted.
    QCOMPARE(foundSubjects(), QStringList({QStringLiteral("old needle")}));
    QCOMPARE(world().subjects(), QStringList({QStringLiteral("old needle")}));
    QVERIFY(!world().atServer(QStringLiteral("needle")).isEmpty());
}

void TestMailboxSearch::whatTheUserMovedIsFoundWhereItLies_data()
{
    whatTheUserDeletedDoesNotComeBack_data();
}

void TestMailboxSearch::whatTheUserMovedIsFoundWhereItLies()
{
    QFETCH(bool, isOpaque);
    world().server.control("options", {{QStringLiteral("opaque_long_ids"), isOpaque}});
    deliver(QStringLiteral("needle"), 1);
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = world().find(QStringLiteral("needle"));
    QMailDisconnected::moveToFolder({id}, world().folder(QStringLiteral("Sent")));
    QCOMPARE(find(QStringLiteral("needle")), 200);
    QCOMPARE(m_found.messageIds, QList<qulonglong>({id.toULongLong()}));
    QCOMPARE(world().messageCount(), 1);
    QVERIFY(!world().atServer(QStringLiteral("needle")).isEmpty());
}

void TestMailboxSearch::whatTheServerDoesNotSynchroniseIsNotDropped()
{
    deliver(QStringLiteral("needle"), 90);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(find(QStringLiteral("needle")), 200);
    const QMailMessageId id(m_found.messageIds.value(0));
    QMailMessageMetaData message(id);
    message.setStatus(QMailMessage::Important, true);
    QVERIFY(QMailStore::instance()->updateMessage(&message));
    world().server.fault("item_status", "Sync", {{"status", 8}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 1);
    QTRY_VERIFY(QMailMessageMetaData(id).status() & QMailMessage::ImportantElsewhere);
    QVERIFY(QMailMessageMetaData(id).status() & QMailMessage::Important);
}

void TestMailboxSearch::anOpaqueIdIsMatchedWithTheStore()
{
    findWhatIsHere("opaque_long_ids");
    QCOMPARE(world().messageCount(), 1);
}

/** How the server names items is seen by one that is here, be it after many that never were there.
 */
void TestMailboxSearch::anIdWithAColonIsMatchedWhereTheFolderBeginsWithDrafts()
{
    QCOMPARE(world().syncAndWait(), 200);
    for (int i = 0; i < 12; ++i) {
        QMailMessage draft;
        draft.setParentAccountId(world().account);
        draft.setParentFolderId(world().folder(Inbox));
        draft.setSubject(QStringLiteral("draft"));
        QVERIFY(QMailStore::instance()->addMessage(&draft));
    }
    findWhatIsHere("colon_long_ids");
    QCOMPARE(world().messageCount(), 13);
}

void TestMailboxSearch::aMessageWithAnOpaqueIdIsReadAndLaterRecognised_data()
{
    QTest::addColumn<QString>("quirk");
    QTest::newRow("LongIds tell nothing") << QStringLiteral("opaque_long_ids");
    // No message of the folder is here to show which they are.
    QTest::newRow("LongIds are one of two forms") << QStringLiteral("colon_long_ids");
}

void TestMailboxSearch::aMessageWithAnOpaqueIdIsReadAndLaterRecognised()
{
    QFETCH(QString, quirk);
    deliver(QStringLiteral("needle"), 90);
    world().server.control("options", {{quirk, true}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(find(QStringLiteral("needle")), 200);
    const QMailMessageId id(m_found.messageIds.value(0));
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QTRY_VERIFY(QMailMessage(id).body().data().contains(QLatin1String("The text of needle")));
    QCOMPARE(find(QStringLiteral("needle")), 200);
    QCOMPARE(m_found.messageIds, QList<qulonglong>({id.toULongLong()}));
    // What the user does to it cannot be told to the server, and does no harm.
    QMailMessageMetaData message(id);
    message.setStatus(QMailMessage::Important, true);
    QVERIFY(QMailStore::instance()->updateMessage(&message));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 1);
    world().keepDays(0);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 1);
    QCOMPARE(world().find(QStringLiteral("needle")), id);
    world().changeAtServer("delete", QStringLiteral("needle"));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 0);
}

void TestMailboxSearch::aSearchThatIsTooComplexIsTriedFolderByFolder()
{
    world().createFolder(QStringLiteral("Work"));
    deliver(QStringLiteral("needle one"), 1);
    deliver(QStringLiteral("needle two"), 1, QStringLiteral("Work"));
    QCOMPARE(world().syncAndWait(), 200);
    world().server.fault("status", "Search", {{"status", 8}});
    QCOMPARE(find(QStringLiteral("needle")), 200);
    QCOMPARE(m_found.total, 2);
    QCOMPARE(m_found.messageIds.size(), 2);
}

void TestMailboxSearch::boundsThatAreRefusedAreLeftOut()
{
    deliver(QStringLiteral("needle 1"), 1);
    deliver(QStringLiteral("needle 9"), 9);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.fault("http", "Search", {{"status", 500}});
    SearchQuery wanted = query(QStringLiteral("needle"), {Inbox});
    wanted.receivedBefore = QDateTime::currentDateTimeUtc().addDays(-5);
    QCOMPARE(search(wanted), 200);
    QCOMPARE(foundSubjects(), QStringList({QStringLiteral("needle 9")}));
    QCOMPARE(world().server.requestCount("Search"), 2);
}

void TestMailboxSearch::failuresAreTold_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("code");
    QTest::newRow("the server fails") << "http" << 500 << 500;
    QTest::newRow("the login is refused") << "http" << 401 << 401;
    QTest::newRow("the device is refused") << "http" << 403 << 403;
    QTest::newRow("the connection breaks") << "reset" << 0 << 902;
    QTest::newRow("no answer of this protocol") << "rubbish" << 0 << 501;
}

void TestMailboxSearch::failuresAreTold()
{
    QFETCH(QString, kind);
    QFETCH(int, status);
    QFETCH(int, code);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.fault(qPrintable(kind), "Search", {{"count", -1}, {"status", status}});
    QCOMPARE(find(QStringLiteral("needle"), {Inbox}), code);
    QCOMPARE(world().listener.count(QStringLiteral("searchMailboxCompleted %1").arg(code)), 1);
    world().server.clearFaults();
    QCOMPARE(find(QStringLiteral("needle"), {Inbox}), 200);
}

void TestMailboxSearch::anAbortedSearchEndsAtOnce()
{
    deliver(QStringLiteral("needle"), 90);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.fault("delay", "Search", {{"seconds", 20}});
    const int id = world()
                       .proxy
                       .searchMailbox(world().account.toULongLong(),
                                      query(QStringLiteral("needle")), {}, QDBus::Block)
                       .value();
    QTRY_COMPARE(world().server.requestCount("Search"), 1);
    world().proxy.abortRequest(id, 1030, QDBus::Block);
    QCOMPARE(world().codeOf(id, 1000), 1030);
    QCOMPARE(world().listener.completionsOf(id), 1);
    QCOMPARE(world().messageCount(), 0);
    QCOMPARE(find(QStringLiteral("needle")), 200);
    QCOMPARE(world().messageCount(), 1);
}

void TestMailboxSearch::itGoesBeforeTheRestOfASynchronisation()
{
    QCOMPARE(world().syncAndWait(), 200);
    world().deliver(1000);
    world().server.fault("delay", "Sync", {{"seconds", 0.3}, {"count", -1}});
    const int sync = world().sync();
    QTRY_VERIFY(world().messageCount() > 50);
    QCOMPARE(find(QStringLiteral("Mail 7")), 200);
    QCOMPARE(world().listener.codeOf(sync), 0);
    QVERIFY(!m_found.messageIds.isEmpty());
    world().server.clearFaults();
    QCOMPARE(world().codeOf(sync), 200);
    QCOMPARE(world().messageCount(), 1000);
    QCOMPARE(world().differentSubjects(), 1000);
}

QTEST_GUILESS_MAIN(TestMailboxSearch)
#include "tst_mailboxsearch.moc"
