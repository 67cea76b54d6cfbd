// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/accountdirectory.h"
#include "daemon/store/accountguard.h"
#include "daemon/store/state/accountkeys.h"
#include "daemon/store/state/syncstatedb.h"
#include "tests/store/hiddentable.h"
#include "tests/store/items.h"
#include "tests/support/storefixture.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <qmailserviceconfiguration.h>
#include <qmailstore.h>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

using Items::text;
using Store::AccountDirectory;
using Store::AccountRecord;

namespace {

const QString Service = QStringLiteral("orvmail");

/** Writes one value of the service configuration; a null one removes it. */
bool setValue(const QMailAccountId &id, const QString &key, const QString &value)
{
    QMailAccountConfiguration configuration(id);
    if (value.isNull())
        configuration.serviceConfiguration(Service).removeValue(key);
    else
        configuration.serviceConfiguration(Service).setValue(key, value);
    return QMailStore::instance()->updateAccountConfiguration(&configuration);
}

bool setEnabled(const QMailAccountId &id, bool enabled)
{
    QMailAccount account(id);
    account.setStatus(QMailAccount::Enabled, enabled);
    return QMailStore::instance()->updateAccount(&account);
}

QMailAccountId addForeignAccount()
{
    QMailAccount account;
    account.setName(text("IMAP"));
    account.setStatus(QMailAccount::Enabled, true);
    QMailAccountConfiguration configuration;
    configuration.addServiceConfiguration(text("imap4"));
    return QMailStore::instance()->addAccount(&account, &configuration) ? account.id()
                                                                        : QMailAccountId();
}

} // namespace

/** Which accounts the daemon serves, and what it hears of their changes. */
class TestAccountDirectory : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StoreFixture::clear(); }

    void recordHasTheStoredValues();
    void missingValuesHaveTheirDefaults();
    void valuesThatAreNoNumbers_data();
    void valuesThatAreNoNumbers();
    void pushIsOnOnlyForTheAccountsOwnOne();
    void onlyEnabledAccountsOfOursAreListed();
    void addedAccountIsReported();
    void changedAccountIsReportedOnce();
    void changeWithoutMeaningIsNotReported();
    void disabledAccountIsRemovedAndComesBack();
    void removedAccountIsReportedAsDeleted();
    void changesOfAnotherProcessAreReported();
    void storeThatCannotBeReadHasLostNoAccount();
};

void TestAccountDirectory::recordHasTheStoredValues()
{
    StoreFixture::Account settings;
    settings.name = text("Büro");
    settings.domain = text("EXAMPLE");
    settings.password = text("Grüße: \"#+,\\");
    settings.port = 443;
    settings.encryption = 1;
    const QMailAccountId id = StoreFixture::addAccount(settings);
    QVERIFY(setValue(id, text("keepDays"), text("7")));
    QVERIFY(setValue(id, text("notifications"), text("0")));
    const AccountRecord record = AccountRecord::read(id);
    QCOMPARE(record.id, id);
    QCOMPARE(record.name, settings.name);
    QCOMPARE(record.email, settings.email);
    QCOMPARE(record.domain, settings.domain);
    QCOMPARE(record.userName, settings.username);
    QCOMPARE(record.password, settings.password);
    QCOMPARE(record.server, settings.server);
    QCOMPARE(record.port, 443);
    QCOMPARE(record.encryption, 1);
    QCOMPARE(record.keepDays, 7);
    QVERIFY(!record.notifications);
    QVERIFY(!record.pushEnabled);
}

void TestAccountDirectory::missingValuesHaveTheirDefaults()
{
    const QMailAccountId id = StoreFixture::addAccount();
    for (const char *key : {"email", "domain", "username", "password", "server", "port",
                            "encryption", "keepDays", "notifications"})
        QVERIFY(setValue(id, text(key), QString()));
    const AccountRecord record = AccountRecord::read(id);
    QCOMPARE(record.id, id);
    QCOMPARE(record.email, QString());
    QCOMPARE(record.password, QString());
    QCOMPARE(record.port, 80);
    QCOMPARE(record.encryption, 0);
    QCOMPARE(record.keepDays, 30);
    QVERIFY(record.notifications);
}

void TestAccountDirectory::valuesThatAreNoNumbers_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("port");
    QTest::newRow("word") << text("abc") << 0;
    QTest::newRow("empty") << text("") << 0;
    QTest::newRow("half a number") << text("80x") << 0;
    QTest::newRow("hexadecimal") << text("0x50") << 0;
    QTest::newRow("too big") << text("99999999999") << 0;
    QTest::newRow("negative") << text("-1") << -1;
}

void TestAccountDirectory::valuesThatAreNoNumbers()
{
    QFETCH(QString, stored);
    QFETCH(int, port);
    const QMailAccountId id = StoreFixture::addAccount();
    QVERIFY(setValue(id, text("port"), stored));
    QCOMPARE(AccountRecord::read(id).port, port);
}

void TestAccountDirectory::pushIsOnOnlyForTheAccountsOwnOne()
{
    const QMailAccountId id = StoreFixture::addAccount();
    QVERIFY(setValue(id, text("pushEnabled"), text("1")));
    QVERIFY(!AccountRecord::read(id).pushEnabled);
    for (const char *value : {"1", "true", "2", "0", ""}) {
        QMailAccount account(id);
        account.setCustomField(text("pushEnabled"), text(value));
        QVERIFY(QMailStore::instance()->updateAccount(&account));
        QCOMPARE(AccountRecord::read(id).pushEnabled, text(value) == text("1"));
    }
}

void TestAccountDirectory::onlyEnabledAccountsOfOursAreListed()
{
    const QMailAccountId ours = StoreFixture::addAccount();
    StoreFixture::Account disabled;
    disabled.enabled = false;
    const QMailAccountId off = StoreFixture::addAccount(disabled);
    const QMailAccountId foreign = addForeignAccount();
    QVERIFY(foreign.isValid());
    const AccountDirectory directory;
    QCOMPARE(directory.accounts().size(), 1);
    QCOMPARE(directory.accounts().first().id, ours);
    QVERIFY(directory.account(ours));
    QVERIFY(!directory.account(off));
    QVERIFY(!directory.account(foreign));
}

void TestAccountDirectory::addedAccountIsReported()
{
    AccountDirectory directory;
    QSignalSpy added(&directory, &AccountDirectory::added);
    QVERIFY(addForeignAccount().isValid());
    const QMailAccountId id = StoreFixture::addAccount();
    QTRY_VERIFY(added.size() > 0);
    QCOMPARE(added.size(), 1);
    QCOMPARE(added.first().first().value<AccountRecord>().id, id);
    QVERIFY(directory.account(id));
}

void TestAccountDirectory::changedAccountIsReportedOnce()
{
    const QMailAccountId id = StoreFixture::addAccount();
    AccountDirectory directory;
    QSignalSpy changed(&directory, &AccountDirectory::changed);
    QVERIFY(setValue(id, text("server"), text("mail.example.test")));
    QTRY_COMPARE(changed.size(), 1);
    QCOMPARE(changed.first().first().value<AccountRecord>().server, text("mail.example.test"));
    QCOMPARE(directory.account(id)->server, text("mail.example.test"));
    // The next one would come behind a repetition.
    QVERIFY(setValue(id, text("domain"), text("X")));
    QTRY_VERIFY(changed.size() > 1);
    QCOMPARE(changed.size(), 2);
    QCOMPARE(changed.last().first().value<AccountRecord>().domain, text("X"));
}

void TestAccountDirectory::changeWithoutMeaningIsNotReported()
{
    const QMailAccountId id = StoreFixture::addAccount();
    AccountDirectory directory;
    QSignalSpy changed(&directory, &AccountDirectory::changed);
    QMailAccount account(id);
    account.setLastSynchronized(QMailTimeStamp(QDateTime::currentDateTimeUtc()));
    account.setSignature(text("Regards"));
    QVERIFY(QMailStore::instance()->updateAccount(&account));
    // A change with a meaning comes after it, and is the only one to be heard of.
    QVERIFY(setValue(id, text("domain"), text("X")));
    QTRY_COMPARE(changed.size(), 1);
    QCOMPARE(changed.first().first().value<AccountRecord>().domain, text("X"));
}

void TestAccountDirectory::disabledAccountIsRemovedAndComesBack()
{
    const QMailAccountId id = StoreFixture::addAccount();
    AccountDirectory directory;
    QSignalSpy added(&directory, &AccountDirectory::added);
    QSignalSpy removed(&directory, &AccountDirectory::removed);
    QSignalSpy deleted(&directory, &AccountDirectory::deleted);
    QVERIFY(setEnabled(id, false));
    QTRY_COMPARE(removed.size(), 1);
    QCOMPARE(removed.first().first().value<QMailAccountId>(), id);
    QVERIFY(directory.accounts().isEmpty());
    QVERIFY(setEnabled(id, true));
    QTRY_COMPARE(added.size(), 1);
    QVERIFY(deleted.isEmpty());
}

void TestAccountDirectory::removedAccountIsReportedAsDeleted()
{
    const QMailAccountId id = StoreFixture::addAccount();
    AccountDirectory directory;
    QSignalSpy removed(&directory, &AccountDirectory::removed);
    QSignalSpy deleted(&directory, &AccountDirectory::deleted);
    QVERIFY(QMailStore::instance()->removeAccount(id));
    QTRY_COMPARE(deleted.size(), 1);
    QCOMPARE(removed.size(), 1);
    QCOMPARE(deleted.first().first().value<QMailAccountId>(), id);
    QVERIFY(!directory.account(id));
}

void TestAccountDirectory::changesOfAnotherProcessAreReported()
{
    const QMailAccountId id = StoreFixture::addAccount();
    AccountDirectory directory;
    QSignalSpy added(&directory, &AccountDirectory::added);
    QSignalSpy removed(&directory, &AccountDirectory::removed);
    QProcess other;
    other.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    other.start(QCoreApplication::applicationFilePath(), {text("--other-process")});
    QTRY_COMPARE_WITH_TIMEOUT(added.size(), 1, 20000);
    QTRY_COMPARE_WITH_TIMEOUT(removed.size(), 1, 20000);
    QCOMPARE(removed.first().first().value<QMailAccountId>(), id);
    QTRY_COMPARE_WITH_TIMEOUT(other.state(), QProcess::NotRunning, 20000);
    QCOMPARE(other.exitCode(), 0);
}

void TestAccountDirectory::storeThatCannotBeReadHasLostNoAccount()
{
    const QMailAccountId id = StoreFixture::addAccount();
    Store::SyncStateDb db;
    QVERIFY(db.open().ok());
    QVERIFY(Store::AccountKeys(db, id).open(AccountRecord::read(id)).ok());
    AccountDirectory directory;
    QSignalSpy removed(&directory, &AccountDirectory::removed);
    QSignalSpy deleted(&directory, &AccountDirectory::deleted);
    {
        const HiddenTable accounts(text("mailaccounts"));
        QVERIFY(accounts.isHidden());
        emit QMailStore::instance() -> accountsUpdated({id});
        QVERIFY(directory.account(id));
        QVERIFY(!AccountRecord::tryRead(id));
        QVERIFY(!Store::AccountKeys::removeVanished(db).ok());
        QCOMPARE(Store::AccountGuard::check(id).code, int(Eas::ServerFailed));
    }
    QVERIFY(removed.isEmpty());
    QVERIFY(deleted.isEmpty());
    QSignalSpy changed(&directory, &AccountDirectory::changed);
    QVERIFY(setValue(id, text("domain"), text("X")));
    QTRY_COMPARE(changed.size(), 1);
    QVERIFY(Store::AccountKeys::removeVanished(db).ok());
}

/** What the other process does: one account more, and the first one less. */
static int otherProcess()
{
    const QMailAccountIdList before = QMailStore::instance()->queryAccounts();
    if (!StoreFixture::addAccount().isValid() || before.size() != 1)
        return 1;
    if (!QMailStore::instance()->removeAccount(before.first()))
        return 2;
    QMailStore::instance()->flushIpcNotifications();
    // The answer to a call shows that all that was sent before it is on the bus.
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(text("x.y")) ? 3 : 0;
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().contains(text("--other-process")))
        return otherProcess();
    TestAccountDirectory test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_accountdirectory.moc"
