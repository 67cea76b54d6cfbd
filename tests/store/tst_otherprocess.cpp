// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/contentmark.h"
#include "daemon/store/incoming/contentwriter.h"
#include "daemon/store/localchanges.h"
#include "tests/store/items.h"

#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QProcess>
#include <QTest>

#include <memory>

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
    void reconciliationTouchesNothingElse();

private:
    /** The message is still where the other process put it, with the flag that it set. */
    void compareKept();

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

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == QLatin1String("--change"))
        return change(QMailMessageId(arguments.value(2).toULongLong()));
    TestOtherProcess test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_otherprocess.moc"
