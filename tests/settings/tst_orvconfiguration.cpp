// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/settings/accountsettings.h"
#include "plugin/settings/orvconfigurationeditor.h"

#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QTest>

namespace {

const QString Service = QStringLiteral("orvmail");

/** A configuration of ours that holds one value. */
QMailAccountConfiguration configurationWith(const char *key, const QString &value)
{
    QMailAccountConfiguration config;
    config.addServiceConfiguration(Service);
    config.serviceConfiguration(Service).setValue(QLatin1String(key), value);
    return config;
}

QString stored(const QMailAccountConfiguration &config, const char *key)
{
    return config.serviceConfiguration(Service).value(QLatin1String(key));
}

AccountSettings sampleSettings()
{
    AccountSettings settings;
    settings.userName = QStringLiteral("alice");
    settings.password = QStringLiteral("kept in the store");
    settings.server = QStringLiteral("mail.example.com");
    settings.port = 443;
    settings.encryption = 1;
    settings.email = QStringLiteral("alice@example.com");
    settings.domain = QStringLiteral("EXAMPLE");
    return settings;
}

} // namespace

/** The typed views on an account's settings, in memory and through the mail store. */
class TestOrvConfiguration : public QObject
{
    Q_OBJECT

private slots:
    void newAccountReadsDefaults();
    void configurationWithoutTheServiceReadsDefaults();
    void portThatIsNoNumberReadsAsZero();
    void encryptionThatIsNoNumberReadsAsZero();
    void numbersAreReadInBaseTen_data();
    void numbersAreReadInBaseTen();
    void passwordIsStoredEncodedAndReadInClear();
    void passwordThatTheStoreCannotKeepIsRecognised();
    void pushIsReadFromAnyNonZeroNumber_data();
    void pushIsReadFromAnyNonZeroNumber();
    void savingNeverWritesPush();
    void textsAreStoredUnchanged();
    void numbersAreStoredAsDecimalText();
    void viewOpensTheServiceConfigurationGiven();
    void settingsSurviveTheMailStore();
    void settingsLeftEmptyAreTakenByTheMailStore();
    void markedAccountHasExactlyTheseFlags();
};

void TestOrvConfiguration::newAccountReadsDefaults()
{
    QMailAccountConfiguration config;
    QVERIFY(config.addServiceConfiguration(Service));
    const OrvConfiguration view(config);
    QCOMPARE(view.mailEmail(), QString());
    QCOMPARE(view.mailDomain(), QString());
    QCOMPARE(view.mailUserName(), QString());
    QCOMPARE(view.mailServer(), QString());
    QCOMPARE(view.mailPassword(), QString());
    QCOMPARE(view.mailPort(), 80);
    QCOMPARE(view.mailEncryption(), 0);
    QCOMPARE(view.pushEnabled(), false);
}

void TestOrvConfiguration::configurationWithoutTheServiceReadsDefaults()
{
    const AccountSettings settings = readSettings(QMailAccountConfiguration());
    QCOMPARE(settings.port, 80);
    QCOMPARE(settings.encryption, 0);
    QCOMPARE(settings.userName, QString());
    QVERIFY(!isOrvAccount(QMailAccountConfiguration()));
}

void TestOrvConfiguration::portThatIsNoNumberReadsAsZero()
{
    const auto config = configurationWith("port", QStringLiteral("abc"));
    QCOMPARE(OrvConfiguration(config).mailPort(), 0);
}

void TestOrvConfiguration::encryptionThatIsNoNumberReadsAsZero()
{
    const auto config = configurationWith("encryption", QStringLiteral("SSL"));
    QCOMPARE(OrvConfiguration(config).mailEncryption(), 0);
}

void TestOrvConfiguration::numbersAreReadInBaseTen_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("number");
    QTest::newRow("leading zero") << QStringLiteral("010") << 10;
    QTest::newRow("zero and eight") << QStringLiteral("08") << 8;
    QTest::newRow("hexadecimal") << QStringLiteral("0x10") << 0;
    QTest::newRow("letters") << QStringLiteral("1f") << 0;
}

void TestOrvConfiguration::numbersAreReadInBaseTen()
{
    QFETCH(QString, text);
    QFETCH(int, number);
    QCOMPARE(OrvConfiguration(configurationWith("port", text)).mailPort(), number);
    QCOMPARE(OrvConfiguration(configurationWith("encryption", text)).mailEncryption(), number);
    QCOMPARE(OrvConfiguration(configurationWith("pushEnabled", text)).pushEnabled(), number != 0);
}

void TestOrvConfiguration::passwordIsStoredEncodedAndReadInClear()
{
    const QString password = QStringLiteral("s3cret \u00fcml\u00e4ut \"'$");
    QMailAccountConfiguration config;
    config.addServiceConfiguration(Service);
    OrvConfigurationEditor(&config).setMailPassword(password);

    QVERIFY(!stored(config, "password").isEmpty());
    QVERIFY(!stored(config, "password").contains(password));
    QCOMPARE(OrvConfiguration(config).mailPassword(), password);
    QCOMPARE(OrvConfigurationEditor(&config).mailPassword(), password);
}

void TestOrvConfiguration::passwordThatTheStoreCannotKeepIsRecognised()
{
    QVERIFY(canKeepPassword(QString()));
    QVERIFY(canKeepPassword(QStringLiteral("plain")));
    QVERIFY(canKeepPassword(QStringLiteral("\u00fcml\u00e4ut")));
    QVERIFY(!canKeepPassword(QStringLiteral("\u65e5\u672c")));
}

void TestOrvConfiguration::pushIsReadFromAnyNonZeroNumber_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("0") << QStringLiteral("0") << false;
    QTest::newRow("1") << QStringLiteral("1") << true;
    QTest::newRow("-7") << QStringLiteral("-7") << true;
    QTest::newRow("true") << QStringLiteral("true") << false;
    QTest::newRow("empty") << QStringLiteral("") << false;
}

void TestOrvConfiguration::pushIsReadFromAnyNonZeroNumber()
{
    QFETCH(QString, text);
    QFETCH(bool, enabled);
    const auto config = configurationWith("pushEnabled", text);
    QCOMPARE(OrvConfiguration(config).pushEnabled(), enabled);
}

void TestOrvConfiguration::savingNeverWritesPush()
{
    QMailAccount account;
    QMailAccountConfiguration fresh;
    writeSettings(AccountSettings(), &account, &fresh);
    QVERIFY(!fresh.serviceConfiguration(Service).values().contains(QStringLiteral("pushEnabled")));

    auto config = configurationWith("pushEnabled", QStringLiteral("1"));
    account.setCustomField(QStringLiteral("pushEnabled"), QStringLiteral("1"));
    writeSettings(AccountSettings(), &account, &config);
    QVERIFY(OrvConfiguration(config).pushEnabled());
    QCOMPARE(account.customField(QStringLiteral("pushEnabled")), QStringLiteral("1"));
}

void TestOrvConfiguration::textsAreStoredUnchanged()
{
    QMailAccountConfiguration config;
    config.addServiceConfiguration(Service);
    OrvConfigurationEditor editor(&config);
    editor.setMailEmail(QStringLiteral(" a@b "));
    editor.setMailDomain(QStringLiteral("EXAMPLE"));
    editor.setMailUserName(QStringLiteral("j\u00f6rg"));
    editor.setMailServer(QStringLiteral("mail.example.com"));

    QCOMPARE(stored(config, "email"), QStringLiteral(" a@b "));
    QCOMPARE(stored(config, "domain"), QStringLiteral("EXAMPLE"));
    QCOMPARE(stored(config, "username"), QStringLiteral("j\u00f6rg"));
    QCOMPARE(stored(config, "server"), QStringLiteral("mail.example.com"));
    QCOMPARE(editor.mailEmail(), QStringLiteral(" a@b "));
    QCOMPARE(editor.mailDomain(), QStringLiteral("EXAMPLE"));
    QCOMPARE(editor.mailUserName(), QStringLiteral("j\u00f6rg"));
    QCOMPARE(editor.mailServer(), QStringLiteral("mail.example.com"));
}

void TestOrvConfiguration::numbersAreStoredAsDecimalText()
{
    QMailAccountConfiguration config;
    config.addServiceConfiguration(Service);
    OrvConfigurationEditor editor(&config);
    editor.setMailPort(8443);
    editor.setMailEncryption(1);
    QCOMPARE(stored(config, "port"), QStringLiteral("8443"));
    QCOMPARE(stored(config, "encryption"), QStringLiteral("1"));
    QCOMPARE(editor.mailPort(), 8443);
    QCOMPARE(editor.mailEncryption(), 1);
}

void TestOrvConfiguration::viewOpensTheServiceConfigurationGiven()
{
    QMailAccountConfiguration config;
    config.addServiceConfiguration(QStringLiteral("other"));
    auto &other = config.serviceConfiguration(QStringLiteral("other"));
    other.setValue(QStringLiteral("server"), QStringLiteral("elsewhere"));
    const OrvConfiguration view(other);
    QCOMPARE(view.service(), QStringLiteral("other"));
    QCOMPARE(view.mailServer(), QStringLiteral("elsewhere"));
}

void TestOrvConfiguration::settingsSurviveTheMailStore()
{
    const AccountSettings settings = sampleSettings();
    QMailAccount account;
    QMailAccountConfiguration config;
    writeSettings(settings, &account, &config);
    QVERIFY(QMailStore::instance()->addAccount(&account, &config));

    const QMailAccountConfiguration kept(account.id());
    const AccountSettings read = readSettings(kept);
    QCOMPARE(read.userName, settings.userName);
    QCOMPARE(read.password, settings.password);
    QCOMPARE(read.server, settings.server);
    QCOMPARE(read.port, settings.port);
    QCOMPARE(read.encryption, settings.encryption);
    QCOMPARE(read.email, settings.email);
    QCOMPARE(read.domain, settings.domain);
    QCOMPARE(OrvConfiguration(kept).version(), 100);
    QCOMPARE(OrvConfiguration(kept).type(), QMailServiceConfiguration::SourceAndSink);
    const QMailAccount readAccount(account.id());
    QCOMPARE(readAccount.messageSources(), QStringList(Service));
    QCOMPARE(readAccount.messageSinks(), QStringList(Service));
}

void TestOrvConfiguration::settingsLeftEmptyAreTakenByTheMailStore()
{
    QMailAccount account;
    QMailAccountConfiguration config;
    writeSettings(AccountSettings(), &account, &config);
    QVERIFY(QMailStore::instance()->addAccount(&account, &config));
    QCOMPARE(readSettings(QMailAccountConfiguration(account.id())).domain, QString());
}

void TestOrvConfiguration::markedAccountHasExactlyTheseFlags()
{
    QMailAccount account;
    account.setStatus(QMailAccount::CanCreateFolders | QMailAccount::UserRemovable
                          | QMailAccount::PreferredSender,
                      true);
    QMailAccountConfiguration config;
    writeSettings(AccountSettings(), &account, &config);
    QVERIFY(QMailAccount::Enabled != 0);
    QCOMPARE(account.status(),
             QMailAccount::Enabled | QMailAccount::CanTransmit | QMailAccount::CanRetrieve
                 | QMailAccount::MessageSource | QMailAccount::MessageSink
                 | QMailAccount::UseSmartReply | QMailAccount::UserEditable);
    QCOMPARE(account.messageType(), QMailMessage::Email);
}

QTEST_GUILESS_MAIN(TestOrvConfiguration)
#include "tst_orvconfiguration.moc"
