// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/asdbusinterface.h"
#include "asclient/debuglog.h"
#include "asclient/signalwatcher.h"
#include "daemon/bus/front.h"
#include "daemon/commandline.h"
#include "daemon/connectengine.h"
#include "daemon/download/downloadfile.h"
#include "daemon/engine/engine.h"
#include "daemon/engine/indexmaker.h"
#include "daemon/log/logging.h"
#include "daemon/notify/notifier.h"
#include "daemon/store/state/accountkeys.h"
#include "daemon/store/state/syncstatedb.h"
#include "daemon/sync/localchangewatch.h"
#include "eas/httpchannel.h"
#include "translations/translation.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDBusConnectionInterface>
#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <limits>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/** The mail store's transactions survive an end at any time, so a blocked one is not waited for. */
constexpr int MaximumEndMs = 5000;

/** Sets up the process, before anything else. */
void prepareProcess()
{
    // The mail store compiles a regular expression for one match each; interpreting is cheaper.
    qputenv("QT_ENABLE_REGEXP_JIT", "0");
    umask(077);
    // A dump of this process would have passwords in it. Not 0, with which the kernel still hands
    // it to a program that collects dumps; at 1 byte, deliberately, it refuses those as well.
    const rlimit none = {1, 1};
    setrlimit(RLIMIT_CORE, &none);
}

void startLogs(const Daemon::CommandLine &line)
{
    Daemon::startLogging(line.logRules, line.logPlatform);
    if (qEnvironmentVariableIntValue(Activesync::DebugVariable) > 0)
        Daemon::startDebugLog(
            QMail::dataPath() + QLatin1Char('/') + QLatin1String(Activesync::DebugLogName),
            QMail::dataPath() + QLatin1Char('/') + QLatin1String(Activesync::FormerDebugLogName));
}

/** Ends the process after the front has shut down, and soon, whatever the engine does. */
void connectEnd(Activesync::SignalWatcher *watcher, Daemon::Front *front)
{
    using Daemon::Front;
    QObject::connect(watcher, &Activesync::SignalWatcher::endWanted, front, &Front::shutDown);
    QObject::connect(front, &Front::busLost, front, &Front::shutDown);
    QObject::connect(front, &Front::shutDownDone, qApp, &QCoreApplication::quit);
    QObject::connect(front, &Front::shutDownDone, front,
                     [front] { QTimer::singleShot(MaximumEndMs, front, [] { _exit(0); }); });
}

int fail(const QString &why)
{
    qCCritical(Daemon::lcDaemon).noquote() << why;
    return 1;
}

/**
 * Where the ids of this run begin.
 *
 * Not at 1: a message server that outlives a daemon would take the end of a new request for that
 * of one which the dead daemon had given the same id. They follow the clock in tenths of a
 * millisecond, because no run gives them out faster, and so none begins among those of the last.
 */
int firstRequestId()
{
    return int(QDateTime::currentMSecsSinceEpoch() * 10 % std::numeric_limits<int>::max());
}

/** Serves until a signal or the end of the session; returns the exit code. */
int serve(const QDBusConnection &bus, bool withIndexes)
{
    if (QMailStore::instance()->initializationState() == QMailStore::InitializationFailed)
        return fail(QStringLiteral("the mail store cannot be opened"));
    Store::SyncStateDb db;
    const Eas::Result opened = db.open();
    if (!opened.ok())
        return fail(QStringLiteral("the memory cannot be opened: ") + opened.text);
    Store::AccountKeys::removeVanished(db);
    Daemon::DownloadFile::removeLeftovers();
    Daemon::Engine engine(db);
    Daemon::IndexMaker indexes([&engine] { return engine.isAwaited(); });
    Daemon::Notifier notifier(db, bus);
    Daemon::connectNotifier(&engine, &notifier);

    QThread thread;
    auto *front = new Daemon::Front(Daemon::systemClock());
    front->setLastRequestId(firstRequestId());
    auto *watcher = new Activesync::SignalWatcher(front);
    front->setAccounts(engine.accounts());
    Daemon::connectEngine(&engine, front);
    connectEnd(watcher, front);
    front->moveToThread(&thread);
    QObject::connect(&thread, &QThread::finished, front, &QObject::deleteLater);
    thread.start();

    QString error;
    QMetaObject::invokeMethod(
        front, [front, bus] { return front->start(bus); }, Qt::BlockingQueuedConnection, &error);
    // Before anything is fetched: in an empty store it costs nothing.
    if (error.isEmpty() && withIndexes)
        indexes.start();
    if (error.isEmpty())
        engine.catchUp();
    const int code = error.isEmpty() ? QCoreApplication::exec() : fail(error);
    thread.quit();
    thread.wait();
    return code;
}

} // namespace

int main(int argc, char *argv[])
{
    prepareProcess();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("asdaemon"));
    auto line = Daemon::CommandLine::parse(QCoreApplication::arguments());
    if (line.isOver) {
        // Again, for a person: what serves does not load the language.
        Translation::install(Translation::Scope::AllTexts);
        line = Daemon::CommandLine::parse(QCoreApplication::arguments());
        std::fputs(qUtf8Printable(line.text), line.exitCode == 0 ? stdout : stderr);
        return line.exitCode;
    }
    if (line.patience > 0) {
        Eas::HttpTimes &times = Eas::HttpTimes::usual();
        times.answer = line.patience * 1000;
        times.idle = qMin(times.idle, times.answer);
    }
    if (line.undoTime > 0)
        Daemon::LocalChangeWatch::usualQuietTime() = line.undoTime;
    startLogs(line);

    const auto bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("asdaemon"));
    if (!bus.isConnected())
        return fail(QStringLiteral("there is no session bus"));
    // Asked before the mail store is opened, so that a second instance costs nothing; the front
    // makes sure of it.
    if (bus.interface()->isServiceRegistered(QLatin1String(Activesync::ServiceName)))
        return fail(QStringLiteral("another instance is running already"));
    return serve(bus, !line.noIndexes);
}
