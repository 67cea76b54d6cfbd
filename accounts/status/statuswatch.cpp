// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/status/statuswatch.h"

#include "accounts/status/partstate.h"
#include "asclient/asdbusinterface.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <qmailstore.h>

namespace Accounts {

namespace {

/** Milliseconds from the first news of a burst until all of it is told. */
constexpr int BurstTime = 100;

} // namespace

StatusWatch::StatusWatch(QObject *parent)
    : QObject(parent)
{
    m_burst.setSingleShot(true);
    m_burst.setInterval(BurstTime);
    connect(&m_burst, &QTimer::timeout, this, &StatusWatch::changed);
    watchBus();
    watchStore();
}

void StatusWatch::watchBus()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(QString(), QLatin1String(Activesync::ObjectPath),
                QLatin1String(Activesync::StatusInterfaceName),
                QStringLiteral("accountStatusChanged"), this, SLOT(note()));
    auto *watcher = new QDBusServiceWatcher(QLatin1String(Activesync::ServiceName), bus,
                                            QDBusServiceWatcher::WatchForOwnerChange, this);
    watcher->addWatchedService(MessageServerName);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &StatusWatch::note);
}

/** Accounts, and the outbox where no daemon tells of it. */
void StatusWatch::watchStore()
{
    QMailStore *store = QMailStore::instance();
    connect(store, &QMailStore::accountsAdded, this, &StatusWatch::note);
    connect(store, &QMailStore::accountsUpdated, this, &StatusWatch::note);
    connect(store, &QMailStore::accountsRemoved, this, &StatusWatch::note);
    connect(store, &QMailStore::accountContentsModified, this, &StatusWatch::note);
}

void StatusWatch::note()
{
    if (!m_burst.isActive())
        m_burst.start();
}

} // namespace Accounts
