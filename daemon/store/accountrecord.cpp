// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/accountrecord.h"

#include "asclient/servicekey.h"

#include <qmailserviceconfiguration.h>
#include <qmailstore.h>

#include <tuple>

namespace Store {

namespace {

/** Reads the values, and decodes as the settings program encoded. */
class Configuration : public QMailServiceConfiguration
{
public:
    explicit Configuration(const QMailAccountConfiguration &configuration)
        : QMailServiceConfiguration(configuration, Activesync::mailServiceKey())
    {
    }

    QString text(const char *key) const { return value(QLatin1String(key), QStringLiteral("")); }
    int number(const char *key, int missing) const
    {
        return value(QLatin1String(key), QString::number(missing)).toInt();
    }
    QString secret(const char *key) const { return decodeValue(text(key)); }
};

auto fields(const AccountRecord &a)
{
    return std::tie(a.id, a.name, a.email, a.domain, a.userName, a.password, a.server, a.port,
                    a.encryption, a.pushEnabled, a.keepDays, a.notifications);
}

} // namespace

bool AccountRecord::operator==(const AccountRecord &other) const
{
    return fields(*this) == fields(other);
}

AccountRecord AccountRecord::read(const QMailAccountId &id)
{
    return tryRead(id).value_or(AccountRecord());
}

std::optional<AccountRecord> AccountRecord::tryRead(const QMailAccountId &id)
{
    QMailStore *store = QMailStore::instance();
    AccountRecord record;
    // By a query: the account that this process remembers may be older than the file.
    const QMailAccountKey enabled = QMailAccountKey::id(id)
        & QMailAccountKey::status(QMailAccount::Enabled, QMailDataComparator::Includes);
    const int found = store->countAccounts(enabled);
    if (store->lastError() != QMailStore::NoError)
        return std::nullopt;
    if (found == 0)
        return record;
    const QMailAccount account = store->account(id);
    const QMailAccountConfiguration stored = store->accountConfiguration(id);
    if (store->lastError() != QMailStore::NoError)
        return std::nullopt;
    if (!stored.services().contains(Activesync::mailServiceKey()))
        return record;
    const Configuration configuration(stored);
    record.id = id;
    record.name = account.name();
    record.email = configuration.text("email");
    record.domain = configuration.text("domain");
    record.userName = configuration.text("username");
    record.password = configuration.secret("password");
    record.server = configuration.text("server");
    record.port = configuration.number("port", 80);
    record.encryption = configuration.number("encryption", 0);
    record.pushEnabled = account.customField(QStringLiteral("pushEnabled")) == QLatin1String("1");
    record.keepDays = qMax(0, configuration.number("keepDays", 30));
    record.notifications = configuration.text("notifications") != QLatin1String("0");
    return record;
}

} // namespace Store
