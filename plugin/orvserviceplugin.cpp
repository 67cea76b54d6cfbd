// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/orvserviceplugin.h"

#include "plugin/orvconfigurator.h"
#include "plugin/servicekey.h"
#include "service/orvservice.h"

QString OrvServicePlugin::key() const
{
    return OrvServiceKey;
}

bool OrvServicePlugin::supports(QMailMessageServiceFactory::ServiceType type) const
{
    return type == QMailMessageServiceFactory::Source || type == QMailMessageServiceFactory::Sink;
}

bool OrvServicePlugin::supports(QMailMessageMetaDataFwd::MessageType type) const
{
    return type == QMailMessageMetaDataFwd::Email;
}

QMailMessageService *OrvServicePlugin::createService(const QMailAccountId &id)
{
    return new OrvService(id);
}

QMailMessageServiceConfigurator *OrvServicePlugin::createServiceConfigurator()
{
    return new OrvConfigurator;
}
