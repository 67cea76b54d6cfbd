// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/engine/indexmaker.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/pauses.h"
#include "daemon/store/storeindexes.h"
#include "daemon/store/storeprobe.h"

#include <QElapsedTimer>

#include <utility>

namespace Daemon {

namespace {

/** After so long, others have their turn before the next index. */
constexpr int MaximumTurnMs = 100;

} // namespace

IndexMaker::IndexMaker(std::function<bool()> isAwaited, QObject *parent)
    : QObject(parent)
    , m_isAwaited(std::move(isAwaited))
    , m_alarm(this)
{
    connect(&m_alarm, &Alarm::rang, this, &IndexMaker::start);
}

void IndexMaker::start()
{
    QElapsedTimer turn;
    turn.start();
    while (makeNext()) {
        if (turn.hasExpired(MaximumTurnMs)) {
            m_alarm.start(0);
            return;
        }
    }
}

/** Whether one was made, and another may be missing. */
bool IndexMaker::makeNext()
{
    using Store::StoreIndexes;
    if (m_isAwaited() || !StoreProbe::isWritable()) {
        postpone();
        return false;
    }
    StoreIndexes indexes;
    switch (indexes.makeNext()) {
    case StoreIndexes::Outcome::Changed:
        qCInfo(lcDaemon) << "the mail store's database has one more index";
        m_attempts = 0;
        return true;
    case StoreIndexes::Outcome::Unchanged:
        break;
    case StoreIndexes::Outcome::Locked:
        postpone();
        break;
    case StoreIndexes::Outcome::Failed:
        qCWarning(lcDaemon).noquote()
            << "the mail store stays without indexes for large accounts:" << indexes.failure();
        break;
    }
    return false;
}

void IndexMaker::postpone()
{
    m_alarm.start(Pauses::AfterFailure.pauseMs(++m_attempts));
}

} // namespace Daemon
