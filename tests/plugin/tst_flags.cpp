// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/logrecorder.h"
#include "tests/plugin/servicespy.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <QSignalSpy>
#include <QTest>

#include <qmailmessageservice.h>
#include <qmailstore.h>

#include <memory>

namespace {

const quint64 &Read = QMailMessageMetaData::Read;
const quint64 &Sent = QMailMessageMetaData::Sent;
const quint64 &Outbox = QMailMessageMetaData::Outbox;
const quint64 &Important = QMailMessageMetaData::Important;

} // namespace

/** Flagging and deleting with the loaded plugin; the mail store tells what happened. */
class TestFlags : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void readingThreeMessagesInTwoFoldersSyncsTheFoldersOnceInOrder();
    void unreadingSyncsTheFolder();
    void readingWithoutPushEnabledSyncsNothing_data();
    void readingWithoutPushEnabledSyncsNothing();
    void anotherFlagThanReadSyncsNothing();
    void sentMessagesLeaveTheStoreWithoutARemovalRecord();
    void sentAndReadTogetherUnderPushOnlySync();
    void sentAndReadTogetherWithoutPushRemove();
    void sentWithoutClearingOutboxRemovesNothing();
    void noMessagesToFlagIsRefused();
    void noFlagsToApplyIsRefused();
    void deletingNothingCompletesAtOnceAndTouchesNothing();
    void deletingUnderPushSyncsTheTrashAndAnnounces();
    void deletingWithoutPushCompletesWithoutAnAnnouncement();
    void deletingUnderPushWithoutATrashFolderStillAsksTheDaemon();
    void anUnknownMessageIsNoProblem();

private:
    quint64 id() const { return m_account.toULongLong(); }
    QMailMessageSource &source() { return m_service->source(); }
    void setPush(const QString &value);
    QMailMessageId addMessage(const QMailFolderId &folder, quint64 status = 0);
    static quint64 status(const QMailMessageId &message)
    {
        return QMailMessageMetaData(message).status();
    }
    static bool exists(const QMailMessageId &message)
    {
        return QMailStore::instance()->countMessages(QMailMessageKey::id(message)) == 1;
    }
    QStringList removalRecords() const;

    std::unique_ptr<ScriptedDaemon> m_daemon;
    QMailAccountId m_account;
    QMailFolderId m_inbox;
    QMailFolderId m_other;
    QMailFolderId m_trash;
    int m_uid = 0;
    std::unique_ptr<QMailMessageService> m_service;
    std::unique_ptr<ServiceSpy> m_spy;
};

void TestFlags::init()
{
    m_daemon = std::make_unique<ScriptedDaemon>();
    m_account = StoreFixture::addAccount();
    StoreFixture::addStandardFolders(m_account);
    m_inbox = QMailAccount(m_account).standardFolder(QMailFolder::InboxFolder);
    m_trash = QMailAccount(m_account).standardFolder(QMailFolder::TrashFolder);
    m_other = StoreFixture::addFolder(m_account, QStringLiteral("Other"));
    m_service.reset(
        QMailMessageServiceFactory::createService(QStringLiteral("orvmail"), m_account));
    QVERIFY(m_service);
    m_spy = std::make_unique<ServiceSpy>(m_service.get());
}

void TestFlags::cleanup()
{
    m_service.reset();
    m_daemon.reset();
    StoreFixture::clear();
}

void TestFlags::setPush(const QString &value)
{
    QMailAccount account(m_account);
    account.setCustomField(QStringLiteral("pushEnabled"), value);
    QVERIFY(QMailStore::instance()->updateAccount(
        &account, static_cast<QMailAccountConfiguration *>(nullptr)));
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
    setPush(QStringLiteral("1"));
    const QMailMessageIdList ids {addMessage(m_other), addMessage(m_inbox), addMessage(m_other)};
    LogRecorder log;
    QVERIFY(source().flagMessages(ids, Read, 0));
    for (const QMailMessageId &message : ids)
        QVERIFY(status(message) & Read);
    const auto calls = m_daemon->calls();
    QCOMPARE(calls.count(), 1);
    QCOMPARE(calls.first().method, QStringLiteral("syncSpecificFolders"));
    const QString other = QString::number(m_other.toULongLong());
    const QString inbox = QString::number(m_inbox.toULongLong());
    QCOMPARE(calls.first().arguments, QVariantList({id(), QStringList({other, inbox}), 0, 5}));
    const QStringList lines = log.takeLines();
    QCOMPARE(lines.first(),
             QStringLiteral("OrvSource::flagMessages set mask: %1  unset mask: 0").arg(Read));
    QCOMPARE(
        lines.filter(QStringLiteral("clientId")),
        QStringList({QStringLiteral("OrvSource::flagMessages: clientId added \"%1\"").arg(other),
                     QStringLiteral("OrvSource::flagMessages: clientId added \"%1\"").arg(inbox)}));
    QCOMPARE(lines.last(), QStringLiteral("result =  1 AccountId= %1").arg(id()));
    m_daemon->settle();
    QCOMPARE(m_spy->completions(), 0);
    m_daemon->complete(1, 200);
    m_daemon->settle();
    QCOMPARE(m_spy->completions(), 1);
}

void TestFlags::unreadingSyncsTheFolder()
{
    setPush(QStringLiteral("1"));
    const QMailMessageId message = addMessage(m_inbox, Read);
    QVERIFY(source().flagMessages({message}, 0, Read));
    QVERIFY(!(status(message) & Read));
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 1);
}

void TestFlags::readingWithoutPushEnabledSyncsNothing_data()
{
    QTest::addColumn<QString>("push");
    QTest::newRow("0") << QStringLiteral("0");
    QTest::newRow("true") << QStringLiteral("true");
    QTest::newRow("yes 1") << QStringLiteral(" 1");
    QTest::newRow("01") << QStringLiteral("01");
    QTest::newRow("empty") << QStringLiteral("");
    QTest::newRow("absent") << QString();
}

void TestFlags::readingWithoutPushEnabledSyncsNothing()
{
    QFETCH(QString, push);
    if (!push.isNull())
        setPush(push);
    const QMailMessageId message = addMessage(m_inbox);
    QVERIFY(source().flagMessages({message}, Read, 0));
    QVERIFY(status(message) & Read);
    QCOMPARE(m_spy->take(), QStringList());
    QTRY_COMPARE(m_spy->completions(), 1);
    QCOMPARE(m_spy->take(), QStringList(QStringLiteral("completed true")));
    QCOMPARE(m_daemon->calls().count(), 0);
}

void TestFlags::anotherFlagThanReadSyncsNothing()
{
    setPush(QStringLiteral("1"));
    const QMailMessageId message = addMessage(m_inbox);
    QVERIFY(source().flagMessages({message}, Important, 0));
    QVERIFY(status(message) & Important);
    QTRY_COMPARE(m_spy->completions(), 1);
    QCOMPARE(m_daemon->calls().count(), 0);
}

void TestFlags::sentMessagesLeaveTheStoreWithoutARemovalRecord()
{
    const QMailMessageIdList ids {addMessage(m_inbox, Outbox), addMessage(m_other, Outbox)};
    const QMailMessageId bystander = addMessage(m_inbox, Outbox);
    LogRecorder log;
    QVERIFY(source().flagMessages(ids, Sent, Outbox | QMailMessageMetaData::Draft));
    for (const QMailMessageId &message : ids)
        QVERIFY(!exists(message));
    QVERIFY(exists(bystander));
    QCOMPARE(removalRecords(), QStringList());
    QCOMPARE(
        log.takeLines().filter(QStringLiteral("Deleting send message")),
        QStringList({QStringLiteral("Deleting send message %1").arg(ids.at(0).toULongLong()),
                     QStringLiteral("Deleting send message %1").arg(ids.at(1).toULongLong())}));
    QCOMPARE(m_spy->take(), QStringList());
    QTRY_COMPARE(m_spy->completions(), 1);
    QCOMPARE(m_daemon->calls().count(), 0);
}

void TestFlags::sentAndReadTogetherUnderPushOnlySync()
{
    setPush(QStringLiteral("1"));
    const QMailMessageId message = addMessage(m_inbox, Outbox);
    QVERIFY(source().flagMessages({message}, Sent | Read, Outbox));
    QVERIFY(exists(message));
    QVERIFY((status(message) & (Sent | Read)) == (Sent | Read));
    QVERIFY(!(status(message) & Outbox));
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 1);
    m_daemon->settle();
    QCOMPARE(m_spy->completions(), 0);
}

void TestFlags::sentAndReadTogetherWithoutPushRemove()
{
    const QMailMessageId message = addMessage(m_inbox, Outbox);
    QVERIFY(source().flagMessages({message}, Sent | Read, Outbox));
    QVERIFY(!exists(message));
    QCOMPARE(removalRecords(), QStringList());
    QTRY_COMPARE(m_spy->completions(), 1);
}

void TestFlags::sentWithoutClearingOutboxRemovesNothing()
{
    const QMailMessageId message = addMessage(m_inbox, Outbox);
    QVERIFY(source().flagMessages({message}, Sent, 0));
    QVERIFY(source().flagMessages({message}, 0, Outbox));
    QVERIFY(source().flagMessages({message}, Sent, QMailMessageMetaData::Draft));
    QVERIFY(exists(message));
    QTRY_COMPARE(m_spy->completions(), 3);
}

void TestFlags::noMessagesToFlagIsRefused()
{
    LogRecorder log;
    QVERIFY(!source().flagMessages({}, Read, 0));
    QCOMPARE(m_spy->take(),
             QStringList({QStringLiteral("status No messages to flag"),
                          QStringLiteral("completed false")}));
    QCOMPARE(log.takeLines().last(), QStringLiteral("No messages to flag"));
    QVERIFY(!source().flagMessages({}, 0, 0));
    QCOMPARE(m_spy->take().first(), QStringLiteral("status No messages to flag"));
}

void TestFlags::noFlagsToApplyIsRefused()
{
    const QMailMessageId message = addMessage(m_inbox, Important);
    LogRecorder log;
    QVERIFY(!source().flagMessages({message}, 0, 0));
    QCOMPARE(m_spy->take(),
             QStringList({QStringLiteral("status No flags to be applied"),
                          QStringLiteral("completed false")}));
    QCOMPARE(log.takeLines().last(), QStringLiteral("No flags to be applied"));
    QVERIFY(status(message) & Important);
}

void TestFlags::deletingNothingCompletesAtOnceAndTouchesNothing()
{
    setPush(QStringLiteral("1"));
    const QMailMessageId message = addMessage(m_inbox);
    QVERIFY(source().deleteMessages({}));
    QCOMPARE(m_spy->take(), QStringList(QStringLiteral("completed true")));
    QVERIFY(exists(message));
    QCOMPARE(removalRecords(), QStringList());
    QCOMPARE(m_daemon->calls().count(), 0);
}

void TestFlags::deletingUnderPushSyncsTheTrashAndAnnounces()
{
    setPush(QStringLiteral("1"));
    const QMailMessageIdList ids {addMessage(m_inbox), addMessage(m_other)};
    const QMailMessageId bystander = addMessage(m_inbox);
    QSignalSpy deleted(&source(), SIGNAL(messagesDeleted(QMailMessageIdList)));
    LogRecorder log;
    QVERIFY(source().deleteMessages(ids));
    QCOMPARE(log.takeLines().first(), QStringLiteral("Deleting messages"));
    for (const QMailMessageId &message : ids)
        QVERIFY(!exists(message));
    QVERIFY(exists(bystander));
    QCOMPARE(removalRecords(),
             QStringList({QStringLiteral("uid-%1").arg(m_uid - 2),
                          QStringLiteral("uid-%1").arg(m_uid - 1)}));
    const auto calls = m_daemon->calls();
    QCOMPARE(calls.count(), 1);
    QCOMPARE(calls.first().method, QStringLiteral("syncSpecificFolders"));
    QCOMPARE(calls.first().arguments,
             QVariantList({id(), QStringList(QString::number(m_trash.toULongLong())), 0, 5}));
    QCOMPARE(deleted.count(), 1);
    QCOMPARE(deleted.first().first().value<QMailMessageIdList>(), ids);
    QCOMPARE(m_spy->completions(), 0);
    m_daemon->complete(1, 200);
    m_daemon->settle();
    QCOMPARE(m_spy->completions(), 1);
}

void TestFlags::deletingWithoutPushCompletesWithoutAnAnnouncement()
{
    const QMailMessageId message = addMessage(m_inbox);
    QSignalSpy deleted(&source(), SIGNAL(messagesDeleted(QMailMessageIdList)));
    QVERIFY(source().deleteMessages({message}));
    QCOMPARE(m_spy->take(), QStringList(QStringLiteral("completed true")));
    QVERIFY(!exists(message));
    QCOMPARE(removalRecords(), QStringList(QStringLiteral("uid-%1").arg(m_uid)));
    QCOMPARE(deleted.count(), 0);
    QCOMPARE(m_daemon->calls().count(), 0);
}

void TestFlags::deletingUnderPushWithoutATrashFolderStillAsksTheDaemon()
{
    setPush(QStringLiteral("1"));
    QMailAccount account(m_account);
    account.setStandardFolder(QMailFolder::TrashFolder, QMailFolderId());
    QVERIFY(QMailStore::instance()->updateAccount(
        &account, static_cast<QMailAccountConfiguration *>(nullptr)));
    QVERIFY(source().deleteMessages({addMessage(m_inbox)}));
    QCOMPARE(m_daemon->calls("syncSpecificFolders").value(0).arguments.value(1).toStringList(),
             QStringList(QStringLiteral("0")));
}

void TestFlags::anUnknownMessageIsNoProblem()
{
    setPush(QStringLiteral("1"));
    QVERIFY(source().flagMessages({QMailMessageId(4711)}, Read, 0));
    QCOMPARE(m_daemon->calls("syncSpecificFolders").value(0).arguments.value(1).toStringList(),
             QStringList(QStringLiteral("0")));
    QVERIFY(source().deleteMessages({QMailMessageId(4711)}));
    QCOMPARE(removalRecords(), QStringList());
}

QTEST_GUILESS_MAIN(TestFlags)

#include "tst_flags.moc"
