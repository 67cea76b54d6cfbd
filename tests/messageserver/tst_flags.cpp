// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/messageserver/serverfixture.h"

#include <qmailmessageremovalrecord.h>
#include <qmailstore.h>
#include <QTest>

using Answer = ScriptedDaemon::Answer;
using Storage = Watched<QMailStorageAction>;

/** Flags and deletions by the message server, with the whole mail store before and after. */
class TestFlags : public ServerFixture
{
    Q_OBJECT

private slots:
    void readIsCarriedToTheServerUnderPush_data();
    void readIsCarriedToTheServerUnderPush();
    void readStaysHereWithoutPush_data();
    void readStaysHereWithoutPush();
    void otherFlagsStayHere();
    void readFailsAsTheDaemonSays();
    void readIsDoneWhileTheDaemonIsAbsent();
    void sentMessageIsRemovedWithoutARecord();
    void sentAndReadUnderPushRemovesNothing();
    void pushThatIsSwitchedOnIsSeenByTheRunningServer();
    void refusesNoFlags();
    void refusesNoMessages();

    void deletionIsCarriedToTheServerUnderPush();
    void deletionStaysHereWithoutPush_data();
    void deletionStaysHereWithoutPush();
    void deletionOfNothingEnds();
    void deletionFailsAsTheDaemonSays();
    void deletionWithoutATrashFolder();
    void storeAloneIsNotCarried();

private:
    void fillStore() override;
    QByteArray store() const;
    void setPush(const QString &value);
    void startWithPush(const QString &value);
    void flag(Storage &storage, const QMailMessageIdList &ids, quint64 set, quint64 unset = 0);
    void verifyCarried(const QList<QMailFolder::StandardFolder> &folders);

    QMailMessageId m_one;
    QMailMessageId m_two;
    QMailMessageId m_three;
};

namespace {

QString flagNames(quint64 status)
{
    const QList<QPair<quint64, QString>> names {
        {QMailMessage::Read, QStringLiteral(" read")},
        {QMailMessage::Important, QStringLiteral(" important")},
        {QMailMessage::Replied, QStringLiteral(" replied")},
        {QMailMessage::Outbox, QStringLiteral(" outbox")},
        {QMailMessage::Sent, QStringLiteral(" sent")},
        {QMailMessage::Trash, QStringLiteral(" trash")},
        {QMailMessage::Removed, QStringLiteral(" removed")},
    };
    QString text;
    for (const auto &[flag, name] : names) {
        if (status & flag)
            text += name;
    }
    return text;
}

} // namespace

void TestFlags::fillStore()
{
    const QMailFolderId inbox = folder(QMailFolder::InboxFolder);
    const QMailFolderId junk = folder(QMailFolder::JunkFolder);
    const auto add = [this](const QMailFolderId &in, const char *uid) {
        return StoreFixture::addMessage(m_account, in, QLatin1String(uid), 0, QLatin1String(uid));
    };
    m_one = add(inbox, "one");
    m_two = add(junk, "two");
    m_three = add(inbox, "three");
    QCOMPARE(store(), QByteArray("one in Inbox, three in Inbox, two in Junk"));
}

/** All messages and removal records of the account, in words. */
QByteArray TestFlags::store() const
{
    QStringList lines;
    const auto ids =
        QMailStore::instance()->queryMessages(QMailMessageKey::parentAccountId(m_account));
    for (const QMailMessageId &id : ids) {
        const QMailMessageMetaData message(id);
        lines.append(message.serverUid() + QStringLiteral(" in ")
                     + QMailFolder(message.parentFolderId()).path() + flagNames(message.status()));
    }
    const auto records = QMailStore::instance()->messageRemovalRecords(m_account);
    for (const QMailMessageRemovalRecord &record : records)
        lines.append(record.serverUid() + QStringLiteral(" removed from ")
                     + QMailFolder(record.parentFolderId()).path());
    lines.sort();
    return lines.join(QStringLiteral(", ")).toLatin1();
}

/** The server that knows this text of "pushEnabled" from its start; null: it has none. */
void TestFlags::startWithPush(const QString &value)
{
    QVERIFY(m_server->terminate());
    setPush(value);
    QVERIFY(m_server->start());
}

void TestFlags::setPush(const QString &value)
{
    StoreFixture::setCustomField(m_account, QStringLiteral("pushEnabled"), value);
}

void TestFlags::flag(Storage &storage, const QMailMessageIdList &ids, quint64 set, quint64 unset)
{
    storage.action.onlineFlagMessagesAndMoveToStandardFolder(ids, set, unset);
}

/** The daemon got one call, for these folders. */
void TestFlags::verifyCarried(const QList<QMailFolder::StandardFolder> &folders)
{
    QStringList ids;
    for (QMailFolder::StandardFolder kind : folders)
        ids.append(QString::number(folder(kind).toULongLong()));
    QCOMPARE(m_daemon->calls().size(), 1);
    const auto call = m_daemon->waitForCall("syncSpecificFolders");
    QCOMPARE(call.arguments, QVariantList({m_account.toULongLong(), ids, 0, 5}));
}

void TestFlags::readIsCarriedToTheServerUnderPush_data()
{
    QTest::addColumn<bool>("read");
    QTest::addRow("read") << true;
    QTest::addRow("unread") << false;
}

void TestFlags::readIsCarriedToTheServerUnderPush()
{
    QFETCH(bool, read);
    const quint64 mask = QMailMessage::Read;
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::parentAccountId(m_account), mask, !read));
    startWithPush(QStringLiteral("1"));
    Storage storage;
    flag(storage, {m_two, m_one, m_three}, read ? mask : 0, read ? 0 : mask);
    const auto call = m_daemon->waitForCall("syncSpecificFolders");
    // Each folder once, and already done here before the daemon is asked.
    const QByteArray expected = read
        ? QByteArray("one in Inbox read, three in Inbox read, two in Junk read")
        : QByteArray("one in Inbox, three in Inbox, two in Junk");
    QTRY_COMPARE(store(), expected);
    settle();
    QCOMPARE(storage.watcher.endCount(), 0);
    QCOMPARE(call.arguments.at(1).toStringList().size(), 2);
    succeed(storage, call);
    QCOMPARE(store(), expected);
    QCOMPARE(m_daemon->calls().size(), 1);
    QCOMPARE(call.arguments.mid(2), QVariantList({0, 5}));
}

void TestFlags::readStaysHereWithoutPush_data()
{
    QTest::addColumn<QString>("push");
    for (const char *push : {"0", "true", "", "11", " 1", "01"})
        QTest::addRow("push \"%s\"", push) << QString::fromLatin1(push);
    QTest::addRow("no push") << QString();
}

void TestFlags::readStaysHereWithoutPush()
{
    QFETCH(QString, push);
    startWithPush(push);
    Storage storage;
    flag(storage, {m_one, m_two}, QMailMessage::Read);
    verifySucceeded(storage.watcher);
    QTRY_COMPARE(store(), QByteArray("one in Inbox read, three in Inbox, two in Junk read"));
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestFlags::otherFlagsStayHere()
{
    startWithPush(QStringLiteral("1"));
    Storage storage;
    flag(storage, {m_one}, QMailMessage::Important | QMailMessage::Replied);
    verifySucceeded(storage.watcher);
    QTRY_COMPARE(store(),
                 QByteArray("one in Inbox important replied, three in Inbox, two in Junk"));
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestFlags::readFailsAsTheDaemonSays()
{
    startWithPush(QStringLiteral("1"));
    m_daemon->answer(Answer::nextId().completing(902));
    Storage storage;
    flag(storage, {m_one}, QMailMessage::Read);
    verifyFailed(storage.watcher, 1034);
    // Done here, for the next synchronisation to carry.
    QTRY_COMPARE(store(), QByteArray("one in Inbox read, three in Inbox, two in Junk"));
    verifyCarried({QMailFolder::InboxFolder});
}

void TestFlags::readIsDoneWhileTheDaemonIsAbsent()
{
    startWithPush(QStringLiteral("1"));
    m_daemon->vanish();
    Storage storage;
    flag(storage, {m_one}, QMailMessage::Read);
    verifyFailed(storage.watcher, 1037);
    QTRY_COMPARE(store(), QByteArray("one in Inbox read, three in Inbox, two in Junk"));
}

void TestFlags::sentMessageIsRemovedWithoutARecord()
{
    startWithPush(QStringLiteral("1"));
    Storage storage;
    flag(storage, {m_one, m_two}, QMailMessage::Sent, QMailMessage::Outbox);
    verifySucceeded(storage.watcher);
    QTRY_COMPARE(store(), QByteArray("three in Inbox"));
    QCOMPARE(logCount("Deleting send message"), 2);
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestFlags::sentAndReadUnderPushRemovesNothing()
{
    startWithPush(QStringLiteral("1"));
    m_daemon->answer(Answer::nextId().completing(200));
    Storage storage;
    flag(storage, {m_one}, QMailMessage::Sent | QMailMessage::Read, QMailMessage::Outbox);
    verifySucceeded(storage.watcher);
    QTRY_COMPARE(store(), QByteArray("one in Inbox read sent, three in Inbox, two in Junk"));
    QCOMPARE(m_daemon->calls().size(), 1);
}

void TestFlags::pushThatIsSwitchedOnIsSeenByTheRunningServer()
{
    m_daemon->answer(Answer::nextId().completing(200));
    setPush(QStringLiteral("1"));
    const auto carried = [this] {
        Storage storage;
        flag(storage, {m_one}, QMailMessage::Read);
        verifySucceeded(storage.watcher);
        return m_daemon->callCount("syncSpecificFolders") > 0;
    };
    QVERIFY(QTest::qWaitFor(carried, PatienceMs));
}

void TestFlags::refusesNoFlags()
{
    Storage storage;
    flag(storage, {m_one}, 0, 0);
    QVERIFY(storage.watcher.waitForEnd());
    QVERIFY(!storage.watcher.succeeded());
    QCOMPARE(storage.watcher.endCount(), 1);
    QCOMPARE(store(), QByteArray("one in Inbox, three in Inbox, two in Junk"));
}

void TestFlags::refusesNoMessages()
{
    Storage storage;
    flag(storage, {}, QMailMessage::Read);
    verifyEnded(storage.watcher);
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestFlags::deletionIsCarriedToTheServerUnderPush()
{
    startWithPush(QStringLiteral("1"));
    Storage storage;
    storage.action.onlineDeleteMessages({m_one, m_two});
    const auto call = m_daemon->waitForCall("syncSpecificFolders");
    QTRY_COMPARE(store(),
                 QByteArray("one removed from Inbox, three in Inbox, two removed from Junk"));
    succeed(storage, call);
    QCOMPARE(
        call.arguments,
        QVariantList({m_account.toULongLong(),
                      QStringList(QString::number(folder(QMailFolder::TrashFolder).toULongLong())),
                      0, 5}));
    QCOMPARE(m_daemon->calls().size(), 1);
}

void TestFlags::deletionStaysHereWithoutPush_data()
{
    readStaysHereWithoutPush_data();
}

void TestFlags::deletionStaysHereWithoutPush()
{
    QFETCH(QString, push);
    startWithPush(push);
    Storage storage;
    storage.action.onlineDeleteMessages({m_one, m_two});
    verifySucceeded(storage.watcher);
    QTRY_COMPARE(store(),
                 QByteArray("one removed from Inbox, three in Inbox, two removed from Junk"));
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestFlags::deletionOfNothingEnds()
{
    Storage storage;
    storage.action.onlineDeleteMessages({});
    verifyEnded(storage.watcher);
    QCOMPARE(store(), QByteArray("one in Inbox, three in Inbox, two in Junk"));
}

void TestFlags::deletionFailsAsTheDaemonSays()
{
    startWithPush(QStringLiteral("1"));
    m_daemon->answer(Answer::id(-1));
    Storage storage;
    storage.action.onlineDeleteMessages({m_one});
    verifyFailed(storage.watcher, 1037);
    // Done here, and recorded for the next synchronisation.
    QTRY_COMPARE(store(), QByteArray("one removed from Inbox, three in Inbox, two in Junk"));
}

void TestFlags::deletionWithoutATrashFolder()
{
    QVERIFY(m_server->terminate());
    QMailAccount account(m_account);
    account.setStandardFolder(QMailFolder::TrashFolder, QMailFolderId());
    account.setCustomField(QStringLiteral("pushEnabled"), QStringLiteral("1"));
    QVERIFY(QMailStore::instance()->updateAccount(&account));
    QVERIFY(m_server->start());
    m_daemon->answer(Answer::nextId().completing(200));
    Storage storage;
    storage.action.onlineDeleteMessages({m_one});
    verifySucceeded(storage.watcher);
    QCOMPARE(m_daemon->waitForCall("syncSpecificFolders").arguments.value(1),
             QVariant(QStringList(QStringLiteral("0"))));
}

void TestFlags::storeAloneIsNotCarried()
{
    startWithPush(QStringLiteral("1"));
    Storage read;
    read.action.flagMessages({m_one}, QMailMessage::Read, 0);
    verifySucceeded(read.watcher);
    Storage moved;
    moved.action.moveToFolder({m_one}, folder(QMailFolder::JunkFolder));
    verifySucceeded(moved.watcher);
    Storage deleted;
    deleted.action.deleteMessages({m_two});
    verifySucceeded(deleted.watcher);
    settle();
    QCOMPARE(m_daemon->calls().size(), 0);
    // The next export carries all of it, by one synchronisation.
    m_daemon->answer(Answer::nextId().completing(200));
    Retrieval exported;
    exported.action.exportUpdates(m_account);
    verifySucceeded(exported.watcher);
    QCOMPARE(m_daemon->calls().size(), 1);
    QCOMPARE(m_daemon->callCount("sync"), 1);
}

QTEST_GUILESS_MAIN(TestFlags)

#include "tst_flags.moc"
