// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Calls of the daemon's interface with any arguments, over a real bus to both threads of the daemon
// as they are: each is answered, what it began is ended once, and the mail stays where it is.
#include "asclient/asdbusinterface.h"
#include "daemon/bus/front.h"
#include "daemon/connectengine.h"
#include "daemon/engine/engine.h"
#include "tests/daemon/buslistener.h"
#include "tests/eas/scriptedserver.h"
#include "tests/fuzz/callmaker.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/waited.h"
#include "tests/store/items.h"

#include <QDBusPendingCallWatcher>
#include <qmailstore.h>
#include <QThread>

namespace {

/** More calls of one input wait for one another and find nothing more. */
constexpr int MaximumCalls = 4;
/** A search asks once for each folder, with and without its bounds, and for all of them. */
constexpr int MaximumRequestsOfACall = 16;

StoreFixture::Account accountAt(const ScriptedServer &server)
{
    StoreFixture::Account settings;
    settings.port = server.serverPort();
    return settings;
}

/** The daemon in its two threads, and an account whose server allows nothing. */
class World
{
public:
    World();

    void deliver(const QByteArray &bytes);

private:
    void addMail();
    void begin();
    void checkAnswers(const QList<QDBusMessage> &calls, const QList<QDBusPendingCall> &answers);

    ScriptedServer m_server;
    SyncedAccount m_account;
    QList<quint64> m_known;
    int m_mails = 0;
    Daemon::Engine m_engine;
    Daemon::Front *m_front;
    QThread m_thread;
    BusListener m_listener;
    int m_lastId = 0;
};

World::World()
    : m_account(accountAt(m_server))
    , m_engine(m_account.db)
    , m_front(new Daemon::Front(Daemon::systemClock()))
{
    m_server.setAnswer([](const SeenRequest &request) {
        const bool isGreeting = request.method == "OPTIONS";
        return ScriptedAnswer {isGreeting ? ScriptedServer::options() : ScriptedServer::http(403),
                               false};
    });
    addMail();
    begin();
}

void World::addMail()
{
    Eas::SyncWindow window = Items::window(Items::InboxId, QStringLiteral("2"));
    Eas::MailItem item = Items::item(QStringLiteral("in:1"));
    item.attachments = {Items::attachment(QStringLiteral("plan.pdf"), QStringLiteral("reference"))};
    window.added = {item};
    REQUIRE(m_account.write(window) == Eas::Success);
    const QMailMessageId received = m_account.messages().value(0);
    const QMailMessageId outgoing = StoreFixture::addOutgoing(m_account.id);
    m_known = {m_account.id.toULongLong(), received.toULongLong(), outgoing.toULongLong(),
               m_account.folderId().toULongLong()};
    m_mails = QMailStore::instance()->countMessages();
    REQUIRE(received.isValid() && outgoing.isValid() && m_mails == 2);
}

void World::begin()
{
    m_front->setAccounts(m_engine.accounts());
    Daemon::connectEngine(&m_engine, m_front);
    m_front->moveToThread(&m_thread);
    m_thread.start();
    const auto bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("front"));
    QString error;
    QMetaObject::invokeMethod(
        m_front, [this, bus] { return m_front->start(bus); }, Qt::BlockingQueuedConnection, &error);
    REQUIRE(error.isEmpty());
}

void World::deliver(const QByteArray &bytes)
{
    CallMaker maker(bytes, m_known + QList<quint64> {quint64(m_lastId + 1), quint64(m_lastId + 2)});
    QList<QDBusMessage> calls;
    QList<QDBusPendingCall> answers;
    int answered = 0;
    QObject owner;
    while (!maker.isOver() && calls.size() < MaximumCalls) {
        calls.append(maker.next());
        answers.append(QDBusConnection::sessionBus().asyncCall(calls.last(), 5000));
        auto *watcher = new QDBusPendingCallWatcher(answers.last(), &owner);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &owner,
                         [&answered] { ++answered; });
    }
    REQUIRE(waited([&] { return answered == calls.size(); }));
    checkAnswers(calls, answers);
    REQUIRE(m_server.requests().size() <= calls.size() * MaximumRequestsOfACall);
    REQUIRE(QMailStore::instance()->countMessages() == m_mails);
    m_server.forgetRequests();
    m_listener.clear();
}

void World::checkAnswers(const QList<QDBusMessage> &calls, const QList<QDBusPendingCall> &answers)
{
    QList<int> begun;
    for (int i = 0; i < calls.size(); ++i) {
        const QDBusMessage answer = answers.at(i).reply();
        REQUIRE(answer.errorName() != QLatin1String("org.freedesktop.DBus.Error.NoReply"));
        const int id = answer.arguments().value(0).toInt();
        if (answer.type() != QDBusMessage::ReplyMessage
            || !CallMaker::startsWork(calls.at(i).member()))
            continue;
        REQUIRE(id == -1 || id > m_lastId);
        if (id > 0)
            begun.append(m_lastId = id);
    }
    for (const int id : qAsConst(begun)) {
        REQUIRE(waited([&] { return m_listener.completionsOf(id) > 0; }));
        REQUIRE(m_listener.completionsOf(id) == 1);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static auto *world = new World;
    world->deliver(QByteArray(reinterpret_cast<const char *>(data), int(size)));
    return 0;
}
