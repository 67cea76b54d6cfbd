// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/orvserviceplugin.h"

#include "plugin/orvconfigurator.h"
#include "plugin/requests/daemonwaker.h"
#include "plugin/service/orvservice.h"
#include "plugin/service/servicekey.h"

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
    // So that push works from the login on, and not only from the first request on.
    DaemonWaker::ask();
    return new OrvService(id);
}

QMailMessageServiceConfigurator *OrvServicePlugin::createServiceConfigurator()
{
    return new OrvConfigurator;
}
