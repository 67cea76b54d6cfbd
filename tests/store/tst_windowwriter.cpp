// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/fingerprint.h"
#include "daemon/store/incoming/contentmark.h"
#include "daemon/store/incoming/foundwriter.h"
#include "daemon/store/incoming/windowwriter.h"
#include "daemon/store/moves.h"
#include "daemon/store/serveruid.h"
#include "tests/store/hiddentable.h"
#include "tests/store/items.h"
#include "tests/store/sqleffort.h"
#include "tests/support/chance.h"
#include "tests/support/storefixture.h"

#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QRandomGenerator>
#include <QTest>

using namespace Items;

namespace {

using Message = QMailMessageMetaData;

const Eas::FolderId Drafts = "dr"_folder;

QString number(int n)
{
    return QString::number(n);
}

Eas::SyncWindow added(const QString &key, int first, int last)
{
    Eas::SyncWindow window = Items::window(InboxId, key);
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
class TestWindowWriter : public QObject
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
    void changeOfAnUnknownItemThatIsNotWholeIsPassedOver();
    void addedAndChangedInOneWindowIsOneMessage();
    void unsentReadStateOfTheUserWins();
    void unsentImportanceOfTheUserWins();
    void readAtTheServerIsReadHereAndNotNew();
    void messageDeletedHereDoesNotComeBack();
    void messageDeletedHereMeanwhileDoesNotComeBack();
    void deletionAtBothEndsIsSettled();
    void deletionOfWhatIsOutOfRangeIsStillToBeTold();
    void messageMovedHereStaysWhereTheUserPutIt();
    void fullerTextReplacesACutOneButNotTheOtherWayRound();
    void contentThatWasLostComesBack_data();
    void contentThatWasLostComesBack();
    void whatItsAuthorMadeOfADraftStays();
    void whatItsAuthorMakesOfADraftThatNobodyNotedStays();
    void whatElseIsNewOfADraftLeavesItsAuthorsText();
    void whatItsAuthorMadeOfADraftsHeadersStays();
    void unknownFolderIsNotFound();
    void refusedWindowIsRefused();
    void nothingIsWrittenForARemovedAccount();
    void nothingIsWrittenForADisabledAccount();
    void accountDisabledBetweenStepsIsLeftAlone();
    void reconciliationKeepsWhatIsStillThere();
    void reconciliationOutlivesARestart();
    void reconciliationFindsRenumberedMessages();
    void reconciliationKeepsTwinsApart();
    void searchResultWhoseIdIsAnotherOnesIsFoundAnewOrGoes_data();
    void searchResultWhoseIdIsAnotherOnesIsFoundAnewOrGoes();
    void deletionHoldsWhereTheServerKeepsItsIds();
    void deletionIsForgottenWhereTheServerNumbersAnew_data();
    void deletionIsForgottenWhereTheServerNumbersAnew();
    void deletionIsDoubtedUntilARenumberedFolderIsReconciled_data();
    void deletionIsDoubtedUntilARenumberedFolderIsReconciled();
    void deletionIsForgottenWhereNothingCouldShowOtherIds_data();
    void deletionIsForgottenWhereNothingCouldShowOtherIds();
    void messageUnderTheIdOfAnotherTakesNothingOfIt_data();
    void messageUnderTheIdOfAnotherTakesNothingOfIt();
    void whatWasMovedHereIsNotMovedForAnother();
    void reconciliationOfAnEmptiedFolderEmptiesIt();
    void reconciliationIsNotEndedByAnUpload();
    void reconciliationSparesWhatTheUserPutThere();
    void reconciliationSparesWhatWasMovedOutMeanwhile_data();
    void reconciliationSparesWhatWasMovedOutMeanwhile();
    void reconciliationSparesWhatOlderDaemonsNoted();
    void whatCannotBeReadIsNotEmpty_data();
    void whatCannotBeReadIsNotEmpty();
    void whatCannotBeReadIsStillUnconfirmed_data();
    void whatCannotBeReadIsStillUnconfirmed();
    void reconciliationCostsWhatItsWindowsHold_data();
    void reconciliationCostsWhatItsWindowsHold();
    void changeOfWhatIsConfirmedLeavesUnsentFlags_data();
    void changeOfWhatIsConfirmedLeavesUnsentFlags();
    void whatWasMovedOutAndBackIsAskedFor();
    void aTextOfManyShortLinesIsWholeInTheStore();
    void stepsAreShort();
    void progressGrows();
    void randomWindowsMatchAPlainModel();

private:
    /** Messages 1 to 10 of the inbox are being reconciled, and the first three are shown. */
    void beginReconciling();
    /** The user moves the message, and the server answers for it. */
    void move(const QMailMessageId &id, const Store::ServerUid &from, const Eas::FolderId &to,
              const QString &newItemId);
    /** The user deletes the message of the inbox with that id at the server. */
    void remove(int id);
    QString draftsText() { return m_account->message(number(1), Drafts).body().data(); }
    /** The author of draft 1 makes another text of it, of one word. */
    void editDraft();
    /** How many deletions the server is still to be told. */
    int deletions() const
    {
        return QMailStore::instance()->messageRemovalRecords(m_account->id).size();
    }
    /** Writes the windows of a reconciliation until it begins anew or ends; the items of each as
     * ids and subjects. Whether it has begun anew. */
    bool reconcile(const QList<QMap<int, QString>> &windows);
    /** The same from after the answer to key "0"; more windows may be left after these. */
    bool show(const QList<QMap<int, QString>> &windows, bool isMoreLeft = false);
    /** Reconciles another inbox with so many messages; the steps in which the daemon's database
     * answers meanwhile. */
    qint64 effortOfReconciling(int count, bool isThere);
    /** Local changes that QMF knows of and the server does not. */
    bool isOutstanding() const { return QMailDisconnected::updatesOutstanding(m_account->id); }

    std::unique_ptr<SyncedAccount> m_account;
};

void TestWindowWriter::windowBringsItsMessagesAndItsKey()
{
    Store::WindowWriter writer(m_account->db, m_account->id, added(QStringLiteral("2"), 1, 100));
    QVERIFY(writer.run().ok());
    QCOMPARE(writer.added().size(), 100);
    QCOMPARE(m_account->messages().size(), 100);
    QCOMPARE(m_account->state().syncKey, QStringLiteral("2"));
    QCOMPARE(m_account->message(number(100)).subject(), QStringLiteral("Message 100"));
    QVERIFY(!isOutstanding());
}

void TestWindowWriter::sameWindowTwiceChangesNothing()
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

void TestWindowWriter::sameIdInTwoFoldersIsTwoMessages()
{
    Eas::SyncWindow sent =
        adding(QStringLiteral("2"), {item(number(1), QStringLiteral("Sent"))}, "se"_folder);
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 1)), 200);
    QCOMPARE(m_account->write(sent), 200);
    QCOMPARE(m_account->message(number(1)).subject(), QStringLiteral("Message 1"));
    QCOMPARE(m_account->message(number(1), "se"_folder).subject(), QStringLiteral("Sent"));
}

void TestWindowWriter::emptyAnswerLeavesTheKey()
{
    Eas::SyncWindow window = Items::window(InboxId, QString());
    window.unchanged = true;
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->state().syncKey, QStringLiteral("1"));
}

void TestWindowWriter::removedAndOutOfRangeMessagesGo()
{
    m_account->write(added(QStringLiteral("2"), 1, 4));
    Eas::SyncWindow window = removing(QStringLiteral("3"), {number(1), QStringLiteral("unknown")});
    window.outOfRange = QStringList {number(2)};
    Store::WindowWriter writer(m_account->db, m_account->id, window);
    QVERIFY(writer.run().ok());
    QCOMPARE(writer.removed(), 2);
    QCOMPARE(m_account->messages().size(), 2);
}

void TestWindowWriter::removalLeavesNoRemovalRecord()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    QCOMPARE(m_account->write(removing(QStringLiteral("3"), {number(1)})), 200);
    QVERIFY(QMailStore::instance()->messageRemovalRecords(m_account->id).isEmpty());
}

void TestWindowWriter::changeOfFlagsKeepsTheMessage()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    const QMailMessageId id = m_account->metaData(number(1)).id();
    QCOMPARE(m_account->write(changing(QStringLiteral("3"), {flagChange(number(1), true)})), 200);
    const QMailMessage message = m_account->message(number(1));
    QCOMPARE(message.id(), id);
    QVERIFY(message.status() & Message::Important);
    QVERIFY(message.status() & Message::ImportantElsewhere);
    QVERIFY(!(message.status() & Message::Read));
    QCOMPARE(message.body().data(), QStringLiteral("How are you?\n"));
    QVERIFY(!isOutstanding());
}

void TestWindowWriter::wholeItemWithAnotherFlagKeepsTheContent()
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

void TestWindowWriter::changedContentReplacesTextAndKeepsTheId()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    QMailMessage before = m_account->message(number(1));
    set(before.id(), Message::Read, true);
    QCOMPARE(m_account->write(
                 changing(QStringLiteral("3"),
                          {item(number(1), QStringLiteral("Draft, second try"), "Better text\n")})),
             200);
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

void TestWindowWriter::partOfTheHeadersCanChange()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    Eas::MailItem change;
    change.serverId = number(1);
    change.subject = QStringLiteral("Another");
    change.importance = 2;
    Eas::SyncWindow window = changing(QStringLiteral("3"), {change});
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

void TestWindowWriter::changeOfAnUnknownItemAddsItIfItIsWhole()
{
    Eas::SyncWindow window = added(QStringLiteral("2"), 1, 3);
    window.added.swap(window.changed);
    Store::WindowWriter writer(m_account->db, m_account->id, window);
    QVERIFY(writer.run().ok());
    QCOMPARE(writer.added().size(), 3);
}

void TestWindowWriter::changeOfAnUnknownItemThatIsNotWholeIsPassedOver()
{
    Eas::SyncWindow window = changing(QStringLiteral("2"), {readChange(number(7), true)});
    Store::WindowWriter writer(m_account->db, m_account->id, window);
    QVERIFY(writer.run().ok());
    QVERIFY(m_account->messages().isEmpty());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("2"));
}

void TestWindowWriter::addedAndChangedInOneWindowIsOneMessage()
{
    Eas::SyncWindow window = added(QStringLiteral("2"), 1, 2);
    window.added.append(item(number(1), QStringLiteral("Again")));
    window.changed = {readChange(number(2), true)};
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->messages().size(), 2);
    QCOMPARE(m_account->message(number(1)).subject(), QStringLiteral("Again"));
    QVERIFY(m_account->message(number(2)).status() & Message::Read);
}

void TestWindowWriter::unsentReadStateOfTheUserWins()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    set(m_account->metaData(number(1)).id(), Message::Read, true);
    Eas::SyncWindow window = changing(QStringLiteral("3"), {readChange(number(1), false)});
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_account->metaData(number(1)).status() & Message::Read);
    QVERIFY(isOutstanding());
    // The server has come to the same by itself: nothing is left to tell it.
    window.changed = {readChange(number(1), true)};
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_account->metaData(number(1)).status() & Message::Read);
    QVERIFY(!isOutstanding());
}

void TestWindowWriter::unsentImportanceOfTheUserWins()
{
    Eas::SyncWindow first = adding(QStringLiteral("2"), {item(number(1))});
    first.added.first().flag = Eas::FlagStatus::Active;
    m_account->write(first);
    set(m_account->metaData(number(1)).id(), Message::Important, false);
    QCOMPARE(m_account->write(changing(QStringLiteral("3"), {flagChange(number(1), true)})), 200);
    QVERIFY(!(m_account->metaData(number(1)).status() & Message::Important));
    QVERIFY(isOutstanding());
}

void TestWindowWriter::readAtTheServerIsReadHereAndNotNew()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    Eas::SyncWindow window = changing(QStringLiteral("3"), {readChange(number(1), true)});
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_account->metaData(number(1)).status() & Message::Read);
    QVERIFY(!(m_account->metaData(number(1)).status() & Message::New));
    window.changed = {readChange(number(1), false)};
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(!(m_account->metaData(number(1)).status() & Message::Read));
    QVERIFY(!isOutstanding());
}

void TestWindowWriter::messageDeletedHereDoesNotComeBack()
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

void TestWindowWriter::messageDeletedHereMeanwhileDoesNotComeBack()
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

void TestWindowWriter::deletionAtBothEndsIsSettled()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    QVERIFY(QMailStore::instance()->removeMessage(m_account->metaData(number(1)).id(),
                                                  QMailStore::CreateRemovalRecord));
    QCOMPARE(m_account->write(removing(QStringLiteral("3"), {number(1)})), 200);
    QVERIFY(QMailStore::instance()->messageRemovalRecords(m_account->id).isEmpty());
}

void TestWindowWriter::deletionOfWhatIsOutOfRangeIsStillToBeTold()
{
    m_account->write(added(QStringLiteral("2"), 1, 2));
    QVERIFY(QMailStore::instance()->removeMessage(m_account->metaData(number(1)).id(),
                                                  QMailStore::CreateRemovalRecord));
    Eas::SyncWindow window = Items::window(InboxId, QStringLiteral("3"));
    window.outOfRange = QStringList {number(1), number(2)};
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_account->messages().isEmpty());
    const auto records = QMailStore::instance()->messageRemovalRecords(m_account->id);
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().serverUid(), QStringLiteral("in\x1f") + number(1));
}

void TestWindowWriter::messageMovedHereStaysWhereTheUserPutIt()
{
    m_account->write(added(QStringLiteral("2"), 1, 1));
    const QMailMessageId id = m_account->metaData(number(1)).id();
    QMailDisconnected::moveToFolder({id}, m_account->folderId("tr"_folder));
    QCOMPARE(m_account->write(
                 changing(QStringLiteral("3"), {item(number(1), QStringLiteral("New subject"))})),
             200);
    const QMailMessageMetaData message(id);
    QCOMPARE(message.subject(), QStringLiteral("New subject"));
    QCOMPARE(message.parentFolderId(), m_account->folderId("tr"_folder));
    QCOMPARE(message.previousParentFolderId(), m_account->folderId());
}

void TestWindowWriter::fullerTextReplacesACutOneButNotTheOtherWayRound()
{
    Eas::SyncWindow window =
        adding(QStringLiteral("2"), {item(number(1), QStringLiteral("Long"), "The beg")});
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

void TestWindowWriter::contentThatWasLostComesBack_data()
{
    QTest::addColumn<bool>("attachment");
    QTest::addColumn<int>("left"); ///< bytes, or -1: no file
    QTest::newRow("no file") << false << -1;
    QTest::newRow("empty file") << false << 0;
    QTest::newRow("half a file") << false << 300;
    QTest::newRow("no file, attachment") << true << -1;
    QTest::newRow("empty file, attachment") << true << 0;
}

void TestWindowWriter::contentThatWasLostComesBack()
{
    QFETCH(bool, attachment);
    QFETCH(int, left);
    const QByteArray body(2000, 'x');
    Eas::SyncWindow window =
        adding(QStringLiteral("2"), {item(number(1), QStringLiteral("Long"), body)});
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

/** Another client's flag brings the whole draft again, and it is shorter here than there. */
void TestWindowWriter::whatItsAuthorMadeOfADraftStays()
{
    const QByteArray before(2000, 'x');
    const QString subject = QStringLiteral("Draft");
    Eas::SyncWindow window =
        adding(QStringLiteral("2"), {item(number(1), subject, before)}, Drafts);
    QCOMPARE(m_account->write(window), 200);
    editDraft();
    window = changing(QStringLiteral("3"), {item(number(1), subject, before)}, Drafts);
    window.changed.first().read = true;
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_account->metaData(number(1), Drafts).status() & Message::Read);
    QCOMPARE(draftsText(), QStringLiteral("word"));
    // What is lost comes from the server, and so does what is new there.
    QVERIFY(QFile::resize(m_account->metaData(number(1), Drafts).contentIdentifier(), 0));
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(draftsText(), QString::fromLatin1(before));
    editDraft();
    Eas::MailItem importance;
    importance.serverId = number(1);
    importance.importance = 2;
    QCOMPARE(m_account->write(changing(QStringLiteral("4"), {importance}, Drafts)), 200);
    QVERIFY(m_account->metaData(number(1), Drafts).status() & Message::HighPriority);
    QCOMPARE(draftsText(), QStringLiteral("word"));
    window.changed.first().body->data = "another";
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(draftsText(), QStringLiteral("another"));
}

void TestWindowWriter::editDraft()
{
    QMailMessage draft = m_account->message(number(1), Drafts);
    draft.setBody(QMailMessageBody::fromData(QStringLiteral("word"),
                                             QMailMessageContentType("text/plain; charset=UTF-8"),
                                             QMailMessageBody::EightBit));
    QVERIFY(QMailStore::instance()->updateMessage(&draft));
    QCOMPARE(draftsText(), QStringLiteral("word"));
}

/** As a daemon leaves it that dies between writing the draft and noting that, and the window comes
 * once more. Other mail is not noted, for that costs a writing. */
void TestWindowWriter::whatItsAuthorMakesOfADraftThatNobodyNotedStays()
{
    const QList<Eas::MailItem> items {
        item(number(1), QStringLiteral("Draft"), QByteArray(2000, 'x'))};
    const Eas::SyncWindow window = adding(QStringLiteral("2"), items, Drafts);
    QCOMPARE(m_account->write(window), 200);
    Message draft = m_account->metaData(number(1), Drafts);
    Store::ContentMark mark = Store::ContentMark::read(draft);
    QVERIFY(!mark.written.isEmpty());
    mark.written.clear();
    mark.store(&draft);
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(draft.id()),
                                                           QMailMessageKey::Custom, draft));
    QCOMPARE(m_account->write(window), 200);
    editDraft();
    QCOMPARE(m_account->write(changing(QStringLiteral("3"), items, Drafts)), 200);
    QCOMPARE(draftsText(), QStringLiteral("word"));
    QCOMPARE(m_account->write(adding(QStringLiteral("2"), items)), 200);
    QCOMPARE(m_account->write(adding(QStringLiteral("2"), items)), 200);
    QVERIFY(Store::ContentMark::read(m_account->metaData(number(1))).written.isEmpty());
}

/** Most servers send the whole item for that. */
void TestWindowWriter::whatElseIsNewOfADraftLeavesItsAuthorsText()
{
    Eas::MailItem shown = item(number(1), QStringLiteral("Draft"), QByteArray(2000, 'x'));
    QCOMPARE(m_account->write(adding(QStringLiteral("2"), {shown}, Drafts)), 200);
    editDraft();
    const auto show = [&] { return m_account->write(changing(text("3"), {shown}, Drafts)); };
    const auto draft = [&] { return m_account->message(number(1), Drafts); };
    shown.subject = QStringLiteral("Another subject");
    QCOMPARE(show(), 200);
    QCOMPARE(draftsText(), QStringLiteral("word"));
    QCOMPARE(draft().subject(), *shown.subject);
    shown.to = QStringLiteral("\"Alice Example\" <alice@example.test>, bob@example.test");
    shown.importance = 2;
    shown.dateReceived = shown.dateReceived->addSecs(3600);
    QCOMPARE(show(), 200);
    QCOMPARE(draftsText(), QStringLiteral("word"));
    QCOMPARE(draft().to().size(), 2);
    QVERIFY(draft().status() & Message::HighPriority);
    shown.attachments = {attachment(QStringLiteral("a.bin"), QStringLiteral("ref"))};
    QCOMPARE(show(), 200);
    QCOMPARE(draftsText(), QStringLiteral("word"));
    // It is known by now: nothing is written for it once more.
    const QString content = draft().contentIdentifier();
    shown.read = true;
    QCOMPARE(show(), 200);
    QVERIFY(draft().status() & Message::Read);
    QCOMPARE(draft().contentIdentifier(), content);
    // Not the whole item, but the text.
    Eas::MailItem part;
    part.serverId = number(1);
    part.body = shown.body;
    QCOMPARE(m_account->write(changing(QStringLiteral("4"), {part}, Drafts)), 200);
    QCOMPARE(draftsText(), QStringLiteral("word"));
    shown.body->data = "another";
    QCOMPARE(show(), 200);
    QCOMPARE(draft().partAt(0u).body().data(), QStringLiteral("another"));
}

void TestWindowWriter::whatItsAuthorMadeOfADraftsHeadersStays()
{
    Eas::MailItem shown = item(number(1), QStringLiteral("Draft"));
    QCOMPARE(m_account->write(adding(QStringLiteral("2"), {shown}, Drafts)), 200);
    QMailMessage draft = m_account->message(number(1), Drafts);
    draft.setTo(QMailAddress(QStringLiteral("bob@example.test")));
    draft.setBcc({QMailAddress(QStringLiteral("carol@example.test"))});
    QVERIFY(QMailStore::instance()->updateMessage(&draft));
    shown.importance = 2;
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(m_account->write(changing(QStringLiteral("3"), {shown}, Drafts)), 200);
        draft = m_account->message(number(1), Drafts);
        QVERIFY(draft.status() & Message::HighPriority);
        QCOMPARE(QMailAddress::toStringList(draft.to()), QStringList {text("bob@example.test")});
        QCOMPARE(QMailAddress::toStringList(draft.bcc()), QStringList {text("carol@example.test")});
        shown.subject = QStringLiteral("Another subject");
    }
    QCOMPARE(draft.subject(), QStringLiteral("Draft"));
    // With another text, all is the server's.
    shown.body->data = "another";
    QCOMPARE(m_account->write(changing(QStringLiteral("4"), {shown}, Drafts)), 200);
    draft = m_account->message(number(1), Drafts);
    QCOMPARE(draft.subject(), QStringLiteral("Another subject"));
    QCOMPARE(draft.to().value(0).address(), QStringLiteral("alice@example.test"));
    QVERIFY(draft.bcc().isEmpty());
}

void TestWindowWriter::unknownFolderIsNotFound()
{
    QCOMPARE(m_account->write(Items::window("nowhere"_folder, QStringLiteral("2"))), 404);
    QVERIFY(QMailStore::instance()->removeFolder(m_account->folderId()));
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 1)), 404);
}

void TestWindowWriter::refusedWindowIsRefused()
{
    Eas::SyncWindow window = added(QStringLiteral("2"), 1, 1);
    window.result.code = Eas::ServerFailed;
    QCOMPARE(m_account->write(window), 501);
    QVERIFY(m_account->messages().isEmpty());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("1"));
}

void TestWindowWriter::nothingIsWrittenForARemovedAccount()
{
    QVERIFY(QMailStore::instance()->removeAccount(m_account->id));
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 1)), 1030);
    QCOMPARE(QMailStore::instance()->countMessages(), 0);
    QVERIFY(m_account->keys.remove().ok());
    QVERIFY(m_account->folders.all().isEmpty());
}

void TestWindowWriter::nothingIsWrittenForADisabledAccount()
{
    QMailAccount account(m_account->id);
    account.setStatus(QMailAccount::Enabled, false);
    QVERIFY(QMailStore::instance()->updateAccount(&account));
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 1)), 1030);
    QVERIFY(m_account->messages().isEmpty());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("1"));
}

void TestWindowWriter::accountDisabledBetweenStepsIsLeftAlone()
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

void TestWindowWriter::reconciliationKeepsWhatIsStillThere()
{
    m_account->write(added(QStringLiteral("2"), 1, 30));
    const QMailMessageId kept = m_account->metaData(number(20)).id();
    set(kept, Message::Read, true);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("0"));
    QCOMPARE(m_account->messages().size(), 30);
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
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

void TestWindowWriter::reconciliationOutlivesARestart()
{
    m_account->write(added(QStringLiteral("2"), 1, 10));
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    Eas::SyncWindow first = added(QStringLiteral("10"), 1, 5);
    first.moreAvailable = true;
    QCOMPARE(m_account->write(first), 200);
    Store::SyncStateDb reopened;
    QVERIFY(reopened.open().ok());
    QVERIFY(Store::AccountKeys(reopened, m_account->id)
                .open(Store::AccountRecord::read(m_account->id))
                .ok());
    QVERIFY(
        Store::WindowWriter(reopened, m_account->id, added(QStringLiteral("11"), 6, 8)).run().ok());
    QCOMPARE(m_account->messages().size(), 8);
}

void TestWindowWriter::reconciliationFindsRenumberedMessages()
{
    m_account->write(added(QStringLiteral("2"), 1, 20));
    QHash<QString, QMailMessageId> before;
    for (const QMailMessageId &id : m_account->messages())
        before.insert(QMailMessageMetaData(id).subject(), id);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
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

/** Two messages that look the same; the first one is shown, and changed before the second one is.
 */
void TestWindowWriter::reconciliationKeepsTwinsApart()
{
    const Eas::MailItem first = item(number(1), QStringLiteral("Twin"));
    const Eas::MailItem second = item(number(2), QStringLiteral("Twin"));
    QCOMPARE(m_account->write(adding(QStringLiteral("2"), {first, second})), 200);
    const QMailMessageId firstId = m_account->metaData(number(1)).id();
    const QMailMessageId secondId = m_account->metaData(number(2)).id();
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    Eas::SyncWindow window = adding(QStringLiteral("10"), {first});
    window.moreAvailable = true;
    QCOMPARE(m_account->write(window), 200);
    window = changing(QStringLiteral("11"), {first});
    window.moreAvailable = true;
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->write(adding(QStringLiteral("12"), {second})), 200);
    QCOMPARE(m_account->messages().size(), 2);
    QCOMPARE(m_account->metaData(number(1)).id(), firstId);
    QCOMPARE(m_account->metaData(number(2)).id(), secondId);
}

void TestWindowWriter::remove(int id)
{
    QVERIFY(QMailStore::instance()->removeMessage(m_account->metaData(number(id)).id(),
                                                  QMailStore::CreateRemovalRecord));
}

bool TestWindowWriter::reconcile(const QList<QMap<int, QString>> &windows)
{
    m_account->write(Items::window(InboxId, QStringLiteral("9")));
    return show(windows);
}

bool TestWindowWriter::show(const QList<QMap<int, QString>> &windows, bool isMoreLeft)
{
    for (int i = 0; i < windows.size(); ++i) {
        Eas::SyncWindow window = Items::window(InboxId, number(10 + i));
        for (auto it = windows.at(i).cbegin(); it != windows.at(i).cend(); ++it)
            window.added.append(item(number(it.key()), it.value()));
        window.moreAvailable = isMoreLeft || i + 1 < windows.size();
        Store::WindowWriter writer(m_account->db, m_account->id, window);
        if (!writer.run().ok())
            qFatal("cannot write a window: %s", qPrintable(writer.result().text));
        if (writer.startsAnew())
            return true;
    }
    return false;
}

void TestWindowWriter::searchResultWhoseIdIsAnotherOnesIsFoundAnewOrGoes_data()
{
    QTest::addColumn<bool>("isShown");
    QTest::newRow("the server shows it under another id") << true;
    QTest::newRow("it is older than what the server shows") << false;
}

/** The server numbers anew, and a new message has the number. */
void TestWindowWriter::searchResultWhoseIdIsAnotherOnesIsFoundAnewOrGoes()
{
    QFETCH(bool, isShown);
    m_account->write(added(QStringLiteral("2"), 1, 2));
    const Eas::MailItem found = item(number(5), QStringLiteral("Found"));
    Store::FoundWriter search(m_account->db, m_account->id,
                              {{Store::ServerUid::item(InboxId, found.serverId), found}});
    QVERIFY(search.run().ok());
    const QMailMessageId id = search.messages().value(0);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    Eas::SyncWindow window = added(QStringLiteral("10"), 1, 2);
    window.added.append(item(number(5), QStringLiteral("New")));
    window.added.last().dateReceived = found.dateReceived->addSecs(60);
    if (isShown)
        window.added.append(item(number(6), QStringLiteral("Found")));
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(!m_account->state().reconciling);
    QCOMPARE(m_account->metaData(number(5)).subject(), QStringLiteral("New"));
    QCOMPARE(StoreFixture::exists(id), isShown);
    QCOMPARE(m_account->messages().size(), isShown ? 4 : 3);
    if (isShown)
        QCOMPARE(m_account->metaData(number(6)).id(), id);
}

void TestWindowWriter::deletionHoldsWhereTheServerKeepsItsIds()
{
    m_account->write(added(QStringLiteral("2"), 1, 5));
    remove(2);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    remove(3); // that it was here has been noted
    QCOMPARE(m_account->write(added(QStringLiteral("10"), 1, 5)), 200);
    QCOMPARE(m_account->state().syncKey, QStringLiteral("10"));
    QVERIFY(!m_account->state().reconciling);
    QCOMPARE(m_account->messages().size(), 3);
    QCOMPARE(deletions(), 2);
}

void TestWindowWriter::deletionIsForgottenWhereTheServerNumbersAnew_data()
{
    using Windows = QList<QMap<int, QString>>;
    const auto message = [](int n) { return QStringLiteral("Message %1").arg(n); };
    QTest::addColumn<Windows>("windows");
    QTest::newRow("another message has its number")
        << Windows {{{1, message(3)}, {2, message(4)}, {3, message(5)}, {4, message(1)}}};
    QTest::newRow("it has another number")
        << Windows {{{2, message(4)}}, {{1, message(3)}, {3, message(5)}, {4, message(1)}}};
    QTest::newRow("a new message has its number, which shows later")
        << Windows {{{2, QStringLiteral("New")}},
                    {{1, message(3)}, {3, message(5)}, {4, message(1)}, {5, message(4)}}};
}

void TestWindowWriter::deletionIsForgottenWhereTheServerNumbersAnew()
{
    using Windows = QList<QMap<int, QString>>;
    QFETCH(Windows, windows);
    m_account->write(added(QStringLiteral("2"), 1, 5));
    QMap<QString, QMailMessageId> before;
    for (const QMailMessageId &id : m_account->messages())
        before.insert(QMailMessageMetaData(id).subject(), id);
    remove(2);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QVERIFY(reconcile(windows));
    QCOMPARE(m_account->state().syncKey, QStringLiteral("0"));
    QCOMPARE(m_account->messages().size(), 4);
    QCOMPARE(deletions(), 0);
    QVERIFY(!reconcile(windows));
    QVERIFY(!m_account->state().reconciling);
    int count = 0;
    for (const auto &window : windows) {
        for (auto it = window.cbegin(); it != window.cend(); ++it) {
            const Message message = m_account->metaData(number(it.key()));
            QCOMPARE(message.subject(), it.value());
            QCOMPARE(before.value(it.value(), message.id()), message.id());
            ++count;
        }
    }
    QCOMPARE(m_account->messages().size(), count);
}

void TestWindowWriter::deletionIsDoubtedUntilARenumberedFolderIsReconciled_data()
{
    using Window = QMap<int, QString>;
    const auto message = [](int n) { return QStringLiteral("Message %1").arg(n); };
    const Window others = {{3, message(1)}, {4, message(2)}};
    const auto with = [&others](int id, const QString &subject) {
        Window window = others;
        window.insert(id, subject);
        return window;
    };
    QTest::addColumn<int>("deleted");
    QTest::addColumn<Window>("window"); ///< the last one
    QTest::addColumn<bool>("isDoubted");
    QTest::newRow("a new message has its number") << 5 << with(5, QStringLiteral("New")) << true;
    QTest::newRow("it has another number") << 5 << with(6, message(5)) << true;
    QTest::newRow("it is gone there as well") << 5 << others << true;
    QTest::newRow("it was deleted by its new number") << 1 << with(6, message(5)) << false;
}

/** What the last window shows is no news: only the first one shows other ids. */
void TestWindowWriter::deletionIsDoubtedUntilARenumberedFolderIsReconciled()
{
    using Window = QMap<int, QString>;
    QFETCH(int, deleted);
    QFETCH(Window, window);
    QFETCH(bool, isDoubted);
    m_account->write(added(QStringLiteral("2"), 1, 5));
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    const Window first = {{1, QStringLiteral("Message 3")}, {2, QStringLiteral("Message 4")}};
    QVERIFY(!show({first}, true));
    remove(deleted);
    QCOMPARE(show({window}), isDoubted);
    QCOMPARE(deletions(), isDoubted ? 0 : 1);
    if (isDoubted)
        QVERIFY(!reconcile({first, window}));
    QVERIFY(!m_account->state().reconciling);

    QStringList expected = first.values() + window.values();
    if (!isDoubted)
        expected.removeAll(QStringLiteral("Message 3"));
    QStringList subjects;
    for (const QMailMessageId &id : m_account->messages())
        subjects.append(Message(id).subject());
    expected.sort();
    subjects.sort();
    QCOMPARE(subjects, expected);
    QCOMPARE(deletions(), isDoubted ? 0 : 1);
}

void TestWindowWriter::deletionIsForgottenWhereNothingCouldShowOtherIds_data()
{
    QTest::addColumn<bool>("isKeyLost");
    QTest::newRow("the key is lost") << true;
    QTest::newRow("there was no key yet, as where a search has brought the message") << false;
}

void TestWindowWriter::deletionIsForgottenWhereNothingCouldShowOtherIds()
{
    QFETCH(bool, isKeyLost);
    m_account->write(added(QStringLiteral("2"), 1, 1));
    remove(1);
    Store::FolderState folder = m_account->state();
    folder.syncKey = Eas::FirstKey;
    QVERIFY(m_account->folders.save(folder).ok());
    if (isKeyLost)
        QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    const QMap<int, QString> window = {{1, QStringLiteral("New")}};
    QVERIFY(!reconcile({window}));
    QCOMPARE(deletions(), isKeyLost ? 0 : 1);
    QCOMPARE(m_account->messages().size(), isKeyLost ? 1 : 0);
}

void TestWindowWriter::messageUnderTheIdOfAnotherTakesNothingOfIt_data()
{
    QTest::addColumn<QString>("collection");
    QTest::addColumn<QString>("subject");
    QTest::addColumn<bool>("isSame"); ///< it may be the message, changed at the server
    const QString inbox = InboxId.text();
    QTest::newRow("another mail") << inbox << QStringLiteral("New") << false;
    QTest::newRow("a mail with the same subject") << inbox << QStringLiteral("Hello") << true;
    QTest::newRow("a draft") << QStringLiteral("dr") << QStringLiteral("New") << true;
}

/** The one that is here was read and flagged, and the server has not heard of it. */
void TestWindowWriter::messageUnderTheIdOfAnotherTakesNothingOfIt()
{
    QFETCH(QString, collection);
    QFETCH(QString, subject);
    QFETCH(bool, isSame);
    const Eas::FolderId folder(collection);
    const Eas::MailItem before = item(number(1));
    QCOMPARE(m_account->write(adding(QStringLiteral("2"), {before}, folder)), 200);
    const QMailMessageId id = m_account->metaData(number(1), folder).id();
    set(id, Message::Read | Message::Important, true);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, folder).ok());
    QCOMPARE(m_account->write(Items::window(folder, QStringLiteral("9"))), 200);
    Eas::MailItem other = item(number(1), subject);
    other.dateReceived = before.dateReceived->addSecs(60);
    QCOMPARE(m_account->write(adding(QStringLiteral("10"), {other}, folder)), 200);
    QCOMPARE(m_account->messages(folder).size(), 1);
    const Message now = m_account->metaData(number(1), folder);
    QCOMPARE(now.subject(), subject);
    QCOMPARE(now.id() == id, isSame);
    QVERIFY(!(now.status() & (Message::Read | Message::Important)));
    QVERIFY(!isOutstanding());
    QVERIFY(!m_account->state(folder).reconciling);
}

/** Of a message that was moved here, the server shows another one under its id. */
void TestWindowWriter::whatWasMovedHereIsNotMovedForAnother()
{
    const Eas::FolderId trash = "tr"_folder;
    m_account->write(added(QStringLiteral("2"), 1, 3));
    QMailDisconnected::moveToFolder({m_account->metaData(number(2)).id()},
                                    m_account->folderId(trash));
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    Eas::SyncWindow window = added(QStringLiteral("10"), 1, 3);
    window.added[1].subject = QStringLiteral("New");
    window.added[1].dateReceived = window.added[1].dateReceived->addSecs(60);
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->messages().size(), 3);
    QCOMPARE(m_account->metaData(number(2)).subject(), QStringLiteral("New"));
    QCOMPARE(m_account->metaData(number(2)).parentFolderId(), m_account->folderId());
    QVERIFY(m_account->messages(trash).isEmpty());
    QVERIFY(Store::Moves(m_account->db, m_account->id).wanted().isEmpty());
}

void TestWindowWriter::reconciliationOfAnEmptiedFolderEmptiesIt()
{
    m_account->write(added(QStringLiteral("2"), 1, 10));
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    Eas::SyncWindow window = Items::window(InboxId, QString());
    window.unchanged = true;
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(m_account->messages().isEmpty());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("9"));
}

void TestWindowWriter::reconciliationIsNotEndedByAnUpload()
{
    m_account->write(added(QStringLiteral("2"), 1, 10));
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    // What was uploaded is answered with a new key alone; nothing was asked for.
    Store::WindowWriter upload(m_account->db, m_account->id,
                               Items::window(InboxId, QStringLiteral("10")),
                               Store::WindowWriter::Answers::Upload);
    QVERIFY(upload.run().ok());
    QCOMPARE(m_account->state().syncKey, QStringLiteral("10"));
    QCOMPARE(m_account->messages().size(), 10);
    QVERIFY(m_account->state().reconciling);
    QCOMPARE(m_account->write(added(QStringLiteral("11"), 1, 4)), 200);
    QCOMPARE(m_account->messages().size(), 4);
}

void TestWindowWriter::reconciliationSparesWhatTheUserPutThere()
{
    const Eas::FolderId trash = "tr"_folder;
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

void TestWindowWriter::whatCannotBeReadIsNotEmpty_data()
{
    QTest::addColumn<bool>("isFirst");
    QTest::addColumn<bool>("hasItems");
    QTest::addColumn<int>("steps"); ///< that are done before the messages cannot be read
    QTest::newRow("when it is listed") << true << false << 0;
    QTest::newRow("when it is noted") << true << false << 1;
    QTest::newRow("when what was found there is looked for") << false << false << 0;
    QTest::newRow("when its messages are looked up") << false << true << 0;
    QTest::newRow("when they are written") << false << true << 1;
}

/** The window is asked for again then. */
void TestWindowWriter::whatCannotBeReadIsNotEmpty()
{
    QFETCH(bool, isFirst);
    QFETCH(bool, hasItems);
    QFETCH(int, steps);
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 3)), 200);
    if (isFirst)
        QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    const QString key = m_account->state().syncKey;
    const Eas::SyncWindow window =
        hasItems ? added(QStringLiteral("9"), 1, 3) : Items::window(InboxId, QStringLiteral("9"));
    Store::WindowWriter writer(m_account->db, m_account->id, window);
    for (int i = 0; i < steps; ++i)
        QVERIFY(writer.step());
    {
        const HiddenTable messages(QStringLiteral("mailmessages"));
        QVERIFY(messages.isHidden());
        QVERIFY(!writer.step());
    }
    QCOMPARE(writer.result().code, int(Eas::ServerFailed));
    QCOMPARE(m_account->state().syncKey, key);
    QCOMPARE(m_account->messages().size(), 3);
}

void TestWindowWriter::whatCannotBeReadIsStillUnconfirmed_data()
{
    QTest::addColumn<bool>("hasItems");
    QTest::addColumn<int>("steps"); ///< that are done before the database cannot be read
    QTest::newRow("when the window begins") << true << 0;
    QTest::newRow("when its messages are looked for") << true << 1;
    QTest::newRow("when the rest is removed") << false << 4;
}

/** The server shows the messages under other ids, or none of them. */
void TestWindowWriter::whatCannotBeReadIsStillUnconfirmed()
{
    QFETCH(bool, hasItems);
    QFETCH(int, steps);
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 3)), 200);
    const QMailMessageIdList before = m_account->messages();
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    Eas::SyncWindow window = Items::window(InboxId, QStringLiteral("10"));
    if (hasItems)
        window = added(QStringLiteral("10"), 1, 3);
    for (Eas::MailItem &item : window.added)
        item.serverId.prepend(QLatin1Char('1'));
    Store::WindowWriter writer(m_account->db, m_account->id, window);
    for (int i = 0; i < steps; ++i)
        QVERIFY(writer.step());
    {
        const HiddenTable noted(QStringLiteral("unconfirmed"), Store::SyncStateDb::defaultPath());
        QVERIFY(noted.isHidden());
        QVERIFY(!writer.step());
    }
    QCOMPARE(writer.result().code, int(Eas::ServerFailed));
    QVERIFY(m_account->state().reconciling);
    QCOMPARE(m_account->messages(), before);
    QCOMPARE(m_account->write(window), 200);
    QVERIFY(!m_account->state().reconciling);
    QCOMPARE(m_account->messages(), hasItems ? before : QMailMessageIdList());
}

void TestWindowWriter::reconciliationCostsWhatItsWindowsHold_data()
{
    QTest::addColumn<bool>("isThere");
    QTest::newRow("the server has all of the folder") << true;
    QTest::newRow("the server has nothing of it") << false;
}

/** A message of a folder of 1,000 costs no more than one of a folder of 100. */
void TestWindowWriter::reconciliationCostsWhatItsWindowsHold()
{
    QFETCH(bool, isThere);
    const qint64 small = effortOfReconciling(100, isThere);
    QCOMPARE(m_account->messages().size(), isThere ? 100 : 0);
    const qint64 large = effortOfReconciling(1000, isThere);
    QCOMPARE(m_account->messages().size(), isThere ? 1000 : 0);
    QVERIFY(!m_account->state().reconciling);
    qInfo("%lld steps for 100 messages, %lld for 1,000", (long long)small, (long long)large);
    // A busy machine writes in smaller batches, which cost a little more.
    QVERIFY(large < 15 * small);
}

qint64 TestWindowWriter::effortOfReconciling(int count, bool isThere)
{
    m_account.reset();
    m_account = std::make_unique<SyncedAccount>();
    m_account->write(added(QStringLiteral("2"), 1, count));
    Store::startReconciling(m_account->db, m_account->id, InboxId);
    m_account->write(Items::window(InboxId, QStringLiteral("3")));
    const SqlEffort effort(Store::SyncStateDb::defaultPath());
    const Store::UnconfirmedMessages noted(m_account->db, m_account->id);
    const int last = isThere ? count : 1;
    for (int i = 1; i <= last; i += 10) {
        Eas::SyncWindow window = Items::window(InboxId, number(i + 3));
        if (isThere)
            window = added(number(i + 3), i, i + 9);
        window.moreAvailable = i + 10 <= last;
        // Asked before each window in which nothing has changed.
        if (!noted.folders().contains(InboxId))
            qFatal("nothing is to be reconciled");
        m_account->write(window);
    }
    return effort.steps();
}

void TestWindowWriter::changeOfWhatIsConfirmedLeavesUnsentFlags_data()
{
    QTest::addColumn<bool>("isLater");
    QTest::newRow("in the window that shows all of the folder") << false;
    QTest::newRow("in a later one") << true;
}

/** Once all is confirmed, nothing can be another message under the id of a known one. */
void TestWindowWriter::changeOfWhatIsConfirmedLeavesUnsentFlags()
{
    QFETCH(bool, isLater);
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 3)), 200);
    const QMailMessageId id = m_account->metaData(number(1)).id();
    set(id, Message::Important, true);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    Eas::SyncWindow window = added(QStringLiteral("10"), 1, 3);
    const Eas::MailItem shown = window.added.first();
    window.moreAvailable = true;
    if (isLater) {
        QCOMPARE(m_account->write(window), 200);
        window = Items::window(InboxId, QStringLiteral("11"));
    }
    window.changed.append(shown);
    window.changed.first().subject = QStringLiteral("Changed");
    window.changed.first().dateReceived = shown.dateReceived->addSecs(60);
    QCOMPARE(m_account->write(window), 200);
    const Message now = m_account->metaData(number(1));
    QCOMPARE(now.id(), id);
    QCOMPARE(now.subject(), QStringLiteral("Changed"));
    QVERIFY(now.status() & Message::Important);
}

void TestWindowWriter::beginReconciling()
{
    QCOMPARE(m_account->write(added(QStringLiteral("2"), 1, 10)), 200);
    QVERIFY(Store::startReconciling(m_account->db, m_account->id, InboxId).ok());
    QCOMPARE(m_account->write(Items::window(InboxId, QStringLiteral("9"))), 200);
    Eas::SyncWindow first = added(QStringLiteral("10"), 1, 3);
    first.moreAvailable = true;
    QCOMPARE(m_account->write(first), 200);
    QVERIFY(m_account->state().reconciling);
}

void TestWindowWriter::move(const QMailMessageId &id, const Store::ServerUid &from,
                            const Eas::FolderId &to, const QString &newItemId)
{
    QMailDisconnected::moveToFolder({id}, m_account->folderId(to));
    Store::Moves moves(m_account->db, m_account->id);
    const QList<Store::Move> wanted = moves.wanted();
    QCOMPARE(wanted.size(), 1);
    QVERIFY(wanted.first().from == from);
    const Eas::Result result = newItemId.isEmpty() ? moves.leaveUnconfirmed(wanted.first())
                                                   : moves.acknowledge(wanted.first(), newItemId);
    QVERIFY(result.ok());
}

void TestWindowWriter::reconciliationSparesWhatWasMovedOutMeanwhile_data()
{
    QTest::addColumn<QString>("newItemId"); ///< empty: the server's answer to the move was lost
    QTest::addColumn<bool>("isShown");      ///< by the folder it is in now
    QTest::addColumn<bool>("hasTwin");      ///< the folder it left has a message like it
    QTest::newRow("shown") << QStringLiteral("80") << true << false;
    QTest::newRow("not shown yet") << QStringLiteral("80") << false << false;
    QTest::newRow("the answer was lost") << QString() << true << false;
    QTest::newRow("shown, with a twin") << QStringLiteral("80") << true << true;
    QTest::newRow("not shown yet, with a twin") << QStringLiteral("80") << false << true;
}

void TestWindowWriter::reconciliationSparesWhatWasMovedOutMeanwhile()
{
    QFETCH(QString, newItemId);
    QFETCH(bool, isShown);
    QFETCH(bool, hasTwin);
    const Eas::FolderId trash = "tr"_folder;
    beginReconciling();
    const QMailMessageId moved = m_account->metaData(number(8)).id();
    move(moved, Store::ServerUid::item(InboxId, number(8)), trash, newItemId);
    const Eas::MailItem there = item(QStringLiteral("80"), QStringLiteral("Message 8"));
    if (isShown)
        QCOMPARE(m_account->write(adding(QStringLiteral("2"), {there}, trash)), 200);
    Eas::SyncWindow last = added(QStringLiteral("11"), 4, 7);
    if (hasTwin)
        last.added.append(item(QStringLiteral("18"), QStringLiteral("Message 8")));
    QCOMPARE(m_account->write(last), 200);
    QVERIFY(!m_account->state().reconciling);
    QCOMPARE(m_account->messages().size(), hasTwin ? 8 : 7);
    QCOMPARE(m_account->messages(trash), QMailMessageIdList {moved});
    QCOMPARE(m_account->metaData(QStringLiteral("80"), trash).id(), moved);
}

/** They did not strike off what was moved out. */
void TestWindowWriter::reconciliationSparesWhatOlderDaemonsNoted()
{
    const Eas::FolderId trash = "tr"_folder;
    beginReconciling();
    const Message message = m_account->metaData(number(8));
    move(message.id(), Store::ServerUid(message), trash, QStringLiteral("80"));
    Store::UnconfirmedMessages noted(m_account->db, m_account->id);
    QVERIFY(noted.add(InboxId, {{message.id(), Store::fingerprint(message)}}).ok());
    Eas::SyncWindow last = added(QStringLiteral("11"), 4, 7);
    last.added.append(item(QStringLiteral("18"), QStringLiteral("Message 8")));
    QCOMPARE(m_account->write(last), 200);
    QCOMPARE(m_account->messages().size(), 8);
    QCOMPARE(m_account->messages(trash), QMailMessageIdList {message.id()});
    QCOMPARE(m_account->metaData(QStringLiteral("80"), trash).id(), message.id());
    QVERIFY(noted.of(InboxId).isEmpty());
}

/** The server need not show what it has moved for us, in the folder it began in no more than in
 * another one. */
void TestWindowWriter::whatWasMovedOutAndBackIsAskedFor()
{
    const Eas::FolderId trash = "tr"_folder;
    beginReconciling();
    const QMailMessageId moved = m_account->metaData(number(8)).id();
    move(moved, Store::ServerUid::item(InboxId, number(8)), trash, QStringLiteral("80"));
    QCOMPARE(
        m_account->write(adding(QStringLiteral("2"),
                                {item(QStringLiteral("80"), QStringLiteral("Message 8"))}, trash)),
        200);
    move(moved, Store::ServerUid::item(trash, QStringLiteral("80")), InboxId, QStringLiteral("88"));
    QCOMPARE(m_account->write(added(QStringLiteral("11"), 4, 7)), 200);
    QCOMPARE(m_account->metaData(QStringLiteral("88")).id(), moved);
    QCOMPARE(m_account->messages().size(), 8);
    const Store::UnconfirmedMessages noted(m_account->db, m_account->id);
    QCOMPARE(noted.acknowledgedMoves(InboxId), QMailMessageIdList {moved});
}

void TestWindowWriter::aTextOfManyShortLinesIsWholeInTheStore()
{
    const QByteArray text = QByteArray("a\r\n").repeated(5000);
    Eas::SyncWindow window =
        adding(QStringLiteral("2"), {item(QStringLiteral("1"), QStringLiteral("Lines"), text)});
    QCOMPARE(m_account->write(window), 200);
    const QMailMessageId id = m_account->messages().value(0);
    QCOMPARE(QMailMessage(id).body().data().count(QLatin1Char('a')), 5000);
    // What comes once more is known.
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(m_account->messages(), QMailMessageIdList({id}));
}

void TestWindowWriter::stepsAreShort()
{
    qint64 maximum = 0;
    for (int window = 0; window < 10; ++window) {
        Store::WindowWriter writer(m_account->db, m_account->id,
                                   added(number(window + 2), window * 100 + 1, window * 100 + 100));
        for (bool more = true; more;) {
            QElapsedTimer timer;
            timer.start();
            more = writer.step();
            maximum = qMax(maximum, timer.elapsed());
        }
        QVERIFY(writer.result().ok());
    }
    qInfo("longest step of 1000 messages in windows of 100: %lld ms", (long long)maximum);
    // Twenty times the aim: a busy machine must not fail the test, a step without a bound must.
    QVERIFY(maximum < 2000);
}

void TestWindowWriter::progressGrows()
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

void TestWindowWriter::randomWindowsMatchAPlainModel()
{
    QRandomGenerator random(testSeed());
    QMap<QString, QPair<QString, bool>> model; // subject and read state by server id
    int nextId = 1;
    for (int round = 0; round < 60; ++round) {
        Eas::SyncWindow window = Items::window(InboxId, number(round + 2));
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
            found.insert(Store::ServerUid(message).itemId(),
                         {message.subject(), bool(message.status() & Message::Read)});
        }
        QCOMPARE(found, model);
        QCOMPARE(m_account->messages().size(), model.size());
    }
    QVERIFY(!isOutstanding());
}

QTEST_GUILESS_MAIN(TestWindowWriter)
#include "tst_windowwriter.moc"
