// SPDX-License-Identifier: LGPL-2.1-or-later
// usage: imapaccount NAME PORT USER PASSWORD [--indexes]
//
// Adds an account of QMF's own IMAP plugin, with the plugin's defaults. With --indexes, the mail
// store gets the daemon's indexes first.
#include "bench/makeindexes.h"

#include <QCoreApplication>
#include <qmailaccount.h>
#include <qmailaccountconfiguration.h>
#include <qmailserviceconfiguration.h>
#include <qmailstore.h>

namespace {

/** Lets one read and change what the plugin reads. */
class Service : public QMailServiceConfiguration
{
public:
    using QMailServiceConfiguration::encodeValue;
    using QMailServiceConfiguration::QMailServiceConfiguration;
    using QMailServiceConfiguration::setValue;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const bool withIndexes = arguments.value(5) == QLatin1String("--indexes");
    if (argc != (withIndexes ? 6 : 5))
        qFatal("usage: imapaccount NAME PORT USER PASSWORD [--indexes]");
    const QString imap = QStringLiteral("imap4");
    QMailAccountConfiguration config;
    config.addServiceConfiguration(imap);
    Service service(&config, imap);
    service.setVersion(100);
    service.setType(QMailServiceConfiguration::Source);
    service.setValue(QStringLiteral("server"), QStringLiteral("127.0.0.1"));
    service.setValue(QStringLiteral("port"), arguments.at(2));
    service.setValue(QStringLiteral("username"), arguments.at(3));
    service.setValue(QStringLiteral("password"), Service::encodeValue(arguments.at(4)));

    QMailStore *store = QMailStore::instance(); // it makes the flags known
    QMailAccount account;
    account.setName(arguments.at(1));
    account.setMessageType(QMailMessage::Email);
    account.setStatus(
        QMailAccount::Enabled | QMailAccount::MessageSource | QMailAccount::CanRetrieve, true);
    if (withIndexes)
        makeIndexes();
    if (!store->addAccount(&account, &config))
        qFatal("the account was not added");
    return 0;
}
