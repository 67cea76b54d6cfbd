// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/asdbusinterface.h"

#include <QCoreApplication>
#include <QDBusMetaType>
#include <QMetaMethod>

namespace Activesync {

namespace {

void registerTypes()
{
    qDBusRegisterMetaType<SearchQuery>();
    qDBusRegisterMetaType<SearchMailboxOptions>();
    qDBusRegisterMetaType<SearchMailboxResult>();
}

} // namespace

AsDBusInterface::AsDBusInterface(const QDBusConnection &connection, QObject *parent)
    : QDBusAbstractInterface(QLatin1String(ServiceName), QLatin1String(ObjectPath), InterfaceName,
                             connection, parent)
    , m_answers(new AnswerWatch(connection, QLatin1String(ServiceName), this))
{
    registerTypes();
    // A broadcast shows as well as an answer that a silent daemon is back.
    connect(m_answers, &AnswerWatch::fellSilent, this, [this] {
        connect(this, &AsDBusInterface::requestCompleted, m_answers, &AnswerWatch::hear,
                Qt::UniqueConnection);
    });
}

void AsDBusInterface::deliverPosted()
{
    // The answer first: it has the id by which the broadcasts of its request are recognised.
    m_answers->deliverPosted();
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
}

void AsDBusInterface::connectNotify(const QMetaMethod &signal)
{
    if (m_subscribed.contains(signal.methodIndex()))
        return;
    m_subscribed.insert(signal.methodIndex());
    QDBusAbstractInterface::connectNotify(signal);
}

void AsDBusInterface::disconnectNotify(const QMetaMethod &)
{
    // Stays subscribed, so that the receiver of the next request need not subscribe again.
}

QDBusMessage AsDBusInterface::invoke(QDBus::CallMode mode, int timeoutMs, const QString &method,
                                     const QVariantList &arguments)
{
    setTimeout(timeoutMs);
    if (mode == QDBus::Block)
        return callAndWait(timeoutMs, method, arguments);
    const QDBusMessage reply = callWithArgumentList(mode, method, arguments);
    // With QDBus::NoBlock there is no reply; one that holds 0 stands for it.
    if (reply.type() == QDBusMessage::InvalidMessage)
        return QDBusMessage::createMethodCall(service(), path(), interface(), method)
            .createReply(QVariant(0));
    return reply;
}

QDBusMessage AsDBusInterface::callAndWait(int timeoutMs, const QString &method,
                                          const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service(), path(), interface(), method);
    call.setArguments(arguments);
    return m_answers->call(call, timeoutMs);
}

/** For calls whose answer does not matter: sent without waiting to a daemon that is silent. */
QDBus::CallMode AsDBusInterface::modeFor(QDBus::CallMode mode) const
{
    return mode == QDBus::Block && m_answers->isSilent() ? QDBus::NoBlock : mode;
}

QDBusReply<int> AsDBusInterface::sync(quint64 accountId, QDBus::CallMode mode)
{
    return invoke(mode, CallTimeoutMs, QStringLiteral("sync"), {accountId});
}

QDBusReply<int> AsDBusInterface::folderSync(quint64 accountId, QDBus::CallMode mode)
{
    return invoke(mode, CallTimeoutMs, QStringLiteral("folderSync"), {accountId});
}

QDBusReply<int> AsDBusInterface::syncSpecificFolders(quint64 accountId, const QStringList &folders,
                                                     int contentType, int value,
                                                     QDBus::CallMode mode)
{
    return invoke(mode, CallTimeoutMs, QStringLiteral("syncSpecificFolders"),
                  {accountId, folders, contentType, value});
}

QDBusReply<int> AsDBusInterface::downloadMessage(quint64 accountId, quint64 messageId,
                                                 QDBus::CallMode mode)
{
    return invoke(mode, CallTimeoutMs, QStringLiteral("downloadMessage"), {accountId, messageId});
}

QDBusReply<int> AsDBusInterface::downloadAttachment(quint64 accountId, quint64 messageId,
                                                    const QString &location, QDBus::CallMode mode)
{
    return invoke(mode, CallTimeoutMs, QStringLiteral("downloadAttachment"),
                  {accountId, messageId, location});
}

QDBusReply<int> AsDBusInterface::sendMail(quint64 accountId, quint64 messageId,
                                          QDBus::CallMode mode)
{
    return invoke(mode, CallTimeoutMs, QStringLiteral("sendMail"), {accountId, messageId});
}

QDBusReply<int> AsDBusInterface::searchMailbox(quint64 accountId, const SearchQuery &query,
                                               const SearchMailboxOptions &options,
                                               QDBus::CallMode mode)
{
    return invoke(mode, CallTimeoutMs, QStringLiteral("searchMailbox"),
                  {accountId, QVariant::fromValue(query), QVariant::fromValue(options)});
}

QDBusReply<void> AsDBusInterface::abortRequest(int requestId, int code, QDBus::CallMode mode)
{
    return invoke(modeFor(mode), CallTimeoutMs, QStringLiteral("abortRequest"), {requestId, code});
}

QDBusReply<int> AsDBusInterface::isRequestAlive(int requestId, QDBus::CallMode mode)
{
    return invoke(mode, AliveTimeoutMs, QStringLiteral("isRequestAlive"), {requestId});
}

QDBusReply<void> AsDBusInterface::stopSync(quint64 accountId, int code, QDBus::CallMode mode)
{
    return invoke(modeFor(mode), CallTimeoutMs, QStringLiteral("stopSync"), {accountId, code});
}

} // namespace Activesync
