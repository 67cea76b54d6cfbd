// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/setup/accountbook.h"

#include "accounts/storefiles.h"
#include "accounts/syncmemory.h"
#include "asclient/servicekey.h"
#include "translations/text.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <qmailaccount.h>
#include <qmailaccountconfiguration.h>
#include <qmailnamespace.h>
#include <qmailstore.h>

namespace Accounts {

namespace {

using Activesync::mailServiceKey;

const QString PushField = QStringLiteral("pushEnabled");
const QString KeepDaysKey = QStringLiteral("keepDays");
const QString NotificationsKey = QStringLiteral("notifications");
const QString Off = QStringLiteral("0");
/** Written by the daemon. */
const QString WipedKey = QStringLiteral("wiped");

/** `text`: with %1 for the mail store's folder and %2 for its reason. */
Outcome storeRefused(const QString &text)
{
    const QString reason = QMailStore::instance()->lastError() == QMailStore::StorageInaccessible
        ? Text::tr("the disk may be full, or not writable")
        : Text::tr("error %1").arg(QMailStore::instance()->lastError());
    return Outcome::refused(text.arg(QMail::dataPath(), reason));
}

/** What the settings form knows nothing of. */
void writeRest(const AccountDetails &details, QMailAccount *account,
               QMailAccountConfiguration *config)
{
    account->setName(details.name);
    account->setFromAddress(QMailAddress(details.fullName, details.settings.email));
    account->setStatus(QMailAccount::Enabled, details.enabled);
    if (details.push)
        account->setCustomField(PushField, QStringLiteral("1"));
    else
        account->removeCustomField(PushField);
    config->serviceConfiguration(mailServiceKey())
        .setValue(KeepDaysKey, QString::number(details.keepDays));
    if (details.notifications)
        config->serviceConfiguration(mailServiceKey()).removeValue(NotificationsKey);
    else
        config->serviceConfiguration(mailServiceKey()).setValue(NotificationsKey, Off);
    if (!details.settings.password.isEmpty())
        config->serviceConfiguration(mailServiceKey()).removeValue(WipedKey);
}

} // namespace

Outcome AccountBook::open()
{
    const QString folder = QMail::dataPath();
    const Outcome prepared = prepareStoreFolder(folder);
    if (!prepared.ok())
        return prepared;
    QMailStore::instance();
    if (QMailStore::initializationState() != QMailStore::Initialized)
        return Outcome::refused(
            Text::tr("the mail store in %1 cannot be opened; check that the folder and the "
                     "files in it are yours and that the disk is not full")
                .arg(folder));
    return {};
}

QMailAccountIdList AccountBook::accounts()
{
    QMailAccountIdList ours;
    const QMailAccountIdList all = QMailStore::instance()->queryAccounts();
    for (const QMailAccountId &id : all) {
        if (isOrvAccount(QMailStore::instance()->accountConfiguration(id)))
            ours.append(id);
    }
    return ours;
}

QMailAccountId AccountBook::find(const QString &nameOrId)
{
    const QMailAccountIdList ours = accounts();
    for (const QMailAccountId &id : ours) {
        if (QMailStore::instance()->account(id).name() == nameOrId)
            return id;
    }
    bool isNumber = false;
    const QMailAccountId id(nameOrId.toULongLong(&isNumber));
    return isNumber && ours.contains(id) ? id : QMailAccountId();
}

bool AccountBook::isNameTaken(const QString &name, const QMailAccountId &except)
{
    QMailAccountIdList named = QMailStore::instance()->queryAccounts(QMailAccountKey::name(name));
    named.removeAll(except);
    return !named.isEmpty();
}

bool AccountBook::hasMailbox(const AccountSettings &settings)
{
    const QMailAccountIdList ours = accounts();
    for (const QMailAccountId &id : ours) {
        const AccountSettings other = details(id).settings;
        if (other.server.compare(settings.server, Qt::CaseInsensitive) == 0
            && other.userName.compare(settings.userName, Qt::CaseInsensitive) == 0
            && other.domain.compare(settings.domain, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

AccountDetails AccountBook::details(const QMailAccountId &id)
{
    const QMailAccount account = QMailStore::instance()->account(id);
    const QMailAccountConfiguration config = QMailStore::instance()->accountConfiguration(id);
    AccountDetails details;
    details.name = account.name();
    details.fullName = account.fromAddress().name();
    // An address alone is given as its own name.
    if (details.fullName == account.fromAddress().address())
        details.fullName.clear();
    details.settings = readSettings(config);
    details.enabled = account.status() & QMailAccount::Enabled;
    details.push = account.customField(PushField) == QLatin1String("1");
    const QString keep = config.serviceConfiguration(mailServiceKey()).value(KeepDaysKey);
    details.wiped = !config.serviceConfiguration(mailServiceKey()).value(WipedKey).isEmpty();
    if (!keep.isEmpty())
        details.keepDays = qMax(0, keep.toInt());
    details.notifications =
        config.serviceConfiguration(mailServiceKey()).value(NotificationsKey) != Off;
    return details;
}

bool AccountBook::isStill(const QMailAccountId &id, const AccountDetails &details)
{
    // Of the account itself this process has a copy, which follows the store when its event loop
    // runs.
    const auto isThere = [&id](const QMailAccountKey &key) {
        return QMailStore::instance()->countAccounts(QMailAccountKey::id(id) & key) == 1;
    };
    const auto enabled =
        details.enabled ? QMailDataComparator::Includes : QMailDataComparator::Excludes;
    return AccountBook::details(id) == details && isThere(QMailAccountKey::name(details.name))
        && isThere(QMailAccountKey::status(QMailAccount::Enabled, enabled))
        && isThere(QMailAccountKey::customField(PushField, QStringLiteral("1"))) == details.push;
}

Outcome AccountBook::refuseName(const AccountDetails &details, const QMailAccountId &except)
{
    if (!isNameTaken(details.name, except))
        return {};
    Outcome outcome = Outcome::refused(
        Text::tr("there is an account \"%1\" already; choose another name").arg(details.name));
    outcome.setting = QStringLiteral("name");
    return outcome;
}

Outcome AccountBook::add(const AccountDetails &details, QMailAccountId *id)
{
    const Outcome name = refuseName(details, QMailAccountId());
    if (!name.ok())
        return name;
    QMailAccount account;
    QMailAccountConfiguration config;
    writeSettings(details.settings, &account, &config);
    writeRest(details, &account, &config);
    if (!QMailStore::instance()->addAccount(&account, &config))
        return storeRefused(Text::tr("the mail store in %1 refuses to add the account (%2)"));
    *id = account.id();
    return {};
}

Outcome AccountBook::update(const QMailAccountId &id, const AccountDetails &details)
{
    const Outcome name = refuseName(details, id);
    if (!name.ok())
        return name;
    QMailAccount account = QMailStore::instance()->account(id);
    QMailAccountConfiguration config = QMailStore::instance()->accountConfiguration(id);
    if (!(details.settings == readSettings(config)))
        writeSettings(details.settings, &account, &config);
    writeRest(details, &account, &config);
    if (!QMailStore::instance()->updateAccount(&account, &config))
        return storeRefused(Text::tr("the mail store in %1 refuses to change the account (%2)"));
    return {};
}

void AccountBook::announce()
{
    QMailStore::instance()->flushIpcNotifications();
    QDBusConnection bus = QDBusConnection::sessionBus();
    // What was sent before a call that waits for its answer has gone out.
    if (bus.isConnected())
        bus.interface()->isServiceRegistered(QStringLiteral("org.qt.messageserver"));
}

Outcome AccountBook::remove(const QMailAccountId &id)
{
    if (!QMailStore::instance()->removeAccount(id))
        return storeRefused(Text::tr("the mail store in %1 refuses to remove the account (%2)"));
    forgetRemovedAccounts();
    eraseDeletedRows();
    return {};
}

} // namespace Accounts
