// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/download/downloadfile.h"
#include "tests/daemon/daemonfixture.h"
#include "tests/support/smalldisk.h"

#include <QFile>
#include <qmailnamespace.h>
#include <QStorageInfo>
#include <QTest>

#include <memory>

namespace {

bool onSmallDisk = false;

/** A file that takes what a disk has left but for some bytes. */
bool fill(QFile &ballast, qint64 left)
{
    const qint64 size = QStorageInfo(QMail::dataPath()).bytesAvailable() - left;
    return size > 0 && ballast.open(QIODevice::WriteOnly)
        && ballast.write(QByteArray(int(size), 'b')) == size && ballast.flush();
}

} // namespace

/** What becomes of a synchronisation when the mail store's disk is full. Runs on a small disk. */
class TestAsDaemonDiskFull : public DaemonFixture<DaemonWorld>
{
    Q_OBJECT

private slots:
    void init();

    void aFullDiskFailsAndTheNextRunRepeatsTheWindow();
    void anEndlessDownloadLeavesTheStoreItsRoom();

private:
    /** The first Sync request of the last synchronisation. */
    QString window()
    {
        return world().server.requests("Sync").value(0)[QStringLiteral("request")].toString();
    }
};

void TestAsDaemonDiskFull::init()
{
    if (!onSmallDisk)
        QSKIP("a small file system cannot be mounted here");
    DaemonFixture::init();
}

void TestAsDaemonDiskFull::aFullDiskFailsAndTheNextRunRepeatsTheWindow()
{
    QCOMPARE(world().syncAndWait(), 200);
    QFile ballast(QMail::dataPath() + QStringLiteral("ballast"));
    QVERIFY(fill(ballast, 16384));
    world().deliver(20);
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 507);
    QVERIFY(world().daemon.log().contains(QLatin1String("disk full")));
    QCOMPARE(world().messageCount(), 0);
    const QString failed = window();
    QVERIFY(failed.contains(QLatin1String("SyncKey")));

    QVERIFY(ballast.remove());
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(window(), failed);
    QCOMPARE(world().messageCount(), 20);
    QCOMPARE(world().differentSubjects(), 20);
}

void TestAsDaemonDiskFull::anEndlessDownloadLeavesTheStoreItsRoom()
{
    const QByteArray piece(10000, 'x');
    Daemon::DownloadFile file;
    QVERIFY(file.open().ok());
    qint64 written = 0;
    while (file.device()->write(piece) == piece.size() && written < 100 * 1000 * 1000)
        written += piece.size();
    QVERIFY(written > 1000 * 1000 && written < 8 * 1024 * 1024);
    QVERIFY(file.device()->errorString().startsWith(QLatin1String("disk full")));
    QVERIFY(QStorageInfo(QMail::dataPath()).bytesAvailable() >= 2 * 1024 * 1024);
    // The rest of the store works on.
    world().deliver(3);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().messageCount(), 3);
}

int main(int argc, char **argv)
{
    onSmallDisk = mountSmallDisk(qgetenv("QMF_DATA"), "size=8m");
    QCoreApplication app(argc, argv);
    TestAsDaemonDiskFull test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_asdaemondiskfull.moc"
