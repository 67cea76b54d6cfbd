// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/accountstatus.h"

#include <QDBusArgument>
#include <QDBusMetaType>

#include <tuple>

namespace Activesync {

namespace {

const char *const StateNames[] = {"waiting",  "sending",   "failed",
                                  "given-up", "uncertain", "doubtful"};
const char *const PushNames[] = {"off", "waiting", "busy", "paused", "stopped"};

template <int Count>
int indexOf(const QString &name, const char *const (&names)[Count])
{
    for (int i = 0; i < Count; ++i) {
        if (name == QLatin1String(names[i]))
            return i;
    }
    return 0;
}

using Maps = QList<QVariantMap>;

/** Makes a map, and leaves out values that are 0, empty or false. */
class MapWriter
{
public:
    template <typename Value>
    void add(const char *key, const Value &value)
    {
        if (value != Value())
            m_map.insert(QLatin1String(key), QVariant::fromValue(value));
    }
    QVariantMap map() const { return m_map; }

private:
    QVariantMap m_map;
};

class MapReader
{
public:
    explicit MapReader(const QVariantMap &map)
        : m_map(map)
    {
    }

    template <typename Value>
    void read(const char *key, Value *value) const
    {
        *value = m_map.value(QLatin1String(key)).template value<Value>();
    }
    QString text(const char *key) const { return m_map.value(QLatin1String(key)).toString(); }
    QVariant value(const char *key) const { return m_map.value(QLatin1String(key)); }

private:
    const QVariantMap m_map;
};

QVariantMap mapOf(const WaitingMail &mail)
{
    MapWriter writer;
    writer.add("message", qulonglong(mail.message));
    writer.add("state", mail.stateName());
    writer.add("code", mail.code);
    writer.add("reason", mail.reason);
    return writer.map();
}

WaitingMail mailOf(const QVariantMap &map)
{
    const MapReader reader(map);
    WaitingMail mail;
    mail.message = reader.value("message").toULongLong();
    mail.state = WaitingMail::State(indexOf(reader.text("state"), StateNames));
    reader.read("code", &mail.code);
    reader.read("reason", &mail.reason);
    return mail;
}

} // namespace

bool WaitingMail::operator==(const WaitingMail &other) const
{
    return std::tie(message, state, code, reason)
        == std::tie(other.message, other.state, other.code, other.reason);
}

QString WaitingMail::stateName() const
{
    return QLatin1String(StateNames[state]);
}

bool AccountStatus::operator==(const AccountStatus &other) const
{
    const auto fields = [](const AccountStatus &one) {
        return std::tie(one.isSyncing, one.syncedAt, one.syncCode, one.syncText, one.succeededAt,
                        one.errorCode, one.errorText, one.loginRefusedAt, one.policyUnmetAt,
                        one.push, one.pushSince, one.pushCode, one.pushText, one.pushRetryAt,
                        one.changes, one.outbox);
    };
    return fields(*this) == fields(other);
}

QString AccountStatus::pushName() const
{
    return QLatin1String(PushNames[push]);
}

QVariantMap AccountStatus::toMap() const
{
    qDBusRegisterMetaType<Maps>();
    MapWriter writer;
    writer.add("syncing", isSyncing);
    writer.add("syncedAt", qlonglong(syncedAt));
    writer.add("syncCode", syncCode);
    writer.add("syncText", syncText);
    writer.add("succeededAt", qlonglong(succeededAt));
    writer.add("errorCode", errorCode);
    writer.add("errorText", errorText);
    writer.add("loginRefusedAt", qlonglong(loginRefusedAt));
    writer.add("policyUnmetAt", qlonglong(policyUnmetAt));
    writer.add("push", pushName());
    writer.add("pushSince", qlonglong(pushSince));
    writer.add("pushCode", pushCode);
    writer.add("pushText", pushText);
    writer.add("pushRetryAt", qlonglong(pushRetryAt));
    writer.add("changes", changes);
    Maps mails;
    for (const WaitingMail &mail : outbox)
        mails.append(mapOf(mail));
    writer.add("outbox", mails);
    return writer.map();
}

AccountStatus AccountStatus::fromMap(const QVariantMap &map)
{
    const MapReader reader(map);
    AccountStatus status;
    reader.read("syncing", &status.isSyncing);
    reader.read("syncedAt", &status.syncedAt);
    reader.read("syncCode", &status.syncCode);
    reader.read("syncText", &status.syncText);
    reader.read("succeededAt", &status.succeededAt);
    reader.read("errorCode", &status.errorCode);
    reader.read("errorText", &status.errorText);
    reader.read("loginRefusedAt", &status.loginRefusedAt);
    reader.read("policyUnmetAt", &status.policyUnmetAt);
    status.push = Push(indexOf(reader.text("push"), PushNames));
    reader.read("pushSince", &status.pushSince);
    reader.read("pushCode", &status.pushCode);
    reader.read("pushText", &status.pushText);
    reader.read("pushRetryAt", &status.pushRetryAt);
    reader.read("changes", &status.changes);
    const Maps mails = qdbus_cast<Maps>(reader.value("outbox"));
    for (const QVariantMap &mail : mails)
        status.outbox.append(mailOf(mail));
    return status;
}

} // namespace Activesync
