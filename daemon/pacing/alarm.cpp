// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/pacing/alarm.h"

#include <QList>

#include <algorithm>
#include <time.h>

namespace Daemon {

namespace {

/** Time as a test drives it. */
struct DrivenTime
{
    bool isOn = false;
    qint64 now = 0;
    QList<Alarm *> alarms; ///< those that are set
};

int &pauseDivisor()
{
    static int divisor = 1;
    return divisor;
}

DrivenTime &driven()
{
    static DrivenTime time;
    return time;
}

} // namespace

Alarm::Alarm(QObject *parent)
    : QObject(parent)
    , m_timer(this)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Alarm::rang);
}

Alarm::~Alarm()
{
    driven().alarms.removeAll(this);
}

void Alarm::start(int milliseconds)
{
    stop();
    m_interval = milliseconds;
    // A pause of 0 ends by itself, also where time is driven.
    if (driven().isOn && milliseconds > 0) {
        m_due = driven().now + milliseconds;
        driven().alarms.append(this);
    } else {
        m_timer.start(milliseconds / pauseDivisor());
    }
}

void Alarm::stop()
{
    m_timer.stop();
    driven().alarms.removeAll(this);
}

bool Alarm::isActive() const
{
    return m_timer.isActive() || driven().alarms.contains(const_cast<Alarm *>(this));
}

void Alarm::once(int milliseconds, QObject *context, std::function<void()> then)
{
    auto *alarm = new Alarm(context);
    connect(alarm, &Alarm::rang, context, [alarm, then] {
        alarm->deleteLater();
        then();
    });
    alarm->start(milliseconds);
}

qint64 Alarm::now()
{
    if (driven().isOn)
        return driven().now;
    timespec now {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return qint64(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

void Alarm::drive()
{
    driven().now = now();
    driven().isOn = true;
}

void Alarm::hurry(int divisor)
{
    pauseDivisor() = divisor;
}

bool Alarm::isPending()
{
    return !driven().alarms.isEmpty();
}

void Alarm::ringNext()
{
    DrivenTime &time = driven();
    const auto next =
        std::min_element(time.alarms.cbegin(), time.alarms.cend(),
                         [](const Alarm *a, const Alarm *b) { return a->m_due < b->m_due; });
    if (next == time.alarms.cend())
        return;
    Alarm *alarm = *next;
    time.now = std::max(time.now, alarm->m_due);
    time.alarms.removeAll(alarm);
    emit alarm->rang();
}

} // namespace Daemon
