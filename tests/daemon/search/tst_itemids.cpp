// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/search/itemids.h"
#include "daemon/store/mark.h"
#include "daemon/store/storeindexes.h"
#include "tests/store/items.h"
#include "tests/store/sqltrace.h"

#include <qmailstore.h>
#include <QRegularExpression>
#include <QTest>

#include <memory>

using namespace Items;
using Daemon::ItemIds;
using Store::StoreIndexes;

/** What a search calls a message, and what the mail store is asked for that. */
class TestItemIds : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_account.reset(); }

    void longIdsOfAKnownFormTellTheItem_data();
    void longIdsOfAKnownFormTellTheItem();
    void whatASearchHasBroughtShowsNoForm();
    void formIsAskedForOnceForAFolder();
    void formIsNotAskedForWhereItSaysNothing();

private:
    /** Messages of these ids come into the inbox. */
    void bring(const QStringList &ids);
    void markAsFound(const QString &id);

    std::unique_ptr<SyncedAccount> m_account;
};

void TestItemIds::init()
{
    m_account = std::make_unique<SyncedAccount>();
    while (StoreIndexes().makeNext() == StoreIndexes::Outcome::Changed) { }
    QCOMPARE(StoreIndexes().present(), StoreIndexes::names());
}

void TestItemIds::bring(const QStringList &ids)
{
    QList<Eas::MailItem> items;
    for (const QString &id : ids)
        items.append(item(id, text("Message ") + id));
    QCOMPARE(m_account->write(adding(text("2"), items)), 200);
}

void TestItemIds::markAsFound(const QString &id)
{
    QMailMessageMetaData message = m_account->metaData(id);
    Store::FoundMark.set(&message);
    QVERIFY(QMailStore::instance()->updateMessage(&message));
}

void TestItemIds::longIdsOfAKnownFormTellTheItem_data()
{
    QTest::addColumn<QStringList>("known");
    QTest::addColumn<QString>("longId");
    QTest::addColumn<QString>("collection");
    QTest::addColumn<QString>("itemId");
    const QStringList plain = {text("3")};
    const QStringList prefixed = {text("in:3")};
    QTest::newRow("a plus") << plain << text("in+7") << QString() << text("7");
    QTest::newRow("a plus, otherwise called")
        << plain << text("i%6E+7") << text("i%6E") << text("7");
    QTest::newRow("a colon") << plain << text("in:7") << QString() << text("7");
    QTest::newRow("a colon in the item's id")
        << prefixed << text("in:7") << QString() << text("in:7");
    QTest::newRow("a colon, nothing known")
        << QStringList() << text("in:7") << QString() << QString();
    QTest::newRow("no item") << plain << text("in:") << QString() << QString();
    QTest::newRow("another folder's") << plain << text("out+7") << QString() << QString();
    QTest::newRow("opaque") << plain << text("RgAAAAD") << text("in") << QString();
}

void TestItemIds::longIdsOfAKnownFormTellTheItem()
{
    QFETCH(QStringList, known);
    QFETCH(QString, longId);
    QFETCH(QString, collection);
    bring(known);
    QTEST(ItemIds().of(longId, collection, m_account->state()), "itemId");
}

void TestItemIds::whatASearchHasBroughtShowsNoForm()
{
    bring({text("in:3"), text("4")});
    markAsFound(text("in:3"));
    QCOMPARE(ItemIds().of(text("in:7"), QString(), m_account->state()), text("7"));
    markAsFound(text("4"));
    QCOMPARE(ItemIds().of(text("in:7"), QString(), m_account->state()), QString());
}

/** A search has hundreds of results, and nothing else is done while they are looked at. */
void TestItemIds::formIsAskedForOnceForAFolder()
{
    bring({text("2"), text("3"), text("4")});
    markAsFound(text("2"));
    const Store::FolderState inbox = m_account->state();
    const Store::FolderState drafts = m_account->state("dr"_folder);
    static const QRegularExpression ofAll(
        QStringLiteral("^SCAN (?!.*orvmail_found_message)|\\(parentaccountid=\\?\\)"),
        QRegularExpression::MultilineOption);
    QSet<QString> statements;
    {
        int asked = 0;
        const SqlTrace trace([&asked](const QString &) { ++asked; });
        ItemIds ids;
        ids.of(text("in:1"), QString(), inbox);
        ids.of(text("dr:1"), QString(), drafts);
        const int once = asked;
        QVERIFY(once > 0);
        for (int i = 2; i <= 20; ++i) {
            const QString item = QString::number(i);
            QCOMPARE(ids.of(text("in:") + item, QString(), inbox), item);
            QCOMPARE(ids.of(text("dr:") + item, QString(), drafts), QString());
        }
        QCOMPARE(asked, once);
        statements = trace.statements();
    }
    for (const QString &statement : qAsConst(statements)) {
        const QString plan = SqlTrace::planOf(statement);
        QVERIFY2(!ofAll.match(plan).hasMatch(), qPrintable(statement + QLatin1Char('\n') + plan));
    }
}

void TestItemIds::formIsNotAskedForWhereItSaysNothing()
{
    bring({text("3")});
    const Store::FolderState inbox = m_account->state();
    const SqlTrace trace;
    ItemIds ids;
    QCOMPARE(ids.of(text("in+7"), QString(), inbox), text("7"));
    QCOMPARE(ids.of(text("RgAAAAD"), QString(), inbox), QString());
    QCOMPARE(trace.statements(), QSet<QString>());
}

QTEST_GUILESS_MAIN(TestItemIds)
#include "tst_itemids.moc"
