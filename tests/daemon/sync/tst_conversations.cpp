// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/sendingworld.h"

#include <QHash>
#include <QJsonArray>
#include <qmailstore.h>
#include <qmailthread.h>
#include <QTest>

namespace {

const QString Inbox = QStringLiteral("Inbox");

} // namespace

/** The threads that a server's conversations become. */
class TestConversations : public DaemonFixture<SendingWorld>
{
    Q_OBJECT

private slots:
    void answersThatComeFirstAreInTheThread();
    void theThreadIsFoundAgainAfterARestart();
    void aMailboxOfConversationsHasAThreadForEach();
    void whatASearchBroughtIsInTheThread();
    void anAnswerThatIsSentFromHereIsInTheThread();
    void accountsHaveTheirOwnThreads();
    void aServerThatTellsNoConversationsIsNoTrouble();

private:
    /** A message of the n-th hour before now, which answers others. */
    void deliver(int n, const QString &subject, const QList<int> &answered = {},
                 const QString &user = QStringLiteral("alice"));
    /** The thread that the store has the account's message in. */
    quint64 threadOf(const QString &subject);
    int threads(const QMailAccountId &account);
};

void TestConversations::deliver(int n, const QString &subject, const QList<int> &answered,
                                const QString &user)
{
    QByteArray references;
    for (const int other : answered)
        references += " <m" + QByteArray::number(other) + "@elsewhere.test>";
    const QByteArray message = "From: bob@example.test\r\nTo: alice@example.test\r\nSubject: "
        + subject.toUtf8() + "\r\nMessage-ID: <m" + QByteArray::number(n) + "@elsewhere.test>\r\n"
        + (answered.isEmpty() ? QByteArray() : "References:" + references + "\r\n")
        + "\r\nText.\r\n";
    const qint64 received = QDateTime::currentSecsSinceEpoch() - qint64(n) * 3600;
    world().server.deliver(user, Inbox, message, {{QStringLiteral("received"), received}});
}

quint64 TestConversations::threadOf(const QString &subject)
{
    const QMailMessageMetaDataList found = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::id(world().find(subject)), QMailMessageKey::ParentThreadId);
    return found.isEmpty() ? 0 : found.first().parentThreadId().toULongLong();
}

int TestConversations::threads(const QMailAccountId &account)
{
    return QMailStore::instance()->countThreads(QMailThreadKey::parentAccountId(account));
}

void TestConversations::answersThatComeFirstAreInTheThread()
{
    deliver(1, QStringLiteral("Re: Plan, again"), {3, 2});
    QCOMPARE(world().syncAndWait(), 200);
    deliver(3, QStringLiteral("Plan"));
    QCOMPARE(world().syncAndWait(), 200);
    deliver(2, QStringLiteral("Re: Plan"), {3});
    deliver(4, QStringLiteral("Lunch"));
    QCOMPARE(world().syncAndWait(), 200);
    const quint64 plan = threadOf(QStringLiteral("Plan"));
    QVERIFY(plan > 0);
    QCOMPARE(threadOf(QStringLiteral("Re: Plan")), plan);
    QCOMPARE(threadOf(QStringLiteral("Re: Plan, again")), plan);
    QCOMPARE(threads(world().account), 2);
    const QMailThread thread {QMailThreadId(plan)};
    QCOMPARE(int(thread.messageCount()), 3);
    QCOMPARE(thread.subject(), QStringLiteral("Plan"));
    const QMailMessageMetaData last(world().find(QStringLiteral("Re: Plan, again")));
    QCOMPARE(thread.lastDate().toUTC(), last.date().toUTC());
}

void TestConversations::theThreadIsFoundAgainAfterARestart()
{
    deliver(2, QStringLiteral("Plan"));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().endDaemon(), 0);
    QVERIFY(world().startDaemon());
    deliver(1, QStringLiteral("Another word for it"), {2});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(threadOf(QStringLiteral("Another word for it")), threadOf(QStringLiteral("Plan")));
}

void TestConversations::aMailboxOfConversationsHasAThreadForEach()
{
    QHash<int, int> beginnings;
    for (int n = 60; n > 0; --n) {
        const int first = n > 20 ? n : n % 20 + 41;
        beginnings.insert(n, first);
        deliver(n, QStringLiteral("Mail %1").arg(n),
                first == n ? QList<int>() : QList<int> {first});
    }
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 60);
    QCOMPARE(threads(world().account), 40);
    for (auto it = beginnings.constBegin(); it != beginnings.constEnd(); ++it)
        QCOMPARE(threadOf(QStringLiteral("Mail %1").arg(it.key())),
                 threadOf(QStringLiteral("Mail %1").arg(it.value())));
}

void TestConversations::whatASearchBroughtIsInTheThread()
{
    const int longAgo = 24 * 200;
    deliver(longAgo, QStringLiteral("A needle"));
    deliver(1, QStringLiteral("Re: A needle"), {longAgo});
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(!world().find(QStringLiteral("A needle")).isValid());
    Activesync::SearchQuery query;
    query.text = QStringLiteral("needle");
    query.selector = 1;
    const int search =
        world().proxy.searchMailbox(world().account.toULongLong(), query, {}, QDBus::Block).value();
    QCOMPARE(world().codeOf(search), 200);
    QVERIFY(threadOf(QStringLiteral("A needle")) > 0);
    QCOMPARE(threadOf(QStringLiteral("A needle")), threadOf(QStringLiteral("Re: A needle")));
}

void TestConversations::anAnswerThatIsSentFromHereIsInTheThread()
{
    deliver(1, QStringLiteral("Plan"));
    QCOMPARE(world().syncAndWait(), 200);
    QMailMessage answer = world().draft(QStringLiteral("Re: Plan"));
    answer.setHeaderField(QStringLiteral("In-Reply-To"), QStringLiteral("<m1@elsewhere.test>"));
    QCOMPARE(world().sendAndWait(world().add(answer)), 200);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(QStringLiteral("Sent")), QStringList {QStringLiteral("Re: Plan")});
    const QMailMessageMetaDataList sent = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::parentFolderId(world().folder(QStringLiteral("Sent"))),
        QMailMessageKey::ParentThreadId);
    QCOMPARE(sent.size(), 1);
    QCOMPARE(sent.first().parentThreadId().toULongLong(), threadOf(QStringLiteral("Plan")));
}

void TestConversations::accountsHaveTheirOwnThreads()
{
    StoreFixture::Account settings = world().settings();
    settings.username = QStringLiteral("bob");
    const QMailAccountId bob = StoreFixture::addAccount(settings);
    deliver(2, QStringLiteral("Plan"));
    deliver(1, QStringLiteral("Re: Plan"), {2}, QStringLiteral("bob"));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().codeOf(world().sync(bob)), 200);
    QCOMPARE(threads(world().account), 1);
    QCOMPARE(threads(bob), 1);
}

void TestConversations::aServerThatTellsNoConversationsIsNoTrouble()
{
    world().setOption("versions", QJsonArray {QStringLiteral("12.1")});
    deliver(3, QStringLiteral("Plan"));
    QCOMPARE(world().syncAndWait(), 200);
    deliver(2, QStringLiteral("Re: Plan"), {3});
    deliver(1, QStringLiteral("Another word for it"), {3});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 3);
    // What the mail store does by itself: it looks at the subject.
    QCOMPARE(threadOf(QStringLiteral("Re: Plan")), threadOf(QStringLiteral("Plan")));
    QCOMPARE(threads(world().account), 2);
}

QTEST_GUILESS_MAIN(TestConversations)
#include "tst_conversations.moc"
