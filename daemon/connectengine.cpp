// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/connectengine.h"

#include "daemon/bus/front.h"
#include "daemon/engine/engine.h"

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
    // That its thread comes to it is the answer.
    QObject::connect(front, &Front::engineAliveWanted, engine, [front] {
        QMetaObject::invokeMethod(front, &Front::noteEngineAlive, Qt::QueuedConnection);
    });
    QObject::connect(engine, &Engine::accountsChanged, front, &Front::setAccounts);
    QObject::connect(engine, &Engine::checkResolved, front, &Front::resolveCheck);
    QObject::connect(engine, &Engine::workEnded, front, &Front::noteError);
    QObject::connect(engine, &Engine::requestFinished, front, &Front::finishRequest);
    QObject::connect(engine, &Engine::searchFinished, front, &Front::finishSearch);
    QObject::connect(engine, &Engine::syncBegan, front, &Front::beginSync);
    QObject::connect(engine, &Engine::syncProgressed, front, &Front::setProgress);
    QObject::connect(engine, &Engine::syncEnded, front, &Front::endSync);
}

} // namespace Daemon
