// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/messageserver/serverclock.h"

#include "tests/messageserver/clockpage.h"
#include "tests/support/messageserver.h"

#include <QDir>

ServerClock::ServerClock()
    : m_file(QDir::tempPath() + QStringLiteral("/clock-XXXXXX"))
{
    if (!m_file.open() || !m_file.resize(sizeof(ClockPage)))
        qFatal("cannot make %s", qPrintable(m_file.fileName()));
    // Zeros are the system's clocks.
    m_page = reinterpret_cast<ClockPage *>(m_file.map(0, sizeof(ClockPage)));
    if (!m_page)
        qFatal("cannot map %s", qPrintable(m_file.fileName()));
}

ServerClock::~ServerClock() = default;

void ServerClock::giveTo(MessageServer &server)
{
    server.preload(QStringLiteral(PRESET_CLOCK));
    server.setEnvironment(QLatin1String(ClockPage::Variable), m_file.fileName());
}

void ServerClock::stopAt(qint64 msecsSinceEpoch)
{
    m_page->timeOfDayMs = msecsSinceEpoch;
}

void ServerClock::advanceTimers(int msecs)
{
    m_page->timersAheadMs += msecs;
}
