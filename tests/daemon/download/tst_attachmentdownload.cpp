// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/attachmentnotifier.h"
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/downloadworld.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QTest>

#include <memory>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/** The receiving end of a part's progress. */
class Listener : public QLocalServer
{
public:
    explicit Listener(const QString &path)
    {
        connect(this, &QLocalServer::newConnection, this, &Listener::take);
        m_clock.start();
        listen(path);
    }

    /** Takes connections, and reads nothing. */
    void ignore() { m_ignores = true; }
    /** Hangs up at the first record. */
    void hangUp() { m_hangsUp = true; }

    int connections() const { return m_connections; }
    bool isOver() const { return m_connections > 0 && m_ended == m_connections; }
    QList<int> values() const { return m_values; }
    /** The most records within one second. */
    int maximumInOneSecond() const
    {
        int most = 0;
        for (int first = 0, last = 0; last < m_times.size(); ++last) {
            while (m_times.at(last) - m_times.at(first) >= 1000)
                ++first;
            most = qMax(most, last - first + 1);
        }
        return most;
    }

private:
    void take()
    {
        QLocalSocket *socket = nextPendingConnection();
        ++m_connections;
        connect(socket, &QLocalSocket::disconnected, this, [this] { ++m_ended; });
        if (m_ignores)
            socket->setReadBufferSize(1);
        else
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { read(socket); });
    }

    void read(QLocalSocket *socket)
    {
        qint32 value = 0;
        while (socket->bytesAvailable() >= qint64(sizeof value)) {
            socket->read(reinterpret_cast<char *>(&value), sizeof value);
            m_values.append(value);
            m_times.append(m_clock.elapsed());
            if (m_hangsUp) {
                socket->abort();
                return;
            }
        }
    }

    QElapsedTimer m_clock;
    QList<int> m_values;
    QList<qint64> m_times;
    int m_connections = 0;
    int m_ended = 0;
    bool m_ignores = false;
    bool m_hangsUp = false;
};

/** A local socket that accepts no connection and whose queue is full. */
class BusyPlace
{
public:
    explicit BusyPlace(const QString &path)
        : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
        const auto *any = reinterpret_cast<const sockaddr *>(&address);
        m_listens = ::bind(m_socket, any, sizeof address) == 0 && ::listen(m_socket, 0) == 0;
        m_waiting.connectToServer(path);
    }
    ~BusyPlace() { ::close(m_socket); }
    bool isFull() const { return m_listens && m_waiting.state() == QLocalSocket::ConnectedState; }

private:
    const int m_socket;
    bool m_listens = false;
    QLocalSocket m_waiting;
};

} // namespace

/** One part of a message comes from the server into the mail store. */
class TestAttachmentDownload : public DaemonFixture<DownloadWorld>
{
    Q_OBJECT

private slots:
    void aPartComesByteForByte();
    void theLastMissingPartMakesTheMessageComplete();
    void progressIsToldAndTheConnectionClosed();
    void progressIsToldNoMoreThanTwentyTimesASecond();
    void aSizeThatIsNotKnownIsNoProgress();
    void aListenerDoesNotHoldUpTheDownload_data();
    void aListenerDoesNotHoldUpTheDownload();
    void aSecondListenerOfTheSameDownloadIsServed();
    void aPartThatIsHereIsASuccessAtOnce();
    void aPartOfADownloadedMessageIsASuccessAtOnce();
    void theRestOfATextComesWithTheMessage();
    void aPartThatDoesNotExistIsNotFound();
    void anAttachmentOfAMessageThatMovedIsFound();
    void anAttachmentIsFoundThoughTheMoveIsNotConfirmed();
    void aReferenceThatIsNotValidAnyMoreIsAskedForAgain_data();
    void aReferenceThatIsNotValidAnyMoreIsAskedForAgain();
    void whatMayBeAnotherMessagesIsNotTaken();
    void whatMayBeAnotherFoldersIsNotTaken_data();
    void whatMayBeAnotherFoldersIsNotTaken();
    void anAttachmentThatIsGoneIsNotFound_data();
    void anAttachmentThatIsGoneIsNotFound();
    void aBrokenDownloadLeavesTheMessageAndCanBeRepeated_data();
    void aBrokenDownloadLeavesTheMessageAndCanBeRepeated();
    void anAbortedDownloadLeavesTheMessageAndCanBeRepeated();
    void memoryDoesNotGrowWithTheAttachment();

private:
    QMailMessageId bring(const QList<SourcePart> &parts);
    QString path(const QMailMessageId &id, const QString &location = QStringLiteral("2")) const
    {
        return Activesync::attachmentDowloadNotifierPath(QString::number(id.toULongLong()),
                                                         location);
    }
    void slowDown(int rate) { world().server.fault("slow", "ItemOperations", {{"rate", rate}}); }
    /** Moves it, and has the server hear of that. */
    void moveToTrash(const QMailMessageId &id);
    /** Whether the message is as a synchronisation brought it. */
    bool isUntouched(const QMailMessageId &id) const;

    const QString m_subject = QStringLiteral("Parts");
    const QString m_second = QStringLiteral("2");
};

QMailMessageId TestAttachmentDownload::bring(const QList<SourcePart> &parts)
{
    const QList<SourcePart> all = QList<SourcePart>({DownloadWorld::text("Hello\r\n")}) + parts;
    return world().bring(DownloadWorld::mixed(m_subject, all), m_subject);
}

bool TestAttachmentDownload::isUntouched(const QMailMessageId &id) const
{
    return !DownloadWorld::isHere(id, m_second) && DownloadWorld::isHere(id, QStringLiteral("1"))
        && !(QMailMessageMetaData(id).status() & QMailMessage::ContentAvailable);
}

void TestAttachmentDownload::moveToTrash(const QMailMessageId &id)
{
    // Of the database: this process's copy may be older.
    const auto uid = [&id] {
        const QMailMessageMetaDataList found = QMailStore::instance()->messagesMetaData(
            QMailMessageKey::id(id), QMailMessageKey::ServerUid);
        return found.isEmpty() ? QString() : found.first().serverUid();
    };
    const QString before = uid();
    QMailDisconnected::moveToFolder(
        {id}, QMailAccount(world().account).standardFolder(QMailFolder::TrashFolder));
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(uid() != before);
}

void TestAttachmentDownload::aPartComesByteForByte()
{
    const SourcePart part = DownloadWorld::attachment("a.bin", 300001);
    const QMailMessageId id = bring({part, DownloadWorld::attachment("b.bin", 20)});
    QVERIFY(isUntouched(id));
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QTRY_VERIFY(DownloadWorld::isHere(id, m_second));
    QCOMPARE(DownloadWorld::content(id, m_second), part.content);
    QVERIFY(!DownloadWorld::isHere(id, QStringLiteral("3")));
    QVERIFY(!(QMailMessageMetaData(id).status() & QMailMessage::ContentAvailable));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(DownloadWorld::content(id, m_second), part.content);
}

void TestAttachmentDownload::theLastMissingPartMakesTheMessageComplete()
{
    const SourcePart a = DownloadWorld::attachment("a.bin", 3000);
    const SourcePart b = DownloadWorld::attachment("b.bin", 4000);
    const QMailMessageId id = bring({a, b});
    const int first = world().downloadPart(id, m_second);
    const int second = world().downloadPart(id, QStringLiteral("3"));
    QCOMPARE(world().codeOf(first), 200);
    QCOMPARE(world().codeOf(second), 200);
    QTRY_VERIFY(QMailMessageMetaData(id).status() & QMailMessage::ContentAvailable);
    QCOMPARE(DownloadWorld::contents(id).mid(1), QList<QByteArray>({a.content, b.content}));
}

void TestAttachmentDownload::progressIsToldAndTheConnectionClosed()
{
    const QMailMessageId id = bring({DownloadWorld::attachment("a.bin", 600000)});
    Listener listener(path(id));
    QVERIFY(listener.isListening());
    slowDown(600000);
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QTRY_VERIFY(listener.isOver());
    QCOMPARE(listener.connections(), 1);
    const QList<int> values = listener.values();
    QVERIFY2(values.size() >= 5, qPrintable(QString::number(values.size())));
    QVERIFY(std::is_sorted(values.cbegin(), values.cend()));
    QVERIFY(values.first() >= 0 && values.first() < 30);
    QCOMPARE(values.last(), 100);
}

void TestAttachmentDownload::progressIsToldNoMoreThanTwentyTimesASecond()
{
    const QMailMessageId id = bring({DownloadWorld::attachment("a.bin", 1500000)});
    Listener listener(path(id));
    slowDown(1000000);
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QTRY_VERIFY(listener.isOver());
    QVERIFY2(listener.maximumInOneSecond() <= 20,
             qPrintable(QString::number(listener.maximumInOneSecond())));
    QVERIFY2(listener.values().size() >= 15, qPrintable(QString::number(listener.values().size())));
}

void TestAttachmentDownload::aSizeThatIsNotKnownIsNoProgress()
{
    const QMailMessageId id = bring({DownloadWorld::attachment("empty.bin", 0)});
    Listener listener(path(id));
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QTRY_VERIFY(listener.isOver());
    QCOMPARE(listener.values(), QList<int>({-1, 100}));
}

void TestAttachmentDownload::aListenerDoesNotHoldUpTheDownload_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind :
         {"absent", "does not read", "hangs up", "a stale file", "does not take"})
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

void TestAttachmentDownload::aListenerDoesNotHoldUpTheDownload()
{
    QFETCH(QString, kind);
    const SourcePart part = DownloadWorld::attachment("a.bin", 300000);
    const QMailMessageId id = bring({part});
    std::unique_ptr<Listener> listener;
    std::unique_ptr<BusyPlace> busy;
    if (kind == QLatin1String("a stale file")) {
        QFile file(path(id));
        QVERIFY(file.open(QIODevice::WriteOnly));
    } else if (kind == QLatin1String("does not take")) {
        busy = std::make_unique<BusyPlace>(path(id));
        QVERIFY(busy->isFull());
    } else if (kind != QLatin1String("absent")) {
        listener = std::make_unique<Listener>(path(id));
        QVERIFY(listener->isListening());
    }
    if (kind == QLatin1String("does not read"))
        listener->ignore();
    if (kind == QLatin1String("hangs up"))
        listener->hangUp();
    slowDown(300000);
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second), 5000), 200);
    QTRY_COMPARE(DownloadWorld::content(id, m_second), part.content);
    QFile::remove(path(id));
}

void TestAttachmentDownload::aSecondListenerOfTheSameDownloadIsServed()
{
    const QMailMessageId id = bring({DownloadWorld::attachment("a.bin", 600000)});
    auto first = std::make_unique<Listener>(path(id));
    slowDown(300000);
    const int one = world().downloadPart(id, m_second);
    QTRY_VERIFY(!first->values().isEmpty());
    first.reset();
    Listener second(path(id));
    QVERIFY(second.isListening());
    const int two = world().downloadPart(id, m_second);
    QCOMPARE(world().codeOf(one), 200);
    QCOMPARE(world().codeOf(two), 200);
    QTRY_VERIFY(second.isOver());
    QCOMPARE(second.values().last(), 100);
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
}

void TestAttachmentDownload::aPartThatIsHereIsASuccessAtOnce()
{
    const QMailMessageId id = bring({DownloadWorld::attachment("a.bin", 3000)});
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QCOMPARE(world().codeOf(world().downloadPart(id, QStringLiteral("1"))), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
}

void TestAttachmentDownload::aPartOfADownloadedMessageIsASuccessAtOnce()
{
    const SourcePart part = DownloadWorld::attachment("a.bin", 3000);
    const QMailMessageId id = bring({part});
    QCOMPARE(world().codeOf(world().downloadMessage(id)), 200);
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
    QTRY_COMPARE(DownloadWorld::content(id, m_second), part.content);
}

void TestAttachmentDownload::theRestOfATextComesWithTheMessage()
{
    const QByteArray text = QByteArray("A line of a long text.\r\n").repeated(20000);
    const SourcePart part = DownloadWorld::attachment("a.bin", 3000);
    const QMailMessageId id = world().bring(
        DownloadWorld::mixed(m_subject, {DownloadWorld::text(text), part}), m_subject);
    const QString first = QStringLiteral("1");
    QVERIFY(DownloadWorld::content(id, first).size() < text.size());
    QVERIFY(!DownloadWorld::isHere(id, first));
    Listener listener(path(id, first));
    QCOMPARE(world().codeOf(world().downloadPart(id, first)), 200);
    QTRY_COMPARE(DownloadWorld::content(id, first), text);
    QVERIFY(DownloadWorld::isHere(id, first));
    QCOMPARE(DownloadWorld::content(id, m_second), part.content);
    QTRY_VERIFY(listener.isOver());
    QCOMPARE(listener.values().last(), 100);
}

void TestAttachmentDownload::aPartThatDoesNotExistIsNotFound()
{
    const QMailMessageId id = bring({DownloadWorld::attachment("a.bin", 3000)});
    for (const char *location : {"3", "2.1", "0", "", "x", "-1", "99999999999999999999", "1.1.1.1"})
        QCOMPARE(world().codeOf(world().downloadPart(id, QString::fromLatin1(location))), 404);
    QCOMPARE(world().server.requestCount("ItemOperations"), 0);
    QVERIFY(isUntouched(id));
}

void TestAttachmentDownload::anAttachmentOfAMessageThatMovedIsFound()
{
    // Servers change what they call an attachment when its message moves.
    const SourcePart first = DownloadWorld::attachment("same.bin", 3000);
    const SourcePart second = DownloadWorld::attachment("same.bin", 4000);
    const QMailMessageId id = bring({first, second});
    moveToTrash(id);
    for (const bool isSecond : {true, false}) {
        const QString location = QString::number(isSecond ? 3 : 2);
        QCOMPARE(world().codeOf(world().downloadPart(id, location)), 200);
        QTRY_COMPARE(DownloadWorld::content(id, location),
                     isSecond ? second.content : first.content);
    }
}

void TestAttachmentDownload::anAttachmentIsFoundThoughTheMoveIsNotConfirmed()
{
    const SourcePart part = DownloadWorld::attachment("a.bin", 3000);
    const QMailMessageId id = bring({part});
    QVERIFY(world().moveAndLoseTheAnswer(id));
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QTRY_COMPARE(DownloadWorld::content(id, m_second), part.content);
    for (const QJsonObject &request : world().server.requests("ItemOperations"))
        QVERIFY(!request.value(QStringLiteral("request"))
                     .toString()
                     .contains(QStringLiteral("LongId")));
}

void TestAttachmentDownload::aReferenceThatIsNotValidAnyMoreIsAskedForAgain_data()
{
    QTest::addColumn<bool>("isLenient");
    QTest::addColumn<bool>("isCut");
    QTest::newRow("the server does not know it") << false << false;
    QTest::newRow("it does not say so") << true << false;
    QTest::newRow("half an answer") << false << true;
}

/** The server has changed what it calls all attachments. */
void TestAttachmentDownload::aReferenceThatIsNotValidAnyMoreIsAskedForAgain()
{
    QFETCH(bool, isLenient);
    QFETCH(bool, isCut);
    const SourcePart part = DownloadWorld::attachment("a.bin", 3000);
    const QMailMessageId id = bring({part});
    world().server.control("options",
                           {{QStringLiteral("named_references"), true},
                            {QStringLiteral("missing_is_fine"), isLenient}});
    if (isCut)
        world().server.fault("damage", "ItemOperations", {{"how", QStringLiteral("truncated")}});
    world().server.clearLog();
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QTRY_COMPARE(DownloadWorld::content(id, m_second), part.content);
    QCOMPARE(world().server.requestCount("ItemOperations"), 3);
}

void TestAttachmentDownload::whatMayBeAnotherMessagesIsNotTaken()
{
    // The server gives each message the id that was another's, by which it calls attachments, too.
    const SourcePart part = DownloadWorld::attachment("a.bin", 3000);
    const SourcePart other = DownloadWorld::attachment("a.bin", 4000);
    const QMailMessageId id = bring({part});
    const QString subject = QStringLiteral("Another");
    const QMailMessageId another = world().bring(
        DownloadWorld::mixed(subject, {DownloadWorld::text("Hello"), other}), subject);
    QVERIFY(another.isValid());
    world().server.control(
        "renumber",
        {{QStringLiteral("user"), QStringLiteral("alice")}, {QStringLiteral("folders"), false}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QTRY_COMPARE(DownloadWorld::content(id, m_second), part.content);
    QCOMPARE(world().codeOf(world().downloadPart(another, m_second)), 200);
    QTRY_COMPARE(DownloadWorld::content(another, m_second), other.content);
}

void TestAttachmentDownload::whatMayBeAnotherFoldersIsNotTaken_data()
{
    QTest::addColumn<bool>("movedBefore");
    QTest::addColumn<bool>("movedAfter");
    QTest::newRow("the message stays in the renamed folder") << false << false;
    QTest::newRow("it was moved before the folder was renamed") << true << false;
    QTest::newRow("it was moved out of the renamed folder") << false << true;
}

/** The server calls attachments by the names of folders, and a new folder has a former one's. */
void TestAttachmentDownload::whatMayBeAnotherFoldersIsNotTaken()
{
    QFETCH(bool, movedBefore);
    QFETCH(bool, movedAfter);
    const QString user = QStringLiteral("alice");
    const QString name = QStringLiteral("Projects");
    world().server.control("options", {{QStringLiteral("named_references"), true}});
    const auto bringThere = [&](const QString &subject, const SourcePart &part) {
        world().createFolder(name);
        world().server.deliver(user, name,
                               DownloadWorld::mixed(subject, {DownloadWorld::text("Hello"), part}));
        return world().syncAndWait() == 200 ? world().find(subject) : QMailMessageId();
    };
    const SourcePart part = DownloadWorld::attachment("a.bin", 3000);
    const SourcePart other = DownloadWorld::attachment("a.bin", 4000);
    const QMailMessageId id = bringThere(m_subject, part);
    QVERIFY(id.isValid());
    if (movedBefore)
        moveToTrash(id);
    world().server.control("folder-rename",
                           {{QStringLiteral("user"), user},
                            {QStringLiteral("folder"), name},
                            {QStringLiteral("target"), QStringLiteral("Projects 2025")}});
    const QMailMessageId another = bringThere(QStringLiteral("Another"), other);
    QVERIFY(another.isValid());
    if (movedAfter)
        moveToTrash(id);
    world().server.clearLog();
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QTRY_COMPARE(DownloadWorld::content(id, m_second), part.content);
    // What the server calls it now is asked for first.
    QCOMPARE(world().server.requestCount("ItemOperations"), 2);
    QCOMPARE(world().codeOf(world().downloadPart(another, m_second)), 200);
    QTRY_COMPARE(DownloadWorld::content(another, m_second), other.content);
    QCOMPARE(world().server.requestCount("ItemOperations"), 3);
}

void TestAttachmentDownload::anAttachmentThatIsGoneIsNotFound_data()
{
    QTest::addColumn<bool>("isLenient");
    QTest::newRow("and the server says so") << false;
    QTest::newRow("and the server does not say so") << true;
}

void TestAttachmentDownload::anAttachmentThatIsGoneIsNotFound()
{
    QFETCH(bool, isLenient);
    const QMailMessageId id = bring({DownloadWorld::attachment("a.bin", 3000)});
    world().server.control("options", {{QStringLiteral("missing_is_fine"), isLenient}});
    world().changeAtServer("delete", m_subject);
    Listener listener(path(id));
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second), 3000), 404);
    QVERIFY(isUntouched(id));
    QTRY_VERIFY(listener.isOver());
    QVERIFY(!listener.values().contains(100));
}

void TestAttachmentDownload::aBrokenDownloadLeavesTheMessageAndCanBeRepeated_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<int>("code");
    const auto row = [](const char *kind, const char *name, const QJsonValue &value, int code) {
        QTest::newRow(kind) << QString::fromLatin1(kind) << QString::fromLatin1(name) << value
                            << code;
    };
    row("cut", "bytes", 100000, 902);
    row("damage", "how", QStringLiteral("truncated"), 501);
    row("reset", "late", true, 902);
    row("http", "status", 403, 403);
    row("status", "status", 5, 403);
}

void TestAttachmentDownload::aBrokenDownloadLeavesTheMessageAndCanBeRepeated()
{
    QFETCH(QString, kind);
    QFETCH(QString, name);
    QFETCH(QJsonValue, value);
    QFETCH(int, code);
    const SourcePart part = DownloadWorld::attachment("a.bin", 400000);
    const QMailMessageId id = bring({part});
    world().server.fault({{QStringLiteral("kind"), kind},
                          {QStringLiteral("command"), QStringLiteral("ItemOperations")},
                          {QStringLiteral("count"), -1},
                          {name, value}});
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), code);
    QVERIFY(isUntouched(id));
    world().server.clearFaults();
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second)), 200);
    QTRY_COMPARE(DownloadWorld::content(id, m_second), part.content);
}

void TestAttachmentDownload::anAbortedDownloadLeavesTheMessageAndCanBeRepeated()
{
    const SourcePart part = DownloadWorld::attachment("a.bin", 400000);
    const QMailMessageId id = bring({part});
    Listener listener(path(id));
    slowDown(50000);
    const int request = world().downloadPart(id, m_second);
    QTRY_VERIFY(listener.values().size() > 1);
    world().proxy.abortRequest(request, 1030, QDBus::Block);
    QCOMPARE(world().codeOf(request, 1000), 1030);
    QTRY_VERIFY(listener.isOver());
    QVERIFY(!listener.values().contains(100));
    QVERIFY(isUntouched(id));
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second), 5000), 200);
    QTRY_COMPARE(DownloadWorld::content(id, m_second), part.content);
}

/** ORVMAIL_ATTACHMENT_MIB makes it larger than a test needs. */
void TestAttachmentDownload::memoryDoesNotGrowWithTheAttachment()
{
    const int size = qMax(1, qEnvironmentVariableIntValue("ORVMAIL_ATTACHMENT_MIB") << 20);
    const SourcePart part = DownloadWorld::attachment("big.bin", qMax(size, 32 << 20));
    const QString folder = qEnvironmentVariable("ORVMAIL_TEST_PLACE");
    QFile file(folder + QStringLiteral("/big.eml"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(DownloadWorld::mixed(m_subject, {DownloadWorld::text("Hello\r\n"), part}));
    file.close();
    world().server.load(QStringLiteral("alice"), QStringLiteral("Inbox"), folder,
                        QStringLiteral("big.eml"), QDateTime::currentSecsSinceEpoch());
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = world().find(m_subject);
    Listener listener(path(id));
    world().peakMemory();
    const qint64 before = world().peakMemory();
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(world().codeOf(world().downloadPart(id, m_second), 280000), 200);
    const qint64 elapsed = timer.elapsed();
    const qint64 extra = world().peakMemory() - before;
    qInfo("%d MiB in %lld ms, %lld KiB of extra memory", part.content.size() >> 20, elapsed, extra);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    QVERIFY2(extra < 12 * 1024, qPrintable(QString::number(extra)));
#endif
    QTRY_VERIFY(DownloadWorld::isHere(id, m_second));
    QVERIFY(DownloadWorld::content(id, m_second) == part.content);
    QTRY_VERIFY(listener.isOver());
    QVERIFY2(listener.maximumInOneSecond() <= 20,
             qPrintable(QString::number(listener.maximumInOneSecond())));
    QVERIFY(file.remove());
}

QTEST_GUILESS_MAIN(TestAttachmentDownload)
#include "tst_attachmentdownload.moc"
