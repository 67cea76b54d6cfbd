// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/status/daemonstatus.h"

#include "accounts/status/outboxmemory.h"
#include "accounts/status/partstate.h"
#include "asclient/asdbusinterface.h"
#include "daemon/store/localchanges.h"
#include "daemon/store/state/syncstatedb.h"
#include "daemon/store/state/workrecordtable.h"
#include "translations/translation.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>

namespace Accounts {

namespace {

/** Milliseconds; the daemon answers at once whatever it is doing. */
constexpr int AnswerTime = 2000;

const QString StatusInterface = QLatin1String(Activesync::StatusInterfaceName);

QDBusMessage ask(const QString &interface, const QString &method, const QVariantList &arguments)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(QLatin1String(Activesync::ServiceName),
                                       QLatin1String(Activesync::ObjectPath), interface, method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return QDBusConnection::sessionBus().call(call, QDBus::Block, AnswerTime);
}

} // namespace

std::optional<Eas::Result> lastErrorOf(const QMailAccountId &account)
{
    const QDBusMessage answer =
        ask(StatusInterface, QStringLiteral("lastError"), {account.toULongLong()});
    // A daemon of an earlier version does not know the call.
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("is"))
        return std::nullopt;
    const int code = answer.arguments().at(0).toInt();
    if (code == 0 || code == Eas::Success)
        return std::nullopt;
    return Eas::Result {code, answer.arguments().at(1).toString()};
}

bool isDaemonSilent(const QMailAccountId &account)
{
    const QDBusMessage answer =
        ask(StatusInterface, QStringLiteral("accountStatus"), {account.toULongLong()});
    return answer.type() != QDBusMessage::ReplyMessage
        && partState(QLatin1String(Activesync::ServiceName)) == PartState::Running;
}

std::optional<Activesync::AccountStatus> daemonStatusOf(const QMailAccountId &account)
{
    const QDBusReply<QVariantMap> answer =
        ask(StatusInterface, QStringLiteral("accountStatus"), {account.toULongLong()});
    if (!answer.isValid() || answer.value().isEmpty())
        return std::nullopt;
    return Activesync::AccountStatus::fromMap(answer.value());
}

Outcome readRememberedStatus(const QMailAccountId &account, Activesync::AccountStatus *status)
{
    Store::SyncStateDb memory;
    const Eas::Result opened = memory.openToRead();
    if (!opened.ok())
        return Outcome::refused(Translation::ofFailure(opened.text));
    Store::WorkRecordTable(memory, account).read(status);
    status->changes = Store::LocalChanges(memory, account).count();
    return readRememberedOutbox(account, &status->outbox);
}

DaemonInfo daemonInfo()
{
    const QDBusReply<QVariantMap> answer = ask(QStringLiteral("org.freedesktop.DBus.Properties"),
                                               QStringLiteral("GetAll"), {StatusInterface});
    return {answer.value().value(QStringLiteral("version")).toString(),
            answer.value().value(QStringLiteral("since")).toLongLong()};
}

} // namespace Accounts
