// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/pacing/sizes.h"
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/downloadworld.h"

#include <QDateTime>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QTest>

#include <memory>

namespace {

const QString Inbox = QStringLiteral("Inbox");
const QString Drafts = QStringLiteral("Drafts");
constexpr int Preview = 30;

} // namespace

/** The lists of some folders' messages, and how far back they reach. */
class TestMessageLists : public DaemonFixture<DownloadWorld>
{
    Q_OBJECT

private slots:
    void severalListsBringHeadersAndAPreview();
    void oneListBringsTheTextUpToABound();
    void whoeverWantsTheTextGetsIt();
    void localChangesGoFirst();
    void foldersOfAnotherAccountArePassedOver();
    void theFirstListBringsTheTreeAndTheInbox_data();
    void theFirstListBringsTheTreeAndTheInbox();
    void theNewsOfNoFolderAreThoseOfTheInbox();
    void aFirstListWithoutATreeFails();
    void aLongerTimeBringsOlderMessagesAndKeepsTheOthers();
    void aShorterTimeRemovesHereAlone();
    void theTimeCanChangeWhileTheKeyIsLost();
    void windowsFitIntoASecond();

private:
    using Message = QMailMessageMetaData;

    QString number(const QString &folder)
    {
        return QString::number(world().folder(folder).toULongLong());
    }
    void deliverText(const QString &subject, int lines)
    {
        const QByteArray text = QByteArray("A line of this very long text.\r\n").repeated(lines);
        world().server.deliver(QStringLiteral("alice"), Inbox,
                               "From: carol@example.com\r\nSubject: " + subject.toUtf8()
                                   + "\r\n\r\n" + text);
    }
    void deliverOld(const QString &subject, int daysAgo);
    int listOf(const QString &folder, int contentType, int value = 0)
    {
        return world().codeOf(world().syncFolders({number(folder)}, contentType, value));
    }
    /** What the store has in the inbox, as other processes see it. */
    QMap<QString, QMailMessageId> idsOfInbox();
    int bodySize(const QString &subject)
    {
        return int(QMailMessage(world().find(subject)).body().length());
    }
};

void TestMessageLists::deliverOld(const QString &subject, int daysAgo)
{
    const qint64 received = QDateTime::currentSecsSinceEpoch() - qint64(daysAgo) * 86400 + 3600;
    world().server.deliver(QStringLiteral("alice"), Inbox,
                           "From: carol@example.com\r\nSubject: " + subject.toUtf8()
                               + "\r\n\r\nText.\r\n",
                           {{QStringLiteral("received"), received}});
}

QMap<QString, QMailMessageId> TestMessageLists::idsOfInbox()
{
    QMap<QString, QMailMessageId> ids;
    const auto found = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::parentFolderId(world().folder(Inbox)),
        QMailMessageKey::Id | QMailMessageKey::Subject);
    for (const Message &message : found)
        ids.insert(message.subject(), message.id());
    return ids;
}

void TestMessageLists::severalListsBringHeadersAndAPreview()
{
    QCOMPARE(world().syncAndWait(), 200);
    deliverText(QStringLiteral("Long"), 1000);
    QCOMPARE(listOf(Inbox, Preview), 200);
    const Message message(world().find(QStringLiteral("Long")));
    QVERIFY(message.status() & QMailMessage::PartialContentAvailable);
    QVERIFY(!(message.status() & QMailMessage::ContentAvailable));
    QVERIFY(message.preview().startsWith(QStringLiteral("A line of this")));
    QVERIFY(bodySize(QStringLiteral("Long")) <= 4096);
    // A person who opens it gets all of it, under the same id.
    QCOMPARE(world().codeOf(world().downloadMessage(message.id())), 200);
    QTRY_VERIFY(Message(message.id()).status() & QMailMessage::ContentAvailable);
    QVERIFY(bodySize(QStringLiteral("Long")) > 30000);
    QCOMPARE(world().find(QStringLiteral("Long")), message.id());
}

void TestMessageLists::oneListBringsTheTextUpToABound()
{
    QCOMPARE(world().syncAndWait(), 200);
    deliverText(QStringLiteral("Long"), 1000);
    deliverText(QStringLiteral("Longer"), 10000);
    QCOMPARE(listOf(Inbox, 0), 200);
    QVERIFY(Message(world().find(QStringLiteral("Long"))).status()
            & QMailMessage::ContentAvailable);
    QVERIFY(!(Message(world().find(QStringLiteral("Longer"))).status()
              & QMailMessage::ContentAvailable));
    QVERIFY(bodySize(QStringLiteral("Longer")) > 32000);
    QVERIFY(bodySize(QStringLiteral("Longer")) <= 65536);
}

void TestMessageLists::whoeverWantsTheTextGetsIt()
{
    QCOMPARE(world().syncAndWait(), 200);
    deliverText(QStringLiteral("Long"), 1000);
    // Something else is under way, so that both become one run.
    world().server.fault("delay", "FolderSync", {{"seconds", 20}});
    const int tree = world().proxy.folderSync(world().account.toULongLong(), QDBus::Block).value();
    const int preview = world().syncFolders({number(Inbox)}, Preview);
    const int text = world().syncFolders({number(Inbox)}, 0);
    QVERIFY(world().faultsAreTaken());
    world().server.endDelays();
    for (int request : {tree, preview, text})
        QCOMPARE(world().codeOf(request), 200);
    QVERIFY(Message(world().find(QStringLiteral("Long"))).status()
            & QMailMessage::ContentAvailable);
}

void TestMessageLists::localChangesGoFirst()
{
    world().deliver(1);
    QCOMPARE(world().syncAndWait(), 200);
    QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::id(world().find(QStringLiteral("Mail 1"))), Message::Read, true);
    world().server.clearLog();
    deliverText(QStringLiteral("News"), 1);
    QCOMPARE(listOf(Inbox, 0, 5), 200);
    const QList<QJsonObject> requests = world().server.requests("Sync");
    // Behind a look at what others did to the same messages.
    QVERIFY(requests.size() >= 2);
    QVERIFY(requests.at(1)
                .value(QStringLiteral("request"))
                .toString()
                .contains(QStringLiteral("AirSync:Change")));
    QVERIFY(world()
                .server.messages(QStringLiteral("alice"), Inbox)
                .first()
                .value(QStringLiteral("read"))
                .toBool());
    QVERIFY(world().subjects().contains(QStringLiteral("News")));
}

void TestMessageLists::foldersOfAnotherAccountArePassedOver()
{
    QCOMPARE(world().syncAndWait(), 200);
    StoreFixture::Account settings = world().settings();
    settings.username = QStringLiteral("bob");
    const QMailAccountId other = StoreFixture::addAccount(settings);
    QCOMPARE(world().codeOf(world().sync(other)), 200);
    const QMailFolderId theirs = QMailStore::instance()
                                     ->queryFolders(QMailFolderKey::parentAccountId(other)
                                                    & QMailFolderKey::displayName(Inbox))
                                     .value(0);
    QVERIFY(theirs.isValid());
    world().server.deliverText(QStringLiteral("bob"), QStringLiteral("Not for alice"));
    world().server.clearLog();
    const QString id = QString::number(theirs.toULongLong());
    QCOMPARE(world().codeOf(world().syncFolders({id, QStringLiteral("x"), QString()}, Preview)),
             200);
    QCOMPARE(world().server.requestCount("Sync"), 0);
}

void TestMessageLists::theFirstListBringsTheTreeAndTheInbox_data()
{
    QTest::addColumn<QStringList>("folders");
    QTest::newRow("no folder's number, as of a program that knows none")
        << QStringList {QStringLiteral("0")};
    QTest::newRow("a folder that is not here") << QStringList {QStringLiteral("987654")};
    QTest::newRow("nothing") << QStringList();
}

void TestMessageLists::theFirstListBringsTheTreeAndTheInbox()
{
    QFETCH(QStringList, folders);
    world().deliver(2);
    world().deliver(1, QStringLiteral("Draft"), Drafts);
    QCOMPARE(world().codeOf(world().syncFolders(folders, Preview)), 200);
    QVERIFY(QMailAccount(world().account).standardFolder(QMailFolder::InboxFolder).isValid());
    QVERIFY(world().folder(Drafts).isValid());
    QCOMPARE(world().subjects(),
             (QStringList {QStringLiteral("Mail 1"), QStringLiteral("Mail 2")}));
    QVERIFY(world().subjects(Drafts).isEmpty());
    QCOMPARE(world().listener.count(QStringLiteral("syncStarted")), 1);
    QTRY_COMPARE(world().listener.count(QStringLiteral("syncCompleted")), 1);
}

void TestMessageLists::theNewsOfNoFolderAreThoseOfTheInbox()
{
    QCOMPARE(world().syncAndWait(), 200);
    world().deliver(1);
    world().server.clearLog();
    QCOMPARE(world().codeOf(world().syncFolders({QStringLiteral("0")}, Preview)), 200);
    QCOMPARE(world().subjects(), QStringList {QStringLiteral("Mail 1")});
    QCOMPARE(world().server.requestCount("FolderSync"), 0);
    QCOMPARE(world().server.requestCount("Sync"), 1);
}

void TestMessageLists::aFirstListWithoutATreeFails()
{
    world().server.fault("status", "FolderSync", {{"status", 10}});
    QCOMPARE(world().codeOf(world().syncFolders({QStringLiteral("0")}, Preview)), 500);
    QCOMPARE(world().server.requestCount("Sync"), 0);
}

void TestMessageLists::aLongerTimeBringsOlderMessagesAndKeepsTheOthers()
{
    world().keepDays(7);
    for (int days : {1, 5, 12, 40})
        deliverOld(QStringLiteral("%1 days").arg(days), days);
    QCOMPARE(world().syncAndWait(), 200);
    const QMap<QString, QMailMessageId> week = idsOfInbox();
    QCOMPARE(week.keys(), (QStringList {QStringLiteral("1 days"), QStringLiteral("5 days")}));
    world().keepDays(14);
    QCOMPARE(world().syncAndWait(), 200);
    QMap<QString, QMailMessageId> more = idsOfInbox();
    QCOMPARE(more.size(), 3);
    world().keepDays(0);
    QCOMPARE(world().syncAndWait(), 200);
    more = idsOfInbox();
    QCOMPARE(more.size(), 4);
    for (auto it = week.cbegin(); it != week.cend(); ++it)
        QCOMPARE(more.value(it.key()), it.value());
}

void TestMessageLists::aShorterTimeRemovesHereAlone()
{
    for (int days : {1, 5, 12})
        deliverOld(QStringLiteral("%1 days").arg(days), days);
    QCOMPARE(world().syncAndWait(), 200);
    const QMap<QString, QMailMessageId> month = idsOfInbox();
    QCOMPARE(month.size(), 3);
    // What the user did to one that leaves still travels.
    QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::id(month.value(QStringLiteral("12 days"))), Message::Important, true);
    world().keepDays(3);
    QCOMPARE(world().syncAndWait(), 200);
    const QMap<QString, QMailMessageId> left = idsOfInbox();
    QCOMPARE(left.keys(), QStringList {QStringLiteral("1 days")});
    QCOMPARE(left.first(), month.value(QStringLiteral("1 days")));
    QVERIFY(QMailStore::instance()->messageRemovalRecords(world().account).isEmpty());
    const QList<QJsonObject> there = world().server.messages(QStringLiteral("alice"), Inbox);
    QCOMPARE(there.size(), 3);
    QCOMPARE(there.last().value(QStringLiteral("flag")).toInt(), 2);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.messages(QStringLiteral("alice"), Inbox).size(), 3);
}

void TestMessageLists::theTimeCanChangeWhileTheKeyIsLost()
{
    for (int days : {1, 12})
        deliverOld(QStringLiteral("%1 days").arg(days), days);
    QCOMPARE(world().syncAndWait(), 200);
    const QMap<QString, QMailMessageId> month = idsOfInbox();
    world().server.control(
        "forget",
        {{QStringLiteral("user"), QStringLiteral("alice")}, {QStringLiteral("folder"), Inbox}});
    deliverOld(QStringLiteral("40 days"), 40);
    world().keepDays(0);
    QCOMPARE(world().syncAndWait(), 200);
    const QMap<QString, QMailMessageId> all = idsOfInbox();
    QCOMPARE(all.size(), 3);
    for (auto it = month.cbegin(); it != month.cend(); ++it)
        QCOMPARE(all.value(it.key()), it.value());
}

void TestMessageLists::windowsFitIntoASecond()
{
    const Daemon::AdaptiveSize::Range range = Daemon::Sizes::Window;
    Daemon::AdaptiveSize size(range);
    QCOMPARE(size.value(), range.first);
    // A quick server and a quick store: as many as there may be.
    for (int i = 0; i < 5; ++i)
        size.adapt(size.value(), 50);
    QCOMPARE(size.value(), range.maximum);
    // A slow line.
    size.adapt(100, 20000);
    QCOMPARE(size.value(), range.minimum);
    size.adapt(5, 500);
    QCOMPARE(size.value(), 10);
    // The last window of a folder says little.
    size.adapt(1, 10);
    QCOMPARE(size.value(), 10);
}

QTEST_GUILESS_MAIN(TestMessageLists)
#include "tst_messagelists.moc"
