// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/daemonstatus.h"

#include "asclient/asdbusinterface.h"

#include <QDBusConnection>
#include <QDBusMessage>

namespace Accounts {

namespace {

/** Milliseconds; the daemon answers at once whatever it is doing. */
constexpr int AnswerTime = 2000;

} // namespace

std::optional<Eas::Result> lastErrorOf(const QMailAccountId &account)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String(Activesync::ServiceName), QLatin1String(Activesync::ObjectPath),
        QLatin1String(Activesync::StatusInterfaceName), QStringLiteral("lastError"));
    call.setArguments({account.toULongLong()});
    call.setAutoStartService(false);
    const QDBusMessage answer = QDBusConnection::sessionBus().call(call, QDBus::Block, AnswerTime);
    // A daemon of an earlier version does not know the call.
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("is"))
        return std::nullopt;
    const int code = answer.arguments().at(0).toInt();
    if (code == 0 || code == Eas::Success)
        return std::nullopt;
    return Eas::Result {code, answer.arguments().at(1).toString()};
}

} // namespace Accounts
