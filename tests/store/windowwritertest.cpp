// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/windowwriter.h"
#include "daemon/store/serveruid.h"
#include "tests/store/items.h"
#include "tests/support/chance.h"
#include "tests/support/storefixture.h"

#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QRandomGenerator>
#include <QTest>

using namespace Items;

namespace {

using Message = QMailMessageMetaData;

const QString in = QStringLiteral("in");

QString number(int n)
{
    return QString::number(n);
}

Eas::SyncWindow added(const QString &key, int first, int last)
{
    Eas::SyncWindow window = Items::window(in, key);
    for (int i = first; i <= last; ++i)
        window.added.append(item(number(i), QStringLiteral("Message %1").arg(i)));
    return window;
}

void set(const QMailMessageId &id, quint64 mask, bool value)
{
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), mask, value));
}

} // namespace

/** What windows of changes do to a folder in the mail store. */
class WindowWriterTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_account = std::make_unique<SyncedAccount>(); }
    void cleanup() { m_account.reset(); }

    void windowBringsItsMessagesAndItsKey();
    void sameWindowTwiceChangesNothing();
    void sameIdInTwoFoldersIsTwoMessages();
    void emptyAnswerLeavesTheKey();
    void removedAndOutOfRangeMessagesGo();
    void removalLeavesNoRemovalRecord();
    void changeOfFlagsKeepsTheMessage();
    void wholeItemWithAnotherFlagKeepsTheContent();
    void changedContentReplacesTextAndKeepsTheId();
    void partOfTheHeadersCanChange();
    void changeOfAnUnknownItemAddsItIfItIsWhole();
    void changeOfAnUnknownItemThatIsNotWholeIsReported();
    void addedAndChangedInOneWindowIsOneMessage();
    void unsentReadStateOfTheUserWins();
    void unsentImportanceOfTheUserWins();
    void readAtTheServerIsReadHereAndNotNew();
    void messageDeletedHereDoesNotComeBack();
    void messageDeletedHereMeanwhileDoesNotComeBack();
    void deletionAtBothEndsIsSettled();
    void messageMovedHereStaysWhereTheUserPutIt();
    void fullerTextReplacesACutOneButNotTheOtherWayRound();
    void contentThatWasLostComesBack_data();
    void contentThatWasLostComesBack();
    void unknownFolderIsNotFound();
    void refusedWindowIsRefused();
    void nothingIsWrittenForARemovedAccount();
    void nothingIsWrittenForADisabledAccount();
    void accountDisabledBetweenStepsIsLeftAlone();
    void freshSynchronisationKeepsWhatIsStillThere();
    void freshSynchronisationOutlivesARestart();
    void freshSynchronisationFindsRenumberedMessages();
    void freshSynchronisationOfAnEmptiedFolderEmptiesIt();
    void freshSynchronisationIsNotEndedByAnUpload();
    void freshSynchronisationSparesWhatTheUserPutThere();
    void aTextOfManyShortLinesIsWholeInTheStore();
    void stepsAreShort();
    void progressGrows();
    void randomWindowsMatchAPlainModel();

private:
    /** Local changes that QMF knows of and the server does not. */
    bool isOutstanding() const { return QMailDisconnected::updatesOutstanding(m_account->id); }

    std::unique_ptr<SyncedAccount> m_account;
};

void WindowWriterTest::windowBringsItsMessagesAndItsKey()
{
    Store::WindowWriter writer(m_account->db, m_account->id, added(QStringLiteral("2"), 1, 100));
    QVERIFY(writer.run().ok());
    QCOMPARE(writer.added().size(), 100);
    QCOMPARE(m_account->messages().size(), 100);
    QCOMPARE(m_account->state().syncKey, QStringLiteral("2"));
    QCOMPARE(m_account->message(number(100)).subject(), QStringLiteral("Message 100"));
    QVERIFY(!isOutstanding());
}

void WindowWriterTest::sameWindowTwiceChangesNothing()
{
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 60)), 200);
    const QMailMessageIdList before = m_account->messages();
    const QDateTime stamp = QMailStore::instance()->messageMetaData(before.first()).date().toUTC();
    Store::WindowWriter again(m_account->db, m_account->id, added(QStringLiteral("2"), 1, 60));
    QVERIFY(again.run().ok());
    QVERIFY(again.added().isEmpty());
    QVERIFY(again.updated().isEmpty());
    QCOMPARE(m_account->messages(), before);
    QCOMPARE(QMailStore::instance()->messageMetaData(before.first()).date().toUTC(), stamp);
}

void WindowWriterTest::sameIdInTwoFoldersIsTwoMessages()
{
    Eas::SyncWindow sent = Items::window(QStringLiteral("se"), QStringLiteral("2"));
    sent.added = {item(number(1), QStringLiteral("Sent"))};
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 1)), 200);
    QCOMPARE(m_account->write(sent), 200);
    QCOMPARE(m_account->message(number(1)).subject(), QStringLiteral("Message 1"));
    QCOMPARE(m_account->message(number(1), QStringLiteral("se")).subject(), QStringLiteral("Sent"));
}

void WindowWriterTest::emptyAnswerLeavesTheKey()
{
    Eas::SyncWindow window = Items::window(in, QString());
    window.unchanged = true;
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->state().syncKey, QStringLiteral("1"));
}

void WindowWriterTest::removedAndOutOfRangeMessagesGo()
{
    m_account->write(added(QStringLiteral("2"), 1, 4));
    Eas::SyncWindow window = Items::window(in, QStringLiteral("3"));
    window.removed = QStringList {number(1), QStringLiteral("unknown")};
    window.outOfRange = QStringList {number(2)};
    Store::WindowWriter writer(m_account->db, m_account->id, window);
    QVERIFY(writer.run().ok());
    QCOMPARE(writer.removed(), 2);
    QCOMPARE(m_account->messages().size(), 2);
}

void WindowWriterTest::removalLeavesNoRemovalRecord()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    Eas::SyncWindow window = Items::window(in, QStringLiteral("3"));
    window.removed = QStringList {number(1)};
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(QMailStore::instance()->messageRemovalRecords(m_account->id).isEmpty());
}

void WindowWriterTest::changeOfFlagsKeepsTheMessage()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    const QMailMessageId id = m_account->metaData(number(1)).id();
    Eas::SyncWindow window = Items::window(in, QStringLiteral("3"));
    window.changed = {flagChange(number(1), true)};
    QCOMPARE(m_account->write(window), 200);
    const QMailMessage message = m_account->message(number(1));
    QCOMPARE(message.id(), id);
    QVERIFY(message.status() & Message::Important);
    QVERIFY(message.status() & Message::ImportantElsewhere);
    QVERIFY(!(message.status() & Message::Read));
    QCOMPARE(message.body().data(), QStringLiteral("How are you?\n"));
    QVERIFY(!isOutstanding());
}

void WindowWriterTest::wholeItemWithAnotherFlagKeepsTheContent()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    QMailMessage before = m_account->message(number(1));
    Eas::SyncWindow window = added(QStringLiteral("3"), 1, 1);
    window.added.swap(window.changed);
    window.changed.first().read = true;
    QCOMPARE(m_account->write(window), 200);
    const QMailMessage after = m_account->message(number(1));
    QVERIFY(after.status() & Message::Read);
    // Writing content makes a new file of it.
    QCOMPARE(after.contentIdentifier(), before.contentIdentifier());
}

void WindowWriterTest::changedContentReplacesTextAndKeepsTheId()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    QMailMessage before = m_account->message(number(1));
    set(before.id(), Message::Read, true);
    Eas::SyncWindow window = Items::window(in, QStringLiteral("3"));
    window.changed = {item(number(1), QStringLiteral("Draft, second try"), "Better text\n")};
    QCOMPARE(m_account->write(window), 200);
    const QMailMessage after = m_account->message(number(1));
    QCOMPARE(after.id(), before.id());
    QCOMPARE(after.subject(), QStringLiteral("Draft, second try"));
    QCOMPARE(after.body().data(), QStringLiteral("Better text\n"));
    QCOMPARE(after.parentFolderId(), before.parentFolderId());
    QCOMPARE(after.serverUid(), before.serverUid());
    QVERIFY(after.status() & Message::Read);
    QVERIFY(after.status() & Message::Incoming);
    QVERIFY(isOutstanding());
}

void WindowWriterTest::partOfTheHeadersCanChange()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    Eas::MailItem change;
    change.serverId = number(1);
    change.subject = QStringLiteral("Another");
    change.importance = 2;
    Eas::SyncWindow window = Items::window(in, QStringLiteral("3"));
    window.changed = {change};
    QCOMPARE(m_account->write(window), 200);
    const QMailMessage message = m_account->message(number(1));
    QCOMPARE(message.subject(), QStringLiteral("Another"));
    QVERIFY(message.status() & Message::HighPriority);
    QCOMPARE(message.from().address(), QStringLiteral("carol@elsewhere.test"));
    QCOMPARE(message.body().data(), QStringLiteral("How are you?\n"));
    // A text alone, as well.
    change = Eas::MailItem();
    change.serverId = number(1);
    change.body = item(number(1), QString(), "Text alone").body;
    window.syncKey = QStringLiteral("4");
    window.changed = {change};
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->message(number(1)).body().data(), QStringLiteral("Text alone"));
    QCOMPARE(m_account->message(number(1)).subject(), QStringLiteral("Another"));
}

void WindowWriterTest::changeOfAnUnknownItemAddsItIfItIsWhole()
{
    Eas::SyncWindow window = added(QStringLiteral("2"), 1, 3);
    window.added.swap(window.changed);
    Store::WindowWriter writer(m_account->db, m_account->id, window);
    QVERIFY(writer.run().ok());
    QCOMPARE(writer.added().size(), 3);
    QVERIFY(writer.incomplete().isEmpty());
}

void WindowWriterTest::changeOfAnUnknownItemThatIsNotWholeIsReported()
{
    Eas::SyncWindow window = Items::window(in, QStringLiteral("2"));
    window.changed = {readChange(number(7), true)};
    Store::WindowWriter writer(m_account->db, m_account->id, window);
    QVERIFY(writer.run().ok());
    QCOMPARE(writer.incomplete(), QStringList(number(7)));
    QVERIFY(m_account->messages().isEmpty());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("2"));
}

void WindowWriterTest::addedAndChangedInOneWindowIsOneMessage()
{
    Eas::SyncWindow window = added(QStringLiteral("2"), 1, 2);
    window.added.append(item(number(1), QStringLiteral("Again")));
    window.changed = {readChange(number(2), true)};
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->messages().size(), 2);
    QCOMPARE(m_account->message(number(1)).subject(), QStringLiteral("Again"));
    QVERIFY(m_account->message(number(2)).status() & Message::Read);
}

void WindowWriterTest::unsentReadStateOfTheUserWins()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    set(m_account->metaData(number(1)).id(), Message::Read, true);
    Eas::SyncWindow window = Items::window(in, QStringLiteral("3"));
    window.changed = {readChange(number(1), false)};
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_account->metaData(number(1)).status() & Message::Read);
    QVERIFY(isOutstanding());
    // The server has come to the same by itself: nothing is left to tell it.
    window.changed = {readChange(number(1), true)};
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_account->metaData(number(1)).status() & Message::Read);
    QVERIFY(!isOutstanding());
}

void WindowWriterTest::unsentImportanceOfTheUserWins()
{
    Eas::SyncWindow first = Items::window(in, QStringLiteral("2"));
    first.added = {item(number(1))};
    first.added.first().flag = Eas::FlagStatus::Active;
    m_account->write(first);
    set(m_account->metaData(number(1)).id(), Message::Important, false);
    Eas::SyncWindow window = Items::window(in, QStringLiteral("3"));
    window.changed = {flagChange(number(1), true)};
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(!(m_account->metaData(number(1)).status() & Message::Important));
    QVERIFY(isOutstanding());
}

void WindowWriterTest::readAtTheServerIsReadHereAndNotNew()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    Eas::SyncWindow window = Items::window(in, QStringLiteral("3"));
    window.changed = {readChange(number(1), true)};
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_account->metaData(number(1)).status() & Message::Read);
    QVERIFY(!(m_account->metaData(number(1)).status() & Message::New));
    window.changed = {readChange(number(1), false)};
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(!(m_account->metaData(number(1)).status() & Message::Read));
    QVERIFY(!isOutstanding());
}

void WindowWriterTest::messageDeletedHereDoesNotComeBack()
{
    m_account->write(added(QStringLiteral("2"), 1, 2));
    QVERIFY(QMailStore::instance()->removeMessage(m_account->metaData(number(1)).id(),
                                                  QMailStore::CreateRemovalRecord));
    Eas::SyncWindow window = added(QStringLiteral("3"), 1, 2);
    window.changed = {item(number(1))};
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->messages().size(), 1);
    QCOMPARE(QMailStore::instance()->messageRemovalRecords(m_account->id).size(), 1);
}

void WindowWriterTest::messageDeletedHereMeanwhileDoesNotComeBack()
{
    m_account->write(added(QStringLiteral("2"), 1, 300));
    Store::WindowWriter writer(m_account->db, m_account->id, added(QStringLiteral("3"), 1, 301));
    for (int i = 0; i < 3; ++i)
        QVERIFY(writer.step());
    QVERIFY(QMailStore::instance()->removeMessage(m_account->metaData(number(300)).id(),
                                                  QMailStore::CreateRemovalRecord));
    QVERIFY(writer.run().ok());
    QCOMPARE(m_account->messages().size(), 300);
    QVERIFY(!m_account->metaData(number(300)).id().isValid());
}

void WindowWriterTest::deletionAtBothEndsIsSettled()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    QVERIFY(QMailStore::instance()->removeMessage(m_account->metaData(number(1)).id(),
                                                  QMailStore::CreateRemovalRecord));
    Eas::SyncWindow window = Items::window(in, QStringLiteral("3"));
    window.removed = QStringList(number(1));
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(QMailStore::instance()->messageRemovalRecords(m_account->id).isEmpty());
}

void WindowWriterTest::messageMovedHereStaysWhereTheUserPutIt()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    const QMailMessageId id = m_account->metaData(number(1)).id();
    QMailDisconnected::moveToFolder({id}, m_account->folderId(QStringLiteral("tr")));
    Eas::SyncWindow window = Items::window(in, QStringLiteral("3"));
    window.changed = {item(number(1), QStringLiteral("New subject"))};
    QCOMPARE(m_account->write(window), 200);
    const QMailMessageMetaData message(id);
    QCOMPARE(message.subject(), QStringLiteral("New subject"));
    QCOMPARE(message.parentFolderId(), m_account->folderId(QStringLiteral("tr")));
    QCOMPARE(message.previousParentFolderId(), m_account->folderId());
}

void WindowWriterTest::fullerTextReplacesACutOneButNotTheOtherWayRound()
{
    Eas::SyncWindow window = Items::window(in, QStringLiteral("2"));
    window.added = {item(number(1), QStringLiteral("Long"), "The beg")};
    window.added.first().body->truncated = true;
    QCOMPARE(m_account->write(window), 200);
    window.added = {item(number(1), QStringLiteral("Long"), "The beginning and the end")};
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->message(number(1)).body().data(),
             QStringLiteral("The beginning and the end"));
    QVERIFY(m_account->message(number(1)).status() & Message::ContentAvailable);
    window.added = {item(number(1), QStringLiteral("Long"), "The")};
    window.added.first().body->truncated = true;
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->message(number(1)).body().data(),
             QStringLiteral("The beginning and the end"));
    QVERIFY(m_account->message(number(1)).status() & Message::ContentAvailable);
}

void WindowWriterTest::contentThatWasLostComesBack_data()
{
    QTest::addColumn<bool>("attachment");
    QTest::addColumn<int>("left"); ///< bytes, or -1: no file
    QTest::newRow("no file") << false << -1;
    QTest::newRow("empty file") << false << 0;
    QTest::newRow("half a file") << false << 300;
    QTest::newRow("no file, attachment") << true << -1;
    QTest::newRow("empty file, attachment") << true << 0;
}

void WindowWriterTest::contentThatWasLostComesBack()
{
    QFETCH(bool, attachment);
    QFETCH(int, left);
    const QByteArray body(2000, 'x');
    Eas::SyncWindow window = Items::window(in, QStringLiteral("2"));
    window.added = {item(number(1), QStringLiteral("Long"), body)};
    if (attachment)
        window.added.first().attachments = QList<Eas::Attachment> {
            Items::attachment(QStringLiteral("a.bin"), QStringLiteral("ref"))};
    QCOMPARE(m_account->write(window), 200);
    const QMailMessageMetaData before = m_account->metaData(number(1));
    set(before.id(), Message::Read, true);
    QFile content(before.contentIdentifier());
    QVERIFY(left < 0 ? content.remove() : content.resize(left));
    QCOMPARE(m_account->write(window), 200);
    const QMailMessage after = m_account->message(number(1));
    QCOMPARE(after.id(), before.id());
    QCOMPARE(attachment ? after.partAt(0u).body().data() : after.body().data(),
             QString::fromLatin1(body));
    QCOMPARE(after.partCount(), attachment ? 2u : 0u);
    QVERIFY(after.status() & Message::Read);
    QVERIFY(isOutstanding());
}

void WindowWriterTest::unknownFolderIsNotFound()
{
    QCOMPARE(m_account->write(Items::window(QStringLiteral("nowhere"), QStringLiteral("2"))), 404);
    QVERIFY(QMailStore::instance()->removeFolder(m_account->folderId()));
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 1)), 404);
}

void WindowWriterTest::refusedWindowIsRefused()
{
    Eas::SyncWindow window = added(QStringLiteral("2"), 1, 1);
    window.status = 3;
    QCOMPARE(m_account->write(window), 501);
    QVERIFY(m_account->messages().isEmpty());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("1"));
}

void WindowWriterTest::nothingIsWrittenForARemovedAccount()
{
    QVERIFY(QMailStore::instance()->removeAccount(m_account->id));
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 1)), 1030);
    QCOMPARE(QMailStore::instance()->countMessages(), 0);
    QVERIFY(m_account->db.removeAccount(m_account->id).ok());
    QVERIFY(m_account->db.folders(m_account->id).isEmpty());
}

void WindowWriterTest::nothingIsWrittenForADisabledAccount()
{
    QMailAccount account(m_account->id);
    account.setStatus(QMailAccount::Enabled, false);
    QVERIFY(QMailStore::instance()->updateAccount(&account));
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 1)), 1030);
    QVERIFY(m_account->messages().isEmpty());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("1"));
}

void WindowWriterTest::accountDisabledBetweenStepsIsLeftAlone()
{
    Store::WindowWriter writer(m_account->db, m_account->id, added(QStringLiteral("2"), 1, 400));
    while (writer.added().isEmpty())
        QVERIFY(writer.step());
    QMailAccount account(m_account->id);
    account.setStatus(QMailAccount::Enabled, false);
    QVERIFY(QMailStore::instance()->updateAccount(&account));
    const int written = m_account->messages().size();
    QVERIFY(written < 400);
    QVERIFY(!writer.step());
    QCOMPARE(writer.result().code, 1030);
    QCOMPARE(m_account->messages().size(), written);
    QCOMPARE(m_account->state().syncKey, QStringLiteral("1"));
}

void WindowWriterTest::freshSynchronisationKeepsWhatIsStillThere()
{
    m_account->write(added(QStringLiteral("2"), 1, 30));
    const QMailMessageId kept = m_account->metaData(number(20)).id();
    set(kept, Message::Read, true);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, in).ok());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("0"));
    QCOMPARE(m_account->messages().size(), 30);
    QCOMPARE(m_account->write(Items::window(in, QStringLiteral("9"))), 200);
    QVERIFY(m_account->state().reconciling);
    Eas::SyncWindow first = added(QStringLiteral("10"), 11, 25);
    first.moreAvailable = true;
    QCOMPARE(m_account->write(first), 200);
    QCOMPARE(m_account->messages().size(), 30);
    QCOMPARE(m_account->write(added(QStringLiteral("11"), 26, 35)), 200);
    QCOMPARE(m_account->messages().size(), 25);
    QCOMPARE(m_account->metaData(number(20)).id(), kept);
    QVERIFY(m_account->metaData(number(20)).status() & Message::Read);
    QVERIFY(!m_account->metaData(number(5)).id().isValid());
    QVERIFY(!m_account->state().reconciling);
    QCOMPARE(m_account->state().syncKey, QStringLiteral("11"));
}

void WindowWriterTest::freshSynchronisationOutlivesARestart()
{
    m_account->write(added(QStringLiteral("2"), 1, 10));
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, in).ok());
    QCOMPARE(m_account->write(Items::window(in, QStringLiteral("9"))), 200);
    Eas::SyncWindow first = added(QStringLiteral("10"), 1, 5);
    first.moreAvailable = true;
    QCOMPARE(m_account->write(first), 200);
    Store::SyncStateDb reopened;
    QVERIFY(reopened.open().ok());
    QVERIFY(reopened.openAccount(Store::AccountRecord::read(m_account->id)).ok());
    QVERIFY(
        Store::WindowWriter(reopened, m_account->id, added(QStringLiteral("11"), 6, 8)).run().ok());
    QCOMPARE(m_account->messages().size(), 8);
}

void WindowWriterTest::freshSynchronisationFindsRenumberedMessages()
{
    m_account->write(added(QStringLiteral("2"), 1, 20));
    QHash<QString, QMailMessageId> before;
    for (const QMailMessageId &id : m_account->messages())
        before.insert(QMailMessageMetaData(id).subject(), id);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, in).ok());
    QCOMPARE(m_account->write(Items::window(in, QStringLiteral("9"))), 200);
    // The oldest five are gone, and the numbers start from 1 again.
    Eas::SyncWindow window = added(QStringLiteral("10"), 6, 20);
    for (int i = 0; i < window.added.size(); ++i)
        window.added[i].serverId = number(i + 1);
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->messages().size(), 15);
    for (int i = 1; i <= 15; ++i) {
        const QMailMessageMetaData message = m_account->metaData(number(i));
        QCOMPARE(message.subject(), QStringLiteral("Message %1").arg(i + 5));
        QCOMPARE(message.id(), before.value(message.subject()));
    }
}

void WindowWriterTest::freshSynchronisationOfAnEmptiedFolderEmptiesIt()
{
    m_account->write(added(QStringLiteral("2"), 1, 10));
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, in).ok());
    QCOMPARE(m_account->write(Items::window(in, QStringLiteral("9"))), 200);
    Eas::SyncWindow window = Items::window(in, QString());
    window.unchanged = true;
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_account->messages().isEmpty());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("9"));
}

void WindowWriterTest::freshSynchronisationIsNotEndedByAnUpload()
{
    m_account->write(added(QStringLiteral("2"), 1, 10));
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, in).ok());
    QCOMPARE(m_account->write(Items::window(in, QStringLiteral("9"))), 200);
    // What was uploaded is answered with a new key alone; nothing was asked for.
    Store::WindowWriter upload(m_account->db, m_account->id,
                               Items::window(in, QStringLiteral("10")),
                               Store::WindowWriter::Answers::Upload);
    QVERIFY(upload.run().ok());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("10"));
    QCOMPARE(m_account->messages().size(), 10);
    QVERIFY(m_account->state().reconciling);
    QCOMPARE(m_account->write(added(QStringLiteral("11"), 1, 4)), 200);
    QCOMPARE(m_account->messages().size(), 4);
}

void WindowWriterTest::freshSynchronisationSparesWhatTheUserPutThere()
{
    const QString trash = QStringLiteral("tr");
    m_account->write(added(QStringLiteral("2"), 1, 2));
    const QMailMessageId moved = m_account->metaData(number(1)).id();
    QMailDisconnected::moveToFolder({moved}, m_account->folderId(trash));
    const QMailMessageId draft =
        StoreFixture::addMessage(m_account->id, m_account->folderId(trash));
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, trash).ok());
    QCOMPARE(m_account->write(Items::window(trash, QStringLiteral("9"))), 200);
    QCOMPARE(m_account->write(Items::window(trash, QStringLiteral("10"))), 200);
    QCOMPARE(m_account->messages(trash).size(), 2);
    QVERIFY(m_account->messages(trash).contains(moved));
    QVERIFY(m_account->messages(trash).contains(draft));
}

void WindowWriterTest::aTextOfManyShortLinesIsWholeInTheStore()
{
    const QByteArray text = QByteArray("a\r\n").repeated(5000);
    Eas::SyncWindow window = Items::window(in, QStringLiteral("2"));
    window.added = {item(QStringLiteral("1"), QStringLiteral("Lines"), text)};
    QCOMPARE(m_account->write(window), 200);
    const QMailMessageId id = m_account->messages().value(0);
    QCOMPARE(QMailMessage(id).body().data().count(QLatin1Char('a')), 5000);
    // What comes once more is known.
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->messages(), QMailMessageIdList({id}));
}

void WindowWriterTest::stepsAreShort()
{
    qint64 longest = 0;
    for (int window = 0; window < 10; ++window) {
        Store::WindowWriter writer(m_account->db, m_account->id,
                                   added(number(window + 2), window * 100 + 1, window * 100 + 100));
        for (bool more = true; more;) {
            QElapsedTimer timer;
            timer.start();
            more = writer.step();
            longest = qMax(longest, timer.elapsed());
        }
        QVERIFY(writer.result().ok());
    }
    qInfo("longest step of 1000 messages in windows of 100: %lld ms", (long long)longest);
    // Twenty times the aim: a busy machine must not fail the test, a step without a bound must.
    QVERIFY(longest < 2000);
}

void WindowWriterTest::progressGrows()
{
    Store::WindowWriter writer(m_account->db, m_account->id, added(QStringLiteral("2"), 1, 300));
    int last = writer.progress();
    QCOMPARE(last, 0);
    while (writer.step()) {
        QVERIFY(writer.progress() >= last);
        last = writer.progress();
    }
    QCOMPARE(writer.progress(), 1000);
}

void WindowWriterTest::randomWindowsMatchAPlainModel()
{
    QRandomGenerator random(testSeed());
    QMap<QString, QPair<QString, bool>> model; // subject and read state by server id
    int nextId = 1;
    for (int round = 0; round < 60; ++round) {
        Eas::SyncWindow window = Items::window(in, number(round + 2));
        QSet<QString> used;
        for (int i = random.bounded(12); i > 0; --i) {
            const int choice = random.bounded(5);
            const QStringList ids = model.keys();
            const QString id =
                ids.isEmpty() || choice < 2 ? number(nextId++) : ids.at(random.bounded(ids.size()));
            if (used.contains(id))
                continue;
            used.insert(id);
            const QString subject = QStringLiteral("Subject %1").arg(random.bounded(1000));
            const bool read = random.bounded(2);
            if (choice == 2 && model.contains(id)) {
                window.changed.append(readChange(id, read));
                model[id].second = read;
            } else if (choice == 3 && model.contains(id)) {
                (random.bounded(2) ? window.removed : window.outOfRange).append(id);
                model.remove(id);
            } else {
                Eas::MailItem whole = item(id, subject);
                whole.read = read;
                (random.bounded(2) ? window.added : window.changed).append(whole);
                model.insert(id, {subject, read});
            }
        }
        const int times = 1 + random.bounded(2);
        for (int i = 0; i < times; ++i)
            QCOMPARE(m_account->write(window), 200);
        QMap<QString, QPair<QString, bool>> found;
        for (const QMailMessageId &id : m_account->messages()) {
            const QMailMessageMetaData message(id);
            found.insert(Store::ServerUid::split(message.serverUid()).itemId,
                         {message.subject(), bool(message.status() & Message::Read)});
        }
        QCOMPARE(found, model);
        QCOMPARE(m_account->messages().size(), model.size());
    }
    QVERIFY(!isOutstanding());
}

QTEST_GUILESS_MAIN(WindowWriterTest)
#include "windowwritertest.moc"
