// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/connectengine.h"

#include "daemon/bus/front.h"
#include "daemon/engine/engine.h"
#include "daemon/notify/notifier.h"

namespace Daemon {

void connectEngine(Engine *engine, Front *front)
{
    qRegisterMetaType<Request>("Daemon::Request");
    qRegisterMetaType<QSet<quint64>>("QSet<quint64>");
    qRegisterMetaType<Activesync::SearchMailboxResult>("Activesync::SearchMailboxResult");
    QObject::connect(front, &Front::checkWanted, engine, &Engine::check);
    QObject::connect(front, &Front::requestAccepted, engine, &Engine::accept);
    QObject::connect(front, &Front::requestDropped, engine, &Engine::drop);
    QObject::connect(front, &Front::syncStopWanted, engine, &Engine::stopSync);
    // Asked in the engine's thread: the answer shows that its event loop turns.
    EngineWatch *watch = front->engineWatch();
    QObject::connect(watch, &EngineWatch::asked, engine, [watch] {
        QMetaObject::invokeMethod(watch, &EngineWatch::hear, Qt::QueuedConnection);
    });
    QObject::connect(engine, &Engine::accountsChanged, front, &Front::setAccounts);
    QObject::connect(engine, &Engine::checkResolved, front, &Front::resolveCheck);
    const WorkReport *report = engine->report();
    QObject::connect(report, &WorkReport::workEnded, front, &Front::noteError);
    QObject::connect(report, &WorkReport::statusChanged, front, &Front::setStatus);
    QObject::connect(report, &WorkReport::requestFinished, front, &Front::finishRequest);
    QObject::connect(report, &WorkReport::searchFinished, front, &Front::finishSearch);
    QObject::connect(report, &WorkReport::syncBegan, front, &Front::beginSync);
    QObject::connect(report, &WorkReport::syncProgressed, front, &Front::setProgress);
    QObject::connect(report, &WorkReport::syncEnded, front, &Front::endSync);
}

void connectNotifier(Engine *engine, Notifier *notifier)
{
    qRegisterMetaType<QSet<quint64>>("QSet<quint64>");
    // Queued: the work that tells of itself goes on first.
    QObject::connect(engine->report(), &WorkReport::statusChanged, notifier, &Notifier::setStatus,
                     Qt::QueuedConnection);
    QObject::connect(engine, &Engine::accountsChanged, notifier, &Notifier::setAccounts,
                     Qt::QueuedConnection);
}

} // namespace Daemon
