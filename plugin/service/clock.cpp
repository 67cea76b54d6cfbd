// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/service/clock.h"

#include <QDateTime>

namespace {

Clock::Source current = &QDateTime::currentMSecsSinceEpoch;

} // namespace

qint64 Clock::now()
{
    return current();
}

void Clock::setSource(Source source)
{
    current = source ? source : &QDateTime::currentMSecsSinceEpoch;
}
