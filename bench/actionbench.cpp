// SPDX-License-Identifier: LGPL-2.1-or-later
// What the plugin adds to a daemon call: one synchronise action against a daemon that answers at
// once, beside the bare call with its one broadcast. Prints one line of JSON, times in
// microseconds.
#include "asclient/asdbusinterface.h"
#include "plugin/service/clock.h"
#include "plugin/service/orvservice.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <qmailmessageservice.h>
#include <QTextStream>

#include <algorithm>
#include <functional>

namespace {

constexpr int Rounds = 1000;
constexpr qint64 BeyondDoublets = 5000;

qint64 clockNow = 1000000;

qint64 steppedClock()
{
    return clockNow;
}

/** Median microseconds of `round`, which quits the loop when it is over. */
double median(QEventLoop &loop, const std::function<void()> &round)
{
    QVector<qint64> times;
    for (int i = 0; i < Rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        round();
        loop.exec();
        times.append(timer.nsecsElapsed());
    }
    std::sort(times.begin(), times.end());
    return double(times.at(Rounds / 2)) / 1000.0;
}

double bareCall(quint64 account)
{
    QEventLoop loop;
    Activesync::AsDBusInterface daemon(QDBusConnection::sessionBus(), nullptr);
    QObject::connect(&daemon, &Activesync::AsDBusInterface::requestCompleted, &loop,
                     [&loop] { loop.quit(); });
    return median(loop, [&] { daemon.sync(account, QDBus::Block); });
}

double action(const QMailAccountId &account)
{
    QEventLoop loop;
    OrvService service(account);
    QObject::connect(&service, QOverload<bool>::of(&OrvService::actionCompleted), &loop,
                     [&loop] { loop.quit(); });
    return median(loop, [&] {
        clockNow += BeyondDoublets;
        service.source().synchronize(account);
    });
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    Clock::setSource(&steppedClock);
    const QMailAccountId account = StoreFixture::addAccount();
    ScriptedDaemon daemon;
    daemon.answer(ScriptedDaemon::Answer::nextId().completing(200));
    const double floor = bareCall(account.toULongLong());
    const double measured = action(account);
    QTextStream(stdout) << QStringLiteral("{\"rounds\": %1, \"floor_us\": %2, \"action_us\": %3}\n")
                               .arg(Rounds)
                               .arg(floor, 0, 'f', 1)
                               .arg(measured, 0, 'f', 1);
    return 0;
}
