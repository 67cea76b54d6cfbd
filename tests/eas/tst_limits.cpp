// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The bounds of an answer that no other test reaches: what is just beyond is cut, or refused.
#include "eas/fetchattachmentcommand.h"
#include "eas/fetchmessagecommand.h"
#include "eas/foldersynccommand.h"
#include "eas/limits.h"
#include "eas/searchcommand.h"
#include "eas/synccommand.h"
#include "eas/wbxmlreader.h"
#include "tests/eas/sessionfixture.h"
#include "tests/support/folderliteral.h"

#include <QtTest>

using namespace Eas;

namespace {

/** A command whose bound is public. */
template <class Base>
class Open : public Base
{
public:
    using Base::answerLimit;
    using Base::Base;
};

/** Counts what is written to it. */
class Counter : public QIODevice
{
public:
    Counter() { open(WriteOnly | Unbuffered); }
    qint64 bytes = 0;

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 length) override
    {
        bytes += length;
        return length;
    }
};

QByteArray number(quint32 value)
{
    QByteArray bytes(1, char(value & 0x7f));
    while (value >>= 7)
        bytes.prepend(char(0x80 | (value & 0x7f)));
    return bytes;
}

QByteArray element(const QByteArray &name, const QByteArray &text,
                   const QByteArray &attributes = {})
{
    return '<' + name + attributes + '>' + text + "</" + name + '>';
}

QByteArray itemWith(const QByteArray &properties, int id)
{
    return element("Add",
                   element("ServerId", QByteArray::number(id))
                       + element("ApplicationData", properties));
}

QByteArray textOf(qint64 size)
{
    return element("Body", "<Type>1</Type>" + element("Data", QByteArray(int(size), 'x')),
                   " xmlns=\"AirSyncBase:\"");
}

/** What a whole, unlimited synchronisation makes of the commands of a window. */
Result windowOf(const QByteArray &commands, SyncWindow *window)
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<Sync xmlns=\"AirSync:\"><Collections><Collection><SyncKey>k2</SyncKey><CollectionId>a"
        "</CollectionId><Status>1</Status>"
        + element("Commands", commands) + "</Collection></Collections></Sync>"));
    SyncRequest request;
    request.collectionId = "a"_folder;
    request.syncKey = QStringLiteral("k1");
    request.body.truncation = -1;
    SyncCommand command(fixture.session.get(), {request});
    if (!fixture.run(&command, 60000))
        return {Timeout, QStringLiteral("no end")};
    *window = command.windows().value(0);
    return command.result();
}

} // namespace

class TestLimits : public QObject
{
    Q_OBJECT

private slots:
    void eachCommandBoundsItsAnswer();
    void contentOutOfTheStringTableIsBounded();
    void aLongStringTableIsRefusedAtItsLength();
    void opaqueDataBeyondADownloadAreRefusedAtTheirLength();
    void aTextIsCutAtItsBound();
    void textsBeyondWhatIsHeldAreRefused();
    void headerFieldsAreCut();
    void propertiesOfAnAttachmentAreCut();
    void keysAreCut();
    void tooManyItemsAreRefused();
    void tooManySearchResultsAreRefused();
};

void TestLimits::eachCommandBoundsItsAnswer()
{
    Counter target;
    QCOMPARE(Open<FolderSyncCommand>(nullptr, QString()).answerLimit(), Limits::AnswerSize);
    QCOMPARE(Open<SyncCommand>(nullptr, QList<SyncRequest>()).answerLimit(), Limits::DownloadSize);
    QCOMPARE(Open<SearchCommand>(nullptr, SearchRequest()).answerLimit(), Limits::DownloadSize);
    QCOMPARE(Open<FetchMessageCommand>(nullptr, ItemLocator(), &target).answerLimit(),
             Limits::DownloadSize);
    QCOMPARE(Open<FetchAttachmentCommand>(nullptr, QString(), &target).answerLimit(),
             Limits::DownloadSize);
}

void TestLimits::contentOutOfTheStringTableIsBounded()
{
    // ItemOperations, Response, Fetch, Properties; AirSyncBase: Body, Data.
    constexpr int Length = Limits::StringTableSize - 1;
    QByteArray answer = QByteArray::fromHex("03016a") + number(Length + 1) + QByteArray(Length, 'x')
        + '\0' + QByteArray::fromHex("0014454e464b00114a4b");
    const int fitting = int(Limits::DownloadSize / Length);
    answer += QByteArray::fromHex("8300").repeated(fitting + 1);
    answer += QByteArray::fromHex("01010101010101");
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200, answer));
    Counter target;
    FetchMessageCommand command(fixture.session.get(), ItemLocator(), &target);
    QVERIFY(fixture.run(&command, 60000));
    QCOMPARE(command.result().code, int(InvalidAnswer));
    QCOMPARE(target.bytes, qint64(fitting) * Length);
}

void TestLimits::aLongStringTableIsRefusedAtItsLength()
{
    for (const int size : {Limits::StringTableSize, Limits::StringTableSize + 1}) {
        WbxmlReader reader;
        reader.addData(QByteArray::fromHex("03016a") + number(quint32(size)));
        QCOMPARE(reader.readNext() == WbxmlReader::Invalid, size > Limits::StringTableSize);
    }
}

void TestLimits::opaqueDataBeyondADownloadAreRefusedAtTheirLength()
{
    for (const quint32 excess : {0, 1}) {
        WbxmlReader reader;
        reader.addData(QByteArray::fromHex("03016a0045c3")
                       + number(quint32(Limits::DownloadSize) + excess));
        QCOMPARE(reader.readNext(), WbxmlReader::StartElement);
        QCOMPARE(reader.readNext() == WbxmlReader::Invalid, excess > 0);
    }
}

void TestLimits::aTextIsCutAtItsBound()
{
    SyncWindow window;
    const Result result = windowOf(
        itemWith(textOf(Limits::TextSize), 1) + itemWith(textOf(Limits::TextSize + 1), 2), &window);
    QVERIFY2(result.ok(), qPrintable(result.text));
    for (const MailItem &item : qAsConst(window.added))
        QCOMPARE(qint64(item.body->data.size()), Limits::TextSize);
    QVERIFY(!window.added.first().body->truncated && window.added.last().body->truncated);
}

void TestLimits::textsBeyondWhatIsHeldAreRefused()
{
    QByteArray items;
    for (int i = 0; i < 5; ++i)
        items += itemWith(textOf(Limits::HeldSize / 5 + 1), i);
    SyncWindow window;
    QCOMPARE(windowOf(items, &window).code, int(InvalidAnswer));
    QVERIFY(window.added.isEmpty());
}

void TestLimits::headerFieldsAreCut()
{
    const QByteArray text(Limits::HeaderFieldLength + 1, 'x');
    QByteArray properties;
    for (const char *name : {"Subject", "From", "To", "Cc", "Reply-To"})
        properties += element(name, text, " xmlns=\"Email:\"");
    SyncWindow window;
    QVERIFY(windowOf(itemWith(properties, 1), &window).ok());
    const MailItem &item = window.added.first();
    for (const auto &field : {item.subject, item.from, item.to, item.cc, item.replyTo})
        QCOMPARE(field->size(), Limits::HeaderFieldLength);
}

void TestLimits::propertiesOfAnAttachmentAreCut()
{
    const QByteArray text(Limits::AttachmentNameLength + 1, 'x');
    QByteArray properties;
    for (const char *name : {"DisplayName", "ContentId", "ContentLocation"})
        properties += element(name, text);
    SyncWindow window;
    QVERIFY(windowOf(itemWith(element("Attachments", element("Attachment", properties),
                                      " xmlns=\"AirSyncBase:\""),
                              1),
                     &window)
                .ok());
    const Attachment attachment = window.added.first().attachments->first();
    QCOMPARE(attachment.displayName.size(), Limits::AttachmentNameLength);
    QCOMPARE(attachment.contentId.size(), Limits::AttachmentNameLength);
    QCOMPARE(attachment.contentLocation.size(), Limits::AttachmentNameLength);
}

void TestLimits::keysAreCut()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        element("FolderSync",
                "<Status>1</Status>" + element("SyncKey", QByteArray(Limits::KeyLength + 1, 'k')),
                " xmlns=\"FolderHierarchy:\"")));
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(command.changes().syncKey.size(), Limits::KeyLength);
}

void TestLimits::tooManyItemsAreRefused()
{
    SyncWindow window;
    const QByteArray item = element("Delete", "<ServerId>1</ServerId>");
    QVERIFY(windowOf(item.repeated(Limits::Items), &window).ok());
    QCOMPARE(window.removed.size(), Limits::Items);
    QCOMPARE(windowOf(item.repeated(Limits::Items + 1), &window).code, int(InvalidAnswer));
    QVERIFY(window.removed.isEmpty());
}

void TestLimits::tooManySearchResultsAreRefused()
{
    SessionFixture fixture;
    for (const int count : {Limits::SearchResults, Limits::SearchResults + 1}) {
        fixture.server.enqueue(ScriptedServer::document(
            "<Search xmlns=\"Search:\"><Status>1</Status><Response><Store><Status>1</Status>"
            + QByteArray("<Result><LongId>1</LongId></Result>").repeated(count)
            + "</Store></Response></Search>"));
        SearchCommand command(fixture.session.get(), SearchRequest());
        QVERIFY(fixture.run(&command));
        QCOMPARE(command.result().ok(), count <= Limits::SearchResults);
        QVERIFY(command.hits().size() <= Limits::SearchResults);
    }
}

QTEST_GUILESS_MAIN(TestLimits)
#include "tst_limits.moc"
