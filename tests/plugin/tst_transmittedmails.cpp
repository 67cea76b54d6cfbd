// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/transmittedmails.h"
#include "tests/plugin/servicefixture.h"

#include <qmailstore.h>
#include <QTest>

using Message = QMailMessageMetaData;

namespace {

/** A mail of which the message server was told that it is transmitted. */
class TransmittedFixture : public ServiceFixture
{
public:
    TransmittedFixture()
        : message(StoreFixture::addOutgoing(account))
    {
        sink().transmitMessages({message});
        daemon.end(1, 200);
    }

    void edit(quint64 status) const
    {
        QMailMessage edited(message);
        edited.setSubject(QStringLiteral("Edited"));
        edited.setStatus(status, true);
        QVERIFY(QMailStore::instance()->updateMessage(&edited));
    }

    /** What the message server does with it at the end of a transmission of another plugin. */
    void mark() const
    {
        const QMailMessageKey key = QMailMessageKey::id(message);
        QVERIFY(QMailStore::instance()->updateMessagesMetaData(key, Message::Sent, true));
        QVERIFY(QMailStore::instance()->updateMessagesMetaData(key, unsetMask(), false));
    }

    bool flag() { return source().flagMessages({message}, Message::Sent, unsetMask()); }

    static quint64 unsetMask() { return Message::Outbox | Message::Draft | Message::LocalOnly; }
    bool hasStatus(quint64 mask) const { return StoreFixture::hasStatus(message, mask); }

    const QMailMessageId message;
};

} // namespace

/**
 * What is remembered of transmitted mails, and how long. What a person sees of it is proved in
 * tests/messageserver.
 */
class TestTransmittedMails : public QObject
{
    Q_OBJECT

private slots:
    void whatIsRemovedIsForgotten();
    void whatIsRemovedElsewhereIsForgottenAtTheNextEnd();
    void whatWasWrittenAnewAndMarkedByAnotherPluginsEndIsADraft_data();
    void whatWasWrittenAnewAndMarkedByAnotherPluginsEndIsADraft();
    void whatWasFlaggedWithoutBeingWrittenAnewIsRemoved();
};

void TestTransmittedMails::whatIsRemovedIsForgotten()
{
    TransmittedFixture f;
    QVERIFY(!TransmittedMails::instance().isEmpty());
    f.mark();
    QVERIFY(f.flag());
    QVERIFY(!StoreFixture::exists(f.message));
    QVERIFY(TransmittedMails::instance().isEmpty());
}

void TestTransmittedMails::whatIsRemovedElsewhereIsForgottenAtTheNextEnd()
{
    TransmittedFixture f;
    QVERIFY(!TransmittedMails::instance().isEmpty());
    QVERIFY(QMailStore::instance()->removeMessage(f.message));
    f.source().retrieveFolderList(f.account, QMailFolderId(), false);
    f.daemon.end(2, 200);
    QVERIFY(TransmittedMails::instance().isEmpty());
}

void TestTransmittedMails::whatWasWrittenAnewAndMarkedByAnotherPluginsEndIsADraft_data()
{
    QTest::addColumn<bool>("again");
    QTest::addRow("marked") << false;
    QTest::addRow("to be sent again since") << true;
}

void TestTransmittedMails::whatWasWrittenAnewAndMarkedByAnotherPluginsEndIsADraft()
{
    QFETCH(bool, again);
    TransmittedFixture f;
    f.edit(Message::Outbox);
    f.mark();
    if (again)
        f.edit(Message::Outbox | Message::Sent);
    QVERIFY(f.flag());
    QVERIFY(StoreFixture::exists(f.message));
    QVERIFY(!f.hasStatus(Message::Sent));
    QCOMPARE(f.hasStatus(Message::Draft), !again);
    QCOMPARE(f.hasStatus(Message::Outbox), again);
    QTRY_COMPARE(f.spy.completions(), 2);
}

void TestTransmittedMails::whatWasFlaggedWithoutBeingWrittenAnewIsRemoved()
{
    TransmittedFixture f;
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::id(f.message), Message::Outbox | Message::Important, true));
    f.mark();
    QVERIFY(f.flag());
    QVERIFY(!StoreFixture::exists(f.message));
}

QTEST_GUILESS_MAIN(TestTransmittedMails)

#include "tst_transmittedmails.moc"
