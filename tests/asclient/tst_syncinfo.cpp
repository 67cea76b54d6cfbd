// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/syncinfoshmreader.h"
#include "asclient/syncinfoshmwriter.h"
#include "asclient/syncinfotable.h"
#include "tests/asclient/statepattern.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int TableSize = sizeof(SyncInfoTable);

/** A writer in a process of its own; killed when it goes out of scope. */
class OtherProcess
{
public:
    OtherProcess(const QString &path, const char *mode)
    {
        m_process.start(QStringLiteral(STATE_WRITER), {path, QLatin1String(mode)});
        if (!m_process.waitForReadyRead(10000))
            m_process.kill();
    }
    ~OtherProcess() { kill(); }

    bool isReady() const { return m_process.state() == QProcess::Running; }
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
};

SyncInfoNode running(qulonglong accountId, int progress)
{
    SyncInfoNode node;
    node.accountId = accountId;
    node.syncState = SyncInfoNode::SyncRunning;
    node.progress = progress;
    return node;
}

} // namespace

class TestSyncInfo : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void readsNothingWhereNoStateIs();
    void readsWhatWasPublished();
    void readsZerosForAnUnknownAccount();
    void takesAccountsOfAnyNumber();
    void boundsTheProgress();
    void refusesTheAccountZero();
    void refusesMoreAccountsThanItHolds();
    void picksTheStateUpWhenItAppears();
    void followsTheNextWriter();
    void neverSeesHalfOfAnUpdate();
    void readsNothingOfAKilledWriter();
    void takesTheRemainsOfAKilledWriterOver();
    void readsNothingAfterTheWritersEnd();
    void leavesNoFileBehind();
    void refusesASecondWriter();
    void readersHoldNoWriterUp();
    void shunsAFileOfTheWrongSize_data();
    void shunsAFileOfTheWrongSize();
    void shunsADamagedHeader_data();
    void shunsADamagedHeader();
    void bearsNoise();
    void bearsNoiseBehindAGoodHeader();
    void boundsADamagedProgress();
    void bearsTruncationWhileItReads();
    void bearsReplacementWhileItReads();
    void shunsWhatIsNoFile_data();
    void shunsWhatIsNoFile();
    void shunsAFileOfAnotherUser();
    void saysWhyItCannotWrite();
    void meetsInTheRuntimeDirectory();

private:
    QString path() const { return m_folder->filePath(QStringLiteral("state")); }
    QByteArray goodContent() const;
    void put(const QByteArray &content) const;
    bool readsNothing(SyncInfoShmReader &reader, qulonglong accountId = 7) const;

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestSyncInfo::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void TestSyncInfo::cleanup()
{
    m_folder.reset();
}

/** The file of a writer that has published account 7. */
QByteArray TestSyncInfo::goodContent() const
{
    const QString place = m_folder->filePath(QStringLiteral("good"));
    SyncInfoShmWriter writer(place);
    writer.publish(running(7, 500));
    QFile file(place);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no file of the writer");
    return file.readAll();
}

void TestSyncInfo::put(const QByteArray &content) const
{
    QFile file(path());
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path()));
}

bool TestSyncInfo::readsNothing(SyncInfoShmReader &reader, qulonglong accountId) const
{
    SyncInfoNode node = running(99, 99);
    return !reader.fill(node, accountId) && node.accountId == 0 && node.syncState == 0
        && node.progress == 0;
}

void TestSyncInfo::readsNothingWhereNoStateIs()
{
    SyncInfoShmReader reader(path());
    QVERIFY(readsNothing(reader));
    SyncInfoShmReader nowhere {QString()};
    QVERIFY(readsNothing(nowhere));
}

void TestSyncInfo::readsWhatWasPublished()
{
    SyncInfoShmWriter writer(path());
    QVERIFY2(writer.isOpen(), qPrintable(writer.errorString()));
    SyncInfoShmReader reader(path());
    SyncInfoNode node;
    for (int progress : {0, 1, 500, 999, 1000, 3}) {
        QVERIFY(writer.publish(running(7, progress)));
        QVERIFY(reader.fill(node, 7));
        QCOMPARE(node.accountId, qulonglong(7));
        QCOMPARE(node.syncState, 2);
        QCOMPARE(node.progress, progress);
    }
    SyncInfoNode idle;
    idle.accountId = 7;
    QVERIFY(writer.publish(idle));
    QVERIFY(reader.fill(node, 7));
    QCOMPARE(node.syncState, 0);
    QCOMPARE(node.progress, 0);
}

void TestSyncInfo::readsZerosForAnUnknownAccount()
{
    SyncInfoShmWriter writer(path());
    QVERIFY(writer.publish(running(7, 500)));
    SyncInfoShmReader reader(path());
    QVERIFY(readsNothing(reader, 8));
    QVERIFY(readsNothing(reader, 0));
}

void TestSyncInfo::takesAccountsOfAnyNumber()
{
    SyncInfoShmWriter writer(path());
    SyncInfoShmReader reader(path());
    SyncInfoNode node;
    for (qulonglong id : {1ull, 0xffffffffull, 0x200000000ull, 0xffffffffffffffffull}) {
        QVERIFY(writer.publish(running(id, int(id % 1000))));
        QVERIFY(reader.fill(node, id));
        QCOMPARE(node.accountId, id);
        QCOMPARE(node.progress, int(id % 1000));
    }
}

void TestSyncInfo::boundsTheProgress()
{
    SyncInfoShmWriter writer(path());
    SyncInfoShmReader reader(path());
    SyncInfoNode node;
    writer.publish(running(7, 1001));
    QVERIFY(reader.fill(node, 7));
    QCOMPARE(node.progress, 1000);
    writer.publish(running(7, -1));
    QVERIFY(reader.fill(node, 7));
    QCOMPARE(node.progress, 0);
    QCOMPARE(node.syncState, 2);
}

void TestSyncInfo::refusesTheAccountZero()
{
    SyncInfoShmWriter writer(path());
    QVERIFY(!writer.publish(running(0, 500)));
}

void TestSyncInfo::refusesMoreAccountsThanItHolds()
{
    SyncInfoShmWriter writer(path());
    for (quint32 id = 1; id <= SyncInfoTable::Capacity; ++id)
        QVERIFY(writer.publish(running(id, int(id % 1000))));
    QVERIFY(!writer.publish(running(SyncInfoTable::Capacity + 1, 1)));
    QVERIFY(writer.publish(running(SyncInfoTable::Capacity, 17)));
    SyncInfoShmReader reader(path());
    SyncInfoNode node;
    QVERIFY(reader.fill(node, SyncInfoTable::Capacity));
    QCOMPARE(node.progress, 17);
    QVERIFY(readsNothing(reader, SyncInfoTable::Capacity + 1));
}

void TestSyncInfo::picksTheStateUpWhenItAppears()
{
    SyncInfoShmReader reader(path());
    QVERIFY(readsNothing(reader));
    SyncInfoShmWriter writer(path());
    QVERIFY(readsNothing(reader));
    writer.publish(running(7, 500));
    SyncInfoNode node;
    QVERIFY(reader.fill(node, 7));
    QCOMPARE(node.progress, 500);
}

void TestSyncInfo::followsTheNextWriter()
{
    SyncInfoShmReader reader(path());
    SyncInfoNode node;
    for (int progress : {100, 200, 300}) {
        SyncInfoShmWriter writer(path());
        QVERIFY2(writer.isOpen(), qPrintable(writer.errorString()));
        QVERIFY(readsNothing(reader));
        writer.publish(running(7, progress));
        QVERIFY(reader.fill(node, 7));
        QCOMPARE(node.progress, progress);
    }
}

void TestSyncInfo::neverSeesHalfOfAnUpdate()
{
    OtherProcess writer(path(), "hammer");
    QVERIFY(writer.isReady());
    SyncInfoShmReader reader(path());
    QSet<int> seen;
    int read = 0;
    const QDeadlineTimer deadline(30000);
    // Enough to tell that both ran at the same time, and a good while longer.
    while ((read < 200000 || seen.size() < 500) && !deadline.hasExpired()) {
        const qulonglong id = read % 4 ? 1 : 1 + qulonglong(read / 4) % HammeredAccounts;
        SyncInfoNode node;
        ++read;
        if (!reader.fill(node, id))
            continue;
        seen.insert(node.progress);
        QCOMPARE(node.accountId, id);
        QVERIFY(node.progress >= 0 && node.progress <= 1000);
        QCOMPARE(node.syncState, stateOf(id, node.progress));
    }
    QVERIFY2(read >= 200000 && seen.size() >= 500, qPrintable(QString::number(seen.size())));
}

void TestSyncInfo::readsNothingOfAKilledWriter()
{
    SyncInfoShmReader before(path());
    OtherProcess writer(path(), "hold");
    SyncInfoNode node;
    QVERIFY(before.fill(node, 7));
    QCOMPARE(node.syncState, 2);
    QCOMPARE(node.progress, 500);
    writer.kill();
    QVERIFY(QFile::exists(path()));
    QVERIFY(readsNothing(before));
    SyncInfoShmReader after(path());
    QVERIFY(readsNothing(after));
}

void TestSyncInfo::takesTheRemainsOfAKilledWriterOver()
{
    OtherProcess dead(path(), "hold");
    SyncInfoShmReader reader(path());
    SyncInfoNode node;
    QVERIFY(reader.fill(node, 7));
    dead.kill();
    SyncInfoShmWriter writer(path());
    QVERIFY2(writer.isOpen(), qPrintable(writer.errorString()));
    QVERIFY(readsNothing(reader));
    QVERIFY(writer.publish(running(8, 20)));
    QVERIFY(readsNothing(reader));
    QVERIFY(reader.fill(node, 8));
    QCOMPARE(node.progress, 20);
}

void TestSyncInfo::readsNothingAfterTheWritersEnd()
{
    SyncInfoShmReader reader(path());
    {
        SyncInfoShmWriter writer(path());
        writer.publish(running(7, 500));
        SyncInfoNode node;
        QVERIFY(reader.fill(node, 7));
    }
    QVERIFY(readsNothing(reader));
}

void TestSyncInfo::leavesNoFileBehind()
{
    {
        SyncInfoShmWriter writer(path());
        QVERIFY(QFile::exists(path()));
    }
    QVERIFY(!QFile::exists(path()));
}

void TestSyncInfo::refusesASecondWriter()
{
    OtherProcess first(path(), "hold");
    SyncInfoShmReader reader(path());
    SyncInfoNode node;
    {
        SyncInfoShmWriter second(path());
        QVERIFY(!second.isOpen());
        QVERIFY(second.errorString().contains(QLatin1String("another process")));
        QVERIFY(!second.publish(running(7, 1)));
        QVERIFY(reader.fill(node, 7));
    }
    QVERIFY(reader.fill(node, 7));
    QCOMPARE(node.progress, 500);
}

void TestSyncInfo::readersHoldNoWriterUp()
{
    SyncInfoShmReader reader(path());
    SyncInfoNode node;
    {
        SyncInfoShmWriter writer(path());
        writer.publish(running(7, 500));
        QVERIFY(reader.fill(node, 7));
    }
    // The reader still has the old file in memory.
    SyncInfoShmWriter next(path());
    QVERIFY2(next.isOpen(), qPrintable(next.errorString()));
}

void TestSyncInfo::shunsAFileOfTheWrongSize_data()
{
    QTest::addColumn<int>("size");
    for (int size : {0, 1, 15, 16, 32, 4096, TableSize - 1, TableSize + 1, 2 * TableSize})
        QTest::addRow("%d bytes", size) << size;
}

void TestSyncInfo::shunsAFileOfTheWrongSize()
{
    QFETCH(int, size);
    QByteArray content = goodContent().left(size);
    content.append(QByteArray(size - content.size(), '\0'));
    put(content);
    SyncInfoFile holder;
    QVERIFY(holder.open(QFile::encodeName(path()), O_RDWR) && holder.lock());
    SyncInfoShmReader reader(path());
    QVERIFY(readsNothing(reader));
}

void TestSyncInfo::shunsADamagedHeader_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<bool>("good");
    QTest::newRow("nothing changed") << -1 << true;
    QTest::newRow("magic") << int(offsetof(SyncInfoTable, magic)) << false;
    QTest::newRow("version") << int(offsetof(SyncInfoTable, version)) << false;
    QTest::newRow("capacity") << int(offsetof(SyncInfoTable, capacity)) << false;
}

void TestSyncInfo::shunsADamagedHeader()
{
    QFETCH(int, position);
    QFETCH(bool, good);
    QByteArray content = goodContent();
    QCOMPARE(content.size(), TableSize);
    if (position >= 0)
        content[position] = char(content.at(position) + 1);
    put(content);
    SyncInfoShmReader reader(path());
    QVERIFY(readsNothing(reader));
    SyncInfoFile holder;
    QVERIFY(holder.open(QFile::encodeName(path()), O_RDWR) && holder.lock());
    QCOMPARE(readsNothing(reader), !good);
}

void TestSyncInfo::bearsNoise()
{
    QRandomGenerator random(20240229);
    for (int round = 0; round < 50; ++round) {
        QByteArray noise(TableSize, Qt::Uninitialized);
        random.fillRange(reinterpret_cast<quint32 *>(noise.data()), TableSize / 4);
        put(noise);
        SyncInfoFile holder;
        QVERIFY(holder.open(QFile::encodeName(path()), O_RDWR) && holder.lock());
        SyncInfoShmReader reader(path());
        QVERIFY(readsNothing(reader));
    }
}

void TestSyncInfo::bearsNoiseBehindAGoodHeader()
{
    QByteArray content = goodContent();
    QRandomGenerator random(20240301);
    random.fillRange(reinterpret_cast<quint32 *>(content.data()) + 4, TableSize / 4 - 4);
    put(content);
    SyncInfoFile holder;
    QVERIFY(holder.open(QFile::encodeName(path()), O_RDWR) && holder.lock());
    SyncInfoShmReader reader(path());
    QVERIFY(readsNothing(reader));
}

void TestSyncInfo::boundsADamagedProgress()
{
    QByteArray content = goodContent();
    memset(content.data() + offsetof(SyncInfoTable, entries) + sizeof(quint64), 0xff,
           sizeof(quint64));
    put(content);
    SyncInfoFile holder;
    QVERIFY(holder.open(QFile::encodeName(path()), O_RDWR) && holder.lock());
    SyncInfoShmReader reader(path());
    SyncInfoNode node;
    QVERIFY(reader.fill(node, 7));
    QCOMPARE(node.progress, 1000);
}

void TestSyncInfo::bearsTruncationWhileItReads()
{
    SyncInfoShmWriter writer(path());
    writer.publish(running(7, 500));
    SyncInfoShmReader reader(path());
    SyncInfoNode node;
    QVERIFY(reader.fill(node, 7));
    // No writer does this. The last size is the right one again: this process writes to it, too.
    QFile file(path());
    QVERIFY(file.resize(10));
    QVERIFY(readsNothing(reader));
    QVERIFY(file.resize(0));
    QVERIFY(readsNothing(reader));
    QVERIFY(file.resize(TableSize));
    QVERIFY(readsNothing(reader));
}

void TestSyncInfo::bearsReplacementWhileItReads()
{
    SyncInfoShmReader reader(path());
    OtherProcess writer(path(), "hold");
    SyncInfoNode node;
    QVERIFY(reader.fill(node, 7));
    const QString other = m_folder->filePath(QStringLiteral("other"));
    OtherProcess replacing(other, "hold");
    QVERIFY(QFile::remove(path()));
    QVERIFY(readsNothing(reader));
    QVERIFY(QFile::rename(other, path()));
    QVERIFY(reader.fill(node, 7));
    replacing.kill();
    QVERIFY(readsNothing(reader));
}

void TestSyncInfo::shunsWhatIsNoFile_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"folder", "pipe", "link", "loop"})
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

void TestSyncInfo::shunsWhatIsNoFile()
{
    QFETCH(QString, kind);
    const QByteArray name = QFile::encodeName(path());
    const QString target = m_folder->filePath(QStringLiteral("target"));
    OtherProcess elsewhere(target, "hold");
    if (kind == QLatin1String("folder"))
        QCOMPARE(mkdir(name.constData(), 0700), 0);
    else if (kind == QLatin1String("pipe"))
        QCOMPARE(mkfifo(name.constData(), 0600), 0);
    else
        QVERIFY(QFile::link(kind == QLatin1String("link") ? target : path(), path()));
    SyncInfoShmReader reader(path());
    QVERIFY(readsNothing(reader));
    SyncInfoShmWriter writer(path());
    QVERIFY(!writer.isOpen());
    QVERIFY(!writer.errorString().isEmpty());
}

void TestSyncInfo::shunsAFileOfAnotherUser()
{
    put(goodContent());
    SyncInfoFile holder;
    QVERIFY(holder.open(QFile::encodeName(path()), O_RDWR) && holder.lock());
    if (chown(QFile::encodeName(path()).constData(), geteuid() + 1, gid_t(-1)) != 0)
        QSKIP("giving a file to another user needs root");
    SyncInfoShmReader reader(path());
    QVERIFY(readsNothing(reader));
}

void TestSyncInfo::saysWhyItCannotWrite()
{
    SyncInfoShmWriter writer(m_folder->filePath(QStringLiteral("no/such/folder")));
    QVERIFY(!writer.isOpen());
    QVERIFY(!writer.errorString().isEmpty());
    QVERIFY(!writer.publish(running(7, 500)));
}

void TestSyncInfo::meetsInTheRuntimeDirectory()
{
    SyncInfoShmWriter writer;
    QVERIFY2(writer.isOpen(), qPrintable(writer.errorString()));
    writer.publish(running(7, 500));
    SyncInfoNode node;
    QVERIFY(SyncInfoShmReader::instance().fill(node, 7));
    QCOMPARE(node.progress, 500);
    const QFileInfo file(SyncInfoTable::defaultPath());
    QVERIFY(file.path().startsWith(qEnvironmentVariable("XDG_RUNTIME_DIR")));
    QVERIFY(!(file.permissions() & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteOther)));
}

QTEST_GUILESS_MAIN(TestSyncInfo)

#include "tst_syncinfo.moc"
