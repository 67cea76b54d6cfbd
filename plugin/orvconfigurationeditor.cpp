// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/orvconfigurationeditor.h"

OrvConfigurationEditor::OrvConfigurationEditor(QMailAccountConfiguration *config)
    : OrvConfiguration(config)
{
}

void OrvConfigurationEditor::setMailEmail(const QString &email)
{
    setValue(QStringLiteral("email"), email);
}

void OrvConfigurationEditor::setMailDomain(const QString &domain)
{
    setValue(QStringLiteral("domain"), domain);
}

void OrvConfigurationEditor::setMailUserName(const QString &userName)
{
    setValue(QStringLiteral("username"), userName);
}

void OrvConfigurationEditor::setMailServer(const QString &server)
{
    setValue(QStringLiteral("server"), server);
}

void OrvConfigurationEditor::setMailPassword(const QString &password)
{
    setValue(QStringLiteral("password"), encodeValue(password));
}

void OrvConfigurationEditor::setMailPort(int port)
{
    setValue(QStringLiteral("port"), QString::number(port, 10));
}

void OrvConfigurationEditor::setMailEncryption(int encryption)
{
    setValue(QStringLiteral("encryption"), QString::number(encryption, 10));
}
