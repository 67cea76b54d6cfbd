// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/syncstatedb.h"
#include "tests/support/storefixture.h"

#include <QDir>
#include <QFileInfo>
#include <qmailstore.h>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using Store::AccountRecord;
using Store::SyncStateDb;

namespace {

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

/** What the daemon remembers, and when it does not trust its memory. */
class SyncStateDbTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void deviceIdIsMadeOnceAndKept();
    void copiedHomeFolderIsAnotherDevice();
    void nobodyElseCanReadIt();
    void accountStateIsKept();
    void anAwaitedTreeIsKnownUntilItIsSaved();
    void folderStateIsKept();
    void emptyTextsAreNoProblem();
    void otherUserOrServerMeansFromTheStart();
    void otherPasswordChangesNothing();
    void vanishedFolderMeansFromTheStart();
    void removedAccountIsForgottenAndNothingIsSavedForIt();
    void vanishedAccountsAreForgotten();
    void unconfirmedMessagesGoWithTheirFolder();
    void confirmationAndKeyAreSavedTogether();
    void movedMessagesAreRememberedUntilTheyAreShown();
    void damagedFileIsPutAside_data();
    void damagedFileIsPutAside();
    void folderThatCannotBeWrittenIsAnError();
    void lockedFileIsAnErrorAndLaterFine();
    void defaultPlaceIsBesideTheMailStore();

private:
    AccountRecord record() const { return AccountRecord::read(m_account); }
    Store::FolderState folder(const QString &serverId) const;

    QMailAccountId m_account;
    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_path;
    std::unique_ptr<SyncStateDb> m_db;
};

void SyncStateDbTest::init()
{
    m_account = StoreFixture::addAccount();
    m_directory = std::make_unique<QTemporaryDir>();
    m_path = m_directory->filePath(text("state.db"));
    m_db = std::make_unique<SyncStateDb>(m_path, "machine");
    QVERIFY(m_db->open().ok());
    QVERIFY(m_db->openAccount(record()).ok());
}

void SyncStateDbTest::cleanup()
{
    m_db.reset();
    m_directory.reset();
    StoreFixture::clear();
}

Store::FolderState SyncStateDbTest::folder(const QString &serverId) const
{
    Store::FolderState state;
    state.serverId = serverId;
    state.folderId = StoreFixture::addFolder(m_account, serverId);
    state.parentId = text("0");
    state.type = 12;
    state.syncKey = text("key-1");
    state.filter = 5;
    return state;
}

void SyncStateDbTest::deviceIdIsMadeOnceAndKept()
{
    const QString id = m_db->deviceId();
    QVERIFY(QRegularExpression(text("^[A-Z0-9]{32}$")).match(id).hasMatch());
    SyncStateDb again(m_path, "machine");
    QVERIFY(again.open().ok());
    QCOMPARE(again.deviceId(), id);
    SyncStateDb other(m_directory->filePath(text("other.db")), "machine");
    QVERIFY(other.open().ok());
    QVERIFY(other.deviceId() != id);
}

void SyncStateDbTest::copiedHomeFolderIsAnotherDevice()
{
    QVERIFY(
        m_db->saveAccount(m_account, {text("7"), text("policy"), text("14.1"), QString()}).ok());
    QVERIFY(m_db->saveFolder(m_account, folder(text("in"))).ok());
    const QString id = m_db->deviceId();
    m_db.reset();
    SyncStateDb copy(m_path, "another machine");
    QVERIFY(copy.open().ok());
    QCOMPARE(copy.deviceId().size(), 32);
    QVERIFY(copy.deviceId() != id);
    QVERIFY(copy.openAccount(record()).ok());
    QCOMPARE(copy.account(m_account).folderSyncKey, text("0"));
    QCOMPARE(copy.account(m_account).policyKey, QString());
    QCOMPARE(copy.account(m_account).protocolVersion, text("14.1"));
    QCOMPARE(copy.folder(m_account, text("in"))->syncKey, text("0"));
}

void SyncStateDbTest::nobodyElseCanReadIt()
{
    QVERIFY(m_db->saveFolder(m_account, folder(text("in"))).ok());
    const QStringList names = QDir(m_directory->path()).entryList(QDir::Files);
    QVERIFY(names.contains(text("state.db")));
    for (const QString &name : names) {
        struct stat info = {};
        QCOMPARE(::stat(QFile::encodeName(m_directory->filePath(name)).constData(), &info), 0);
        QCOMPARE(info.st_mode & 0777, mode_t(0600));
    }
}

void SyncStateDbTest::accountStateIsKept()
{
    QVERIFY(m_db->saveAccount(m_account,
                              {text("7"), text("policy"), text("14.1"), text("https://x.test/")})
                .ok());
    SyncStateDb again(m_path, "machine");
    QVERIFY(again.open().ok());
    QVERIFY(again.openAccount(record()).ok());
    const Store::AccountState state = again.account(m_account);
    QCOMPARE(state.folderSyncKey, text("7"));
    QCOMPARE(state.policyKey, text("policy"));
    QCOMPARE(state.protocolVersion, text("14.1"));
    QCOMPARE(state.serverUrl, text("https://x.test/"));
}

void SyncStateDbTest::anAwaitedTreeIsKnownUntilItIsSaved()
{
    QVERIFY(m_db->saveAccount(m_account, {text("7"), text("policy"), QString(), QString()}).ok());
    QVERIFY(!m_db->isTreeAwaited(m_account));
    QVERIFY(m_db->awaitTree(m_account).ok());
    QVERIFY(m_db->awaitTree(m_account).ok());
    SyncStateDb again(m_path, "machine");
    QVERIFY(again.open().ok());
    QVERIFY(again.openAccount(record()).ok());
    QVERIFY(again.isTreeAwaited(m_account));
    // It came with the same key: there was nothing new.
    QVERIFY(again.saveTree(m_account, text("7")).ok());
    QVERIFY(!again.isTreeAwaited(m_account));
    QVERIFY(again.awaitTree(m_account).ok());
    QVERIFY(again.awaitTree(m_account, false).ok());
    QVERIFY(!again.isTreeAwaited(m_account));
    // Another key than the one that it was asked for with owes nothing.
    QVERIFY(again.awaitTree(m_account).ok());
    QVERIFY(again.saveAccount(m_account, {text("8"), text("policy"), QString(), QString()}).ok());
    QVERIFY(!again.isTreeAwaited(m_account));
    QVERIFY(again.saveTree(m_account, text("9")).ok());
    QCOMPARE(again.account(m_account).folderSyncKey, text("9"));
    QCOMPARE(again.account(m_account).policyKey, text("policy"));
    QVERIFY(again.removeAccount(m_account).ok());
    QCOMPARE(again.saveTree(m_account, text("9")).code, 1030);
}

void SyncStateDbTest::folderStateIsKept()
{
    const Store::FolderState saved = folder(text("mail%2Fä'\""));
    QVERIFY(m_db->saveFolder(m_account, saved).ok());
    SyncStateDb again(m_path, "machine");
    QVERIFY(again.open().ok());
    QVERIFY(again.openAccount(record()).ok());
    QCOMPARE(again.folders(m_account).size(), 1);
    const auto state = again.folder(m_account, saved.serverId);
    QVERIFY(state);
    QCOMPARE(state->folderId, saved.folderId);
    QCOMPARE(state->parentId, saved.parentId);
    QCOMPARE(state->type, 12);
    QCOMPARE(state->syncKey, text("key-1"));
    QCOMPARE(state->filter, 5);
    QVERIFY(!state->reconciling);
    QCOMPARE(again.folder(saved.folderId)->serverId, saved.serverId);
    QVERIFY(!again.folder(QMailFolderId(123456)));
}

void SyncStateDbTest::emptyTextsAreNoProblem()
{
    QVERIFY(m_db->saveAccount(m_account, Store::AccountState()).ok());
    Store::FolderState state = folder(text("in"));
    state.parentId.clear();
    state.syncKey.clear();
    QVERIFY(m_db->saveFolder(m_account, state).ok());
    QCOMPARE(m_db->folder(m_account, text("in"))->syncKey, text("0"));
    QCOMPARE(m_db->account(m_account).folderSyncKey, text("0"));
}

void SyncStateDbTest::otherUserOrServerMeansFromTheStart()
{
    const auto change = [](AccountRecord record, int what) {
        (what == 0 ? record.server : what == 1 ? record.userName : record.domain) += text("x");
        return record;
    };
    QVERIFY(m_db->saveFolder(m_account, folder(text("in"))).ok());
    AccountRecord current = record();
    for (int what = 0; what < 3; ++what) {
        QVERIFY(m_db->saveAccount(m_account, {text("7"), text("p"), text("14.1"), text("u")}).ok());
        Store::FolderState state = *m_db->folder(m_account, text("in"));
        state.syncKey = text("key-2");
        QVERIFY(m_db->saveFolder(m_account, state).ok());
        current = change(current, what);
        QVERIFY(m_db->openAccount(current).ok());
        QCOMPARE(m_db->account(m_account).folderSyncKey, text("0"));
        QCOMPARE(m_db->account(m_account).policyKey, QString());
        QCOMPARE(m_db->account(m_account).serverUrl, QString());
        // The folder is still known: it is compared, not fetched anew.
        QCOMPARE(m_db->folder(m_account, text("in"))->syncKey, text("0"));
    }
}

void SyncStateDbTest::otherPasswordChangesNothing()
{
    QVERIFY(m_db->saveAccount(m_account, {text("7"), QString(), QString(), QString()}).ok());
    AccountRecord changed = record();
    changed.password += text("x");
    changed.port = 443;
    changed.pushEnabled = true;
    changed.keepDays = 3;
    QVERIFY(m_db->openAccount(changed).ok());
    QCOMPARE(m_db->account(m_account).folderSyncKey, text("7"));
}

void SyncStateDbTest::vanishedFolderMeansFromTheStart()
{
    QVERIFY(m_db->saveAccount(m_account, {text("7"), text("p"), QString(), QString()}).ok());
    const Store::FolderState gone = folder(text("a"));
    QVERIFY(m_db->saveFolder(m_account, gone).ok());
    QVERIFY(m_db->saveFolder(m_account, folder(text("b"))).ok());
    QVERIFY(QMailStore::instance()->removeFolder(gone.folderId));
    QVERIFY(m_db->openAccount(record()).ok());
    QCOMPARE(m_db->account(m_account).folderSyncKey, text("0"));
    QCOMPARE(m_db->account(m_account).policyKey, text("p"));
    QVERIFY(!m_db->folder(m_account, text("a")));
    QCOMPARE(m_db->folder(m_account, text("b"))->syncKey, text("key-1"));
}

void SyncStateDbTest::removedAccountIsForgottenAndNothingIsSavedForIt()
{
    const Store::FolderState state = folder(text("in"));
    QVERIFY(m_db->saveFolder(m_account, state).ok());
    QVERIFY(m_db->removeAccount(m_account).ok());
    QVERIFY(m_db->folders(m_account).isEmpty());
    QCOMPARE(m_db->saveFolder(m_account, state).code, 1030);
    QCOMPARE(m_db->saveAccount(m_account, Store::AccountState()).code, 1030);
    QVERIFY(m_db->folders(m_account).isEmpty());
}

void SyncStateDbTest::vanishedAccountsAreForgotten()
{
    QVERIFY(m_db->saveFolder(m_account, folder(text("in"))).ok());
    QVERIFY(m_db->removeVanishedAccounts().ok());
    QCOMPARE(m_db->folders(m_account).size(), 1);
    QVERIFY(QMailStore::instance()->removeAccount(m_account));
    QVERIFY(m_db->removeVanishedAccounts().ok());
    QVERIFY(m_db->folders(m_account).isEmpty());
}

void SyncStateDbTest::unconfirmedMessagesGoWithTheirFolder()
{
    const Store::FolderState state = folder(text("in"));
    const QList<Store::Unconfirmed> messages {{QMailMessageId(11), "x"}, {QMailMessageId(12), "y"}};
    QVERIFY(m_db->startReconciling(m_account, state, messages).ok());
    QCOMPARE(m_db->unconfirmed(m_account, text("in")).size(), 2);
    QVERIFY(m_db->removeFolder(m_account, text("in")).ok());
    QVERIFY(m_db->unconfirmed(m_account, text("in")).isEmpty());
}

void SyncStateDbTest::confirmationAndKeyAreSavedTogether()
{
    Store::FolderState state = folder(text("in"));
    const QList<Store::Unconfirmed> messages {{QMailMessageId(11), "x"}, {QMailMessageId(12), "y"}};
    QVERIFY(m_db->startReconciling(m_account, state, messages).ok());
    state.syncKey = text("key-2");
    QVERIFY(m_db->confirm(m_account, state, {QMailMessageId(11)}).ok());
    QCOMPARE(m_db->folder(m_account, text("in"))->syncKey, text("key-2"));
    QCOMPARE(m_db->unconfirmed(m_account, text("in")).size(), 1);
    QCOMPARE(m_db->unconfirmed(m_account, text("in")).first().messageId, QMailMessageId(12));
    QCOMPARE(m_db->unconfirmed(m_account, text("in")).first().fingerprint, QByteArray("y"));
    // Starting anew replaces what was noted.
    QVERIFY(m_db->startReconciling(m_account, state, {{QMailMessageId(13), "z"}}).ok());
    QCOMPARE(m_db->unconfirmed(m_account, text("in")).size(), 1);
    // Of a removed account neither is saved.
    QVERIFY(m_db->removeAccount(m_account).ok());
    QCOMPARE(m_db->startReconciling(m_account, state, messages).code, 1030);
    QVERIFY(m_db->unconfirmed(m_account, text("in")).isEmpty());
}

void SyncStateDbTest::movedMessagesAreRememberedUntilTheyAreShown()
{
    const Store::FolderState state = folder(text("in"));
    const QMailMessageId shown(11);
    const QMailMessageId other(12);
    QVERIFY(m_db->saveFolder(m_account, state).ok());
    QVERIFY(m_db->addMoved(m_account, text("in"), shown).ok());
    QVERIFY(m_db->addMoved(m_account, text("in"), other).ok());
    QVERIFY(m_db->addMoved(m_account, text("in"), other).ok());
    {
        SyncStateDb again(m_path, "machine");
        QVERIFY(again.open().ok());
        QVERIFY(again.openAccount(record()).ok());
        QCOMPARE(again.moved(m_account, text("in")), (QMailMessageIdList {shown, other}));
    }
    QVERIFY(m_db->moved(m_account, text("other")).isEmpty());
    QVERIFY(m_db->confirm(m_account, state, {shown, QMailMessageId(13)}).ok());
    QCOMPARE(m_db->moved(m_account, text("in")), QMailMessageIdList {other});
    QVERIFY(m_db->removeMoved(m_account, text("in"), other).ok());
    QVERIFY(m_db->moved(m_account, text("in")).isEmpty());

    // What is compared anew as a whole, or gone, needs no look at single ones.
    QVERIFY(m_db->addMoved(m_account, text("in"), other).ok());
    QVERIFY(m_db->startReconciling(m_account, state, {}).ok());
    QVERIFY(m_db->moved(m_account, text("in")).isEmpty());
    QVERIFY(m_db->addMoved(m_account, text("in"), other).ok());
    QVERIFY(m_db->removeFolder(m_account, text("in")).ok());
    QVERIFY(m_db->moved(m_account, text("in")).isEmpty());
}

void SyncStateDbTest::damagedFileIsPutAside_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("noise") << QByteArray("this is no database, is it? ").repeated(1000);
    QTest::newRow("header alone") << QByteArray("SQLite format 3\0", 16) + QByteArray(5000, '\xff');
}

void SyncStateDbTest::damagedFileIsPutAside()
{
    QFETCH(QByteArray, content);
    m_db.reset();
    QFile::remove(m_path + text("-wal"));
    QFile::remove(m_path + text("-shm"));
    QFile file(m_path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    m_db = std::make_unique<SyncStateDb>(m_path, "machine");
    QVERIFY(m_db->open().ok());
    QCOMPARE(m_db->deviceId().size(), 32);
    QVERIFY(QFileInfo::exists(m_path + text(".damaged")));
    QVERIFY(m_db->openAccount(record()).ok());
}

void SyncStateDbTest::folderThatCannotBeWrittenIsAnError()
{
    SyncStateDb nowhere(m_directory->filePath(text("missing/folder/state.db")));
    QCOMPARE(nowhere.open().code, 500);
    QVERIFY(nowhere.deviceId().isEmpty());
}

void SyncStateDbTest::lockedFileIsAnErrorAndLaterFine()
{
    SyncStateDb second(m_path, "machine");
    QVERIFY(second.open().ok());
    {
        QSqlDatabase raw = QSqlDatabase::addDatabase(text("QSQLITE"), text("locker"));
        raw.setDatabaseName(m_path);
        QVERIFY(raw.open());
        QVERIFY(raw.exec(text("BEGIN EXCLUSIVE")).isActive());
        QElapsedTimer timer;
        timer.start();
        const Eas::Result result = second.saveAccount(m_account, Store::AccountState());
        QCOMPARE(result.code, 500);
        QVERIFY(!result.text.isEmpty());
        QVERIFY(timer.elapsed() < 5000);
        raw.exec(text("ROLLBACK"));
        raw.close();
    }
    QSqlDatabase::removeDatabase(text("locker"));
    QVERIFY(second.saveAccount(m_account, Store::AccountState()).ok());
}

void SyncStateDbTest::defaultPlaceIsBesideTheMailStore()
{
    QCOMPARE(QFileInfo(SyncStateDb::defaultPath()).fileName(), text("asdaemon.db"));
    QVERIFY(QFileInfo(SyncStateDb::defaultPath())
                .absolutePath()
                .startsWith(qEnvironmentVariable("QMF_DATA")));
}

QTEST_GUILESS_MAIN(SyncStateDbTest)
#include "syncstatedbtest.moc"
