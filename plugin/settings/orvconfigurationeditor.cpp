// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/settings/orvconfigurationeditor.h"

namespace {

/** The mail store refuses an account with a null text in it. */
QString notNull(const QString &text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

} // namespace

OrvConfigurationEditor::OrvConfigurationEditor(QMailAccountConfiguration *config)
    : OrvConfiguration(config)
{
}

void OrvConfigurationEditor::setMailEmail(const QString &email)
{
    setValue(QStringLiteral("email"), notNull(email));
}

void OrvConfigurationEditor::setMailDomain(const QString &domain)
{
    setValue(QStringLiteral("domain"), notNull(domain));
}

void OrvConfigurationEditor::setMailUserName(const QString &userName)
{
    setValue(QStringLiteral("username"), notNull(userName));
}

void OrvConfigurationEditor::setMailServer(const QString &server)
{
    setValue(QStringLiteral("server"), notNull(server));
}

void OrvConfigurationEditor::setMailPassword(const QString &password)
{
    setValue(QStringLiteral("password"), notNull(encodeValue(password)));
}

void OrvConfigurationEditor::setMailPort(int port)
{
    setValue(QStringLiteral("port"), QString::number(port, 10));
}

void OrvConfigurationEditor::setMailEncryption(int encryption)
{
    setValue(QStringLiteral("encryption"), QString::number(encryption, 10));
}
