// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/messageserver/serverfixture.h"

#include "tests/messageserver/actionlist.h"

#include <qmailstore.h>
#include <QTest>

void ServerFixture::initTestCase()
{
    MessageServer::require();
}

void ServerFixture::init()
{
    m_account = StoreFixture::addAccount();
    StoreFixture::addStandardFolders(m_account);
    fillStore();
    m_daemon = std::make_unique<ScriptedDaemon>();
    m_server = std::make_unique<MessageServer>();
    prepareServer(*m_server);
    QVERIFY(m_server->start());
}

void ServerFixture::cleanup()
{
    if (!QTest::currentTestFailed())
        verifyNextAction();
    m_server.reset();
    m_daemon.reset();
    StoreFixture::clear();
}

void ServerFixture::fillStore() { }

void ServerFixture::prepareServer(MessageServer &) { }

QMailAccountId ServerFixture::addSecondAccount() const
{
    StoreFixture::Account settings;
    settings.name = QStringLiteral("Second");
    const QMailAccountId id = StoreFixture::addAccount(settings);
    const QString line =
        QStringLiteral("Registering service: \"orvmail\" for account: %1\n").arg(id.toULongLong());
    // The line comes before all of the service is there.
    if (!QTest::qWaitFor([&] { return m_server->log().contains(line); }, PatienceMs)
        || !m_server->settle())
        qWarning("the message server did not take the second account");
    return id;
}

QMailFolderId ServerFixture::folder(QMailFolder::StandardFolder kind) const
{
    return QMailAccount(m_account).standardFolder(kind);
}

void ServerFixture::retrieveFolders(Retrieval &retrieval) const
{
    retrieval.action.retrieveFolderList(m_account, QMailFolderId());
}

ScriptedDaemon::Call ServerFixture::startFolders(Retrieval &retrieval)
{
    retrieveFolders(retrieval);
    return m_daemon->waitForCall("folderSync");
}

void ServerFixture::settle()
{
    m_daemon->settle();
    // It asks the server for something on the connection of all our actions.
    ActionList list;
    if (!list.waitUntilReady())
        qWarning("the message server tells no list of actions");
}

void ServerFixture::announceSync()
{
    m_daemon->syncStarted(m_account.toULongLong());
    m_daemon->syncCompleted(m_account.toULongLong());
}

std::unique_ptr<SyncInfoShmWriter> ServerFixture::publishProgress(int permille) const
{
    auto state = std::make_unique<SyncInfoShmWriter>();
    if (!state->publish({m_account.toULongLong(), SyncInfoNode::SyncRunning, permille}))
        qWarning("the daemon's state is not published");
    return state;
}

void ServerFixture::verifyEnded(ActionWatcher &watcher, int timeoutMs)
{
    QVERIFY(watcher.waitForEnd(timeoutMs));
    QCOMPARE(watcher.endCount(), 1);
}

void ServerFixture::verifySucceeded(ActionWatcher &watcher, int timeoutMs)
{
    verifyEnded(watcher, timeoutMs);
    QVERIFY2(watcher.succeeded(), qPrintable(QString::number(watcher.errorCode())));
}

void ServerFixture::verifyFailed(ActionWatcher &watcher, int code, int timeoutMs)
{
    verifyEnded(watcher, timeoutMs);
    QVERIFY(!watcher.succeeded());
    QCOMPARE(watcher.errorCode(), code);
}

void ServerFixture::verifyNextAction()
{
    QVERIFY(m_daemon->appear());
    QVERIFY(m_server->isAlive());
    m_daemon->forgetCalls();
    m_daemon->answer(ScriptedDaemon::Answer::nextId());
    Retrieval next;
    const auto call = startFolders(next);
    QCOMPARE(call.accountId(), m_account.toULongLong());
    succeed(next, call);
    QVERIFY(m_server->isAlive());
    QVERIFY(!m_server->log().contains(QLatin1String("ERROR: AddressSanitizer")));
    QVERIFY(!m_server->log().contains(QLatin1String("runtime error:")));
}

int ServerFixture::logCount(const char *text) const
{
    return m_server->log().count(QLatin1String(text));
}
