// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Every request that the protocol library can make, in every version that it speaks, held against
// what the protocol allows: the table of tests/easserver. A command that is not made here is
// noticed.
#include "eas/fetchattachmentcommand.h"
#include "eas/fetchmessagecommand.h"
#include "eas/foldersynccommand.h"
#include "eas/moveitemscommand.h"
#include "eas/optionscommand.h"
#include "eas/pingcommand.h"
#include "eas/provisioncommand.h"
#include "eas/searchcommand.h"
#include "eas/sendmailcommand.h"
#include "eas/settingscommand.h"
#include "eas/synccommand.h"
#include "eas/wipeacknowledgecommand.h"
#include "tests/eas/sessionfixture.h"
#include "tests/support/folderliteral.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace Eas;

namespace {

const FolderId Folder = "mail%2Falice0001"_folder;
const FolderId Other = "mail%2Falice00012"_folder;
const QString Item = QStringLiteral("12");
const QByteArray Mail = "From: a@b.test\r\nTo: c@d.test\r\nSubject: x\r\n\r\ny\r\n";

/** Bodies in every form, whole and cut, with and without a preview. */
QList<BodyPreference> bodies()
{
    QList<BodyPreference> found;
    for (const BodyType type : {PlainText, Html, Mime}) {
        for (const int truncation : {-1, 0, 200, 1000000}) {
            for (const int preview : {0, 1000}) {
                BodyPreference one;
                one.type = type;
                one.truncation = truncation;
                one.preview = preview;
                found << one;
            }
        }
    }
    return found;
}

QJsonObject recorded(const SeenRequest &request)
{
    QJsonObject headers;
    for (auto one = request.headers.begin(); one != request.headers.end(); ++one)
        headers[QString::fromLatin1(one.key())] = QString::fromLatin1(one.value());
    return {{QStringLiteral("method"), QString::fromLatin1(request.method)},
            {QStringLiteral("target"), QString::fromLatin1(request.target)},
            {QStringLiteral("headers"), headers},
            {QStringLiteral("body"), QString::fromLatin1(request.body.toBase64())}};
}

} // namespace

class TestRequests : public QObject
{
    Q_OBJECT

private slots:
    void everyRequestIsAllowed_data();
    void everyRequestIsAllowed();
    void everyCommandWasMade();

private:
    void makeAll(SessionFixture *fixture);
    void syncs(SessionFixture *fixture);
    void fetches(SessionFixture *fixture);
    void searches(SessionFixture *fixture);
    void sendings(SessionFixture *fixture);
    void others(SessionFixture *fixture);
    template <typename Made, typename... Arguments>
    void make(SessionFixture *fixture, const Arguments &...arguments);

    /** Class names of the commands that were made, in lower case, as their files are called. */
    QSet<QString> m_made;
};

/** Sends one request; what is answered to it does not matter. */
template <typename Made, typename... Arguments>
void TestRequests::make(SessionFixture *fixture, const Arguments &...arguments)
{
    Made command(fixture->session.get(), arguments...);
    const int before = fixture->server.requests().size();
    fixture->server.enqueue(ScriptedServer::http(500));
    QVERIFY(fixture->run(&command));
    QCOMPARE(fixture->server.requests().size(), before + 1);
    const QString name = QString::fromLatin1(command.metaObject()->className());
    m_made << name.section(QStringLiteral("::"), -1).toLower();
}

void TestRequests::syncs(SessionFixture *fixture)
{
    SyncRequest first;
    first.collectionId = Folder;
    first.syncKey = QStringLiteral("0");
    make<SyncCommand>(fixture, QList<SyncRequest> {first});
    SyncRequest next = first;
    next.syncKey = QStringLiteral("{1}2");
    QList<SyncRequest> all;
    for (const BodyPreference &body : bodies()) {
        next.body = body;
        next.collectionId = FolderId(Folder.text() + QString::number(all.size()));
        next.getChanges = all.size() % 2;
        next.deletesAsMoves = all.size() % 3;
        next.windowSize = all.size() * 50;
        next.filter = FilterType(all.size() % 6);
        all << next;
    }
    make<SyncCommand>(fixture, all);
    next.changed << LocalChange {Item, true, {}} << LocalChange {Item, {}, FlagStatus::Active}
                 << LocalChange {Item, false, FlagStatus::Clear};
    next.deleted << Item;
    make<SyncCommand>(fixture, QList<SyncRequest> {next, first});
    next.changed.clear();
    make<SyncCommand>(fixture, QList<SyncRequest> {next});
}

void TestRequests::fetches(SessionFixture *fixture)
{
    QBuffer target;
    target.open(QIODevice::WriteOnly);
    for (const ItemLocator &locator :
         {ItemLocator {Folder, Item, {}}, ItemLocator {{}, {}, QStringLiteral("long+1")}}) {
        for (const BodyPreference &body : bodies()) {
            FetchMessageCommand command(fixture->session.get(), locator, &target);
            command.setBodyPreference(body);
            fixture->server.enqueue(ScriptedServer::http(500));
            QVERIFY(fixture->run(&command));
        }
        make<FetchMessageCommand>(fixture, locator, &target);
    }
    make<FetchAttachmentCommand>(fixture, QStringLiteral("att%2F1"), &target);
}

void TestRequests::searches(SessionFixture *fixture)
{
    SearchRequest request;
    request.freeText = QStringLiteral("grüße & 'mehr'");
    make<SearchCommand>(fixture, request);
    request.receivedAfter = QDateTime(QDate(2026, 3, 4), QTime(5, 6, 7, 8), Qt::UTC);
    make<SearchCommand>(fixture, request);
    request.receivedBefore = QDateTime(QDate(2026, 3, 5), QTime(1, 0), Qt::OffsetFromUTC, 3600);
    request.collectionId = Folder;
    request.first = 100;
    request.last = 199;
    for (const BodyPreference &body : bodies()) {
        request.body = body;
        make<SearchCommand>(fixture, request);
    }
    request.freeText.clear();
    make<SearchCommand>(fixture, request);
}

void TestRequests::sendings(SessionFixture *fixture)
{
    OutgoingMail outgoing;
    outgoing.size = Mail.size();
    outgoing.clientId = QString(40, QLatin1Char('c'));
    outgoing.open = [] {
        auto device = std::make_unique<QBuffer>();
        device->setData(Mail);
        device->open(QIODevice::ReadOnly);
        return device;
    };
    for (const auto kind : {OutgoingMail::Plain, OutgoingMail::Reply, OutgoingMail::Forward}) {
        for (const ItemLocator &original :
             {ItemLocator {Folder, Item, {}}, ItemLocator {{}, {}, QStringLiteral("long+1")}}) {
            for (const bool yes : {true, false}) {
                outgoing.kind = kind;
                outgoing.original = original;
                outgoing.replaceMime = yes;
                make<SendMailCommand>(fixture, outgoing);
            }
        }
    }
}

void TestRequests::others(SessionFixture *fixture)
{
    make<OptionsCommand>(fixture);
    make<FolderSyncCommand>(fixture, QStringLiteral("0"));
    make<FolderSyncCommand>(fixture, QStringLiteral("{1}2"));
    make<MoveItemsCommand>(fixture,
                           QList<MoveRequest> {{Item, Folder, Other}, {Item, Other, Folder}});
    make<PingCommand>(fixture, 480, QList<FolderId> {Folder, Other});
    make<SettingsCommand>(fixture);
    make<WipeAcknowledgeCommand>(fixture, true);
    make<WipeAcknowledgeCommand>(fixture, false);
    make<ProvisionCommand>(fixture);
    SessionState state = fixture->session->state();
    state.policyKey = QStringLiteral("4294967295");
    fixture->session->setState(state);
    make<ProvisionCommand>(fixture, state.policyKey);
}

void TestRequests::makeAll(SessionFixture *fixture)
{
    others(fixture);
    syncs(fixture);
    fetches(fixture);
    searches(fixture);
    sendings(fixture);
}

void TestRequests::everyRequestIsAllowed_data()
{
    QTest::addColumn<QByteArray>("version");
    for (const char *version : {"12.1", "14.0", "14.1"})
        QTest::newRow(version) << QByteArray(version);
}

void TestRequests::everyRequestIsAllowed()
{
    if (QStandardPaths::findExecutable(QStringLiteral("python3")).isEmpty())
        QSKIP("python3 is not installed");
    QFETCH(QByteArray, version);
    SessionFixture fixture(version);
    makeAll(&fixture);
    QVERIFY(fixture.server.requests().size() > 90);
    const QTemporaryDir place;
    QFile file(place.filePath(QStringLiteral("requests")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    for (const SeenRequest &request : fixture.server.requests())
        file.write(QJsonDocument(recorded(request)).toJson(QJsonDocument::Compact) + '\n');
    file.close();
    QProcess check;
    check.setProcessChannelMode(QProcess::MergedChannels);
    check.start(QStringLiteral("python3"),
                {QStringLiteral("-B"), QStringLiteral(EASSERVER_DIRECTORY "/check_requests.py"),
                 file.fileName()});
    QVERIFY(check.waitForFinished(60000));
    const QByteArray told = check.readAll();
    puts(told.constData());
    QVERIFY2(check.exitCode() == 0, "see the lines that begin with VIOLATION");
    QVERIFY(told.contains("SmartForward"));
}

void TestRequests::everyCommandWasMade()
{
    SessionFixture fixture;
    makeAll(&fixture);
    const QDir sources(QStringLiteral(EAS_SOURCE_DIRECTORY));
    const QStringList headers = sources.entryList({QStringLiteral("*command.h")});
    QVERIFY(headers.size() > 10);
    for (const QString &header : headers) {
        const QString name = header.chopped(2);
        if (name != QLatin1String("command"))
            QVERIFY2(m_made.contains(name), qPrintable(header + QStringLiteral(": not made here")));
    }
}

QTEST_GUILESS_MAIN(TestRequests)
#include "tst_requests.moc"
