// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/conversations.h"
#include "daemon/store/incoming/foundwriter.h"
#include "daemon/store/state/conversationtable.h"
#include "tests/store/items.h"
#include "tests/store/sqltrace.h"
#include "tests/support/storefixture.h"

#include <QCryptographicHash>
#include <qmailstore.h>
#include <qmailthread.h>
#include <QTest>

#include <algorithm>

using namespace Items;

namespace {

using Message = QMailMessageMetaData;

const QByteArray One = QByteArrayLiteral("\x00one conversation");
const QByteArray Other = QByteArrayLiteral("\x00other conversation");

QDateTime day(int n)
{
    return QDateTime(QDate(2026, 11, 1), QTime(10, 0), Qt::UTC).addDays(n);
}

/** A message of the n-th day; its id is that number. */
Eas::MailItem mail(int n, const QByteArray &conversation,
                   const QString &subject = QStringLiteral("Re: Plan"))
{
    Eas::MailItem mail = item(QString::number(n), subject);
    mail.dateReceived = day(n);
    mail.from = QStringLiteral("Person %1 <p%1@elsewhere.test>").arg(n);
    if (!conversation.isNull())
        mail.conversationId = conversation;
    return mail;
}

/** The thread that a message is in. */
QMailThread threadWith(const Message &message)
{
    return QMailThread(message.parentThreadId());
}

} // namespace

/** Which threads of the mail store the messages of conversations come into. */
class TestConversations : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_account = std::make_unique<SyncedAccount>(); }
    void cleanup() { m_account.reset(); }

    void conversationIsOneThreadInItsOrder_data();
    void conversationIsOneThreadInItsOrder();
    void conversationIsOneThreadWhateverItsSubjects();
    void otherConversationWithTheSubjectIsAnotherThread();
    void answerIsNotTakenForOneToAnotherConversation();
    void whatAnswersTheOtherConversationStaysInIt();
    void accountsShareNoThread();
    void searchResultsAndSentMailJoin();
    void searchResultBeginsWhatIsSynchronisedLater();
    void withoutConversationsTheStoreDecides();
    void idsMayBeAnything();
    void messageGoesWithItsChangedConversation();
    void messageOfAnUnknownConversationLeavesTheThread_data();
    void messageOfAnUnknownConversationLeavesTheThread();
    void whatThePersonWritesAnswersWhatItsAuthorSays_data();
    void whatThePersonWritesAnswersWhatItsAuthorSays();
    void firstMessageOfAChangedConversationTakesItsThreadAlong();
    void wholeConversationTakesItsThreadAlong();
    void unreadMessagesAreCountedInEachConversation();
    void oneConversationIsNotCountedAnew();
    void threadGoesWithItsLastMessage();
    void threadStaysWhenTheMessagesThatWereKnownGo();
    void threadThatTheStoreJoinedIsFollowed();
    void messagesThatWereThereBeforeAreJoined();
    void lostMemoryLosesNoMessage();
    void threadsDoNotGrowWithoutEnd_data();
    void threadsDoNotGrowWithoutEnd();
    void fullThreadStaysFull();
    void anAnswerIsAsCheapInALargeFolder();
    void anotherMailboxKnowsNoConversation();
    void vanishedThreadsAreForgotten();

private:
    void bring(const QList<Eas::MailItem> &items, const Eas::FolderId &collection = InboxId);
    Message in(int n, const Eas::FolderId &collection = InboxId);
    QMailThreadId threadOf(int n, const Eas::FolderId &collection = InboxId);
    int unreadWith(int n);
    /** How many transactions it takes to write what another client has changed. */
    int transactionsOf(const QList<Eas::MailItem> &changes);
    int threads(const QMailThreadKey &key = QMailThreadKey());

    std::unique_ptr<SyncedAccount> m_account;
    int m_key = 1;
};

void TestConversations::bring(const QList<Eas::MailItem> &items, const Eas::FolderId &collection)
{
    QCOMPARE(m_account->write(adding(QStringLiteral("k%1").arg(++m_key), items, collection)), 200);
}

Message TestConversations::in(int n, const Eas::FolderId &collection)
{
    return m_account->metaData(QString::number(n), collection);
}

QMailThreadId TestConversations::threadOf(int n, const Eas::FolderId &collection)
{
    return in(n, collection).parentThreadId();
}

int TestConversations::unreadWith(int n)
{
    return int(threadWith(in(n)).unreadCount());
}

int TestConversations::transactionsOf(const QList<Eas::MailItem> &changes)
{
    int begun = 0;
    const SqlTrace trace(
        [&](const QString &statement) { begun += statement.startsWith(text("BEGIN")) ? 1 : 0; });
    const int code = m_account->write(changing(QStringLiteral("k%1").arg(++m_key), changes));
    return code == 200 ? begun : -1;
}

int TestConversations::threads(const QMailThreadKey &key)
{
    return QMailStore::instance()->countThreads(QMailThreadKey::parentAccountId(m_account->id)
                                                & key);
}

void TestConversations::conversationIsOneThreadInItsOrder_data()
{
    QTest::addColumn<QList<int>>("order");
    QTest::addColumn<int>("atOnce");
    const QList<int> up {1, 2, 3, 4, 5, 6};
    QList<int> down = up;
    std::reverse(down.begin(), down.end());
    const QList<int> mixed {4, 2, 6, 1, 5, 3};
    for (const int atOnce : {1, 2, 6}) {
        QTest::addRow("oldest first, %d at once", atOnce) << up << atOnce;
        QTest::addRow("newest first, %d at once", atOnce) << down << atOnce;
        QTest::addRow("mixed, %d at once", atOnce) << mixed << atOnce;
    }
}

void TestConversations::conversationIsOneThreadInItsOrder()
{
    QFETCH(QList<int>, order);
    QFETCH(int, atOnce);
    for (int at = 0; at < order.size(); at += atOnce) {
        QList<Eas::MailItem> items;
        for (const int n : order.mid(at, atOnce))
            items.append(mail(n, One, n == 1 ? text("Plan") : text("Re: Plan")));
        bring(items);
    }
    const QMailThread whole = threadWith(in(1));
    QCOMPARE(threads(), 1);
    QCOMPARE(int(whole.messageCount()), 6);
    QCOMPARE(int(whole.unreadCount()), 6);
    QCOMPARE(whole.subject(), text("Plan"));
    QCOMPARE(whole.startedDate().toUTC(), day(1));
    QCOMPARE(whole.lastDate().toUTC(), day(6));
    QCOMPARE(whole.senders().size(), 6);
    for (const int n : qAsConst(order)) {
        const Message message = in(n);
        QCOMPARE(message.parentThreadId(), whole.id());
        // What a message answers came before it.
        const QMailMessageId answered = message.inResponseTo();
        if (answered.isValid())
            QVERIFY2(Message(answered).date() < message.date(), qPrintable(QString::number(n)));
    }
    QVERIFY(!in(1).inResponseTo().isValid());
}

void TestConversations::conversationIsOneThreadWhateverItsSubjects()
{
    bring({mail(3, One, text("Something else")), mail(2, One, text("Lunch"))});
    bring({mail(4, One, text("")), mail(1, One, text("Plan"))});
    QCOMPARE(threads(), 1);
    QCOMPARE(threadWith(in(1)).subject(), text("Plan"));
    QCOMPARE(in(4).inResponseTo(), in(3).id());
}

void TestConversations::otherConversationWithTheSubjectIsAnotherThread()
{
    bring({mail(1, One, text("Plan")), mail(2, Other, text("Plan"))});
    bring({mail(3, Other), mail(4, One)});
    QCOMPARE(threads(), 2);
    QCOMPARE(threadOf(4), threadOf(1));
    QCOMPARE(threadOf(3), threadOf(2));
}

void TestConversations::answerIsNotTakenForOneToAnotherConversation()
{
    bring({mail(9, One), mail(2, Other, text("Plan"))});
    const QMailThreadId other = threadOf(2);
    QVERIFY(threadOf(9) != other);
    // Older than all that is known of its conversation: the store looks for its subject.
    bring({mail(8, One)});
    QCOMPARE(threadOf(8), threadOf(9));
    QCOMPARE(threadOf(2), other);
    QVERIFY(in(8).inResponseTo() != in(2).id());
    QCOMPARE(int(QMailThread(other).messageCount()), 1);
    QCOMPARE(int(QMailThread(other).unreadCount()), 1);
    QCOMPARE(QMailThread(other).lastDate().toUTC(), day(2));
    QVERIFY(!in(9).inResponseTo().isValid());
    QCOMPARE(int(threadWith(in(9)).messageCount()), 2);
}

void TestConversations::whatAnswersTheOtherConversationStaysInIt()
{
    bring({mail(5, Other)});
    // The store takes the third for an answer to the second, and the fifth for one to the third.
    bring({mail(2, Other, text("Plan")), mail(3, One)});
    QCOMPARE(threadOf(5), threadOf(2));
    QVERIFY(threadOf(3) != threadOf(2));
    bring({mail(6, Other), mail(4, One)});
    QCOMPARE(threadOf(6), threadOf(2));
    QCOMPARE(threadOf(4), threadOf(3));
    QCOMPARE(int(threadWith(in(2)).messageCount()), 3);
    QCOMPARE(int(threadWith(in(3)).messageCount()), 2);
}

void TestConversations::accountsShareNoThread()
{
    StoreFixture::Account settings;
    settings.username = text("bob");
    const QMailAccountId second = StoreFixture::addAccount(settings);
    const QMailFolderId folder = StoreFixture::addFolder(second, text("Inbox"));
    Store::AccountKeys keys(m_account->db, second);
    QVERIFY(keys.open(Store::AccountRecord::read(second)).ok());
    Store::FolderState state;
    state.serverId = InboxId;
    state.folderId = folder;
    QVERIFY(Store::FolderKeys(m_account->db, second).save(state).ok());

    bring({mail(1, One), mail(2, One)});
    Store::FoundItem found {Store::ServerUid::item(InboxId, text("3")), mail(3, One)};
    Store::FoundWriter writer(m_account->db, second, {found});
    QVERIFY(writer.run().ok());
    const Message theirs(writer.messages().value(0));
    QVERIFY(theirs.parentThreadId().isValid());
    QVERIFY(theirs.parentThreadId() != threadOf(1));
    QCOMPARE(threadWith(theirs).parentAccountId(), second);
    QCOMPARE(int(threadWith(in(1)).messageCount()), 2);
    keys.remove();
}

void TestConversations::searchResultsAndSentMailJoin()
{
    bring({mail(2, One)});
    bring({mail(3, One)}, "se"_folder);
    Store::FoundItem found {Store::ServerUid::item(InboxId, text("1")), mail(1, One, text("Plan"))};
    Store::FoundWriter search(m_account->db, m_account->id, {found});
    QVERIFY(search.run().ok());
    QCOMPARE(threadOf(3, "se"_folder), threadOf(2));
    QCOMPARE(threadOf(1), threadOf(2));
    QCOMPARE(int(threadWith(in(2)).messageCount()), 3);
}

void TestConversations::searchResultBeginsWhatIsSynchronisedLater()
{
    Store::FoundItem found {Store::ServerUid::item(InboxId, text("1")), mail(1, One, text("Plan"))};
    Store::FoundWriter search(m_account->db, m_account->id, {found});
    QVERIFY(search.run().ok());
    bring({mail(2, One)});
    QCOMPARE(threadOf(2), threadOf(1));
}

void TestConversations::withoutConversationsTheStoreDecides()
{
    bring({mail(1, {}, text("Plan")), mail(2, {}, text("Lunch"))});
    bring({mail(3, {}), mail(4, One, text("Plan"))});
    QCOMPARE(threadOf(3), threadOf(1));
    QVERIFY(threadOf(2) != threadOf(1));
    QVERIFY(threadOf(4) != threadOf(1));
}

void TestConversations::idsMayBeAnything()
{
    const QByteArray huge(100000, 'x');
    const QString subject = text("Plan");
    bring({mail(1, huge, subject), mail(2, huge + "1", subject), mail(3, QByteArray(""), subject),
           mail(4, QByteArray(""), subject), mail(5, QByteArray(1, '\0'), subject)});
    QCOMPARE(threads(), 5);
    bring({mail(6, huge + "1", subject), mail(7, huge, subject),
           mail(8, QByteArray(1, '\0'), subject)});
    QCOMPARE(threads(), 5);
    QCOMPARE(threadOf(6), threadOf(2));
    QCOMPARE(threadOf(7), threadOf(1));
    QCOMPARE(threadOf(8), threadOf(5));
}

void TestConversations::messageGoesWithItsChangedConversation()
{
    bring({mail(1, One, text("Plan")), mail(2, One), mail(3, Other, text("Lunch"))});
    Eas::MailItem change = readChange(text("2"), true);
    change.conversationId = Other;
    QCOMPARE(m_account->write(changing(text("c"), {change})), 200);
    QCOMPARE(threadOf(2), threadOf(3));
    QVERIFY(threadOf(1) != threadOf(3));
    QCOMPARE(int(threadWith(in(1)).messageCount()), 1);
    QCOMPARE(int(threadWith(in(3)).messageCount()), 2);
    QCOMPARE(int(threadWith(in(3)).unreadCount()), 1);
    // The next one of each goes where it belongs.
    bring({mail(4, One, text("Plan")), mail(5, Other, text("Lunch"))});
    QCOMPARE(threadOf(4), threadOf(1));
    QCOMPARE(threadOf(5), threadOf(3));
}

void TestConversations::messageOfAnUnknownConversationLeavesTheThread_data()
{
    QTest::addColumn<int>("changed");
    for (const int changed : {1, 2, 3})
        QTest::addRow("message %d", changed) << changed;
}

void TestConversations::messageOfAnUnknownConversationLeavesTheThread()
{
    QFETCH(int, changed);
    QList<int> left {1, 2, 3};
    left.removeAll(changed);
    bring({mail(1, One, text("Plan"))});
    bring({mail(2, One)});
    bring({mail(3, One)});
    const QMailThreadId thread = threadOf(1);
    Eas::MailItem change = readChange(QString::number(changed), true);
    change.conversationId = Other;
    QCOMPARE(m_account->write(changing(text("c"), {change})), 200);
    QVERIFY(in(changed).status() & Message::Read);
    bring({mail(4, Other), mail(5, One)});
    QCOMPARE(threads(), 2);
    QCOMPARE(threadOf(4), threadOf(changed));
    QVERIFY(threadOf(4) != thread);
    for (const int n : left + QList<int> {5}) {
        QCOMPARE(threadOf(n), thread);
        QVERIFY(in(n).inResponseTo() != in(changed).id());
    }
    QCOMPARE(int(QMailThread(thread).messageCount()), 3);
    QCOMPARE(int(QMailThread(thread).unreadCount()), 3);
    QCOMPARE(int(threadWith(in(4)).messageCount()), 2);
    QCOMPARE(int(threadWith(in(4)).unreadCount()), 1);
}

void TestConversations::whatThePersonWritesAnswersWhatItsAuthorSays_data()
{
    QTest::addColumn<quint64>("status");
    QTest::addRow("draft") << Message::Draft;
    QTest::addRow("waits to be sent") << Message::Outbox;
    QTest::addRow("is being sent") << quint64(0);
}

void TestConversations::whatThePersonWritesAnswersWhatItsAuthorSays()
{
    QFETCH(quint64, status);
    bring({mail(1, One, text("Plan"))});
    bring({mail(2, One)});
    bring({mail(3, One)});
    const QMailMessageId id = StoreFixture::addOutgoing(m_account->id, text("Re: Plan"));
    QMailMessageMetaData reply(id);
    reply.setInResponseTo(in(2).id());
    reply.setResponseType(Message::Reply);
    reply.setStatus(Message::Outbox, false);
    reply.setStatus(status, true);
    QVERIFY(QMailStore::instance()->updateMessage(&reply));
    Eas::MailItem change = readChange(text("2"), true);
    change.conversationId = Other;
    QCOMPARE(m_account->write(changing(text("c"), {change})), 200);
    QVERIFY(threadOf(2) != threadOf(1));
    QCOMPARE(QMailMessageMetaData(id).inResponseTo(), in(2).id());
}

void TestConversations::firstMessageOfAChangedConversationTakesItsThreadAlong()
{
    bring({mail(1, One, text("Plan"))});
    Eas::MailItem change = mail(1, Other, text("New plan"));
    QCOMPARE(m_account->write(changing(text("c"), {change})), 200);
    bring({mail(2, Other, text("Re: New plan"))});
    QCOMPARE(threadOf(2), threadOf(1));
    // What comes of the former conversation does not follow.
    bring({mail(3, One), mail(4, One)});
    QVERIFY(threadOf(3) != threadOf(1));
    QCOMPARE(threadOf(4), threadOf(3));
}

/** The store itself counts in one thread alone when flags are set. */
void TestConversations::unreadMessagesAreCountedInEachConversation()
{
    bring({mail(1, One, text("Plan")), mail(2, Other, text("Lunch")), mail(3, Other),
           mail(4, "a third one", text("Dinner"))});
    QList<Eas::MailItem> changes;
    for (const int n : {1, 2, 4})
        changes.append(readChange(QString::number(n), true));
    QCOMPARE(m_account->write(changing(text("c1"), changes)), 200);
    QCOMPARE(unreadWith(1), 0);
    QCOMPARE(unreadWith(2), 1);
    QCOMPARE(unreadWith(4), 0);
    for (Eas::MailItem &change : changes)
        change.read = false;
    QCOMPARE(m_account->write(changing(text("c2"), changes)), 200);
    QCOMPARE(unreadWith(1), 1);
    QCOMPARE(unreadWith(2), 2);
    QCOMPARE(unreadWith(4), 1);
}

void TestConversations::oneConversationIsNotCountedAnew()
{
    bring({mail(1, One, text("Plan")), mail(2, Other, text("Lunch")), mail(3, Other)});
    QList<Eas::MailItem> all;
    for (const int n : {1, 2, 3})
        all.append(readChange(QString::number(n), true));
    QVERIFY(transactionsOf(all) > 0); // they are not new any more
    const int ofOne = transactionsOf({readChange(text("1"), false)});
    QVERIFY(ofOne > 0);
    QCOMPARE(transactionsOf({readChange(text("2"), false), readChange(text("3"), false)}), ofOne);
    QCOMPARE(unreadWith(2), 2);
    QCOMPARE(transactionsOf({readChange(text("1"), true), readChange(text("2"), true)}), ofOne + 1);
    // Other flags count nowhere.
    const SqlTrace trace;
    const QList<Eas::MailItem> flagged {flagChange(text("1"), true), flagChange(text("2"), true)};
    QCOMPARE(m_account->write(changing(text("c"), flagged)), 200);
    QVERIFY(in(1).status() & in(2).status() & Message::Important);
    for (const QString &statement : trace.statements())
        QVERIFY2(!statement.startsWith(text("UPDATE mailthreads")), qPrintable(statement));
}

void TestConversations::wholeConversationTakesItsThreadAlong()
{
    bring({mail(1, One, text("Plan")), mail(2, One)});
    const QMailThreadId thread = threadOf(1);
    QCOMPARE(m_account->write(changing(text("c"), {mail(2, Other), mail(1, Other, text("Plan"))})),
             200);
    bring({mail(3, Other)});
    for (const int n : {1, 2, 3})
        QCOMPARE(threadOf(n), thread);
}

void TestConversations::threadGoesWithItsLastMessage()
{
    bring({mail(1, One), mail(2, One)});
    QCOMPARE(m_account->write(removing(text("r1"), {text("2")})), 200);
    QCOMPARE(threads(), 1);
    QCOMPARE(QMailStore::instance()->countMessages(QMailMessageKey::parentThreadId(threadOf(1))),
             1);
    QCOMPARE(m_account->write(removing(text("r2"), {text("1")})), 200);
    QCOMPARE(threads(), 0);
    bring({mail(3, One), mail(4, One)});
    QCOMPARE(threads(), 1);
    QCOMPARE(int(threadWith(in(3)).messageCount()), 2);
}

void TestConversations::threadStaysWhenTheMessagesThatWereKnownGo()
{
    bring({mail(1, One), mail(2, One), mail(3, One)});
    QVERIFY(QMailStore::instance()->removeMessages(
        QMailMessageKey::id(QMailMessageIdList {in(1).id(), in(3).id()})));
    bring({mail(4, One)});
    QCOMPARE(threadOf(4), threadOf(2));
    QCOMPARE(int(threadWith(in(2)).messageCount()), 2);
}

void TestConversations::threadThatTheStoreJoinedIsFollowed()
{
    bring({mail(1, One, text("Plan")), mail(2, Other, text("Lunch"))});
    QMailMessage second(in(2).id());
    second.setInResponseTo(in(1).id());
    second.setResponseType(Message::Reply);
    QVERIFY(QMailStore::instance()->updateMessage(&second));
    const QMailMessageMetaDataList now = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::id(in(2).id()), QMailMessageKey::ParentThreadId);
    bring({mail(3, Other, text("Re: Lunch"))});
    QCOMPARE(threadOf(3), now.first().parentThreadId());
}

void TestConversations::messagesThatWereThereBeforeAreJoined()
{
    bring({mail(1, {}, text("Plan"))});
    const QMailThreadId before = threadOf(1);
    // The same message once more, by a server that tells conversations by now.
    bring({mail(1, One, text("Plan"))});
    bring({mail(2, One, text("Lunch"))});
    QCOMPARE(threadOf(1), before);
    QCOMPARE(threadOf(2), before);
}

void TestConversations::lostMemoryLosesNoMessage()
{
    bring({mail(1, One), mail(2, One)});
    m_account->keys.remove();
    QVERIFY(m_account->keys.open(Store::AccountRecord::read(m_account->id)).ok());
    Store::FolderState state;
    state.serverId = InboxId;
    state.folderId = in(1).parentFolderId();
    QVERIFY(m_account->folders.save(state).ok());
    bring({mail(2, One), mail(1, One), mail(3, One)});
    QCOMPARE(m_account->messages().size(), 3);
    QCOMPARE(threads(), 1);
}

void TestConversations::threadsDoNotGrowWithoutEnd_data()
{
    QTest::addColumn<QString>("subject");
    QTest::newRow("messages") << text("Report");
    QTest::newRow("answers") << text("Re: Report");
}

void TestConversations::threadsDoNotGrowWithoutEnd()
{
    QFETCH(QString, subject);
    const int maximum = Store::Conversations::MaximumThread;
    QList<Eas::MailItem> items;
    for (int n = 1; n <= maximum; ++n) {
        items.append(mail(n, One, subject));
        // For each message the mail store takes the names of all who wrote in its thread apart.
        items.last().from = QStringLiteral("Person %1 <p%1@elsewhere.test>").arg(n % 3);
    }
    bring(items);
    QCOMPARE(threads(), 1);
    bring({mail(maximum + 1, One, subject), mail(maximum + 2, One, subject)});
    QCOMPARE(m_account->messages().size(), maximum + 2);
    QCOMPARE(threads(), 2);
    QCOMPARE(threadOf(maximum + 2), threadOf(maximum + 1));
    QCOMPARE(int(threadWith(in(maximum + 2)).messageCount()), 2);
    QCOMPARE(int(threadWith(in(1)).messageCount()), maximum);
}

void TestConversations::fullThreadStaysFull()
{
    const auto fill = [&] {
        Store::ConversationTable table(m_account->db, m_account->id);
        const QByteArray digest = QCryptographicHash::hash(One, QCryptographicHash::Sha256);
        QList<Store::ConversationRecord> records = table.find({digest});
        records.first().messages = Store::Conversations::MaximumThread;
        QVERIFY(table.save(records).ok());
    };
    const auto tellAgain = [&](int n) {
        Eas::MailItem change = readChange(QString::number(n), true);
        change.conversationId = One;
        QCOMPARE(m_account->write(changing(QStringLiteral("k%1").arg(++m_key), {change})), 200);
    };
    bring({mail(1, One)});
    fill();
    bring({mail(2, One)});
    QVERIFY(threadOf(2) != threadOf(1));
    fill();
    // The server tells of messages in the full thread, and in the one that was full before.
    tellAgain(1);
    tellAgain(2);
    bring({mail(3, One)});
    QVERIFY(threadOf(3) != threadOf(1));
    QVERIFY(threadOf(3) != threadOf(2));
    fill();
    // A draft is put there by the mail store.
    bring({mail(4, One)}, "dr"_folder);
    QCOMPARE(threadOf(4, "dr"_folder), threadOf(3));
    bring({mail(5, One)});
    QVERIFY(threadOf(5) != threadOf(3));
}

void TestConversations::anAnswerIsAsCheapInALargeFolder()
{
    int number = 0;
    const auto fill = [&](int count, const QByteArray &conversation) {
        QList<Eas::MailItem> items;
        for (int i = 0; i < count; ++i) {
            ++number;
            items.append(mail(number, QByteArray::number(number), text("Mail %1").arg(number)));
        }
        items.append(mail(++number, conversation, text("Plan")));
        bring(items);
    };
    const auto statementsOfAnAnswer = [&](const QByteArray &conversation) {
        const SqlTrace trace;
        bring({mail(++number, conversation)});
        return trace.statements().size();
    };
    fill(10, One);
    const int small = statementsOfAnAnswer(One);
    fill(300, Other);
    const int large = statementsOfAnAnswer(Other);
    QVERIFY(small > 0);
    QCOMPARE(threads(), 312);
    QVERIFY2(large <= small + 2, qPrintable(text("%1, then %2").arg(small).arg(large)));
}

void TestConversations::anotherMailboxKnowsNoConversation()
{
    bring({mail(1, One)});
    Store::ConversationTable table(m_account->db, m_account->id);
    const QByteArray digest = QCryptographicHash::hash(One, QCryptographicHash::Sha256);
    QCOMPARE(table.find({digest}).size(), 1);
    QCOMPARE(table.find({digest}).value(0).thread, threadOf(1));
    Store::AccountRecord record = Store::AccountRecord::read(m_account->id);
    record.userName = text("somebody else");
    QVERIFY(m_account->keys.open(record).ok());
    QCOMPARE(table.find({digest}).size(), 0);
}

void TestConversations::vanishedThreadsAreForgotten()
{
    bring({mail(1, One)});
    Store::ConversationTable table(m_account->db, m_account->id);
    QList<Store::ConversationRecord> records;
    for (int n = 0; n < 5000; ++n) {
        Store::ConversationRecord record;
        record.digest = QByteArray::number(n);
        record.thread = QMailThreadId(1000000 + quint64(n));
        records.append(record);
    }
    QVERIFY(table.save(records).ok());
    QCOMPARE(table.find({"1", "4999"}).size(), 0);
    QCOMPARE(table.find({QCryptographicHash::hash(One, QCryptographicHash::Sha256)}).size(), 1);
}

QTEST_GUILESS_MAIN(TestConversations)
#include "tst_conversations.moc"
