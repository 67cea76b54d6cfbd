// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/pacing/alarm.h"
#include "daemon/pacing/pauses.h"
#include "daemon/send/takenbackmails.h"
#include "tests/support/storefixture.h"

#include <qmailstore.h>
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
    void hasASecondLookEachTimeItComesBack();
    void isTakenOutWhenItCameBackInTheLastMoment();
    void isItsAuthorsWhenItComesBackLater();

private:
    void set(quint64 flag, bool on);
    bool isInOutbox() const { return StoreFixture::hasStatus(m_mail, QMailMessage::Outbox); }
    static void look() { Alarm::ringNext(); }

    QMailMessageId m_mail;
    std::unique_ptr<TakenBackMails> m_takenBack;
};

void TestTakenBackMails::init()
{
    m_mail = StoreFixture::addOutgoing(StoreFixture::addAccount());
    set(QMailMessage::Draft, true);
    set(QMailMessage::Outbox, false);
    m_takenBack = std::make_unique<TakenBackMails>();
    m_takenBack->add(m_mail);
}

void TestTakenBackMails::cleanup()
{
    m_takenBack.reset();
    StoreFixture::clear();
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
    QVERIFY(m_takenBack->isSentAgain(m_mail));
    look();
    QVERIFY(!isInOutbox());
    // Once only, and without another look.
    QVERIFY(!m_takenBack->isSentAgain(m_mail));
    QVERIFY(!Alarm::isPending());
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

QTEST_GUILESS_MAIN(TestTakenBackMails)
#include "tst_takenbackmails.moc"
