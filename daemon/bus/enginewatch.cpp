// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/bus/enginewatch.h"

namespace Daemon {

EngineWatch::EngineWatch(QObject *parent)
    : QObject(parent)
    , m_timer(this)
{
    m_timer.setInterval(IntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &EngineWatch::ask);
}

void EngineWatch::setOn(bool on)
{
    if (on == m_timer.isActive())
        return;
    m_unanswered = 0;
    if (on)
        m_timer.start();
    else
        m_timer.stop();
}

void EngineWatch::ask()
{
    if (m_unanswered >= MaximumUnanswered) {
        emit silent();
        return;
    }
    ++m_unanswered;
    emit asked();
}

} // namespace Daemon
