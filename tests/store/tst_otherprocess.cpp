// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/contentmark.h"
#include "daemon/store/incoming/contentwriter.h"
#include "daemon/store/localchanges.h"
#include "daemon/store/removalrecords.h"
#include "tests/store/items.h"
#include "tests/store/sqltrace.h"

#include <QDeadlineTimer>
#include <QFile>
#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QProcess>
#include <QTest>

#include <cstdio>
#include <functional>
#include <memory>
#include <sys/sem.h>
#include <unistd.h>

using namespace Items;

namespace {

using Message = QMailMessageMetaData;

const Eas::FolderId TrashId = "tr"_folder;

/**
 * Lets another process mark the message as important and move it to the trash, as the message
 * server does for a mail program. What the bus brings of that is not heard here before the event
 * loop runs, which is the point.
 */
bool changeElsewhere(const QMailMessageId &id)
{
    QProcess other;
    other.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    other.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--change"), QString::number(id.toULongLong())});
    return other.waitForFinished() && other.exitCode() == 0;
}

int change(const QMailMessageId &id)
{
    QMailStore *store = QMailStore::instance();
    QMailDisconnected::moveToStandardFolder({id}, QMailFolder::TrashFolder);
    return store->updateMessagesMetaData(QMailMessageKey::id(id), Message::Important, true) ? 0 : 1;
}

/** Whether another process waits for a lock that this one holds: the mail store's are semaphores of
 * System V. */
bool isAwaited()
{
    struct seminfo info = {};
    struct semid_ds state = {};
    const int last = ::semctl(0, 0, SEM_INFO, &info);
    for (int i = 0; i <= last; ++i) {
        const int id = ::semctl(i, 0, SEM_STAT, &state);
        if (id >= 0 && ::semctl(id, 0, GETPID) == ::getpid() && ::semctl(id, 0, GETNCNT) > 0)
            return true;
    }
    return false;
}

/** Writes, and does not end before another process waits for that: it stays where the first
 * statement of that beginning comes. */
int writeAwaited(const QString &beginning, const std::function<bool()> &write)
{
    bool isAwaitedOnce = false;
    const SqlTrace trace([&](const QString &statement) {
        if (isAwaitedOnce || !statement.startsWith(beginning))
            return;
        std::puts("writing");
        std::fflush(stdout);
        const QDeadlineTimer deadline(10000);
        while (!isAwaitedOnce && !deadline.hasExpired())
            isAwaitedOnce = isAwaited();
    });
    return write() && isAwaitedOnce ? 0 : 1;
}

/** Marks the message as important. */
int changeAwaited(const QMailMessageId &id)
{
    return writeAwaited(QStringLiteral("UPDATE mailmessages"), [&] {
        return QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                              Message::Important, true);
    });
}

/** Writes the message anew as its author does. */
int editAwaited(const QMailMessageId &id)
{
    return writeAwaited(QStringLiteral("UPDATE mailmessages"), [&] {
        QMailMessage message(id);
        message.setBody(QMailMessageBody::fromData(
            QStringLiteral("of the author"), QMailMessageContentType("text/plain; charset=UTF-8"),
            QMailMessageBody::EightBit));
        return QMailStore::instance()->updateMessage(&message);
    });
}

/** Removes the message as a mail program does. */
int removeAwaited(const QMailMessageId &id)
{
    return writeAwaited(QStringLiteral("INSERT INTO deletedmessages"), [&] {
        return QMailStore::instance()->removeMessage(id, QMailStore::CreateRemovalRecord);
    });
}

/** Starts a process that does that with the message; false where it does not come to write. */
bool startWriting(QProcess *other, const QString &option, const QMailMessageId &id)
{
    bool isWriting = false;
    other->start(QCoreApplication::applicationFilePath(),
                 {option, QString::number(id.toULongLong())});
    while (!isWriting && other->waitForReadyRead())
        isWriting = other->readAllStandardOutput().contains("writing");
    return isWriting;
}

} // namespace

/** What the user does in the mail program meanwhile is not undone. */
class TestOtherProcess : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void currentMessageIsWholeAndCurrent();
    void acknowledgedMoveStaysMoved();
    void refusedMoveGoesBackAndKeepsItsFlags();
    void changeOfAFlagTouchesNothingElse();
    void changeOfTheContentTouchesNothingElse();
    void aContentThatIsWrittenMeanwhileTouchesNothingElse_data();
    void aContentThatIsWrittenMeanwhileTouchesNothingElse();
    void aContentWaitsForWhatIsBeingWritten();
    void whatAnAuthorIsWritingStays_data();
    void whatAnAuthorIsWritingStays();
    void aPartThatIsWrittenMeanwhileTouchesNothingElse();
    void reconciliationTouchesNothingElse();
    void aDeletionThatIsBeingWrittenIsNotForgotten();

private:
    /** The message is still where the other process put it, with the flag that it set. */
    void compareKept();
    /** A message that is not changed elsewhere yet, with an attachment that is not here. */
    void addWithAttachment();

    std::unique_ptr<SyncedAccount> m_account;
    QMailMessageId m_id;
};

void TestOtherProcess::init()
{
    m_account = std::make_unique<SyncedAccount>();
    Eas::SyncWindow window = Items::window(InboxId, QStringLiteral("2"));
    window.added.append(item(QStringLiteral("1")));
    QCOMPARE(m_account->write(window), 200);
    m_id = m_account->messages().value(0);
    // From here on the store knows the message by heart.
    QVERIFY(!(Message(m_id).status() & Message::Important));
    QVERIFY(changeElsewhere(m_id));
}

void TestOtherProcess::cleanup()
{
    m_account.reset();
}

void TestOtherProcess::compareKept()
{
    const Message now = Store::currentMessage(m_id);
    QVERIFY(now.status() & Message::Important);
    QCOMPARE(now.parentFolderId(), m_account->folderId(TrashId));
}

void TestOtherProcess::currentMessageIsWholeAndCurrent()
{
    const Message old(m_id);
    QCOMPARE(old.parentFolderId(), m_account->folderId());
    const Message now = Store::currentMessage(m_id);
    compareKept();
    QCOMPARE(now.previousParentFolderId(), m_account->folderId());
    QCOMPARE(now.subject(), old.subject());
    QCOMPARE(now.from(), old.from());
    QCOMPARE(now.recipients(), old.recipients());
    QCOMPARE(now.serverUid(), old.serverUid());
    QCOMPARE(now.date(), old.date());
    QCOMPARE(now.receivedDate(), old.receivedDate());
    QCOMPARE(now.size(), old.size());
    QCOMPARE(now.contentScheme(), old.contentScheme());
    QCOMPARE(now.contentIdentifier(), old.contentIdentifier());
    QCOMPARE(now.parentThreadId(), old.parentThreadId());
    QCOMPARE(now.customFields(), old.customFields());
    QVERIFY(!now.customFields().isEmpty());
    QVERIFY(!Store::currentMessage(QMailMessageId(m_id.toULongLong() + 1000)).id().isValid());
}

void TestOtherProcess::acknowledgedMoveStaysMoved()
{
    Store::Moves moves(m_account->db, m_account->id);
    const Store::Move move = moves.wanted().value(0);
    QCOMPARE(move.destination, TrashId);
    QVERIFY(moves.acknowledge(move, QStringLiteral("77")).ok());
    compareKept();
    QVERIFY(!Store::currentMessage(m_id).previousParentFolderId().isValid());
    QCOMPARE(m_account->message(QStringLiteral("77"), TrashId).id(), m_id);
}

void TestOtherProcess::refusedMoveGoesBackAndKeepsItsFlags()
{
    Store::Moves moves(m_account->db, m_account->id);
    const Store::Move move = moves.wanted().value(0);
    QVERIFY(moves.revert(move).ok());
    const Message now = Store::currentMessage(m_id);
    QCOMPARE(now.parentFolderId(), m_account->folderId());
    QVERIFY(!now.previousParentFolderId().isValid());
    QVERIFY(now.status() & Message::Important);
}

void TestOtherProcess::changeOfAFlagTouchesNothingElse()
{
    Eas::SyncWindow window = Items::window(InboxId, QStringLiteral("3"));
    window.changed.append(readChange(QStringLiteral("1"), true));
    QCOMPARE(m_account->write(window), 200);
    compareKept();
    QVERIFY(Store::currentMessage(m_id).status() & Message::Read);
}

void TestOtherProcess::changeOfTheContentTouchesNothingElse()
{
    Eas::SyncWindow window = Items::window(InboxId, QStringLiteral("3"));
    window.changed.append(item(QStringLiteral("1"), QStringLiteral("Another subject")));
    QCOMPARE(m_account->write(window), 200);
    compareKept();
    QCOMPARE(Store::currentMessage(m_id).subject(), QStringLiteral("Another subject"));
}

void TestOtherProcess::addWithAttachment()
{
    Eas::SyncWindow window = Items::window(InboxId, QStringLiteral("3"));
    window.added.append(item(QStringLiteral("2")));
    window.added.first().attachments =
        QList<Eas::Attachment> {attachment(QStringLiteral("a.bin"), QStringLiteral("ref/1"), 3)};
    QCOMPARE(m_account->write(window), 200);
    m_id = m_account->metaData(QStringLiteral("2")).id();
    QVERIFY(m_id.isValid());
}

void TestOtherProcess::aContentThatIsWrittenMeanwhileTouchesNothingElse_data()
{
    QTest::addColumn<bool>("isWhole");
    QTest::newRow("the server tells all of the message") << true;
    QTest::newRow("the server tells its new subject") << false;
}

void TestOtherProcess::aContentThatIsWrittenMeanwhileTouchesNothingElse()
{
    QFETCH(bool, isWhole);
    addWithAttachment();
    const QString subject = QStringLiteral("Another subject");
    Eas::SyncWindow window = Items::window(InboxId, QStringLiteral("4"));
    for (int i = 0; i < 3; ++i)
        window.added.append(item(QStringLiteral("New %1").arg(i)));
    window.changed.append(item(QStringLiteral("2"), subject));
    window.changed.first().read = true;
    if (!isWhole) {
        window.changed.first() = Eas::MailItem();
        window.changed.first().serverId = QStringLiteral("2");
        window.changed.first().subject = subject;
    }
    int changes = 0;
    connect(QMailStore::instance(), &QMailStore::messagesAdded, this,
            [&] { changes += changeElsewhere(m_id) ? 1 : 0; });
    QCOMPARE(m_account->write(window), 200);
    QMailStore::instance()->disconnect(this);
    QCOMPARE(changes, 1);
    compareKept();
    const Message now = Store::currentMessage(m_id);
    QCOMPARE(now.previousParentFolderId(), m_account->folderId());
    QVERIFY(now.status() & Message::Trash);
    QCOMPARE(bool(now.status() & Message::Read), isWhole);
    QCOMPARE(now.subject(), subject);
}

void TestOtherProcess::aContentWaitsForWhatIsBeingWritten()
{
    addWithAttachment();
    Eas::SyncWindow window = Items::window(InboxId, QStringLiteral("4"));
    window.added.append(item(QStringLiteral("New")));
    window.changed.append(item(QStringLiteral("2"), QStringLiteral("Another subject")));
    QProcess other;
    bool isWriting = false;
    connect(QMailStore::instance(), &QMailStore::messagesAdded, this,
            [&] { isWriting = startWriting(&other, QStringLiteral("--change-awaited"), m_id); });
    QCOMPARE(m_account->write(window), 200);
    QMailStore::instance()->disconnect(this);
    QVERIFY(isWriting);
    QVERIFY(other.waitForFinished());
    QCOMPARE(other.exitCode(), 0);
    const Message now = Store::currentMessage(m_id);
    QVERIFY(now.status() & Message::Important);
    QCOMPARE(now.subject(), QStringLiteral("Another subject"));
}

void TestOtherProcess::whatAnAuthorIsWritingStays_data()
{
    QTest::addColumn<bool>("isWhole");
    QTest::newRow("the server tells all of the draft") << true;
    QTest::newRow("the server tells its new importance") << false;
}

/** The draft was still as the server has it when the change of it was looked at. */
void TestOtherProcess::whatAnAuthorIsWritingStays()
{
    QFETCH(bool, isWhole);
    const Eas::FolderId drafts = "dr"_folder;
    const QString number = QStringLiteral("1");
    QCOMPARE(m_account->write(adding(QStringLiteral("2"), {item(number)}, drafts)), 200);
    const QMailMessageId id = m_account->metaData(number, drafts).id();
    Eas::MailItem change = item(number);
    if (!isWhole) {
        change = Eas::MailItem();
        change.serverId = number;
    }
    change.importance = 2;
    Eas::SyncWindow window = changing(QStringLiteral("3"), {change}, drafts);
    window.added.append(item(QStringLiteral("2"), QStringLiteral("New")));
    QProcess other;
    bool isWriting = false;
    connect(QMailStore::instance(), &QMailStore::messagesAdded, this,
            [&] { isWriting = startWriting(&other, QStringLiteral("--edit-awaited"), id); });
    QCOMPARE(m_account->write(window), 200);
    QMailStore::instance()->disconnect(this);
    QVERIFY(isWriting);
    QVERIFY(other.waitForFinished());
    QCOMPARE(other.exitCode(), 0);
    QCOMPARE(QMailMessage(id).body().data(), QStringLiteral("of the author"));
    const Message now = Store::currentMessage(id);
    QVERIFY(now.status() & Message::HighPriority);
    QVERIFY(Store::isEdited(now));
}

void TestOtherProcess::aPartThatIsWrittenMeanwhileTouchesNothingElse()
{
    addWithAttachment();
    const QString path = Store::ContentWriter::downloadFolder() + QStringLiteral("/part");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("abc") == 3);
    file.close();
    int looks = 0;
    int changes = 0;
    {
        // At the last moment at which another process can write.
        SqlTrace trace([&](const QString &statement) {
            const bool isLook = statement.startsWith(QLatin1String("SELECT * FROM mailmessages"));
            if (isLook && ++looks == 2)
                changes += changeElsewhere(m_id) ? 1 : 0;
        });
        QVERIFY(Store::ContentWriter::writePart(m_id, QStringLiteral("2"), QStringLiteral("ref/1"),
                                                path)
                    .ok());
    }
    QCOMPARE(changes, 1);
    compareKept();
    QVERIFY(Store::currentMessage(m_id).status() & Message::ContentAvailable);
    QCOMPARE(QMailMessage(m_id).partAt(1).body().data(QMailMessageBody::Decoded),
             QByteArray("abc"));
}

void TestOtherProcess::reconciliationTouchesNothingElse()
{
    Store::FolderState state = m_account->state();
    state.syncKey = QStringLiteral("0");
    QVERIFY(m_account->folders.save(state).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    Eas::SyncWindow window = Items::window(InboxId, QStringLiteral("10"));
    window.added.append(item(QStringLiteral("51")));
    QCOMPARE(m_account->write(window), 200);
    compareKept();
    QVERIFY(Store::currentMessage(m_id).serverUid().contains(QStringLiteral("51")));
}

/** What no server has ever had is forgotten without what another process is just deleting. */
void TestOtherProcess::aDeletionThatIsBeingWrittenIsNotForgotten()
{
    QMailMessage draft;
    draft.setMessageType(QMailMessage::Email);
    draft.setParentAccountId(m_account->id);
    draft.setParentFolderId(m_account->folderId("dr"_folder));
    draft.setStatus(Message::Draft, true);
    QMailStore *store = QMailStore::instance();
    QVERIFY(store->addMessage(&draft));
    QVERIFY(store->removeMessage(draft.id(), QMailStore::CreateRemovalRecord));
    const Store::RemovalRecords records(m_account->id);
    QCOMPARE(records.all().size(), 1);
    QVERIFY(records.all().first().isEmpty());

    Store::LocalChanges changes(m_account->db, m_account->id);
    QProcess other;
    QVERIFY(startWriting(&other, QStringLiteral("--remove-awaited"), m_id));
    QVERIFY(changes.forgetNamelessDeletions().ok());
    QVERIFY(other.waitForFinished());
    QCOMPARE(other.exitCode(), 0);
    const Store::ServerUid deleted = Store::ServerUid::item(InboxId, QStringLiteral("1"));
    QVERIFY(records.all().contains(deleted));
    // The other one is forgotten as soon as nothing else is left.
    QVERIFY(changes.acknowledgeDeletions({deleted}).ok());
    QCOMPARE(records.all().size(), 1);
    QVERIFY(changes.forgetNamelessDeletions().ok());
    QVERIFY(records.all().isEmpty());
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == QLatin1String("--change"))
        return change(QMailMessageId(arguments.value(2).toULongLong()));
    if (arguments.value(1) == QLatin1String("--change-awaited"))
        return changeAwaited(QMailMessageId(arguments.value(2).toULongLong()));
    if (arguments.value(1) == QLatin1String("--edit-awaited"))
        return editAwaited(QMailMessageId(arguments.value(2).toULongLong()));
    if (arguments.value(1) == QLatin1String("--remove-awaited"))
        return removeAwaited(QMailMessageId(arguments.value(2).toULongLong()));
    TestOtherProcess test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_otherprocess.moc"
