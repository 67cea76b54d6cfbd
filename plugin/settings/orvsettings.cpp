// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/settings/orvsettings.h"

#include "plugin/settings/accountsettings.h"
#include "plugin/settings/orvconfiguration.h"

#include <QApplication>
#include <QEvent>
#include <QValidator>

#include <qmailaccount.h>

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

/** The choice for a stored encryption; of one that nobody knows, the one that sends no password
 * openly. */
int encryptionChoice(int stored)
{
    return stored == 0 ? 0 : 1;
}

constexpr int DefaultPort = 80;

} // namespace

OrvSettings::OrvSettings()
{
    form.setupUi(this);
    setLayoutDirection(QApplication::layoutDirection());
    form.mailPortInput->setValidator(new PortValidator(this));
    form.mailPasswInput->setEchoMode(QLineEdit::Password);
    connect(form.mailPortInput, &QLineEdit::textChanged, this, &OrvSettings::tellOfPort);
    nameInputs();
}

void OrvSettings::displayConfiguration(const QMailAccount &,
                                       const QMailAccountConfiguration &config)
{
    if (!isOrvAccount(config)) {
        form.mailUserInput->clear();
        form.mailPasswInput->clear();
        form.mailServerInput->clear();
        form.mailPortInput->setText(QStringLiteral("80"));
        form.encryptionIncoming->setCurrentIndex(0);
        form.mailEmailInput->clear();
        form.mailDomainInput->clear();
        return;
    }
    const OrvConfiguration stored(config);
    form.mailUserInput->setText(stored.mailUserName());
    form.mailPasswInput->setText(stored.mailPassword());
    form.mailServerInput->setText(stored.mailServer());
    form.mailPortInput->setText(QString::number(stored.mailPort()));
    form.encryptionIncoming->setCurrentIndex(encryptionChoice(stored.mailEncryption()));
    form.mailEmailInput->setText(stored.mailEmail());
    form.mailDomainInput->setText(stored.mailDomain());
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
    settings.userName = form.mailUserInput->text();
    settings.password = form.mailPasswInput->text();
    settings.server = form.mailServerInput->text();
    settings.port = enteredPort();
    settings.encryption = form.encryptionIncoming->currentIndex();
    settings.email = form.mailEmailInput->text();
    settings.domain = form.mailDomainInput->text();
    return settings;
}

/** What was stored before may be no port at all: it is not stored again. */
int OrvSettings::enteredPort() const
{
    bool ok = false;
    const int port = form.mailPortInput->text().toInt(&ok, 10);
    return ok && form.mailPortInput->hasAcceptableInput() ? port : DefaultPort;
}

/** Says so where the port that is shown, as it was stored, is none. */
void OrvSettings::tellOfPort()
{
    const QString told = form.mailPortInput->hasAcceptableInput()
        ? QString()
        : tr("This is no port: %1 will be saved.").arg(DefaultPort);
    form.mailPortInput->setToolTip(told);
    form.mailPortInput->setAccessibleDescription(told);
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
    const int encryption = form.encryptionIncoming->currentIndex();
    form.retranslateUi(this);
    form.encryptionIncoming->setCurrentIndex(encryption);
    setLayoutDirection(QApplication::layoutDirection());
    nameInputs();
    tellOfPort();
}

/** A screen reader names an input by its buddy label; two inputs have none. */
void OrvSettings::nameInputs()
{
    form.mailDomainInput->setAccessibleName(form.domainLabel->text());
    form.mailEmailInput->setAccessibleName(form.emailLabel->text());
}
