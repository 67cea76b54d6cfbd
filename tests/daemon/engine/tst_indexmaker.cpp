// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/engine/indexmaker.h"
#include "daemon/pacing/pauses.h"
#include "daemon/store/storeindexes.h"
#include "tests/daemon/storelock.h"

#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

using Daemon::Alarm;
using Daemon::IndexMaker;
using Store::StoreIndexes;

/** When the indexes are made, in driven time. */
class TestIndexMaker : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Alarm::drive(); }
    void init();

    void madeBeforeItReturns();
    void awaitedWorkGoesFirst();
    void lockedStoreIsTriedAgainEverLater();
    void nothingIsTriedAgainAfterAFailure();

private:
    bool areThere() const { return StoreIndexes().present() == StoreIndexes::names(); }

    bool m_isAwaited = false;
    IndexMaker m_maker {[this] { return m_isAwaited; }};
};

void TestIndexMaker::init()
{
    QCOMPARE(QMailStore::instance()->initializationState(), QMailStore::Initialized);
    StoreIndexes().drop();
    QVERIFY(!areThere());
    QVERIFY(!Alarm::isPending());
}

void TestIndexMaker::madeBeforeItReturns()
{
    m_maker.start();
    QVERIFY(areThere());
    QVERIFY(!Alarm::isPending());
    m_maker.start();
    QVERIFY(!Alarm::isPending());
}

void TestIndexMaker::awaitedWorkGoesFirst()
{
    m_isAwaited = true;
    m_maker.start();
    QVERIFY(StoreIndexes().present().isEmpty());
    Alarm::ringNext();
    QVERIFY(StoreIndexes().present().isEmpty());
    m_isAwaited = false;
    Alarm::ringNext();
    QVERIFY(areThere());
    QVERIFY(!Alarm::isPending());
}

void TestIndexMaker::lockedStoreIsTriedAgainEverLater()
{
    StoreLock lock;
    QVERIFY(lock.isHeld());
    const qint64 begin = Alarm::now();
    m_maker.start();
    int attempts = 1;
    for (; Alarm::now() - begin < 4 * 60 * 60 * 1000; ++attempts) {
        QVERIFY(Alarm::isPending());
        Alarm::ringNext();
    }
    // At the longest, a quarter of an hour; by chance, half of it.
    QVERIFY2(attempts < 60, qPrintable(QString::number(attempts)));
    QVERIFY(StoreIndexes().present().isEmpty());
    lock.release();
    Alarm::ringNext();
    QVERIFY(areThere());
    QVERIFY(!Alarm::isPending());
}

/** As on a full disk, and where QMF calls its tables otherwise one day. */
void TestIndexMaker::nothingIsTriedAgainAfterAFailure()
{
    QMailStore *store = QMailStore::instance();
    const auto rename = [](const char *from, const char *to) {
        return QSqlQuery(QMail::createDatabase())
            .exec(QStringLiteral("ALTER TABLE %1 RENAME TO %2")
                      .arg(QLatin1String(from), QLatin1String(to)));
    };
    QVERIFY(rename("mailmessages", "former"));
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("without indexes.*no such table")));
    m_maker.start();
    QVERIFY(!Alarm::isPending());
    QVERIFY(rename("former", "mailmessages"));
    QCOMPARE(store->countMessages(), 0);
    m_maker.start();
    QVERIFY(areThere());
}

QTEST_GUILESS_MAIN(TestIndexMaker)
#include "tst_indexmaker.moc"
