// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/localchanges.h"
#include "daemon/store/mark.h"
#include "daemon/store/narrowing.h"
#include "daemon/store/outgoing/outbox.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/storeindexes.h"
#include "tests/store/items.h"

#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <memory>

using namespace Items;
using Store::Narrowing;
using Store::StoreIndexes;

namespace {

using Message = QMailMessageMetaData;

/** Below what is named one by one. */
constexpr int BatchSize = 128;

void makeIndexes()
{
    while (StoreIndexes().makeNext() == StoreIndexes::Outcome::Changed) { }
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
}

/** What a message can be like, as a number of bits. */
struct Kind
{
    static constexpr int Count = 1 << 10;
    int number;

    bool has(int bit) const { return number & 1 << bit; }
    quint64 status() const
    {
        const quint64 flags[] = {Message::Read,      Message::ReadElsewhere,
                                 Message::Important, Message::ImportantElsewhere,
                                 Message::Outbox,    Message::Outgoing,
                                 Message::Sent,      Message::Trash};
        quint64 status = 0;
        for (int bit = 0; bit < 8; ++bit)
            status |= has(bit) ? flags[bit] : 0;
        return status;
    }
    bool isKnownAtServer() const { return has(8); }
    bool isMoved() const { return has(9); }
};

} // namespace

/** What is asked by the indexes is what is asked without them. */
class TestNarrowing : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_account.reset(); }

    void answersAreThoseWithoutIndexes();
    void manyAreFoundAsWell();
    void changesOfAnotherProgramAreFoundAtOnce();
    void indexOfAnotherConditionIsNotBelieved();
    void foundMessagesAreFound();

private:
    void add(Kind kind);
    /** All that is left to do, as texts. */
    QStringList left() const;
    int flagsLeft() const;

    std::unique_ptr<SyncedAccount> m_account;
};

void TestNarrowing::init()
{
    m_account = std::make_unique<SyncedAccount>();
    makeIndexes();
}

void TestNarrowing::add(Kind kind)
{
    const QString item = QString::number(kind.number);
    // Mail that waits to be sent lies among the drafts.
    const QMailFolderId place = m_account->folderId(kind.isKnownAtServer() ? InboxId : "dr"_folder);
    const QMailMessageId id = StoreFixture::addMessage(m_account->id, place, item);
    Message data(id);
    if (kind.isKnownAtServer())
        Store::ServerUid::item(InboxId, item).assignTo(&data);
    if (kind.isMoved()) {
        data.setPreviousParentFolderId(m_account->folderId());
        data.setParentFolderId(m_account->folderId("tr"_folder));
    }
    data.setStatus(kind.status());
    QVERIFY(QMailStore::instance()->updateMessage(&data));
}

QStringList TestNarrowing::left() const
{
    QStringList all;
    for (const auto &folder : Store::LocalChanges(m_account->db, m_account->id).collect()) {
        for (const Store::FlagChange &change : folder.flags)
            all.append(QStringLiteral("flags %1").arg(change.id.toULongLong()));
        for (const Store::Move &move : folder.moves)
            all.append(QStringLiteral("move %1").arg(move.id.toULongLong()));
    }
    const auto record = Store::AccountRecord::read(m_account->id);
    for (const Activesync::WaitingMail &mail : Store::Outbox(m_account->db, record).waiting())
        all.append(QStringLiteral("mail %1").arg(mail.message));
    all.sort();
    return all;
}

int TestNarrowing::flagsLeft() const
{
    return left().filter(QStringLiteral("flags")).size();
}

void TestNarrowing::answersAreThoseWithoutIndexes()
{
    int kinds = 0;
    int answers = 0;
    for (int first = 0; first < Kind::Count; first += BatchSize) {
        for (int number = first; number < first + BatchSize; ++number)
            add({number});
        makeIndexes();
        const QStringList narrowed = left();
        QCOMPARE(StoreIndexes().drop(), StoreIndexes::Outcome::Changed);
        QCOMPARE(narrowed, left());
        kinds += BatchSize;
        answers += narrowed.size();
        QVERIFY(QMailStore::instance()->removeMessages(
            QMailMessageKey::parentAccountId(m_account->id)));
    }
    QCOMPARE(kinds, Kind::Count);
    QVERIFY(answers > Kind::Count / 4);
}

void TestNarrowing::manyAreFoundAsWell()
{
    Eas::SyncWindow window = Items::window(InboxId, text("2"));
    for (int id = 1; id <= 250; ++id)
        window.added.append(item(QString::number(id)));
    QCOMPARE(m_account->write(window), 200);
    const auto whole = QMailMessageKey::parentAccountId(m_account->id);
    QVERIFY(!(Narrowing::unsettled(m_account->id, whole) == whole));
    QCOMPARE(flagsLeft(), 0);
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(whole, Message::Read, true));
    QVERIFY(Narrowing::unsettled(m_account->id, whole) == whole);
    QCOMPARE(flagsLeft(), 250);
}

/** No notice of it is needed. */
void TestNarrowing::changesOfAnotherProgramAreFoundAtOnce()
{
    Eas::SyncWindow window = Items::window(InboxId, text("2"));
    window.added.append(item(text("1")));
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(flagsLeft(), 0);
    const auto written = [](const char *operation) {
        QSqlDatabase other = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), text("other"));
        other.setDatabaseName(QMail::dataPath() + text("database/qmailstore.db"));
        return other.open()
            && QSqlQuery(other).exec(QStringLiteral("UPDATE mailmessages SET status = status %1 %2")
                                         .arg(text(operation))
                                         .arg(Message::Read));
    };
    QVERIFY(written("|"));
    QCOMPARE(flagsLeft(), 1);
    QVERIFY(written("& ~"));
    QCOMPARE(flagsLeft(), 0);
    QSqlDatabase::removeDatabase(text("other"));
}

void TestNarrowing::indexOfAnotherConditionIsNotBelieved()
{
    add({1 | 1 << 8});
    const QStringList right = left();
    QCOMPARE(right.size(), 1);
    const QString name = Narrowing::unsettledIndex().name;
    QSqlQuery query(QMail::createDatabase());
    QVERIFY(query.exec(QStringLiteral("DROP INDEX %1").arg(name)));
    QVERIFY(query.exec(QStringLiteral("CREATE INDEX %1 ON mailmessages (parentaccountid)"
                                      " WHERE previousparentfolderid <> 0")
                           .arg(name)));
    query.finish();
    QCOMPARE(left(), right);
    QVERIFY(!StoreIndexes().present().contains(name));
    QCOMPARE(StoreIndexes().makeNext(), StoreIndexes::Outcome::Changed);
    QVERIFY(StoreIndexes().present().contains(name));
    QCOMPARE(left(), right);
}

void TestNarrowing::foundMessagesAreFound()
{
    const QMailMessageKey inbox = QMailMessageKey::parentFolderId(m_account->folderId());
    const QMailMessageKey marked = inbox & Store::FoundMark.key();
    const auto count = [&inbox] {
        return QMailStore::instance()->countMessages(Narrowing::found(inbox));
    };
    const auto others = [] {
        return QMailStore::instance()->queryMessages(~Narrowing::found(QMailMessageKey()));
    };
    add({256}); // known at the server, as what a search finds
    add({257});
    QCOMPARE(count(), 0);
    QCOMPARE(others(), m_account->messages());
    QMailMessage message(m_account->messages().first());
    Store::FoundMark.set(&message);
    QVERIFY(QMailStore::instance()->updateMessage(&message));
    QVERIFY(!(Narrowing::found(inbox) == marked));
    QCOMPARE(count(), 1);
    QCOMPARE(others(), m_account->messages().mid(1));
    StoreIndexes().drop();
    QVERIFY(Narrowing::found(inbox) == marked);
    QCOMPARE(count(), 1);
    QCOMPARE(others(), m_account->messages().mid(1));
}

QTEST_GUILESS_MAIN(TestNarrowing)
#include "tst_narrowing.moc"
