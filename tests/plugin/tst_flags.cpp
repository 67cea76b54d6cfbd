// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/loadedplugin.h"
#include "tests/plugin/logrecorder.h"

#include <qmailstore.h>
#include <QSignalSpy>
#include <QTest>

namespace {

using Message = QMailMessageMetaData;

} // namespace

/**
 * Flagging and deleting with the loaded plugin: what the source tells, and combinations that no
 * client asks for. What becomes of messages and folders is proved in tests/messageserver.
 */
class TestFlags : public LoadedPlugin
{
    Q_OBJECT

private slots:
    void init();
    void readingThreeMessagesInTwoFoldersSyncsTheFoldersOnceInOrder();
    void sentAndReadTogetherWithoutPushRemove();
    void sentWithoutClearingOutboxRemovesNothing();
    void noMessagesToFlagIsRefused();
    void noFlagsToApplyIsRefused();
    void deletingNothingCompletesAtOnceAndTouchesNothing();
    void deletingUnderPushAnnounces();
    void deletingWithoutPushCompletesWithoutAnAnnouncement();
    void anUnknownMessageIsNoProblem();

private:
    void switchPushOn()
    {
        StoreFixture::setCustomField(m_account, QStringLiteral("pushEnabled"), QStringLiteral("1"));
    }
    QMailMessageId addMessage(const QMailFolderId &folder, quint64 status = 0);
    static quint64 status(const QMailMessageId &message)
    {
        return QMailMessageMetaData(message).status();
    }
    QStringList removalRecords() const;

    QMailFolderId m_inbox;
    QMailFolderId m_other;
    int m_uid = 0;
};

void TestFlags::init()
{
    LoadedPlugin::init();
    m_inbox = folder(QMailFolder::InboxFolder);
    m_other = StoreFixture::addFolder(m_account, QStringLiteral("Other"));
}

QMailMessageId TestFlags::addMessage(const QMailFolderId &folder, quint64 status)
{
    return StoreFixture::addMessage(m_account, folder, QStringLiteral("Hello"), status,
                                    QStringLiteral("uid-%1").arg(++m_uid));
}

/** The server ids of the messages that the server has still to be told of. */
QStringList TestFlags::removalRecords() const
{
    QStringList uids;
    for (const auto &record : QMailStore::instance()->messageRemovalRecords(m_account))
        uids += record.serverUid();
    uids.sort();
    return uids;
}

void TestFlags::readingThreeMessagesInTwoFoldersSyncsTheFoldersOnceInOrder()
{
    switchPushOn();
    const QMailMessageIdList ids {addMessage(m_other), addMessage(m_inbox), addMessage(m_other)};
    LogRecorder log;
    QVERIFY(source().flagMessages(ids, Message::Read, 0));
    for (const QMailMessageId &message : ids)
        QVERIFY(status(message) & Message::Read);
    const auto calls = m_daemon->calls();
    QCOMPARE(calls.count(), 1);
    QCOMPARE(calls.first().method, QStringLiteral("syncSpecificFolders"));
    const QString other = QString::number(m_other.toULongLong());
    const QString inbox = QString::number(m_inbox.toULongLong());
    QCOMPARE(calls.first().arguments, QVariantList({id(), QStringList({other, inbox}), 0, 5}));
    const QStringList lines = log.takeLines();
    QCOMPARE(
        lines.first(),
        QStringLiteral("OrvSource::flagMessages set mask: %1  unset mask: 0").arg(Message::Read));
    QCOMPARE(
        lines.filter(QStringLiteral("clientId")),
        QStringList({QStringLiteral("OrvSource::flagMessages: clientId added \"%1\"").arg(other),
                     QStringLiteral("OrvSource::flagMessages: clientId added \"%1\"").arg(inbox)}));
    QCOMPARE(lines.last(), QStringLiteral("result =  1 AccountId= %1").arg(id()));
    m_daemon->settle();
    QCOMPARE(m_spy->completions(), 0);
    m_daemon->end(1, 200);
    QCOMPARE(m_spy->completions(), 1);
}

void TestFlags::sentAndReadTogetherWithoutPushRemove()
{
    const QMailMessageId message = addMessage(m_inbox, Message::Outbox);
    QVERIFY(source().flagMessages({message}, Message::Sent | Message::Read, Message::Outbox));
    QVERIFY(!StoreFixture::exists(message));
    QCOMPARE(removalRecords(), QStringList());
    QTRY_COMPARE(m_spy->completions(), 1);
}

void TestFlags::sentWithoutClearingOutboxRemovesNothing()
{
    const QMailMessageId message = addMessage(m_inbox, Message::Outbox);
    QVERIFY(source().flagMessages({message}, Message::Sent, 0));
    QVERIFY(source().flagMessages({message}, 0, Message::Outbox));
    QVERIFY(source().flagMessages({message}, Message::Sent, QMailMessageMetaData::Draft));
    QVERIFY(StoreFixture::exists(message));
    QTRY_COMPARE(m_spy->completions(), 3);
}

void TestFlags::noMessagesToFlagIsRefused()
{
    LogRecorder log;
    QVERIFY(!source().flagMessages({}, Message::Read, 0));
    QCOMPARE(m_spy->take(),
             QStringList({QStringLiteral("status No messages to flag"),
                          QStringLiteral("completed false")}));
    QCOMPARE(log.takeLines().last(), QStringLiteral("No messages to flag"));
    QVERIFY(!source().flagMessages({}, 0, 0));
    QCOMPARE(m_spy->take().first(), QStringLiteral("status No messages to flag"));
}

void TestFlags::noFlagsToApplyIsRefused()
{
    const QMailMessageId message = addMessage(m_inbox, Message::Important);
    LogRecorder log;
    QVERIFY(!source().flagMessages({message}, 0, 0));
    QCOMPARE(m_spy->take(),
             QStringList({QStringLiteral("status No flags to be applied"),
                          QStringLiteral("completed false")}));
    QCOMPARE(log.takeLines().last(), QStringLiteral("No flags to be applied"));
    QVERIFY(status(message) & Message::Important);
}

void TestFlags::deletingNothingCompletesAtOnceAndTouchesNothing()
{
    switchPushOn();
    const QMailMessageId message = addMessage(m_inbox);
    QVERIFY(source().deleteMessages({}));
    QCOMPARE(m_spy->take(), QStringList(QStringLiteral("completed true")));
    QVERIFY(StoreFixture::exists(message));
    QCOMPARE(removalRecords(), QStringList());
    QCOMPARE(m_daemon->calls().count(), 0);
}

void TestFlags::deletingUnderPushAnnounces()
{
    switchPushOn();
    const QMailMessageIdList ids {addMessage(m_inbox), addMessage(m_other)};
    QSignalSpy deleted(&source(), SIGNAL(messagesDeleted(QMailMessageIdList)));
    LogRecorder log;
    QVERIFY(source().deleteMessages(ids));
    QCOMPARE(log.takeLines().first(), QStringLiteral("Deleting messages"));
    QCOMPARE(deleted.count(), 1);
    QCOMPARE(deleted.first().first().value<QMailMessageIdList>(), ids);
}

void TestFlags::deletingWithoutPushCompletesWithoutAnAnnouncement()
{
    const QMailMessageId message = addMessage(m_inbox);
    QSignalSpy deleted(&source(), SIGNAL(messagesDeleted(QMailMessageIdList)));
    QVERIFY(source().deleteMessages({message}));
    QCOMPARE(m_spy->take(), QStringList(QStringLiteral("completed true")));
    QVERIFY(!StoreFixture::exists(message));
    QCOMPARE(removalRecords(), QStringList(QStringLiteral("uid-%1").arg(m_uid)));
    QCOMPARE(deleted.count(), 0);
    QCOMPARE(m_daemon->calls().count(), 0);
}

void TestFlags::anUnknownMessageIsNoProblem()
{
    switchPushOn();
    QVERIFY(source().flagMessages({QMailMessageId(4711)}, Message::Read, 0));
    QCOMPARE(m_daemon->calls("syncSpecificFolders").value(0).arguments.value(1).toStringList(),
             QStringList(QStringLiteral("0")));
    QVERIFY(source().deleteMessages({QMailMessageId(4711)}));
    QCOMPARE(removalRecords(), QStringList());
}

QTEST_GUILESS_MAIN(TestFlags)

#include "tst_flags.moc"
