// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/storeprobe.h"
#include "tests/daemon/storelock.h"
#include "tests/store/items.h"

#include <qmailstore.h>
#include <QProcess>
#include <QTest>

#include <cstdio>
#include <poll.h>
#include <unistd.h>

namespace {

/** This program once more, doing what the argument says until its input ends. */
class OtherProcess
{
public:
    explicit OtherProcess(const QString &what)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QCoreApplication::applicationFilePath(), {what});
    }
    ~OtherProcess() { end(); }
    bool isReady() { return m_process.waitForReadyRead(); }
    int end()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
        return m_process.exitCode();
    }

private:
    QProcess m_process;
};

bool inputEnds()
{
    pollfd input {STDIN_FILENO, POLLIN, 0};
    return poll(&input, 1, 0) != 0;
}

void tellReady()
{
    std::puts("ready");
    std::fflush(stdout);
}

/** Asks without a pause. */
int ask()
{
    tellReady();
    while (!inputEnds())
        Daemon::StoreProbe::isWritable();
    return 0;
}

int lock()
{
    const StoreLock lock;
    if (!lock.isHeld())
        return 1;
    tellReady();
    std::getchar();
    return 0;
}

} // namespace

/** Whether the store can be written, while a mail program writes to it. */
class TestStoreProbe : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void whatAMailProgramRemovesMeanwhileIsRemoved();
    void anotherProcesssLockIsSeenUntilItEnds();
    void ownLockStaysHeld();

private:
    std::unique_ptr<SyncedAccount> m_account;
};

void TestStoreProbe::init()
{
    m_account = std::make_unique<SyncedAccount>();
}

void TestStoreProbe::cleanup()
{
    m_account.reset();
}

void TestStoreProbe::whatAMailProgramRemovesMeanwhileIsRemoved()
{
    const int count = 100;
    QList<Eas::MailItem> items;
    for (int i = 1; i <= count; ++i)
        items.append(Items::item(QString::number(i)));
    QCOMPARE(m_account->write(Items::adding(QStringLiteral("2"), items)), 200);
    OtherProcess daemon(QStringLiteral("--ask"));
    QVERIFY(daemon.isReady());
    for (const QMailMessageId &id : m_account->messages())
        QVERIFY(QMailStore::instance()->removeMessage(id, QMailStore::CreateRemovalRecord));
    QCOMPARE(daemon.end(), 0);
    QCOMPARE(m_account->messages().size(), 0);
    QCOMPARE(QMailStore::instance()->messageRemovalRecords(m_account->id).size(), count);
}

void TestStoreProbe::anotherProcesssLockIsSeenUntilItEnds()
{
    QVERIFY(Daemon::StoreProbe::isWritable());
    OtherProcess other(QStringLiteral("--lock"));
    QVERIFY(other.isReady());
    QVERIFY(!Daemon::StoreProbe::isWritable());
    QCOMPARE(other.end(), 0);
    QVERIFY(Daemon::StoreProbe::isWritable());
}

/** POSIX locks go when any descriptor of the file is closed; the probe must not do that. */
void TestStoreProbe::ownLockStaysHeld()
{
    const StoreLock lock;
    QVERIFY(lock.isHeld());
    Daemon::StoreProbe::isWritable();
    OtherProcess other(QStringLiteral("--lock"));
    QCOMPARE(other.end(), 1);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QString what = application.arguments().value(1);
    if (what == QLatin1String("--ask"))
        return ask();
    if (what == QLatin1String("--lock"))
        return lock();
    TestStoreProbe test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_storeprobe.moc"
