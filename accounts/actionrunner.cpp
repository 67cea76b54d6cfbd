// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/actionrunner.h"

#include "accounts/console.h"
#include "daemon/signalwatcher.h"

#include <qmailmessageserver.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QEventLoop>

namespace Accounts {

ActionRunner::ActionRunner(Console &console, const QString &title, QObject *parent)
    : QObject(parent)
    , m_console(console)
    , m_title(title)
{
}

Outcome ActionRunner::requireMessageServer()
{
    QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
    if (bus && bus->isServiceRegistered(QStringLiteral("org.qt.messageserver")))
        return {};
    return Outcome::refused(
        QStringLiteral("no message server runs in this session; start it with \"messageserver5\""));
}

bool ActionRunner::run(const std::function<void(QMailRetrievalAction &)> &start)
{
    QMailMessageServer::registerTypes();
    QMailRetrievalAction action;
    Daemon::SignalWatcher signalWatcher;
    QEventLoop loop;
    connect(this, &ActionRunner::ended, &loop, &QEventLoop::quit);
    connect(&signalWatcher, &Daemon::SignalWatcher::endWanted, &action, [this, &action] {
        m_cancelled = true;
        action.cancelOperation();
    });
    connect(&action, &QMailServiceAction::progressChanged, this, [this](uint value, uint total) {
        if (total > 0)
            m_console.drawProgress(m_title, int(qMin<quint64>(100, quint64(value) * 100 / total)));
    });
    connect(&action, &QMailServiceAction::activityChanged, this, &ActionRunner::onActivity);
    m_ended = false;
    m_console.drawProgress(m_title, 0);
    start(action);
    if (!m_ended)
        loop.exec();
    m_console.clearProgress();
    m_status = action.status();
    if (m_cancelled)
        m_status.errorCode = QMailServiceAction::Status::ErrCancel;
    return m_successful;
}

void ActionRunner::onActivity(QMailServiceAction::Activity activity)
{
    if (activity != QMailServiceAction::Successful && activity != QMailServiceAction::Failed)
        return;
    m_successful = activity == QMailServiceAction::Successful && !m_cancelled;
    m_ended = true;
    emit ended();
}

} // namespace Accounts
