// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/waiting.h"

#include "accounts/console.h"

#include <csignal>

namespace Accounts {

Waiting::Waiting(Console &console, const QString &title)
    : m_console(console)
    , m_title(title)
    , m_signals(std::make_unique<Activesync::SignalWatcher>())
{
    connect(&m_ticker, &QTimer::timeout, this, &Waiting::tick);
    m_ticker.start(1000);
}

Waiting::~Waiting()
{
    m_console.clearProgress();
    m_signals.reset();
    // The watcher leaves them ignored; what is asked next must end by an interrupt.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

void Waiting::showProgress(int percent)
{
    m_ticker.stop();
    m_console.drawProgress(m_title, percent);
}

void Waiting::tick()
{
    m_console.drawWaiting(m_title, ++m_seconds);
}

} // namespace Accounts
