// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/outbox.h"
#include "daemon/store/outgoing/outgoingprint.h"
#include "tests/store/hiddentable.h"
#include "tests/store/items.h"
#include "tests/support/storefixture.h"

#include <QDir>
#include <QFile>
#include <qmailstore.h>
#include <QTest>

using Items::text;
using Store::Outgoing;

namespace {

/** A mail of a text and an attachment, not in the store yet. */
QMailMessage withParts(const QMailAccountId &account, const QString &words)
{
    QMailMessage message;
    message.setMessageType(QMailMessage::Email);
    message.setParentAccountId(account);
    message.setParentFolderId(QMailFolderId(QMailFolder::LocalStorageFolderId));
    message.setTo(QMailAddress(text("Bob"), text("bob@example.com")));
    message.setSubject(text("Hello"));
    message.setStatus(QMailMessage::Outgoing | QMailMessage::Outbox, true);
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setFilename("plan.bin");
    QMailMessagePart first;
    first.setBody(QMailMessageBody::fromData(words,
                                             QMailMessageContentType("text/plain; charset=UTF-8"),
                                             QMailMessageBody::QuotedPrintable));
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(first);
    message.appendPart(QMailMessagePart::fromData(
        QByteArrayLiteral("plan"), disposition, QMailMessageContentType("application/octet-stream"),
        QMailMessageBody::Base64, QMailMessageBody::RequiresEncoding));
    return message;
}

/** Its author writes this in its place. */
bool replace(const QMailMessageId &id, QMailMessage message)
{
    const QMailMessageMetaData before(id);
    message.setId(id);
    message.setContentScheme(before.contentScheme());
    message.setContentIdentifier(before.contentIdentifier());
    return QMailStore::instance()->updateMessage(&message);
}

/** As a power cut does: the file is empty, or the folder is gone. */
bool lose(const QMailMessageId &id, const QString &place)
{
    const QString path = QMailMessageMetaData(id).contentIdentifier() + place;
    return QFileInfo(path).isDir() ? QDir(path).removeRecursively() : QFile::resize(path, 0);
}

} // namespace

/** What is known of mail that is to be sent. */
class TestOutbox : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void whatIsRemovedIsForgotten();
    void whatCannotBeReadIsNotForgotten();
    void whatCannotBeReadIsNotTakenForWhatLeft_data();
    void whatCannotBeReadIsNotTakenForWhatLeft();
    void whatCannotBeReadIsNotTakenForNew_data();
    void whatCannotBeReadIsNotTakenForNew();
    void whatIsLostIsNoEdit_data();
    void whatIsLostIsNoEdit();
    void whatWasEditedBeforeItWasLostIsEdited();

private:
    /** A mail of which it is noted that it was sent as it is now. */
    QMailMessageId addSent();
    /** One of a text and an attachment. */
    QMailMessageId addSentWithParts();
    QMailMessageId noteSent(const QMailMessageId &id);
    bool mayBeEdited(const QMailMessageId &id) const
    {
        return m_outbox->mayBeEdited(m_noted->find(id).value_or(Outgoing()));
    }
    /** Its author writes something else. */
    static void edit(const QMailMessageId &id);
    Store::AccountRecord record() const { return Store::AccountRecord::read(m_account->id); }

    std::unique_ptr<SyncedAccount> m_account;
    std::unique_ptr<Store::Outbox> m_outbox;
    std::unique_ptr<Store::OutgoingTable> m_noted;
};

void TestOutbox::init()
{
    m_account = std::make_unique<SyncedAccount>();
    m_outbox = std::make_unique<Store::Outbox>(m_account->db, record());
    m_noted = std::make_unique<Store::OutgoingTable>(m_account->db, m_account->id);
}

void TestOutbox::cleanup()
{
    m_noted.reset();
    m_outbox.reset();
    m_account.reset();
}

QMailMessageId TestOutbox::addSent()
{
    return noteSent(StoreFixture::addOutgoing(m_account->id));
}

QMailMessageId TestOutbox::addSentWithParts()
{
    QMailMessage message = withParts(m_account->id, text("Hello.\n"));
    return QMailStore::instance()->addMessage(&message) ? noteSent(message.id()) : QMailMessageId();
}

QMailMessageId TestOutbox::noteSent(const QMailMessageId &id)
{
    Outgoing outgoing;
    if (!m_outbox->open(id, &outgoing).ok())
        return {};
    outgoing.print = Store::OutgoingPrint::of(QMailMessage(id));
    return m_outbox->save(outgoing, Outgoing::Sent).ok() ? id : QMailMessageId();
}

void TestOutbox::edit(const QMailMessageId &id)
{
    QMailMessage message(id);
    message.setSubject(QStringLiteral("Edited"));
    QVERIFY(QMailStore::instance()->updateMessage(&message));
}

void TestOutbox::whatIsRemovedIsForgotten()
{
    const QMailMessageId removed = addSent();
    const QMailMessageId kept = addSent();
    QVERIFY(m_noted->find(removed));
    QVERIFY(QMailStore::instance()->removeMessage(removed, QMailStore::NoRemovalRecord));
    m_outbox->recover({});
    QVERIFY(!m_noted->find(removed));
    QVERIFY(m_noted->find(kept));
}

void TestOutbox::whatCannotBeReadIsNotForgotten()
{
    const QMailMessageId id = addSent();
    {
        const HiddenTable messages(QStringLiteral("mailmessages"));
        QVERIFY(messages.isHidden());
        m_outbox->recover({});
    }
    QVERIFY(m_noted->find(id));
    Outgoing outgoing;
    QVERIFY(m_outbox->open(id, &outgoing).ok());
    QCOMPARE(outgoing.state, Outgoing::Sent);
    QVERIFY(!outgoing.print.isEmpty());
}

void TestOutbox::whatCannotBeReadIsNotTakenForWhatLeft_data()
{
    QTest::addColumn<bool>("isEdited");
    QTest::newRow("as it left") << false;
    QTest::newRow("edited") << true;
}

void TestOutbox::whatCannotBeReadIsNotTakenForWhatLeft()
{
    QFETCH(bool, isEdited);
    const QMailMessageId id = addSent();
    if (isEdited)
        edit(id);
    const Outgoing sent = m_noted->find(id).value_or(Outgoing());
    QCOMPARE(m_outbox->mayBeEdited(sent), isEdited);
    Outgoing outgoing;
    bool isKnownAsEdited = false;
    {
        const HiddenTable messages(QStringLiteral("mailmessages"));
        QVERIFY(messages.isHidden());
        QVERIFY(m_outbox->mayBeEdited(sent));
        QCOMPARE(m_outbox->compare(sent, &isKnownAsEdited).code, int(Eas::ServerFailed));
        QCOMPARE(m_outbox->open(id, &outgoing).code, int(Eas::ServerFailed));
    }
    QVERIFY(!isKnownAsEdited);
    QCOMPARE(m_noted->find(id)->clientId, sent.clientId);
    QVERIFY(m_outbox->open(id, &outgoing).ok());
    QCOMPARE(outgoing.state, isEdited ? Outgoing::Ready : Outgoing::Sent);
}

void TestOutbox::whatCannotBeReadIsNotTakenForNew_data()
{
    QTest::addColumn<QString>("table");
    for (const char *table : {"mailmessages", "mailmessagecustom"})
        QTest::newRow(table) << QString::fromLatin1(table);
}

/** The daemon's memory is lost, and what the message tells of itself cannot be read. */
void TestOutbox::whatCannotBeReadIsNotTakenForNew()
{
    QFETCH(QString, table);
    const QMailMessageId id = addSent();
    QVERIFY(m_noted->remove(m_noted->find(id)->clientId).ok());
    Outgoing outgoing;
    {
        const HiddenTable hidden(table);
        QVERIFY(hidden.isHidden());
        QCOMPARE(m_outbox->open(id, &outgoing).code, int(Eas::ServerFailed));
    }
    QVERIFY(!m_noted->find(id));
    QVERIFY(m_outbox->open(id, &outgoing).ok());
    QCOMPARE(outgoing.state, Outgoing::Uncertain);
}

void TestOutbox::whatIsLostIsNoEdit_data()
{
    QTest::addColumn<QString>("place");
    QTest::newRow("text") << text("-parts/1");
    QTest::newRow("attachment") << text("-parts/2");
    QTest::newRow("text and attachment") << text("-parts");
    QTest::newRow("all") << QString();
}

/** Who then writes something else has edited it. */
void TestOutbox::whatIsLostIsNoEdit()
{
    QFETCH(QString, place);
    const QMailMessageId id = addSentWithParts();
    QVERIFY(!mayBeEdited(id));
    QVERIFY(lose(id, place));
    QVERIFY(!mayBeEdited(id));
    Outgoing outgoing;
    QVERIFY(m_outbox->open(id, &outgoing).ok());
    QCOMPARE(outgoing.state, Outgoing::Sent);
    QVERIFY(replace(id, withParts(m_account->id, text("Hello again.\n"))));
    QVERIFY(mayBeEdited(id));
    QVERIFY(m_outbox->open(id, &outgoing).ok());
    QCOMPARE(outgoing.state, Outgoing::Ready);
}

void TestOutbox::whatWasEditedBeforeItWasLostIsEdited()
{
    const QMailMessageId id = addSentWithParts();
    edit(id);
    QVERIFY(lose(id, text("-parts/1")));
    QVERIFY(mayBeEdited(id));
}

QTEST_GUILESS_MAIN(TestOutbox)
#include "tst_outbox.moc"
