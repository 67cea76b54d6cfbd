// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/attachmentnotifier.h"
#include "plugin/service/clock.h"
#include "plugin/source/orvprogresslistener.h"
#include "tests/plugin/servicefixture.h"

#include <QFileInfo>
#include <QLocalSocket>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <qmailmessagesortkey.h>

#include <unistd.h>

/** Message lists, whole messages and message parts. */
class TestRetrieval : public QObject
{
    Q_OBJECT

private slots:
    void aMessageListIsOneFolderSyncOfContentTypeZero();
    void messageListsAreOneFolderSyncOfContentType30();
    void theSameFolderGoesWithTheSameTextAndAnotherContentType();
    void anInvalidFolderGivesASyncOfTheWholeAccount();
    void anInvalidFolderSoonAfterASyncGivesNoRequest();
    void anEmptyListOfFoldersIsSentAllTheSame();
    void duplicatesAndInvalidIdsArePassedOn();
    void minimumAndSortNeverReachTheDaemon();
    void theAccountOfTheArgumentIsAskedFor();
    void newMessagesAreRetrievedAsMessageLists();
    void noMessagesReturnsTrueAndNothingHappens();
    void threeMessagesAreThreeDownloadsInOrderWhateverTheSpecification_data();
    void threeMessagesAreThreeDownloadsInOrderWhateverTheSpecification();
    void aPartIsOneDownloadWithAListener();
    void twoRetrievalsOfOnePartLeaveTheSecondListener();
    void theListenerGoesWithItsDownload();
    void theListenerGoesWithAFailedDownload();
    void aDaemonThatDiesInMidDownloadDoesNotKeepTheActionForEver();
    void aRefusedDownloadLeavesNoListener();
    void aListenerThatFinishedTwiceIsForgottenOnce();
    void aNullListenerIsIgnored();
    void theListenerGoesWithADownloadThatThePollEnds();

private:
    static QList<OrvProgressListener *> listeners(ServiceFixture &f)
    {
        return f.source().findChildren<OrvProgressListener *>();
    }
};

namespace {

QMailMessagePart::Location location(quint64 message, const char *part)
{
    QMailMessagePart::Location location(QString::fromLatin1(part));
    location.setContainingMessageId(QMailMessageId(message));
    return location;
}

} // namespace

void TestRetrieval::aMessageListIsOneFolderSyncOfContentTypeZero()
{
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(
        f.source().retrieveMessageList(f.account, QMailFolderId(12), 20, QMailMessageSortKey()));
    QCOMPARE(f.spy.take(), texts({"status retrieving messages list", "progress 0/1000"}));
    const QStringList lines = log.takeLines();
    QCOMPARE(lines.first(), QStringLiteral("retrieving messages list for folder 12"));
    QCOMPARE(lines.last(),
             QStringLiteral("result =  1 for AccountId= %1").arg(f.account.toULongLong()));
    const auto calls = f.daemon.calls();
    QCOMPARE(calls.count(), 1);
    QCOMPARE(calls.first().method, QStringLiteral("syncSpecificFolders"));
    QCOMPARE(calls.first().arguments,
             QVariantList({f.account.toULongLong(), QStringList(QStringLiteral("12")), 0, 0}));
}

void TestRetrieval::messageListsAreOneFolderSyncOfContentType30()
{
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(f.source().retrieveMessageLists(
        f.account, {QMailFolderId(14), QMailFolderId(12), QMailFolderId(13)}, 20,
        QMailMessageSortKey()));
    QCOMPARE(f.spy.take(), texts({"progress 0/1000"}));
    QCOMPARE(log.takeLines().first(),
             QStringLiteral("retrieving messages list for folders in account %1")
                 .arg(f.account.toULongLong()));
    const auto calls = f.daemon.calls();
    QCOMPARE(calls.count(), 1);
    QCOMPARE(calls.first().arguments,
             QVariantList({f.account.toULongLong(), texts({"14", "12", "13"}), 30, 0}));
    f.daemon.complete(1, 200);
    f.daemon.settle();
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
}

void TestRetrieval::theSameFolderGoesWithTheSameTextAndAnotherContentType()
{
    ServiceFixture f;
    f.source().retrieveMessageList(f.account, QMailFolderId(12), 0, QMailMessageSortKey());
    f.source().retrieveMessageLists(f.account, {QMailFolderId(12)}, 0, QMailMessageSortKey());
    const auto calls = f.daemon.calls("syncSpecificFolders");
    QCOMPARE(calls.at(0).arguments.at(1), calls.at(1).arguments.at(1));
    QCOMPARE(calls.at(0).arguments.at(2).toInt(), 0);
    QCOMPARE(calls.at(1).arguments.at(2).toInt(), 30);
}

void TestRetrieval::anInvalidFolderGivesASyncOfTheWholeAccount()
{
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(f.source().retrieveMessageList(f.account, QMailFolderId(), 20, QMailMessageSortKey()));
    QVERIFY(
        log.takeLines().contains(QStringLiteral("folder id is invalid. Retrieving all messages")));
    QCOMPARE(f.daemon.calls().count(), 1);
    QCOMPARE(f.daemon.callCount("sync"), 1);
    QCOMPARE(f.spy.take(), texts({"status retrieving messages list", "progress 0/1000"}));
}

void TestRetrieval::anInvalidFolderSoonAfterASyncGivesNoRequest()
{
    Clock::setSource([]() -> qint64 { return 1700000000000; });
    ServiceFixture f;
    f.source().synchronize(f.account);
    f.daemon.complete(1, 200);
    f.daemon.settle();
    f.spy.take();
    f.daemon.forgetCalls();
    QVERIFY(f.source().retrieveMessageList(f.account, QMailFolderId(), 20, QMailMessageSortKey()));
    QTRY_COMPARE(f.spy.completions(), 1);
    QCOMPARE(f.daemon.calls().count(), 0);
    Clock::setSource(nullptr);
}

void TestRetrieval::anEmptyListOfFoldersIsSentAllTheSame()
{
    ServiceFixture f;
    QVERIFY(f.source().retrieveMessageLists(f.account, {}, 20, QMailMessageSortKey()));
    QCOMPARE(f.daemon.calls().value(0).arguments,
             QVariantList({f.account.toULongLong(), QStringList(), 30, 0}));
}

void TestRetrieval::duplicatesAndInvalidIdsArePassedOn()
{
    ServiceFixture f;
    f.source().retrieveMessageLists(f.account,
                                    {QMailFolderId(12), QMailFolderId(), QMailFolderId(12)}, 20,
                                    QMailMessageSortKey());
    QCOMPARE(f.daemon.calls().value(0).arguments.value(1).toStringList(), texts({"12", "0", "12"}));
}

void TestRetrieval::minimumAndSortNeverReachTheDaemon()
{
    ServiceFixture f;
    const QMailFolderId folder(12);
    for (const uint minimum : {0u, 1u, 4000000000u}) {
        for (const QMailMessageSortKey &sort :
             {QMailMessageSortKey(), QMailMessageSortKey::subject()}) {
            f.source().retrieveMessageList(f.account, folder, minimum, sort);
            f.source().retrieveMessageLists(f.account, {folder}, minimum, sort);
        }
    }
    const auto calls = f.daemon.calls();
    QCOMPARE(calls.count(), 12);
    for (int i = 0; i < calls.count(); ++i)
        QCOMPARE(calls.at(i).arguments, calls.at(i % 2).arguments);
}

void TestRetrieval::theAccountOfTheArgumentIsAskedFor()
{
    ServiceFixture f;
    f.source().retrieveMessageList(QMailAccountId(77), QMailFolderId(12), 0, QMailMessageSortKey());
    f.source().retrieveMessageLists(QMailAccountId(78), {}, 0, QMailMessageSortKey());
    const auto calls = f.daemon.calls("syncSpecificFolders");
    QCOMPARE(calls.value(0).accountId(), 77ull);
    QCOMPARE(calls.value(1).accountId(), 78ull);
}

void TestRetrieval::newMessagesAreRetrievedAsMessageLists()
{
    ServiceFixture f;
    QMailMessageSource &base = f.service->source();
    QVERIFY(base.retrieveNewMessages(f.account, {QMailFolderId(12)}));
    QCOMPARE(f.daemon.calls("syncSpecificFolders").value(0).arguments,
             QVariantList({f.account.toULongLong(), QStringList(QStringLiteral("12")), 30, 0}));
}

void TestRetrieval::noMessagesReturnsTrueAndNothingHappens()
{
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(f.source().retrieveMessages({}, QMailRetrievalAction::MetaData));
    f.daemon.settle();
    QCOMPARE(f.spy.take(), QStringList());
    QCOMPARE(log.takeLines(), QStringList());
    QCOMPARE(f.daemon.calls().count(), 0);
}

void TestRetrieval::threeMessagesAreThreeDownloadsInOrderWhateverTheSpecification_data()
{
    QTest::addColumn<int>("wanted");
    QTest::newRow("flags") << int(QMailRetrievalAction::Flags);
    QTest::newRow("meta data") << int(QMailRetrievalAction::MetaData);
    QTest::newRow("content") << int(QMailRetrievalAction::Content);
    QTest::newRow("auto") << int(QMailRetrievalAction::Auto);
}

void TestRetrieval::threeMessagesAreThreeDownloadsInOrderWhateverTheSpecification()
{
    QFETCH(int, wanted);
    ServiceFixture f;
    LogRecorder log;
    const QList<quint64> ids {32, 30, 31};
    QVERIFY(
        f.source().retrieveMessages({QMailMessageId(32), QMailMessageId(30), QMailMessageId(31)},
                                    QMailRetrievalAction::RetrievalSpecification(wanted)));
    const auto calls = f.daemon.calls();
    QCOMPARE(calls.count(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(calls.at(i).method, QStringLiteral("downloadMessage"));
        QCOMPARE(calls.at(i).arguments, QVariantList({f.account.toULongLong(), ids.at(i)}));
    }
    const QStringList lines = log.takeLines();
    QCOMPARE(lines.filter(QStringLiteral("Retrieving message ")),
             texts({"Retrieving message 32", "Retrieving message 30", "Retrieving message 31"}));
    QVERIFY(lines.contains(QStringLiteral("result =  3")));
    for (int id = 3; id >= 1; --id) {
        QCOMPARE(f.spy.completions(), 0);
        f.daemon.complete(id, 200);
        f.daemon.settle();
    }
    QCOMPARE(f.spy.completions(), 1);
}

void TestRetrieval::aPartIsOneDownloadWithAListener()
{
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(f.source().retrieveMessagePart(location(33, "2.1")));
    QCOMPARE(f.daemon.calls().count(), 1);
    const auto call = f.daemon.calls().first();
    QCOMPARE(call.method, QStringLiteral("downloadAttachment"));
    QCOMPARE(call.arguments, QVariantList({f.account.toULongLong(), 33ull, QStringLiteral("2.1")}));
    const QStringList lines = log.takeLines();
    QCOMPARE(lines.first(), QStringLiteral("Retrieving message part at \"2.1\" msg 33"));
    QCOMPARE(lines.last(),
             QStringLiteral("result =  1 for Account  %1").arg(f.account.toULongLong()));
    const QString path =
        Activesync::attachmentDowloadNotifierPath(QStringLiteral("33"), QStringLiteral("2.1"));
    QCOMPARE(listeners(f).count(), 1);
    QCOMPARE(listeners(f).first()->path(), path);
    // Nobody else gets at the socket: it is in a folder that is the user's alone.
    const QFileInfo folder(QFileInfo(path).absolutePath());
    QVERIFY(QFileInfo::exists(path));
    QVERIFY(folder.ownerId() == ::getuid());
    QVERIFY(!(folder.permissions()
              & (QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther
                 | QFile::WriteOther | QFile::ExeOther)));
}

void TestRetrieval::twoRetrievalsOfOnePartLeaveTheSecondListener()
{
    ServiceFixture f;
    f.source().retrieveMessagePart(location(33, "2"));
    const QPointer<OrvProgressListener> first = listeners(f).value(0);
    QVERIFY(first);
    LogRecorder log;
    f.source().retrieveMessagePart(location(33, "2"));
    QVERIFY(!first);
    QCOMPARE(listeners(f).count(), 1);
    // The name was still taken when the second one was made.
    QCOMPARE(log.takeWarnings().count(), 1);
    f.daemon.complete(1, 200);
    f.daemon.complete(2, 200);
    f.daemon.settle();
    QCOMPARE(f.spy.completions(), 1);
    QTRY_VERIFY(listeners(f).isEmpty());
}

void TestRetrieval::theListenerGoesWithItsDownload()
{
    ServiceFixture f;
    f.source().retrieveMessagePart(location(33, "2"));
    const QString path = listeners(f).first()->path();
    f.daemon.complete(1, 200);
    f.daemon.settle();
    QTRY_VERIFY(listeners(f).isEmpty());
    QVERIFY(!QFileInfo::exists(path));
    // The map is empty as well: the next retrieval replaces nothing and listens.
    LogRecorder log;
    f.source().retrieveMessagePart(location(33, "2"));
    QCOMPARE(log.takeWarnings(), QStringList());
    QVERIFY(QFileInfo::exists(path));
}

void TestRetrieval::theListenerGoesWithAFailedDownload()
{
    ServiceFixture f;
    f.source().retrieveMessagePart(location(33, "2"));
    f.source().retrieveMessagePart(location(33, "3"));
    QCOMPARE(listeners(f).count(), 2);
    f.daemon.complete(1, 404);
    f.daemon.settle();
    QTRY_COMPARE(listeners(f).count(), 1);
    f.service->cancelOperation(QMailServiceAction::Status::ErrCancel, QString());
    QTRY_VERIFY(listeners(f).isEmpty());
}

void TestRetrieval::aDaemonThatDiesInMidDownloadDoesNotKeepTheActionForEver()
{
    ServiceFixture f;
    QSignalSpy progress(f.service.get(), SIGNAL(progressChanged(uint, uint)));
    f.source().retrieveMessagePart(location(33, "2"));
    QLocalSocket daemon;
    daemon.connectToServer(listeners(f).first()->path());
    const qint32 percent = 97;
    daemon.write(reinterpret_cast<const char *>(&percent), sizeof percent);
    daemon.flush();
    QTRY_COMPARE(progress.last().first().toInt(), 97);
    daemon.abort();
    f.daemon.vanish();
    QTRY_VERIFY(listeners(f).isEmpty());
    f.tick(3);
    QCOMPARE(f.spy.completions(), 0);
    f.tick();
    QCOMPARE(f.spy.completions(), 1);
}

void TestRetrieval::aRefusedDownloadLeavesNoListener()
{
    ServiceFixture f;
    f.daemon.answer(ScriptedDaemon::Answer::id(-1));
    QVERIFY(f.source().retrieveMessagePart(location(33, "2")));
    QCOMPARE(f.spy.takeOutcome(), texts({"error 1037", "completed false"}));
    QTRY_VERIFY(listeners(f).isEmpty());
}

void TestRetrieval::aListenerThatFinishedTwiceIsForgottenOnce()
{
    ServiceFixture f;
    f.source().retrieveMessagePart(location(33, "2"));
    const QPointer<OrvProgressListener> listener = listeners(f).value(0);
    listener->onDisconnected();
    listener->onDisconnected();
    QVERIFY(listener);
    f.deleteDeferred();
    QVERIFY(!listener);
    f.daemon.complete(1, 200);
    f.daemon.settle();
    QCOMPARE(f.spy.completions(), 1);
}

void TestRetrieval::aNullListenerIsIgnored()
{
    ServiceFixture f;
    f.source().addListener(nullptr);
    QCOMPARE(f.spy.take(), QStringList());
}

/** Left behind, it would keep the progress of the next download from ever being full. */
void TestRetrieval::theListenerGoesWithADownloadThatThePollEnds()
{
    ServiceFixture f;
    f.source().retrieveMessagePart(location(7, "2"));
    f.daemon.answerAlive(0);
    f.scheduler().checkRequests(f.service->daemon());
    QTRY_VERIFY(listeners(f).isEmpty());
    f.source().retrieveMessagePart(location(8, "2"));
    QLocalSocket daemon;
    daemon.connectToServer(listeners(f).value(0)->path());
    QVERIFY(daemon.waitForConnected());
    const qint32 percent = 40;
    daemon.write(reinterpret_cast<const char *>(&percent), sizeof percent);
    QStringList told;
    QTRY_VERIFY((told += f.spy.take()).contains(QStringLiteral("progress 40/100")));
    // The daemon dies, and with it its end of the socket.
    daemon.abort();
    QTRY_VERIFY(listeners(f).isEmpty());
    f.daemon.vanish();
    f.spy.take();
    f.tick(70);
    QCOMPARE(f.spy.completions(), 1);
}

QTEST_GUILESS_MAIN(TestRetrieval)

#include "tst_retrieval.moc"
