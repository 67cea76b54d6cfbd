// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/settings/orvsettings.h"

#include "plugin/settings/accountsettings.h"
#include "plugin/settings/orvconfiguration.h"

#include <QApplication>
#include <QEvent>
#include <qmailaccount.h>
#include <QValidator>

namespace {

/** Refuses each keystroke after which the text is no port; a field may be left empty. */
class PortValidator : public QValidator
{
public:
    explicit PortValidator(QObject *parent)
        : QValidator(parent)
    {
    }

    State validate(QString &input, int &) const override
    {
        if (input.isEmpty())
            return Acceptable;
        bool ok = false;
        const int port = input.toInt(&ok, 10);
        return ok && port >= 1 && port <= 65535 ? Acceptable : Invalid;
    }
};

/** The choice for a stored encryption; TLS for an unknown one, so that no password goes in
 * clear. */
int encryptionChoice(int stored)
{
    return stored == 0 ? 0 : 1;
}

constexpr int DefaultPort = 80;

} // namespace

OrvSettings::OrvSettings()
{
    m_form.setupUi(this);
    setLayoutDirection(QApplication::layoutDirection());
    m_form.mailPortInput->setValidator(new PortValidator(this));
    m_form.mailPasswInput->setEchoMode(QLineEdit::Password);
    connect(m_form.mailPortInput, &QLineEdit::textChanged, this, &OrvSettings::tellOfPort);
    nameInputs();
}

void OrvSettings::displayConfiguration(const QMailAccount &,
                                       const QMailAccountConfiguration &config)
{
    if (!isOrvAccount(config)) {
        m_form.mailUserInput->clear();
        m_form.mailPasswInput->clear();
        m_form.mailServerInput->clear();
        m_form.mailPortInput->setText(QStringLiteral("80"));
        m_form.encryptionIncoming->setCurrentIndex(0);
        m_form.mailEmailInput->clear();
        m_form.mailDomainInput->clear();
        return;
    }
    const OrvConfiguration stored(config);
    m_form.mailUserInput->setText(stored.mailUserName());
    m_form.mailPasswInput->setText(stored.mailPassword());
    m_form.mailServerInput->setText(stored.mailServer());
    m_form.mailPortInput->setText(QString::number(stored.mailPort()));
    m_form.encryptionIncoming->setCurrentIndex(encryptionChoice(stored.mailEncryption()));
    m_form.mailEmailInput->setText(stored.mailEmail());
    m_form.mailDomainInput->setText(stored.mailDomain());
}

bool OrvSettings::updateAccount(QMailAccount *account, QMailAccountConfiguration *config)
{
    writeSettings(typed(), account, config);
    return true;
}

QVariantMap OrvSettings::typedSettings() const
{
    const AccountSettings settings = typed();
    return {
        {QStringLiteral("username"), settings.userName},
        {QStringLiteral("password"), settings.password},
        {QStringLiteral("server"), settings.server},
        {QStringLiteral("port"), settings.port},
        {QStringLiteral("encryption"), settings.encryption},
        {QStringLiteral("email"), settings.email},
        {QStringLiteral("domain"), settings.domain},
    };
}

AccountSettings OrvSettings::typed() const
{
    AccountSettings settings;
    settings.userName = m_form.mailUserInput->text();
    settings.password = m_form.mailPasswInput->text();
    settings.server = m_form.mailServerInput->text();
    settings.port = enteredPort();
    settings.encryption = m_form.encryptionIncoming->currentIndex();
    settings.email = m_form.mailEmailInput->text();
    settings.domain = m_form.mailDomainInput->text();
    return settings;
}

/** The port that is shown, or the default where that, as it was stored, is no port. */
int OrvSettings::enteredPort() const
{
    bool ok = false;
    const int port = m_form.mailPortInput->text().toInt(&ok, 10);
    return ok && m_form.mailPortInput->hasAcceptableInput() ? port : DefaultPort;
}

/** Tells that the default will be saved where the port that is shown is none. */
void OrvSettings::tellOfPort()
{
    const QString told = m_form.mailPortInput->hasAcceptableInput()
        ? QString()
        : tr("This is no port: %1 will be saved.").arg(DefaultPort);
    m_form.mailPortInput->setToolTip(told);
    m_form.mailPortInput->setAccessibleDescription(told);
}

void OrvSettings::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QMailMessageServiceEditor::changeEvent(event);
}

/** The language may change while a person is filling the form; what was entered stays. */
void OrvSettings::retranslate()
{
    const int encryption = m_form.encryptionIncoming->currentIndex();
    m_form.retranslateUi(this);
    m_form.encryptionIncoming->setCurrentIndex(encryption);
    setLayoutDirection(QApplication::layoutDirection());
    nameInputs();
    tellOfPort();
}

/** A screen reader names an input by its buddy label; two inputs have none. */
void OrvSettings::nameInputs()
{
    m_form.mailDomainInput->setAccessibleName(m_form.domainLabel->text());
    m_form.mailEmailInput->setAccessibleName(m_form.emailLabel->text());
}
