// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PACING_PAUSES_H
#define DAEMON_PACING_PAUSES_H

#include "daemon/pacing/backoff.h"

/**
 * Every pause of the daemon, in milliseconds.
 *
 * After HTTP 503, for one, what somebody waits for fails, unless the server names a pause in
 * Retry-After that a command waits for (Eas::Limits::AwaitedRetryAfter): then the request is
 * repeated after it (Retry), and the session holds all others back until then. The watch for news
 * and the upload of changes, which nobody waits for, go on after AfterFailure.
 *
 * What else is waited for, and where the time stands:
 *
 *     the server's answer, a pause that it asks for      eas/limits.h
 *     news at the server (the heartbeat)                 daemon/push/heartbeat.h
 *     a server that may be at a message still            daemon/send/sentlookup.cpp, settlingTime()
 *     a mail store that is locked                        daemon/tasks/task.cpp
 *     a state database that is locked                    daemon/store/state/syncstatedb.cpp
 *     the engine's answer to the front                   daemon/bus/front.h, enginewatch.h
 *     somebody who asks after a request that has ended   daemon/bus/requesttable.h
 *     a notification service that is being started       daemon/notify/notificationservice.cpp
 *     the next report of a download's progress           daemon/download/progresssocket.h
 *     the daemon's end                                   daemon/main.cpp
 *     the daemon's answer, by the plugin                 asclient/asdbusinterface.h
 *     a daemon that has not answered, by the plugin      asclient/answerwatch.cpp
 *     a daemon that does not run, by the plugin          plugin/requests/daemonwaker.h
 *     a server, by who sets an account up                accounts/setup/logincheck.h
 *     a daemon, by the same                              accounts/status/daemonstatus.cpp
 *     a part that is being started, by the same          accounts/status/partstarter.cpp
 *     a mail that becomes a draft again, by the same     accounts/actions/draftreturn.cpp
 *     a mail store that is locked, by the same           accounts/commands/storecommand.cpp
 *     the end of its deleted rows, by the same           accounts/storefiles.cpp
 *     a burst of news, by who tells how all fares        accounts/status/statuswatch.cpp
 *     a program that tells its version, by the same      accounts/programoutput.cpp
 *     the next step of an action's progress              plugin/service/orvservice.cpp
 *     the end of a synchronisation that is left out      plugin/source/orvsource.cpp
 */
namespace Daemon::Pauses {

/** Before a request is repeated that the server could not serve just now (Retry). */
constexpr int Retries[] = {1000, 4000};
/** Before a folder is asked for again by a key that may be what the server fails over. */
constexpr int BadAnswers[] = {2000, 8000};

/** After failures, and answers that lead to nothing, of work that nobody waits for. */
constexpr Backoff AfterFailure {5000, 15 * 60 * 1000};
/** After failures that seldom pass unless something is changed. */
constexpr Backoff AfterGraveFailure {15 * 60 * 1000, 4 * 60 * 60 * 1000};

/** Between two fetches of news where the server tells of news early and without end. */
constexpr int BetweenNews = 3000;
/** Changes of the network that come closer together show an unsteady one. */
constexpr int SteadyNetwork = 60 * 1000;
/** Addresses and routes of one change of the network come within this. */
constexpr int NetworkSettling = 500;
/** A request that is younger may not be waiting at a busy server yet (PushWatch::makeWay). */
constexpr int WatchSettling = 5000;

/** Between two times that other processes are told of news while more is being fetched. */
constexpr int BetweenTellings = 1000;
/** Changes of the mail store come in bursts, and where it has no index for it, each look reads
 * through the account. */
constexpr int BeforeLook = 500;
/** Before what was changed here goes up: longer than a mail program's "undo" lasts. */
constexpr int BeforeUpload = 6500;
/** A server may need a moment to put into its folder what it has taken to send. */
constexpr int BeforeSentCopy = 1000;
/** Within this time after a failed sending, the message server puts the mail back into the outbox.
 */
constexpr int PuttingBack = 10 * 1000;

} // namespace Daemon::Pauses

#endif
