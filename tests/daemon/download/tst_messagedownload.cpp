// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/downloadworld.h"

#include <QDir>
#include <qmailstore.h>
#include <QTest>

#include <memory>

/** A whole message comes from the server into the mail store, by the daemon as a process. */
class TestMessageDownload : public DaemonFixture<DownloadWorld>
{
    Q_OBJECT

private slots:
    void everyPartComesByteForByte();
    void headersComeAsTheyAre();
    void idAndFlagsStay();
    void aSynchronisationLeavesADownloadedMessageAlone();
    void aSecondDownloadAsksTheServerNoMore();
    void whatItsAuthorMadeOfADraftIsNotAskedFor();
    void everySampleCanBeDownloaded();
    void aMessageWhoseMoveIsNotConfirmedIsFoundFirst_data();
    void aMessageWhoseMoveIsNotConfirmedIsFoundFirst();
    void aMessageThatIsGoneIsNotFound_data();
    void aMessageThatIsGoneIsNotFound();
    void aBrokenDownloadLeavesTheMessageAndCanBeRepeated_data();
    void aBrokenDownloadLeavesTheMessageAndCanBeRepeated();
    void anAbortedDownloadLeavesTheMessageAndCanBeRepeated();
    void aServerWithoutMimeGivesTheWholeText();
    void aServerThatFailsForAMomentIsAskedAgain();
    void twoWhoWantTheSameMessageGetItAtOnce();
    void itGoesBeforeTheRestOfASynchronisation();
    void nothingIsLeftOfAKilledDownload();

private:
    QStringList leftFiles() const;

    const QString m_subject = QStringLiteral("Parts");
};

QStringList TestMessageDownload::leftFiles() const
{
    return QDir(qEnvironmentVariable("QMF_DATA") + QStringLiteral("/asdaemon-downloads"))
        .entryList(QDir::Files);
}

void TestMessageDownload::everyPartComesByteForByte()
{
    const QList<SourcePart> parts = {
        DownloadWorld::text("Gr\xc3\xbc\xc3\x9f"
                            "e = a line of text\r\nand another one\r\n"),
        DownloadWorld::attachment("a.bin", 300001),
        {"Content-Type: text/html; charset=iso-8859-1\r\n"
         "Content-Disposition: attachment; filename=b.html\r\n",
         "<p>caf\xe9</p>\r\n", true},
        DownloadWorld::attachment("c.bin", 1),
        {"Content-Type: message/rfc822\r\nContent-Disposition: attachment\r\n",
         "Subject: inner\r\n\r\ntext\r\n", false},
    };
    const QMailMessageId id = world().bring(DownloadWorld::mixed(m_subject, parts), m_subject);
    QVERIFY(id.isValid());
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QTRY_VERIFY(QMailMessage(id).status() & QMailMessage::ContentAvailable);
    const QList<QByteArray> contents = DownloadWorld::contents(id);
    QCOMPARE(contents.size(), parts.size());
    for (int i = 0; i < parts.size(); ++i)
        QCOMPARE(contents.at(i), parts.at(i).content);
    QVERIFY(leftFiles().isEmpty());
}

void TestMessageDownload::headersComeAsTheyAre()
{
    const QMailMessageId id = world().bring(
        DownloadWorld::mixed(m_subject, {DownloadWorld::text("Hello\r\n")}), m_subject);
    QVERIFY(QMailMessage(id).headerFieldText(QStringLiteral("X-Odd")).isEmpty());
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QTRY_VERIFY(!QMailMessage(id).headerFieldText(QStringLiteral("X-Odd")).isEmpty());
    const QMailMessage message(id);
    QCOMPARE(message.headerFieldText(QStringLiteral("X-Odd")).trimmed(),
             QStringLiteral("kept as it is"));
    QCOMPARE(message.headerFieldsText(QStringLiteral("Received")).size(), 2);
    QCOMPARE(message.headerFieldText(QStringLiteral("Message-ID")).trimmed(),
             QStringLiteral("<mixed@example.com>"));
    QCOMPARE(message.subject(), m_subject);
    QCOMPARE(message.from().address(), QStringLiteral("carol@example.com"));
    QTRY_COMPARE(QMailMessageMetaData(id).date().toUTC(),
                 QDateTime(QDate(2026, 11, 16), QTime(9, 59, 59), Qt::UTC));
}

void TestMessageDownload::idAndFlagsStay()
{
    const QMailMessageId id = world().bring(
        DownloadWorld::mixed(m_subject, {DownloadWorld::attachment("a.bin", 5000)}), m_subject);
    QMailMessageMetaData before(id);
    before.setStatus(QMailMessage::Read | QMailMessage::Important, true);
    QVERIFY(QMailStore::instance()->updateMessage(&before));
    before = QMailMessageMetaData(id);
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QTRY_VERIFY(QMailMessageMetaData(id).status() & QMailMessage::ContentAvailable);
    const QMailMessageMetaData after(id);
    const quint64 content = QMailMessage::ContentAvailable | QMailMessage::PartialContentAvailable;
    QCOMPARE(after.status() | content, before.status() | content);
    QCOMPARE(after.serverUid(), before.serverUid());
    QCOMPARE(after.parentFolderId(), before.parentFolderId());
    QCOMPARE(after.receivedDate().toUTC(), before.receivedDate().toUTC());
    QCOMPARE(world().messageCount(), 1);
}

void TestMessageDownload::aSynchronisationLeavesADownloadedMessageAlone()
{
    const SourcePart part = DownloadWorld::attachment("a.bin", 5000);
    const QMailMessageId id = world().bring(DownloadWorld::mixed(m_subject, {part}), m_subject);
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    world().changeAtServer("flag", m_subject, {{"read", true}});
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_VERIFY(QMailMessageMetaData(id).status() & QMailMessage::Read);
    QVERIFY(QMailMessageMetaData(id).status() & QMailMessage::ContentAvailable);
    QCOMPARE(DownloadWorld::contents(id), QList<QByteArray>({part.content}));
}

void TestMessageDownload::aSecondDownloadAsksTheServerNoMore()
{
    const QMailMessageId id = world().bring(
        DownloadWorld::mixed(m_subject, {DownloadWorld::text("Hello\r\n")}), m_subject);
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
}

void TestMessageDownload::whatItsAuthorMadeOfADraftIsNotAskedFor()
{
    world().server.deliver(QStringLiteral("alice"), QStringLiteral("Drafts"),
                           DownloadWorld::mixed(m_subject, {DownloadWorld::text("Hello\r\n")}));
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = world().find(m_subject);
    QMailMessage draft(id);
    draft.setBody(QMailMessageBody::fromData(QStringLiteral("of the author"),
                                             QMailMessageContentType("text/plain; charset=UTF-8"),
                                             QMailMessageBody::EightBit));
    QVERIFY(QMailStore::instance()->updateMessage(&draft));
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 0);
    QCOMPARE(QMailMessage(id).body().data(), QStringLiteral("of the author"));
}

void TestMessageDownload::everySampleCanBeDownloaded()
{
    const auto loaded =
        world().server.load(QStringLiteral("alice"), QStringLiteral("Inbox"), EasServer::samples(),
                            QStringLiteral("*.eml"), QDateTime::currentSecsSinceEpoch());
    QVERIFY(loaded.size() > 50);
    QCOMPARE(world().syncAndWait(), 200);
    const auto ids =
        QMailStore::instance()->queryMessages(QMailMessageKey::parentAccountId(world().account));
    QCOMPARE(ids.size(), loaded.size());
    QHash<int, QMailMessageId> requests;
    for (const QMailMessageId &id : ids)
        requests.insert(world().downloadMessage(id), id);
    for (auto it = requests.cbegin(); it != requests.cend(); ++it) {
        const int code = world().codeOf(it.key());
        const QMailMessageMetaData message(*it);
        // A message without a single byte cannot be told from an answer that is wrong.
        const bool isNothing = message.size() == 0;
        QVERIFY2(code == 200 || (isNothing && code == 501), qPrintable(message.subject()));
    }
    QVERIFY(world().daemon.isRunning());
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), loaded.size());
}

void TestMessageDownload::aMessageWhoseMoveIsNotConfirmedIsFoundFirst_data()
{
    QTest::addColumn<bool>("isGone");
    QTest::newRow("it has moved") << false;
    QTest::newRow("another client has removed it since") << true;
}

void TestMessageDownload::aMessageWhoseMoveIsNotConfirmedIsFoundFirst()
{
    QFETCH(bool, isGone);
    const QMailMessageId id = world().bring(
        DownloadWorld::mixed(m_subject, {DownloadWorld::text("Hello\r\n")}), m_subject);
    QVERIFY(world().moveAndLoseTheAnswer(id));
    if (isGone)
        world().changeAtServer("delete", m_subject, {}, QStringLiteral("Trash"));
    QCOMPARE(world().codeOf(world().downloadMessage(id)), isGone ? 404 : 200);
    for (const QJsonObject &request : world().server.requests("ItemOperations"))
        QVERIFY(!request.value(QStringLiteral("request"))
                     .toString()
                     .contains(QStringLiteral("LongId")));
    QCOMPARE(world().server.requestCount("ItemOperations"), isGone ? 0 : 1);
    QCOMPARE(world().messageCount(), isGone ? 0 : 1);
    if (!isGone)
        QTRY_COMPARE(DownloadWorld::contents(id), QList<QByteArray> {"Hello\r\n"});
}

void TestMessageDownload::aMessageThatIsGoneIsNotFound_data()
{
    QTest::addColumn<bool>("isLenient");
    QTest::newRow("and the server says so") << false;
    QTest::newRow("and the server does not say so") << true;
}

void TestMessageDownload::aMessageThatIsGoneIsNotFound()
{
    QFETCH(bool, isLenient);
    const QMailMessageId id = world().bring(
        DownloadWorld::mixed(m_subject, {DownloadWorld::text("Hello\r\n")}), m_subject);
    world().server.control("options", {{QStringLiteral("missing_is_fine"), isLenient}});
    world().changeAtServer("delete", m_subject);
    QCOMPARE(world().codeOf(world().downloadMessage(id), 3000), 404);
    QCOMPARE(world().messageCount(), 1);
}

void TestMessageDownload::aBrokenDownloadLeavesTheMessageAndCanBeRepeated_data()
{
    QTest::addColumn<QJsonObject>("fault");
    QTest::addColumn<int>("code");
    const auto fault = [](const char *kind, const QString &name, const QJsonValue &value) {
        QJsonObject description {{QStringLiteral("kind"), QLatin1String(kind)},
                                 {QStringLiteral("command"), QStringLiteral("ItemOperations")}};
        description[name] = value;
        return description;
    };
    QTest::newRow("cut") << fault("cut", QStringLiteral("bytes"), 100000) << 902;
    QTest::newRow("damaged") << fault("damage", QStringLiteral("how"), QStringLiteral("truncated"))
                             << 501;
    QTest::newRow("no answer of this protocol")
        << fault("rubbish", QStringLiteral("body"), QStringLiteral("<html></html>")) << 501;
    QTest::newRow("refused login") << fault("http", QStringLiteral("status"), 401) << 401;
    QTest::newRow("server full") << fault("http", QStringLiteral("status"), 507) << 507;
}

void TestMessageDownload::aBrokenDownloadLeavesTheMessageAndCanBeRepeated()
{
    QFETCH(QJsonObject, fault);
    QFETCH(int, code);
    const SourcePart part = DownloadWorld::attachment("a.bin", 400000);
    const QMailMessageId id = world().bring(
        DownloadWorld::mixed(m_subject, {DownloadWorld::text("Hello\r\n"), part}), m_subject);
    const QList<QByteArray> before = DownloadWorld::contents(id);
    const quint64 status = QMailMessageMetaData(id).status();
    world().server.fault(fault);
    QCOMPARE(world().codeOf(world().downloadMessage(id)), code);
    QCOMPARE(DownloadWorld::contents(id), before);
    QCOMPARE(QMailMessageMetaData(id).status(), status);
    QVERIFY(leftFiles().isEmpty());
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QTRY_COMPARE(DownloadWorld::contents(id).value(1), part.content);
}

void TestMessageDownload::anAbortedDownloadLeavesTheMessageAndCanBeRepeated()
{
    const SourcePart part = DownloadWorld::attachment("a.bin", 400000);
    const QMailMessageId id = world().bring(DownloadWorld::mixed(m_subject, {part}), m_subject);
    const quint64 status = QMailMessageMetaData(id).status();
    world().server.fault("slow", "ItemOperations", {{"rate", 50000}});
    const int request = world().downloadMessage(id);
    QTRY_COMPARE(world().server.requestCount("ItemOperations"), 1);
    world().proxy.abortRequest(request, 1030, QDBus::Block);
    QCOMPARE(world().codeOf(request, 1000), 1030);
    QCOMPARE(QMailMessageMetaData(id).status(), status);
    QCOMPARE(world().codeOf(world().downloadMessage(id), 5000), 200);
    QTRY_COMPARE(DownloadWorld::contents(id).value(0), part.content);
    QCOMPARE(world().listener.completionsOf(request), 1);
    QVERIFY(leftFiles().isEmpty());
}

void TestMessageDownload::aServerWithoutMimeGivesTheWholeText()
{
    const QByteArray text = QByteArray("A long line of text, and no end of it.\r\n").repeated(3000);
    world().server.deliver(QStringLiteral("alice"), QStringLiteral("Inbox"),
                           "From: c@example.com\r\nSubject: Long\r\n\r\n" + text);
    world().server.control("options", {{QStringLiteral("no_mime"), true}});
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = world().find(QStringLiteral("Long"));
    QVERIFY(!(QMailMessageMetaData(id).status() & QMailMessage::ContentAvailable));
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QTRY_VERIFY(QMailMessageMetaData(id).status() & QMailMessage::ContentAvailable);
    // The store keeps texts with the line ends of this machine.
    QTRY_COMPARE(QMailMessage(id).body().data(QMailMessageBody::Decoded),
                 QByteArray(text).replace("\r\n", "\n"));
}

void TestMessageDownload::aServerThatFailsForAMomentIsAskedAgain()
{
    const QMailMessageId id = world().bring(
        DownloadWorld::mixed(m_subject, {DownloadWorld::text("Hello\r\n")}), m_subject);
    world().server.fault("http", "ItemOperations", {{"status", 503}, {"retry_after", 1}});
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
}

void TestMessageDownload::twoWhoWantTheSameMessageGetItAtOnce()
{
    const QMailMessageId id = world().bring(
        DownloadWorld::mixed(m_subject, {DownloadWorld::text("Hello\r\n")}), m_subject);
    world().server.fault("delay", "ItemOperations", {{"seconds", 20}});
    const int first = world().downloadMessage(id);
    const int second = world().downloadMessage(id);
    const int third = world().downloadMessage(id);
    world().proxy.abortRequest(second, 1030, QDBus::Block);
    QVERIFY(world().faultsAreTaken());
    world().server.endDelays();
    QCOMPARE(world().codeOf(first), 200);
    QCOMPARE(world().codeOf(second), 1030);
    QCOMPARE(world().codeOf(third), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
}

void TestMessageDownload::itGoesBeforeTheRestOfASynchronisation()
{
    const QMailMessageId id = world().bring(
        DownloadWorld::mixed(m_subject, {DownloadWorld::text("Hello\r\n")}), m_subject);
    world().deliver(1000);
    world().server.fault("delay", "Sync", {{"seconds", 20}, {"count", -1}});
    const int sync = world().sync();
    QVERIFY(world().passDelaysUntil([this] { return world().messageCount() > 50; }));
    const int download = world().downloadMessage(id);
    const auto isOver = [&] { return world().listener.codeOf(download) != 0; };
    QVERIFY(world().passDelaysUntil(isOver));
    QCOMPARE(world().listener.codeOf(download), 200);
    QVERIFY(world().messageCount() < 800);
    QCOMPARE(world().listener.codeOf(sync), 0);
    world().server.clearFaults();
    world().server.endDelays();
    QCOMPARE(world().codeOf(sync), 200);
    QCOMPARE(world().messageCount(), 1001);
}

void TestMessageDownload::nothingIsLeftOfAKilledDownload()
{
    const SourcePart part = DownloadWorld::attachment("a.bin", 400000);
    const QMailMessageId id = world().bring(DownloadWorld::mixed(m_subject, {part}), m_subject);
    world().server.fault("slow", "ItemOperations", {{"rate", 50000}});
    QVERIFY(world().downloadMessage(id) > 0);
    QTRY_COMPARE(world().server.requestCount("ItemOperations"), 1);
    world().daemon.kill();
    QVERIFY(!(QMailMessageMetaData(id).status() & QMailMessage::ContentAvailable));
    QVERIFY(world().daemon.start());
    QVERIFY(leftFiles().isEmpty());
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QTRY_COMPARE(DownloadWorld::contents(id).value(0), part.content);
}

QTEST_GUILESS_MAIN(TestMessageDownload)
#include "tst_messagedownload.moc"
