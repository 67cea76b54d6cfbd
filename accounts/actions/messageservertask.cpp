// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/actions/messageservertask.h"

#include "accounts/status/partstate.h"
#include "translations/text.h"

#include <QDBusConnection>
#include <qmailmessageserver.h>

namespace Accounts {

MessageServerTask::MessageServerTask(QObject *parent)
    : Task(parent)
    , m_server(MessageServerName, QDBusConnection::sessionBus(),
               QDBusServiceWatcher::WatchForUnregistration)
{
    connect(&m_parts, &Task::finished, this, &MessageServerTask::onPartsStarted);
    connect(&m_server, &QDBusServiceWatcher::serviceUnregistered, this,
            &MessageServerTask::onServerGone);
}

void MessageServerTask::start()
{
    m_parts.start();
}

void MessageServerTask::onPartsStarted()
{
    if (isOver())
        return;
    if (!m_parts.outcome().ok()) {
        end(m_parts.outcome());
        return;
    }
    QMailMessageServer::registerTypes();
    m_hasBegun = true;
    begin();
}

void MessageServerTask::follow(QMailServiceAction &action)
{
    connect(&action, &QMailServiceAction::activityChanged, this, &MessageServerTask::onActivity);
}

void MessageServerTask::onActivity(QMailServiceAction::Activity activity)
{
    if (isOver())
        return;
    if (activity == QMailServiceAction::Successful)
        end(outcomeOf(End::Succeeded));
    else if (activity == QMailServiceAction::Failed)
        end(outcomeOf(End::Failed));
}

/** Its client would wait for ever. */
void MessageServerTask::onServerGone()
{
    if (m_hasBegun && !isOver())
        end(outcomeOf(End::ServerGone));
}

Outcome MessageServerTask::serverGone()
{
    return Outcome::refused(Text::tr(
        "the message server has ended in the middle of it; try again, \"orvmail-account status\" "
        "tells how it stands"));
}

} // namespace Accounts
