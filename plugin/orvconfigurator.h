// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_ORVCONFIGURATOR_H
#define PLUGIN_ORVCONFIGURATOR_H

#include <qmailmessageservice.h>

/** Names the service to an account-settings program and hands out its settings form. */
class OrvConfigurator : public QMailMessageServiceConfigurator
{
public:
    QString service() const override;
    QString displayName() const override;
    /**
     * A new editor without parent, owned by the caller, for the source and for the sink; null for
     * any other role, and with one warning where the form's module cannot be loaded.
     */
    QMailMessageServiceEditor *createEditor(QMailMessageServiceFactory::ServiceType type) override;
};

#endif
