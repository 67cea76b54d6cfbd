// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/settings/orvconfigurationeditor.h"
#include "plugin/settings/orvsettings.h"

#include <QAccessible>
#include <QApplication>
#include <qmailaccount.h>
#include <qmailaccountconfiguration.h>
#include <QTest>
#include <QTranslator>

#include <algorithm>

namespace {

const QString Service = QStringLiteral("orvmail");

/** A right-to-left language of our own: every text of the form backwards. */
class Backwards : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        if (qstrcmp(source, "QT_LAYOUT_DIRECTION") == 0)
            return QStringLiteral("RTL");
        if (qstrcmp(context, "OrvSettings") != 0)
            return QStringLiteral("not of this form");
        QString text = QString::fromUtf8(source);
        std::reverse(text.begin(), text.end());
        return text;
    }
    bool isEmpty() const override { return false; }
};

QMailAccountConfiguration filledConfiguration()
{
    QMailAccountConfiguration config;
    config.addServiceConfiguration(Service);
    auto &values = config.serviceConfiguration(Service);
    values.setValue(QStringLiteral("username"), QStringLiteral("alice"));
    values.setValue(QStringLiteral("server"), QStringLiteral("mail.example.com"));
    values.setValue(QStringLiteral("port"), QStringLiteral("443"));
    values.setValue(QStringLiteral("encryption"), QStringLiteral("1"));
    values.setValue(QStringLiteral("email"), QStringLiteral("alice@example.com"));
    values.setValue(QStringLiteral("domain"), QStringLiteral("EXAMPLE"));
    OrvConfigurationEditor(&config).setMailPassword(QStringLiteral("s3cret"));
    return config;
}

} // namespace

/** The settings form, looked at and typed into as a person does. */
class TestOrvSettings : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void formHasItsFieldsInTheirCells_data();
    void formHasItsFieldsInTheirCells();
    void formHasItsLayouts();
    void formHasItsTextsAndSize();
    void formKeepsAnObjectName();
    void labelsHaveTheirBuddies();
    void everyInputHasAName();
    void tabGoesDownTheForm();
    void passwordIsNotShown();

    void accountOfAnotherServiceShowsDefaults();
    void accountShowsItsSettings();
    void choiceIsTheStoredEncryption_data();
    void choiceIsTheStoredEncryption();
    void encryptionThatNobodyKnowsIsShownAsTls_data();
    void encryptionThatNobodyKnowsIsShownAsTls();
    void storedPortThatIsNoNumberShowsZero();
    void storedPortThatIsNoPortIsToldAndSavedAs80_data();
    void storedPortThatIsNoPortIsToldAndSavedAs80();

    void portTakesTyping_data();
    void portTakesTyping();
    void pastedPortIsReadInBaseTen_data();
    void pastedPortIsReadInBaseTen();
    void emptyPortIsSavedAs80();
    void savedFormReadsBack();
    void savingAddsTheServiceOnce();
    void savingMarksTheAccount();
    void customFieldsRepeatServerAndUser();
    void typedSettingsAreOfferedAsTheyWereTyped();

    void retranslatingKeepsTwoChoices();
    void languageSwitchChangesTheTextsAndKeepsTheInput();
    void rightToLeftPutsLabelsOnTheRight();
    void rowsAreAlignedAndNothingIsCutOff();
    void takesAPicture();

private:
    QLineEdit *line(const char *name) const;
    QLabel *label(const char *name) const;
    QComboBox *encryption() const;
    QGridLayout *grid() const;
    void show();

    OrvSettings *m_settings = nullptr;
};

void TestOrvSettings::init()
{
    m_settings = new OrvSettings;
}

void TestOrvSettings::cleanup()
{
    delete m_settings;
    QApplication::setLayoutDirection(Qt::LeftToRight);
}

QLineEdit *TestOrvSettings::line(const char *name) const
{
    return m_settings->findChild<QLineEdit *>(QLatin1String(name));
}

QLabel *TestOrvSettings::label(const char *name) const
{
    return m_settings->findChild<QLabel *>(QLatin1String(name));
}

QComboBox *TestOrvSettings::encryption() const
{
    return m_settings->findChild<QComboBox *>();
}

QGridLayout *TestOrvSettings::grid() const
{
    return m_settings->findChild<QGridLayout *>(QStringLiteral("gridLayout"));
}

void TestOrvSettings::show()
{
    m_settings->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_settings));
    m_settings->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_settings));
}

void TestOrvSettings::formHasItsFieldsInTheirCells_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    const char *labels[] = {"usernameLabel",         "passwordLabel", "serverLabel", "portLabel",
                            "lblEncryptionIncoming", "domainLabel",   "emailLabel"};
    const char *inputs[] = {"mailUserInput", "mailPasswInput",     "mailServerInput",
                            "mailPortInput", "encryptionIncoming", "mailDomainInput",
                            "mailEmailInput"};
    for (int row = 0; row < 7; ++row) {
        QTest::newRow(labels[row]) << QStringLiteral("QLabel") << row << 0;
        QTest::newRow(inputs[row])
            << (row == 4 ? QStringLiteral("QComboBox") : QStringLiteral("QLineEdit")) << row << 1;
    }
}

void TestOrvSettings::formHasItsFieldsInTheirCells()
{
    QFETCH(QString, type);
    QFETCH(int, row);
    QFETCH(int, column);
    auto *widget = m_settings->findChild<QWidget *>(QLatin1String(QTest::currentDataTag()),
                                                    Qt::FindDirectChildrenOnly);
    QVERIFY(widget);
    QCOMPARE(QLatin1String(widget->metaObject()->className()), type);
    int inRow = -1, inColumn = -1, rows = 0, columns = 0;
    grid()->getItemPosition(grid()->indexOf(widget), &inRow, &inColumn, &rows, &columns);
    QCOMPARE(inRow, row);
    QCOMPARE(inColumn, column);
    QCOMPARE(rows, 1);
    QCOMPARE(columns, 1);
}

void TestOrvSettings::formHasItsLayouts()
{
    auto *box = m_settings->findChild<QVBoxLayout *>(QStringLiteral("vboxLayout"));
    QVERIFY(box);
    QCOMPARE(m_settings->layout(), box);
    QCOMPARE(box->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(box->itemAt(0)->layout(), grid());
    QCOMPARE(box->stretch(0), 0);
    QCOMPARE(grid()->count(), 14);
}

void TestOrvSettings::formHasItsTextsAndSize()
{
    QCOMPARE(m_settings->objectName(), QStringLiteral("OrvSettings"));
    QCOMPARE(m_settings->size(), QSize(365, 340));
    QCOMPARE(m_settings->windowTitle(), QStringLiteral("Form"));
    QCOMPARE(label("usernameLabel")->text(), QStringLiteral("Username"));
    QCOMPARE(label("passwordLabel")->text(), QStringLiteral("Password"));
    QCOMPARE(label("serverLabel")->text(), QStringLiteral("Server"));
    QCOMPARE(label("portLabel")->text(), QStringLiteral("Port"));
    QCOMPARE(label("lblEncryptionIncoming")->text(), QStringLiteral("Encryption"));
    QCOMPARE(label("domainLabel")->text(), QStringLiteral("Domain"));
    QCOMPARE(label("emailLabel")->text(), QStringLiteral("Email"));
    QCOMPARE(encryption()->count(), 2);
    QCOMPARE(encryption()->itemText(0), QStringLiteral("None"));
    QCOMPARE(encryption()->itemText(1), QStringLiteral("SSL"));
}

void TestOrvSettings::formKeepsAnObjectName()
{
    QWidget widget;
    widget.setObjectName(QStringLiteral("mine"));
    Ui_OrvSettings form;
    form.setupUi(&widget);
    QCOMPARE(widget.objectName(), QStringLiteral("mine"));
}

void TestOrvSettings::labelsHaveTheirBuddies()
{
    QCOMPARE(label("usernameLabel")->buddy(), line("mailUserInput"));
    QCOMPARE(label("passwordLabel")->buddy(), line("mailPasswInput"));
    QCOMPARE(label("serverLabel")->buddy(), line("mailServerInput"));
    QCOMPARE(label("portLabel")->buddy(), line("mailPortInput"));
    QCOMPARE(label("lblEncryptionIncoming")->buddy(), encryption());
    QVERIFY(!label("domainLabel")->buddy());
    QVERIFY(!label("emailLabel")->buddy());
}

void TestOrvSettings::everyInputHasAName()
{
    for (int row = 0; row < 7; ++row) {
        QWidget *input = grid()->itemAtPosition(row, 1)->widget();
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(input);
        QVERIFY(accessible);
        QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), qPrintable(input->objectName()));
    }
}

void TestOrvSettings::tabGoesDownTheForm()
{
    show();
    line("mailUserInput")->setFocus();
    for (int row = 0; row < 7; ++row) {
        QWidget *focused = QApplication::focusWidget();
        QCOMPARE(focused, grid()->itemAtPosition(row, 1)->widget());
        QTest::keyClick(focused, Qt::Key_Tab);
    }
}

void TestOrvSettings::passwordIsNotShown()
{
    QCOMPARE(line("mailPasswInput")->echoMode(), QLineEdit::Password);
    line("mailPasswInput")->setText(QStringLiteral("secret"));
    QVERIFY(!line("mailPasswInput")->displayText().contains(QLatin1String("secret")));
}

void TestOrvSettings::accountOfAnotherServiceShowsDefaults()
{
    m_settings->displayConfiguration(QMailAccount(), filledConfiguration());
    QMailAccountConfiguration other;
    other.addServiceConfiguration(QStringLiteral("imap4"));
    QCOMPARE(line("mailPasswInput")->text(), QStringLiteral("s3cret"));
    m_settings->displayConfiguration(QMailAccount(), other);
    QCOMPARE(line("mailPortInput")->text(), QStringLiteral("80"));
    QCOMPARE(encryption()->currentText(), QStringLiteral("None"));
    for (const char *name : {"mailUserInput", "mailPasswInput", "mailServerInput", "mailEmailInput",
                             "mailDomainInput"})
        QCOMPARE(line(name)->text(), QString());
}

void TestOrvSettings::accountShowsItsSettings()
{
    m_settings->displayConfiguration(QMailAccount(), filledConfiguration());
    QCOMPARE(line("mailUserInput")->text(), QStringLiteral("alice"));
    QCOMPARE(line("mailPasswInput")->text(), QStringLiteral("s3cret"));
    QCOMPARE(line("mailServerInput")->text(), QStringLiteral("mail.example.com"));
    QCOMPARE(line("mailPortInput")->text(), QStringLiteral("443"));
    QCOMPARE(encryption()->currentIndex(), 1);
    QCOMPARE(line("mailEmailInput")->text(), QStringLiteral("alice@example.com"));
    QCOMPARE(line("mailDomainInput")->text(), QStringLiteral("EXAMPLE"));
}

void TestOrvSettings::choiceIsTheStoredEncryption_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("shown");
    QTest::newRow("none") << QStringLiteral("0") << QStringLiteral("None");
    QTest::newRow("SSL") << QStringLiteral("1") << QStringLiteral("SSL");
}

void TestOrvSettings::choiceIsTheStoredEncryption()
{
    QFETCH(QString, stored);
    QFETCH(QString, shown);
    QMailAccountConfiguration config = filledConfiguration();
    config.serviceConfiguration(Service).setValue(QStringLiteral("encryption"), stored);
    m_settings->displayConfiguration(QMailAccount(), config);
    QCOMPARE(encryption()->currentText(), shown);
    QMailAccount account;
    QMailAccountConfiguration saved;
    QVERIFY(m_settings->updateAccount(&account, &saved));
    QCOMPARE(saved.serviceConfiguration(Service).value(QStringLiteral("encryption")), stored);
}

void TestOrvSettings::storedPortThatIsNoNumberShowsZero()
{
    QMailAccountConfiguration config = filledConfiguration();
    config.serviceConfiguration(Service).setValue(QStringLiteral("port"), QStringLiteral("abc"));
    m_settings->displayConfiguration(QMailAccount(), config);
    QCOMPARE(line("mailPortInput")->text(), QStringLiteral("0"));
}

void TestOrvSettings::encryptionThatNobodyKnowsIsShownAsTls_data()
{
    QTest::addColumn<QString>("stored");
    QTest::newRow("too high") << QStringLiteral("2");
    QTest::newRow("far too high") << QStringLiteral("70000");
    QTest::newRow("negative") << QStringLiteral("-1");
}

void TestOrvSettings::encryptionThatNobodyKnowsIsShownAsTls()
{
    QFETCH(QString, stored);
    QMailAccountConfiguration config = filledConfiguration();
    config.serviceConfiguration(Service).setValue(QStringLiteral("encryption"), stored);
    m_settings->displayConfiguration(QMailAccount(), config);
    QCOMPARE(encryption()->currentText(), QStringLiteral("SSL"));
    QMailAccount account;
    QVERIFY(m_settings->updateAccount(&account, &config));
    QCOMPARE(OrvConfiguration(config).mailEncryption(), 1);
}

void TestOrvSettings::storedPortThatIsNoPortIsToldAndSavedAs80_data()
{
    QTest::addColumn<QString>("stored");
    QTest::newRow("letters") << QStringLiteral("abc");
    QTest::newRow("negative") << QStringLiteral("-5");
    QTest::newRow("too high") << QStringLiteral("70000");
}

void TestOrvSettings::storedPortThatIsNoPortIsToldAndSavedAs80()
{
    QFETCH(QString, stored);
    QMailAccountConfiguration config = filledConfiguration();
    config.serviceConfiguration(Service).setValue(QStringLiteral("port"), stored);
    m_settings->displayConfiguration(QMailAccount(), config);
    const QString told = line("mailPortInput")->toolTip();
    QVERIFY2(told.contains(QLatin1String("80")), qPrintable(told));
    QCOMPARE(line("mailPortInput")->accessibleDescription(), told);
    QMailAccount account;
    QVERIFY(m_settings->updateAccount(&account, &config));
    QCOMPARE(OrvConfiguration(config).mailPort(), 80);

    m_settings->displayConfiguration(QMailAccount(), config);
    QCOMPARE(line("mailPortInput")->toolTip(), QString());
    QCOMPARE(line("mailPortInput")->accessibleDescription(), QString());
}

void TestOrvSettings::portTakesTyping_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("taken");
    QTest::newRow("highest port") << QStringLiteral("65535") << QStringLiteral("65535");
    QTest::newRow("one more is refused") << QStringLiteral("65536") << QStringLiteral("6553");
    QTest::newRow("far too high") << QStringLiteral("70000") << QStringLiteral("7000");
    QTest::newRow("zero is refused") << QStringLiteral("0") << QString();
    QTest::newRow("leading zero is refused") << QStringLiteral("080") << QStringLiteral("80");
    QTest::newRow("letters are refused") << QStringLiteral("abc") << QString();
    QTest::newRow("minus is refused") << QStringLiteral("-1") << QStringLiteral("1");
    QTest::newRow("lowest port") << QStringLiteral("1") << QStringLiteral("1");
    QTest::newRow("empty") << QString() << QString();
}

void TestOrvSettings::portTakesTyping()
{
    QFETCH(QString, typed);
    QFETCH(QString, taken);
    show();
    QLineEdit *port = line("mailPortInput");
    port->setText(QStringLiteral("443"));
    port->setFocus();
    port->selectAll();
    QTest::keyClick(port, Qt::Key_Delete);
    QTest::keyClicks(port, typed);
    QCOMPARE(port->text(), taken);
    QVERIFY(port->hasAcceptableInput());
}

void TestOrvSettings::pastedPortIsReadInBaseTen_data()
{
    QTest::addColumn<QString>("pasted");
    QTest::addColumn<QString>("taken");
    QTest::addColumn<int>("saved");
    QTest::newRow("leading zero") << QStringLiteral("0443") << QStringLiteral("0443") << 443;
    QTest::newRow("zero and eight") << QStringLiteral("08") << QStringLiteral("08") << 8;
    QTest::newRow("hexadecimal is refused") << QStringLiteral("0x50") << QString() << 80;
}

void TestOrvSettings::pastedPortIsReadInBaseTen()
{
    QFETCH(QString, pasted);
    QFETCH(QString, taken);
    QFETCH(int, saved);
    line("mailPortInput")->insert(pasted);
    QCOMPARE(line("mailPortInput")->text(), taken);
    QMailAccount account;
    QMailAccountConfiguration config;
    QVERIFY(m_settings->updateAccount(&account, &config));
    QCOMPARE(OrvConfiguration(config).mailPort(), saved);
}

void TestOrvSettings::emptyPortIsSavedAs80()
{
    m_settings->displayConfiguration(QMailAccount(), filledConfiguration());
    show();
    line("mailPortInput")->setFocus();
    line("mailPortInput")->selectAll();
    QTest::keyClick(line("mailPortInput"), Qt::Key_Backspace);
    QMailAccount account;
    QMailAccountConfiguration config;
    QVERIFY(m_settings->updateAccount(&account, &config));
    QCOMPARE(config.serviceConfiguration(Service).value(QStringLiteral("port")),
             QStringLiteral("80"));
}

void TestOrvSettings::savedFormReadsBack()
{
    show();
    QTest::keyClicks(line("mailUserInput"), QStringLiteral("bob"));
    QTest::keyClicks(line("mailPasswInput"), QStringLiteral("pass word"));
    QTest::keyClicks(line("mailServerInput"), QStringLiteral("localhost"));
    QTest::keyClicks(line("mailPortInput"), QStringLiteral("8443"));
    QTest::keyClick(encryption(), Qt::Key_Down);
    QTest::keyClicks(line("mailDomainInput"), QStringLiteral("EXAMPLE"));
    QTest::keyClicks(line("mailEmailInput"), QStringLiteral("bob@example.com"));
    QMailAccount account;
    QMailAccountConfiguration config;
    QVERIFY(m_settings->updateAccount(&account, &config));

    const OrvConfiguration view(config);
    QCOMPARE(view.version(), 100);
    QCOMPARE(view.type(), QMailServiceConfiguration::SourceAndSink);
    QCOMPARE(view.mailUserName(), QStringLiteral("bob"));
    QCOMPARE(view.mailPassword(), QStringLiteral("pass word"));
    QCOMPARE(view.mailServer(), QStringLiteral("localhost"));
    QCOMPARE(view.mailPort(), 8443);
    QCOMPARE(view.mailEncryption(), 1);
    QCOMPARE(view.mailDomain(), QStringLiteral("EXAMPLE"));
    QCOMPARE(view.mailEmail(), QStringLiteral("bob@example.com"));

    OrvSettings again;
    again.displayConfiguration(account, config);
    QCOMPARE(again.findChild<QLineEdit *>(QStringLiteral("mailPasswInput"))->text(),
             QStringLiteral("pass word"));
    QCOMPARE(again.findChild<QComboBox *>()->currentIndex(), 1);
}

void TestOrvSettings::savingAddsTheServiceOnce()
{
    QMailAccount account;
    QMailAccountConfiguration config;
    config.addServiceConfiguration(QStringLiteral("other"));
    QVERIFY(m_settings->updateAccount(&account, &config));
    QVERIFY(m_settings->updateAccount(&account, &config));
    QCOMPARE(config.services().count(Service), 1);
    QVERIFY(config.services().contains(QStringLiteral("other")));
}

void TestOrvSettings::savingMarksTheAccount()
{
    QMailAccount account;
    account.setStatus(QMailAccount::CanCreateFolders | QMailAccount::UserRemovable
                          | QMailAccount::PreferredSender,
                      true);
    QMailAccountConfiguration config;
    QVERIFY(m_settings->updateAccount(&account, &config));
    QVERIFY(QMailAccount::Enabled != 0);
    QCOMPARE(account.status(),
             QMailAccount::Enabled | QMailAccount::CanTransmit | QMailAccount::CanRetrieve
                 | QMailAccount::MessageSource | QMailAccount::MessageSink
                 | QMailAccount::UseSmartReply | QMailAccount::UserEditable);
    QCOMPARE(account.messageType(), QMailMessage::Email);
    QCOMPARE(account.customField(QStringLiteral("service")), Service);
}

void TestOrvSettings::customFieldsRepeatServerAndUser()
{
    m_settings->displayConfiguration(QMailAccount(), filledConfiguration());
    QMailAccount account;
    QMailAccountConfiguration config;
    QVERIFY(m_settings->updateAccount(&account, &config));
    const auto &values = config.serviceConfiguration(Service).values();
    QCOMPARE(account.customField(QStringLiteral("HostName")), QStringLiteral("mail.example.com"));
    QCOMPARE(values.value(QStringLiteral("server")), QStringLiteral("mail.example.com"));
    QCOMPARE(account.customField(QStringLiteral("UserName")), QStringLiteral("alice"));
    QCOMPARE(values.value(QStringLiteral("username")), QStringLiteral("alice"));
}

void TestOrvSettings::typedSettingsAreOfferedAsTheyWereTyped()
{
    // The account's encoding of a password would turn these letters into question marks.
    const QString password = QString::fromUtf8("\xd0\x9f\xd0\xb0\xd1\x80\xd0\xbe\xd0\xbb\xd1\x8c");
    show();
    QTest::keyClicks(line("mailUserInput"), QStringLiteral("alice"));
    line("mailPasswInput")->insert(password);
    QTest::keyClicks(line("mailServerInput"), QStringLiteral("mail.example.com"));
    line("mailPortInput")->setText(QString());
    QTest::keyClicks(line("mailDomainInput"), QStringLiteral("EXAMPLE"));
    QTest::keyClicks(line("mailEmailInput"), QStringLiteral("alice@example.com"));
    encryption()->setCurrentIndex(1);
    const QVariantMap expected {
        {QStringLiteral("username"), QStringLiteral("alice")},
        {QStringLiteral("password"), password},
        {QStringLiteral("server"), QStringLiteral("mail.example.com")},
        {QStringLiteral("port"), 80},
        {QStringLiteral("encryption"), 1},
        {QStringLiteral("domain"), QStringLiteral("EXAMPLE")},
        {QStringLiteral("email"), QStringLiteral("alice@example.com")},
    };
    QCOMPARE(m_settings->property("typedSettings").toMap(), expected);
}

void TestOrvSettings::retranslatingKeepsTwoChoices()
{
    QWidget widget;
    Ui_OrvSettings form;
    form.setupUi(&widget);
    form.retranslateUi(&widget);
    form.retranslateUi(&widget);
    QCOMPARE(form.encryptionIncoming->count(), 2);
}

void TestOrvSettings::languageSwitchChangesTheTextsAndKeepsTheInput()
{
    m_settings->displayConfiguration(QMailAccount(), filledConfiguration());
    show();
    Backwards language;
    QVERIFY(QCoreApplication::installTranslator(&language));
    QTRY_COMPARE(label("serverLabel")->text(), QStringLiteral("revreS"));
    QCOMPARE(m_settings->windowTitle(), QStringLiteral("mroF"));
    QCOMPARE(label("usernameLabel")->text(), QStringLiteral("emanresU"));
    QCOMPARE(label("passwordLabel")->text(), QStringLiteral("drowssaP"));
    QCOMPARE(label("portLabel")->text(), QStringLiteral("troP"));
    QCOMPARE(label("lblEncryptionIncoming")->text(), QStringLiteral("noitpyrcnE"));
    QCOMPARE(label("domainLabel")->text(), QStringLiteral("niamoD"));
    QCOMPARE(label("emailLabel")->text(), QStringLiteral("liamE"));
    QCOMPARE(encryption()->itemText(0), QStringLiteral("enoN"));
    QCOMPARE(encryption()->itemText(1), QStringLiteral("LSS"));
    QCOMPARE(encryption()->count(), 2);
    QCOMPARE(encryption()->currentText(), QStringLiteral("LSS"));
    QCOMPARE(line("mailServerInput")->text(), QStringLiteral("mail.example.com"));
    QCOMPARE(line("mailEmailInput")->accessibleName(), QStringLiteral("liamE"));
    QCOMPARE(m_settings->layoutDirection(), Qt::RightToLeft);

    QVERIFY(QCoreApplication::removeTranslator(&language));
    QTRY_COMPARE(label("serverLabel")->text(), QStringLiteral("Server"));
    QCOMPARE(encryption()->currentText(), QStringLiteral("SSL"));
    QCOMPARE(m_settings->layoutDirection(), Qt::LeftToRight);
}

void TestOrvSettings::rightToLeftPutsLabelsOnTheRight()
{
    show();
    QVERIFY(label("serverLabel")->x() < line("mailServerInput")->x());
    QApplication::setLayoutDirection(Qt::RightToLeft);
    OrvSettings mirrored;
    QCOMPARE(mirrored.layoutDirection(), Qt::RightToLeft);
    mirrored.show();
    QVERIFY(QTest::qWaitForWindowExposed(&mirrored));
    QVERIFY(mirrored.findChild<QLabel *>(QStringLiteral("serverLabel"))->x()
            > mirrored.findChild<QLineEdit *>(QStringLiteral("mailServerInput"))->x());
}

void TestOrvSettings::rowsAreAlignedAndNothingIsCutOff()
{
    show();
    int bottom = 0;
    for (int row = 0; row < 7; ++row) {
        QWidget *text = grid()->itemAtPosition(row, 0)->widget();
        QWidget *input = grid()->itemAtPosition(row, 1)->widget();
        QVERIFY2(qAbs(text->geometry().center().y() - input->geometry().center().y()) <= 1,
                 qPrintable(text->objectName()));
        QVERIFY(text->width() >= text->sizeHint().width());
        QVERIFY(input->height() >= input->minimumSizeHint().height());
        QVERIFY(input->geometry().left() > text->geometry().right());
        QVERIFY(input->geometry().right() < m_settings->width());
        QVERIFY(input->geometry().top() >= bottom);
        bottom = input->geometry().bottom();
    }
    QVERIFY(bottom < m_settings->height());
}

void TestOrvSettings::takesAPicture()
{
    const QString folder = qEnvironmentVariable("ORVMAIL_BUILD_DIR");
    if (folder.isEmpty())
        QSKIP("no build folder named in ORVMAIL_BUILD_DIR");
    m_settings->displayConfiguration(QMailAccount(), filledConfiguration());
    line("mailPasswInput")->setText(QStringLiteral("not shown"));
    show();
    const QPixmap picture = m_settings->grab();
    QCOMPARE(picture.size(), QSize(365, 340) * picture.devicePixelRatio());
    const int percent = qRound(picture.devicePixelRatio() * 100);
    QVERIFY(picture.save(QStringLiteral("%1/settings-form-%2.png").arg(folder).arg(percent)));
}

QTEST_MAIN(TestOrvSettings)
#include "tst_orvsettings.moc"
