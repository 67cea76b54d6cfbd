// SPDX-License-Identifier: LGPL-2.1-or-later
// An account-settings program as somebody else would write it: it knows the headers of QMF and of
// Qt and finds the form's inputs by their names. Nothing of this project is linked.
#include <QApplication>
#include <QComboBox>
#include <QFileInfo>
#include <QLineEdit>
#include <qmailaccount.h>
#include <qmailaccountconfiguration.h>
#include <qmailmessage.h>
#include <qmailmessageservice.h>
#include <qmailstore.h>
#include <QTest>

#include <dlfcn.h>
#include <memory>

namespace {

const QString Service = QStringLiteral("orvmail");

} // namespace

class TestSettingsProgram : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void configuratorNamesTheService();
    void editorForOtherRolesIsNull();
    void editorsAreDistinctAndWithoutParent();
    void sourceAndSinkGetTheSameForm();
    void editorIsAServiceEditor();
    void editorBaseClassComesFromOneLibrary();
    void formIsShownFilledSavedAndReadBack();
    void savedAccountIsKnownToTheStore();

private:
    using Editor = std::unique_ptr<QMailMessageServiceEditor>;

    Editor editor(QMailMessageServiceFactory::ServiceType type) const
    {
        return Editor(m_configurator->createEditor(type));
    }
    static QLineEdit *line(const Editor &editor, const char *name)
    {
        return editor->findChild<QLineEdit *>(QLatin1String(name));
    }
    static void type(const Editor &editor, const char *name, const QString &text);
    static void fill(const Editor &editor);

    std::unique_ptr<QMailMessageServiceConfigurator> m_configurator;
};

void TestSettingsProgram::initTestCase()
{
    m_configurator.reset(QMailMessageServiceFactory::createServiceConfigurator(Service));
    QVERIFY(m_configurator);
}

void TestSettingsProgram::type(const Editor &editor, const char *name, const QString &text)
{
    QLineEdit *input = line(editor, name);
    QVERIFY2(input, name);
    input->selectAll();
    QTest::keyClick(input, Qt::Key_Delete);
    QTest::keyClicks(input, text);
}

void TestSettingsProgram::fill(const Editor &editor)
{
    type(editor, "mailUserInput", QStringLiteral("alice"));
    type(editor, "mailPasswInput", QStringLiteral("settings-program-secret"));
    type(editor, "mailServerInput", QStringLiteral("mail.example.com"));
    type(editor, "mailPortInput", QStringLiteral("443"));
    type(editor, "mailEmailInput", QStringLiteral("alice@example.com"));
    type(editor, "mailDomainInput", QStringLiteral("EXAMPLE"));
    editor->findChild<QComboBox *>()->setCurrentIndex(1);
}

void TestSettingsProgram::configuratorNamesTheService()
{
    QCOMPARE(m_configurator->service(), Service);
    QCOMPARE(m_configurator->displayName(), QStringLiteral("ORV"));
    QCOMPARE(m_configurator->serviceConstraints(QMailMessageServiceFactory::Source), QStringList());
}

void TestSettingsProgram::editorForOtherRolesIsNull()
{
    QVERIFY(!editor(QMailMessageServiceFactory::Any));
    QVERIFY(!editor(QMailMessageServiceFactory::Storage));
    QVERIFY(!editor(QMailMessageServiceFactory::ServiceType(4)));
}

void TestSettingsProgram::editorsAreDistinctAndWithoutParent()
{
    const Editor first = editor(QMailMessageServiceFactory::Source);
    const Editor second = editor(QMailMessageServiceFactory::Source);
    QVERIFY(first && second);
    QVERIFY(first.get() != second.get());
    QVERIFY(!first->parent());
    QVERIFY(!second->parent());
}

void TestSettingsProgram::sourceAndSinkGetTheSameForm()
{
    const Editor source = editor(QMailMessageServiceFactory::Source);
    const Editor sink = editor(QMailMessageServiceFactory::Sink);
    QVERIFY(source && sink);
    QCOMPARE(source->metaObject()->className(), "OrvSettings");
    QCOMPARE(sink->metaObject(), source->metaObject());
}

void TestSettingsProgram::editorIsAServiceEditor()
{
    const Editor source = editor(QMailMessageServiceFactory::Source);
    QVERIFY(source->inherits("QMailMessageServiceEditor"));
    QCOMPARE(source->metaObject()->superClass()->className(), "QMailMessageServiceEditor");
    QCOMPARE(source->metaObject()->superClass()->superClass(), &QWidget::staticMetaObject);
}

void TestSettingsProgram::editorBaseClassComesFromOneLibrary()
{
    const Editor source = editor(QMailMessageServiceFactory::Source);
    Dl_info library;
    QVERIFY(dladdr(source->metaObject()->superClass(), &library));
    const QString name = QFileInfo(QFile::decodeName(library.dli_fname)).fileName();
    QVERIFY(qEnvironmentVariableIsSet("EDITOR_CLASS_FROM"));
    QVERIFY2(name.startsWith(qEnvironmentVariable("EDITOR_CLASS_FROM")), qPrintable(name));
}

void TestSettingsProgram::formIsShownFilledSavedAndReadBack()
{
    QMailAccount account;
    QMailAccountConfiguration config;
    const Editor first = editor(QMailMessageServiceFactory::Source);
    first->displayConfiguration(account, config);
    first->show();
    QVERIFY(QTest::qWaitForWindowExposed(first.get()));
    QCOMPARE(line(first, "mailPortInput")->text(), QStringLiteral("80"));
    fill(first);
    QVERIFY(first->updateAccount(&account, &config));

    const Editor second = editor(QMailMessageServiceFactory::Sink);
    second->displayConfiguration(account, config);
    QCOMPARE(line(second, "mailUserInput")->text(), QStringLiteral("alice"));
    QCOMPARE(line(second, "mailPasswInput")->text(), QStringLiteral("settings-program-secret"));
    QCOMPARE(line(second, "mailServerInput")->text(), QStringLiteral("mail.example.com"));
    QCOMPARE(line(second, "mailPortInput")->text(), QStringLiteral("443"));
    QCOMPARE(line(second, "mailEmailInput")->text(), QStringLiteral("alice@example.com"));
    QCOMPARE(line(second, "mailDomainInput")->text(), QStringLiteral("EXAMPLE"));
    QCOMPARE(second->findChild<QComboBox *>()->currentIndex(), 1);
}

void TestSettingsProgram::savedAccountIsKnownToTheStore()
{
    QMailAccount account;
    QMailAccountConfiguration config;
    const Editor form = editor(QMailMessageServiceFactory::Source);
    form->displayConfiguration(account, config);
    fill(form);
    QVERIFY(form->updateAccount(&account, &config));
    QVERIFY(QMailStore::instance()->addAccount(&account, &config));

    const QMailAccount stored(account.id());
    QCOMPARE(stored.messageType(), QMailMessage::Email);
    QCOMPARE(stored.messageSources(), QStringList(Service));
    QCOMPARE(stored.messageSinks(), QStringList(Service));
    QVERIFY(stored.status() & QMailAccount::Enabled);
    QVERIFY(!(stored.status() & QMailAccount::UserRemovable));
}

QTEST_MAIN(TestSettingsProgram)
#include "tst_settingsprogram.moc"
