// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_ORVSERVICEPLUGIN_H
#define PLUGIN_ORVSERVICEPLUGIN_H

#include <qmailmessageservice.h>

/**
 * What the message server finds in the library: the factory of the service "orvmail".
 *
 * Holds no state; whoever asks for a service owns it.
 */
class OrvServicePlugin : public QMailMessageServicePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QMailMessageServicePluginInterface_iid FILE "orvmail.json")

public:
    QString key() const override;
    /** True for exactly Source and Sink. */
    bool supports(QMailMessageServiceFactory::ServiceType type) const override;
    /** True for exactly Email; a mask with more in it is refused. */
    bool supports(QMailMessageMetaDataFwd::MessageType type) const override;
    /** A new service for the account, without a parent, each time. */
    QMailMessageService *createService(const QMailAccountId &id) override;
    /** A new configurator each time. */
    QMailMessageServiceConfigurator *createServiceConfigurator() override;
};

#endif
