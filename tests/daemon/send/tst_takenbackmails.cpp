// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/pacing/alarm.h"
#include "daemon/pacing/pauses.h"
#include "daemon/send/takenbackmails.h"
#include "daemon/store/state/accountkeys.h"
#include "daemon/store/state/syncstatedb.h"
#include "tests/support/storefixture.h"

#include <qmailstore.h>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using Daemon::Alarm;
using Daemon::TakenBackMails;

/** When a mail that its author took back is taken out of the outbox, into which it was put back. */
class TestTakenBackMails : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Alarm::drive(); }
    void init();
    void cleanup();

    void isTakenOutAtTheSecondLook();
    void isNotSentForWhoHadReadOfItBefore();
    void isItsAuthorsOnceItIsTakenOut_data();
    void isItsAuthorsOnceItIsTakenOut();
    void hasASecondLookEachTimeItComesBack();
    void isTakenOutWhenItCameBackInTheLastMoment();
    void isItsAuthorsWhenItComesBackLater();
    void isKnownToEachDaemonUntilThen();
    void goesThoughItIsADraftWhereItWasOneWhenItWasAskedFor();
    void goesWhenItIsAskedForAnew();

private:
    /** As the daemon does that starts after this one has died. */
    void startAnew();
    void set(quint64 flag, bool on);
    bool isInOutbox() const { return StoreFixture::hasStatus(m_mail, QMailMessage::Outbox); }
    static void look() { Alarm::ringNext(); }

    QTemporaryDir m_directory;
    std::unique_ptr<Store::SyncStateDb> m_db;
    QMailAccountId m_account;
    QMailMessageId m_mail;
    std::unique_ptr<TakenBackMails> m_takenBack;
};

void TestTakenBackMails::init()
{
    m_account = StoreFixture::addAccount();
    m_mail = StoreFixture::addOutgoing(m_account);
    m_db = std::make_unique<Store::SyncStateDb>(
        m_directory.filePath(QLatin1String(QTest::currentTestFunction())));
    QVERIFY(m_db->open().ok());
    QVERIFY(Store::AccountKeys(*m_db, m_account).open(Store::AccountRecord::read(m_account)).ok());
    m_takenBack = std::make_unique<TakenBackMails>(*m_db, m_account);
    const Store::AskedSending asked {m_mail, QMailMessage::Outgoing | QMailMessage::Outbox};
    m_takenBack->noteAsked(asked);
    set(QMailMessage::Draft, true);
    set(QMailMessage::Outbox, false);
    m_takenBack->add(asked);
}

void TestTakenBackMails::cleanup()
{
    m_takenBack.reset();
    m_db.reset();
    StoreFixture::clear();
}

void TestTakenBackMails::startAnew()
{
    m_takenBack.reset();
    m_takenBack = std::make_unique<TakenBackMails>(*m_db, m_account);
    m_takenBack->recall();
}

void TestTakenBackMails::set(quint64 flag, bool on)
{
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(m_mail), flag, on));
}

void TestTakenBackMails::isTakenOutAtTheSecondLook()
{
    look();
    set(QMailMessage::Outbox, true);
    look();
    QVERIFY(isInOutbox());
    look();
    QVERIFY(!isInOutbox());
    // Once only, and without another look.
    QVERIFY(!m_takenBack->isSentAgain(m_mail));
    QVERIFY(!Alarm::isPending());
}

void TestTakenBackMails::isNotSentForWhoHadReadOfItBefore()
{
    startAnew();
    set(QMailMessage::Outbox, true);
    look();
    look();
    QVERIFY(!isInOutbox());
    QVERIFY(m_takenBack->isSentAgain(m_mail));
    // The message server puts it back once more, also where this daemon is not any more.
    startAnew();
    set(QMailMessage::Outbox, true);
    look();
    look();
    QVERIFY(!isInOutbox());
}

void TestTakenBackMails::isItsAuthorsOnceItIsTakenOut_data()
{
    QTest::addColumn<bool>("seen");
    QTest::newRow("sent at once") << false;
    QTest::newRow("sent later") << true;
}

void TestTakenBackMails::isItsAuthorsOnceItIsTakenOut()
{
    QFETCH(bool, seen);
    startAnew();
    set(QMailMessage::Outbox, true);
    look();
    look();
    QVERIFY(!isInOutbox());
    set(QMailMessage::Outbox, true);
    if (seen) {
        look();
        QVERIFY(isInOutbox());
        set(QMailMessage::Outbox, false);
    }
    QVERIFY(!m_takenBack->isSentAgain(m_mail));
}

void TestTakenBackMails::hasASecondLookEachTimeItComesBack()
{
    set(QMailMessage::Outbox, true);
    look();
    set(QMailMessage::Outbox, false);
    look();
    set(QMailMessage::Outbox, true);
    look();
    QVERIFY(isInOutbox());
    look();
    QVERIFY(!isInOutbox());
}

void TestTakenBackMails::isTakenOutWhenItCameBackInTheLastMoment()
{
    for (int passed = 0; passed < Daemon::Pauses::PuttingBack; passed += Daemon::Pauses::BeforeLook)
        look();
    set(QMailMessage::Outbox, true);
    look();
    QVERIFY(isInOutbox());
    look();
    QVERIFY(!isInOutbox());
    QVERIFY(!Alarm::isPending());
}

void TestTakenBackMails::isItsAuthorsWhenItComesBackLater()
{
    while (Alarm::isPending())
        look();
    set(QMailMessage::Outbox, true);
    QVERIFY(!m_takenBack->isSentAgain(m_mail));
    QVERIFY(!Alarm::isPending());
    QVERIFY(isInOutbox());
}

void TestTakenBackMails::isKnownToEachDaemonUntilThen()
{
    for (int i = 0; i < 2; ++i) {
        startAnew();
        set(QMailMessage::Outbox, true);
        QVERIFY(m_takenBack->isSentAgain(m_mail));
    }
    startAnew();
    look();
    look();
    QVERIFY(!isInOutbox());
    set(QMailMessage::Outbox, true);
    startAnew();
    QVERIFY(!m_takenBack->isSentAgain(m_mail));
    QVERIFY(!Alarm::isPending());
}

void TestTakenBackMails::goesThoughItIsADraftWhereItWasOneWhenItWasAskedFor()
{
    set(QMailMessage::Outbox, true);
    m_takenBack->noteAsked({m_mail, QMailMessageMetaData(m_mail).status()});
    startAnew();
    QVERIFY(!m_takenBack->isSentAgain(m_mail));
    while (Alarm::isPending())
        look();
    QVERIFY(isInOutbox());
}

void TestTakenBackMails::goesWhenItIsAskedForAnew()
{
    m_takenBack->noteAsked({m_mail, QMailMessageMetaData(m_mail).status()});
    QVERIFY(!m_takenBack->isSentAgain(m_mail));
    m_takenBack->noteEnd(m_mail);
    startAnew();
    QVERIFY(!Alarm::isPending());
}

QTEST_GUILESS_MAIN(TestTakenBackMails)
#include "tst_takenbackmails.moc"
