// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/messageserver/serverfixture.h"

#include "tests/messageserver/actionlist.h"

#include <QTest>

#include <qmailstore.h>

void ServerFixture::initTestCase()
{
    if (!MessageServer::isInstalled())
        QSKIP("messageserver5 is not installed");
    QVERIFY(MessageServer::hasPlugin());
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
    if (!QTest::qWaitFor([&] { return m_server->log().contains(line); }, 15000))
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

void ServerFixture::verifySucceeded(ActionWatcher &watcher, int timeoutMs)
{
    QVERIFY(watcher.waitForEnd(timeoutMs));
    QVERIFY2(watcher.succeeded(), qPrintable(QString::number(watcher.errorCode())));
    QCOMPARE(watcher.endCount(), 1);
}

void ServerFixture::verifyFailed(ActionWatcher &watcher, int code, int timeoutMs)
{
    QVERIFY(watcher.waitForEnd(timeoutMs));
    QVERIFY(!watcher.succeeded());
    QCOMPARE(watcher.errorCode(), code);
    QCOMPARE(watcher.endCount(), 1);
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
    m_daemon->complete(call.requestId, 200);
    verifySucceeded(next.watcher);
    QVERIFY(m_server->isAlive());
    QVERIFY(!m_server->log().contains(QLatin1String("ERROR: AddressSanitizer")));
    QVERIFY(!m_server->log().contains(QLatin1String("runtime error:")));
}

int ServerFixture::logCount(const char *text) const
{
    return m_server->log().count(QLatin1String(text));
}
