// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/accountform.h"

#include "accounts/window/problemlabel.h"
#include "asclient/servicekey.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <qmailaccount.h>
#include <qmailaccountconfiguration.h>
#include <qmailmessageservice.h>
#include <qmailstore.h>
#include <QVBoxLayout>

#include <memory>

namespace Accounts {

namespace {

const QString NameSetting = QStringLiteral("name");
const QString PortSetting = QStringLiteral("port");
const QString EncryptionSetting = QStringLiteral("encryption");

/** The inputs of the plugin's form, in their order, with the settings that they are for. */
const QList<QPair<QString, QString>> Inputs {
    {QStringLiteral("username"), QStringLiteral("mailUserInput")},
    {QStringLiteral("password"), QStringLiteral("mailPasswInput")},
    {QStringLiteral("server"), QStringLiteral("mailServerInput")},
    {PortSetting, QStringLiteral("mailPortInput")},
    {EncryptionSetting, QStringLiteral("encryptionIncoming")},
    {QStringLiteral("domain"), QStringLiteral("mailDomainInput")},
    {QStringLiteral("email"), QStringLiteral("mailEmailInput")},
};

QMailMessageServiceEditor *newEditor()
{
    const std::unique_ptr<QMailMessageServiceConfigurator> configurator(
        QMailMessageServiceFactory::createServiceConfigurator(Activesync::mailServiceKey()));
    return configurator ? configurator->createEditor(QMailMessageServiceFactory::Source) : nullptr;
}

} // namespace

AccountForm::AccountForm(QWidget *parent)
    : QWidget(parent)
    , m_editor(newEditor())
    , m_name(new QLineEdit(this))
    , m_otherProblem(new ProblemLabel(nullptr, this))
{
    m_name->setObjectName(QStringLiteral("accountName"));
    m_name->setPlaceholderText(tr("what you call this account; the address if left empty"));
    m_otherProblem->setObjectName(QStringLiteral("problem-general"));
    build();
}

AccountForm::~AccountForm() = default;

void AccountForm::build()
{
    auto *label = new QLabel(tr("&Name"), this);
    label->setBuddy(m_name);
    addProblem(NameSetting, m_name);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(m_name);
    layout->addWidget(m_problems.value(NameSetting));
    if (m_editor) {
        m_editor->setParent(this);
        layout->addWidget(m_editor);
        m_grid = m_editor->findChild<QGridLayout *>();
    }
    layout->addWidget(m_otherProblem);
    layout->addStretch(1);
    if (!m_grid)
        return;
    spreadRows();
    for (const auto &input : Inputs) {
        if (QWidget *widget = inputFor(input.first))
            addProblem(input.first, widget);
    }
    placeProblems();
}

/** Makes room for a row beneath each row of the plugin's form. */
void AccountForm::spreadRows()
{
    struct Cell
    {
        QLayoutItem *item;
        int row;
        int column;
    };
    QList<Cell> cells;
    while (m_grid->count() > 0) {
        int row = 0, column = 0, rows = 0, columns = 0;
        m_grid->getItemPosition(0, &row, &column, &rows, &columns);
        cells.append({m_grid->takeAt(0), row, column});
    }
    for (const Cell &cell : qAsConst(cells))
        m_grid->addItem(cell.item, 2 * cell.row, cell.column);
    m_grid->setColumnStretch(1, 1);
}

void AccountForm::addProblem(const QString &setting, QWidget *input)
{
    auto *label = new ProblemLabel(input, input->parentWidget());
    label->setObjectName(QStringLiteral("problem-") + setting);
    m_problems.insert(setting, label);
}

void AccountForm::placeProblems()
{
    for (const auto &input : Inputs) {
        ProblemLabel *label = m_problems.value(input.first);
        if (!label)
            continue;
        int row = 0, column = 0, rows = 0, columns = 0;
        m_grid->getItemPosition(m_grid->indexOf(inputFor(input.first)), &row, &column, &rows,
                                &columns);
        m_grid->removeWidget(label);
        if (m_isNarrow)
            m_grid->addWidget(label, row + 1, column);
        else
            m_grid->addWidget(label, row, column + 1);
    }
    m_grid->setColumnStretch(2, m_isNarrow ? 0 : 1);
}

void AccountForm::setNarrow(bool narrow)
{
    if (narrow == m_isNarrow || !m_grid)
        return;
    m_isNarrow = narrow;
    placeProblems();
}

QWidget *AccountForm::inputFor(const QString &setting) const
{
    if (setting == NameSetting)
        return m_name;
    for (const auto &input : Inputs) {
        if (input.first == setting)
            return m_editor->findChild<QWidget *>(input.second);
    }
    return nullptr;
}

void AccountForm::display(const QMailAccountId &id)
{
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
}

void AccountForm::enter(const QString &setting, const QString &text)
{
    if (auto *line = qobject_cast<QLineEdit *>(inputFor(setting)))
        line->setText(text);
}

void AccountForm::propose(const AccountSettings &settings)
{
    enter(QStringLiteral("username"), settings.userName);
    enter(QStringLiteral("password"), settings.password);
    enter(QStringLiteral("server"), settings.server);
    enter(PortSetting, QString::number(settings.port));
    enter(QStringLiteral("email"), settings.email);
    if (auto *encryption = qobject_cast<QComboBox *>(inputFor(EncryptionSetting)))
        encryption->setCurrentIndex(settings.encryption);
}

/** A new account is a safe one unless the person decides otherwise. */
void AccountForm::suggestTls()
{
    enter(PortSetting, QStringLiteral("443"));
    if (auto *encryption = qobject_cast<QComboBox *>(inputFor(EncryptionSetting)))
        encryption->setCurrentIndex(1);
}

void AccountForm::writeTo(AccountDetails *details) const
{
    details->settings = typedSettings();
    // Whoever enters the password of an account that was wiped wants to use it again.
    if (details->wiped && !details->settings.password.isEmpty()) {
        details->wiped = false;
        details->enabled = true;
    }
    details->name = m_name->text().trimmed();
    if (details->name.isEmpty())
        details->name = details->settings.email;
    if (details->settings.userName.isEmpty())
        details->settings.userName = details->settings.email;
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
    settings.port = typed.value(PortSetting).toInt();
    settings.encryption = typed.value(EncryptionSetting).toInt();
    settings.email = text("email");
    settings.domain = text("domain");
    return settings;
}

void AccountForm::showProblem(const Outcome &problem)
{
    for (ProblemLabel *label : qAsConst(m_problems))
        label->retract();
    m_otherProblem->retract();
    if (!problem.ok())
        m_problems.value(problem.setting, m_otherProblem)->tell(problem.text);
}

void AccountForm::begin()
{
    const QList<QLineEdit *> needed {m_name,
                                     qobject_cast<QLineEdit *>(inputFor(QStringLiteral("email"))),
                                     qobject_cast<QLineEdit *>(inputFor(QStringLiteral("server")))};
    // Where an address is known already, the server is what is left.
    const bool isKnown = needed.at(1) && !needed.at(1)->text().isEmpty();
    QLineEdit *first = isKnown && needed.at(2) ? needed.at(2) : needed.at(0);
    first->setFocus();
}

} // namespace Accounts
