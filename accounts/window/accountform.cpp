// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/accountform.h"

#include "accounts/accountbook.h"

#include <qmailaccount.h>
#include <qmailaccountconfiguration.h>
#include <qmailmessageservice.h>
#include <qmailstore.h>

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace Accounts {

namespace {

const QString MessageName = QStringLiteral("problem-");

QMailMessageServiceEditor *newEditor()
{
    const std::unique_ptr<QMailMessageServiceConfigurator> configurator(
        QMailMessageServiceFactory::createServiceConfigurator(QStringLiteral("orvmail")));
    return configurator ? configurator->createEditor(QMailMessageServiceFactory::Source) : nullptr;
}

QLabel *newMessage(QWidget *parent, const QString &setting)
{
    auto *label = new QLabel(parent);
    label->setObjectName(MessageName + setting);
    label->setWordWrap(true);
    label->setStyleSheet(QStringLiteral("color: #a00000"));
    label->hide();
    return label;
}

} // namespace

AccountForm::AccountForm(QWidget *parent)
    : QWidget(parent)
    , m_editor(newEditor())
    , m_name(new QLineEdit(this))
    , m_nameMessage(newMessage(this, QStringLiteral("name")))
    , m_message(newMessage(this, QStringLiteral("general")))
{
    build();
}

AccountForm::~AccountForm() = default;

void AccountForm::build()
{
    auto *label = new QLabel(tr("&Name"), this);
    label->setBuddy(m_name);
    m_name->setObjectName(QStringLiteral("accountName"));
    m_name->setPlaceholderText(tr("what you call this account; the address if left empty"));
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(m_name);
    layout->addWidget(m_nameMessage);
    if (m_editor) {
        m_editor->setParent(this);
        layout->addWidget(m_editor);
        addMessages();
    }
    layout->addWidget(m_message);
    layout->addStretch(1);
}

/** Beneath each input of the form a message, in a column that has the inputs' width. */
void AccountForm::addMessages()
{
    auto *grid = m_editor->findChild<QGridLayout *>();
    if (!grid)
        return;
    const QStringList settings {QStringLiteral("username"),   QStringLiteral("password"),
                                QStringLiteral("server"),     QStringLiteral("port"),
                                QStringLiteral("encryption"), QStringLiteral("domain"),
                                QStringLiteral("email")};
    for (const QString &setting : settings) {
        QWidget *input = inputFor(setting);
        if (!input)
            continue;
        int row = 0, column = 0, rows = 0, columns = 0;
        grid->getItemPosition(grid->indexOf(input), &row, &column, &rows, &columns);
        grid->addWidget(newMessage(m_editor, setting), row, column + 1);
    }
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(2, 1);
}

QWidget *AccountForm::inputFor(const QString &setting) const
{
    static const QMap<QString, QString> inputs {
        {QStringLiteral("username"), QStringLiteral("mailUserInput")},
        {QStringLiteral("password"), QStringLiteral("mailPasswInput")},
        {QStringLiteral("server"), QStringLiteral("mailServerInput")},
        {QStringLiteral("port"), QStringLiteral("mailPortInput")},
        {QStringLiteral("encryption"), QStringLiteral("encryptionIncoming")},
        {QStringLiteral("domain"), QStringLiteral("mailDomainInput")},
        {QStringLiteral("email"), QStringLiteral("mailEmailInput")},
    };
    if (setting == QLatin1String("name"))
        return m_name;
    return m_editor->findChild<QWidget *>(inputs.value(setting, QStringLiteral("none")));
}

void AccountForm::display(const QMailAccountId &id)
{
    m_account = id;
    showProblem({});
    const QMailAccount account =
        id.isValid() ? QMailStore::instance()->account(id) : QMailAccount();
    const QMailAccountConfiguration config = id.isValid()
        ? QMailStore::instance()->accountConfiguration(id)
        : QMailAccountConfiguration();
    m_name->setText(account.name());
    m_editor->displayConfiguration(account, config);
    if (!id.isValid())
        suggestTls();
    m_shown = details();
}

/** A new account is a safe one unless the person decides otherwise. */
void AccountForm::suggestTls()
{
    if (auto *port = qobject_cast<QLineEdit *>(inputFor(QStringLiteral("port"))))
        port->setText(QStringLiteral("443"));
    if (auto *encryption = qobject_cast<QComboBox *>(inputFor(QStringLiteral("encryption"))))
        encryption->setCurrentIndex(1);
}

bool AccountForm::isModified() const
{
    const AccountDetails now = details();
    return now.name != m_shown.name || !(now.settings == m_shown.settings);
}

AccountDetails AccountForm::details() const
{
    AccountDetails details;
    if (m_account.isValid())
        details = AccountBook::details(m_account);
    details.settings = typedSettings();
    // Whoever enters the password of an account that was wiped wants to use it again.
    if (details.wiped && !details.settings.password.isEmpty()) {
        details.wiped = false;
        details.enabled = true;
    }
    details.name = m_name->text().trimmed();
    if (details.name.isEmpty())
        details.name = details.settings.email;
    if (details.settings.userName.isEmpty())
        details.settings.userName = details.settings.email;
    return details;
}

/** Not by way of a configuration: its encoding loses letters of a password, and a person is to be
 * told so instead. */
AccountSettings AccountForm::typedSettings() const
{
    const QVariantMap typed = m_editor->property("typedSettings").toMap();
    const auto text = [&typed](const char *name) {
        return typed.value(QLatin1String(name)).toString();
    };
    AccountSettings settings;
    settings.userName = text("username");
    settings.password = text("password");
    settings.server = text("server");
    settings.port = typed.value(QStringLiteral("port")).toInt();
    settings.encryption = typed.value(QStringLiteral("encryption")).toInt();
    settings.email = text("email");
    settings.domain = text("domain");
    return settings;
}

void AccountForm::showProblem(const Outcome &problem)
{
    const QList<QLabel *> labels = findChildren<QLabel *>();
    for (QLabel *label : labels) {
        if (!label->objectName().startsWith(MessageName))
            continue;
        label->hide();
        if (QWidget *input = inputFor(label->objectName().mid(MessageName.size())))
            input->setAccessibleDescription(QString());
    }
    if (problem.ok())
        return;
    QLabel *label = findChild<QLabel *>(MessageName + problem.setting);
    if (!label || problem.setting.isEmpty())
        label = m_message;
    label->setText(problem.text);
    label->show();
    if (QWidget *input = inputFor(problem.setting)) {
        input->setAccessibleDescription(problem.text);
        input->setFocus();
    }
}

void AccountForm::begin()
{
    m_name->setFocus();
}

} // namespace Accounts
