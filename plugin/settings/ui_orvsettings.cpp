// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/settings/ui_orvsettings.h"

#include <QCoreApplication>

namespace {

template <typename Widget>
Widget *place(QGridLayout *grid, QWidget *parent, const QString &name, int row, int column)
{
    auto *widget = new Widget(parent);
    widget->setObjectName(name);
    grid->addWidget(widget, row, column, 1, 1);
    return widget;
}

} // namespace

void Ui_OrvSettings::setupUi(QWidget *widget)
{
    if (widget->objectName().isEmpty())
        widget->setObjectName(QStringLiteral("OrvSettings"));
    widget->resize(365, 340);
    createWidgets(widget);
    connectLabels();
    QWidget::setTabOrder(mailUserInput, mailPasswInput);
    QWidget::setTabOrder(mailPasswInput, mailServerInput);
    QWidget::setTabOrder(mailServerInput, mailPortInput);
    QWidget::setTabOrder(mailPortInput, encryptionIncoming);
    retranslateUi(widget);
    QMetaObject::connectSlotsByName(widget);
}

void Ui_OrvSettings::createWidgets(QWidget *widget)
{
    vboxLayout = new QVBoxLayout(widget);
    vboxLayout->setContentsMargins(0, 0, 0, 0);
    vboxLayout->setObjectName(QStringLiteral("vboxLayout"));
    gridLayout = new QGridLayout();
    gridLayout->setObjectName(QStringLiteral("gridLayout"));
    vboxLayout->addLayout(gridLayout, 0);

    const auto label = [this, widget](const QString &name, int row) {
        return place<QLabel>(gridLayout, widget, name, row, 0);
    };
    const auto input = [this, widget](const QString &name, int row) {
        return place<QLineEdit>(gridLayout, widget, name, row, 1);
    };
    usernameLabel = label(QStringLiteral("usernameLabel"), 0);
    mailUserInput = input(QStringLiteral("mailUserInput"), 0);
    passwordLabel = label(QStringLiteral("passwordLabel"), 1);
    mailPasswInput = input(QStringLiteral("mailPasswInput"), 1);
    mailPasswInput->setEchoMode(QLineEdit::Password);
    serverLabel = label(QStringLiteral("serverLabel"), 2);
    mailServerInput = input(QStringLiteral("mailServerInput"), 2);
    portLabel = label(QStringLiteral("portLabel"), 3);
    mailPortInput = input(QStringLiteral("mailPortInput"), 3);
    lblEncryptionIncoming = label(QStringLiteral("lblEncryptionIncoming"), 4);
    mailDomainInput = input(QStringLiteral("mailDomainInput"), 5);
    encryptionIncoming =
        place<QComboBox>(gridLayout, widget, QStringLiteral("encryptionIncoming"), 4, 1);
    mailEmailInput = input(QStringLiteral("mailEmailInput"), 6);
    domainLabel = label(QStringLiteral("domainLabel"), 5);
    emailLabel = label(QStringLiteral("emailLabel"), 6);
}

/** Domain and email have no buddy: settings programs that walk the buddies expect five. */
void Ui_OrvSettings::connectLabels()
{
    usernameLabel->setBuddy(mailUserInput);
    passwordLabel->setBuddy(mailPasswInput);
    serverLabel->setBuddy(mailServerInput);
    portLabel->setBuddy(mailPortInput);
    lblEncryptionIncoming->setBuddy(encryptionIncoming);
}

void Ui_OrvSettings::retranslateUi(QWidget *widget)
{
    widget->setWindowTitle(QCoreApplication::translate("OrvSettings", "Form"));
    usernameLabel->setText(QCoreApplication::translate("OrvSettings", "Username"));
    passwordLabel->setText(QCoreApplication::translate("OrvSettings", "Password"));
    serverLabel->setText(QCoreApplication::translate("OrvSettings", "Server"));
    portLabel->setText(QCoreApplication::translate("OrvSettings", "Port"));
    lblEncryptionIncoming->setText(QCoreApplication::translate("OrvSettings", "Encryption"));
    encryptionIncoming->clear();
    encryptionIncoming->addItems({QCoreApplication::translate("OrvSettings", "None"),
                                  QCoreApplication::translate("OrvSettings", "SSL")});
    domainLabel->setText(QCoreApplication::translate("OrvSettings", "Domain"));
    emailLabel->setText(QCoreApplication::translate("OrvSettings", "Email"));
}
