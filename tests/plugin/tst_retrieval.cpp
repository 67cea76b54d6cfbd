// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/attachmentnotifier.h"
#include "plugin/service/clock.h"
#include "plugin/source/orvprogresslistener.h"
#include "tests/plugin/servicefixture.h"

#include <QFileInfo>
#include <QLocalSocket>
#include <qmailmessagesortkey.h>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <unistd.h>

/**
 * Message lists, whole messages and message parts: arguments that the message server never makes,
 * and the life of the listeners. What a client asks for and sees is proved in tests/messageserver.
 */
class TestRetrieval : public QObject
{
    Q_OBJECT

private slots:
    void anInvalidFolderGivesASyncOfTheWholeAccount();
    void anEmptyListOfFoldersIsSentAllTheSame();
    void minimumAndSortNeverReachTheDaemon();
    void theAccountOfTheArgumentIsAskedFor();
    void noMessagesReturnsTrueAndNothingHappens();
    void aPartIsOneDownloadWithAListener();
    void twoRetrievalsOfOnePartLeaveTheSecondListener();
    void theListenerGoesWithAFailedDownload();
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

void TestRetrieval::anEmptyListOfFoldersIsSentAllTheSame()
{
    ServiceFixture f;
    QVERIFY(f.source().retrieveMessageLists(f.account, {}, 20, QMailMessageSortKey()));
    QCOMPARE(f.daemon.calls().value(0).arguments,
             QVariantList({f.account.toULongLong(), QStringList(), 30, 0}));
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
    f.daemon.end(2, 200);
    QCOMPARE(f.spy.completions(), 1);
    QTRY_VERIFY(listeners(f).isEmpty());
}

void TestRetrieval::theListenerGoesWithAFailedDownload()
{
    ServiceFixture f;
    f.source().retrieveMessagePart(location(33, "2"));
    f.source().retrieveMessagePart(location(33, "3"));
    QCOMPARE(listeners(f).count(), 2);
    f.daemon.end(1, 404);
    QTRY_COMPARE(listeners(f).count(), 1);
    f.service->cancelOperation(QMailServiceAction::Status::ErrCancel, QString());
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
    f.daemon.end(1, 200);
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
