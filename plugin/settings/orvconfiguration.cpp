// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/settings/orvconfiguration.h"

#include "asclient/servicekey.h"

OrvConfiguration::OrvConfiguration(const QMailAccountConfiguration &config)
    : QMailServiceConfiguration(config, Activesync::mailServiceKey())
{
}

OrvConfiguration::OrvConfiguration(const QMailAccountConfiguration::ServiceConfiguration &config)
    : QMailServiceConfiguration(config)
{
}

OrvConfiguration::OrvConfiguration(QMailAccountConfiguration *config)
    : QMailServiceConfiguration(config, Activesync::mailServiceKey())
{
}

QString OrvConfiguration::mailEmail() const
{
    return value(QStringLiteral("email"), QString());
}

QString OrvConfiguration::mailDomain() const
{
    return value(QStringLiteral("domain"), QString());
}

QString OrvConfiguration::mailUserName() const
{
    return value(QStringLiteral("username"), QString());
}

QString OrvConfiguration::mailServer() const
{
    return value(QStringLiteral("server"), QString());
}

QString OrvConfiguration::mailPassword() const
{
    return decodeValue(value(QStringLiteral("password"), QString()));
}

int OrvConfiguration::mailPort() const
{
    return value(QStringLiteral("port"), QStringLiteral("80")).toInt(nullptr, 10);
}

int OrvConfiguration::mailEncryption() const
{
    return value(QStringLiteral("encryption"), QStringLiteral("0")).toInt(nullptr, 10);
}

bool OrvConfiguration::pushEnabled() const
{
    return value(QStringLiteral("pushEnabled"), QStringLiteral("0")).toInt(nullptr, 10) != 0;
}
