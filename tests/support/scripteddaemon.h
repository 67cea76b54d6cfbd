// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_SCRIPTEDDAEMON_H
#define TESTS_SUPPORT_SCRIPTEDDAEMON_H

#include "asclient/searchmailboxresult.h"
#include "tests/support/patience.h"

#include <QList>
#include <QString>
#include <QVariantList>

#include <memory>
#include <optional>

/**
 * The ActiveSync daemon as a test wants it: a real service on the session bus whose every answer
 * and broadcast the test decides.
 *
 * It lives in a thread and on a bus connection of its own, so that it answers while the test's
 * thread waits in a blocking call. A dialogue reads:
 *
 *     ScriptedDaemon daemon;
 *     source->synchronize(account);
 *     const auto call = daemon.waitForCall("sync");
 *     QCOMPARE(call.arguments, QVariantList {account});
 *     daemon.complete(call.requestId, 200);
 *
 * Left alone, it answers every call that starts work with the next id (1, 2, 3...), broadcasts
 * nothing, and says of each request that it lives until it was completed.
 */
class ScriptedDaemon
{
public:
    /** What to answer to a call that starts work. */
    class Answer
    {
    public:
        /** The next id. */
        static Answer nextId() { return Answer(); }
        /** This number; -1 refuses. */
        static Answer id(int number);
        /** A D-Bus error of that name. */
        static Answer error(const char *name = "org.freedesktop.DBus.Error.Failed");
        /** Nothing before releaseAnswers(). */
        static Answer silence();

        /** Broadcasts requestCompleted with `code` right behind the answer. */
        Answer &completing(int code);
        /** Before it, broadcasts searchMailboxCompleted with this. */
        Answer &found(int status, const Activesync::SearchMailboxResult &result);

    private:
        friend class ScriptedDaemon;
        enum Kind { NextId, Number, Error, Silence };
        Kind m_kind = NextId;
        int m_number = 0;
        QString m_error;
        std::optional<int> m_code;
        int m_searchStatus = 0;
        std::optional<Activesync::SearchMailboxResult> m_result;
    };

    /** A call as it arrived. */
    struct Call
    {
        QString method;
        /** In the interface's types; the records as SearchQuery and SearchMailboxOptions. */
        QVariantList arguments;
        /** The D-Bus signature of the arguments. */
        QString signature;
        /** False when the caller asked for no reply. */
        bool wantsReply = true;
        /** The id that was or will be answered; 0 where there is none. */
        int requestId = 0;

        /** False when waitForCall() waited in vain. */
        bool isValid() const { return !method.isEmpty(); }
        qulonglong accountId() const { return arguments.value(0).toULongLong(); }
    };

    /** Appears on the bus at once. */
    ScriptedDaemon();
    ~ScriptedDaemon();
    ScriptedDaemon(const ScriptedDaemon &) = delete;
    ScriptedDaemon &operator=(const ScriptedDaemon &) = delete;

    /** Owns its name on the bus, as a started daemon does; false when another one has it. */
    bool appear();
    /** Leaves the bus as a daemon does that died: what it has not answered fails for the caller. */
    void vanish();
    bool isPresent() const;

    /** The answer to every call that starts work, from now on. */
    void answer(const Answer &answer);
    /** The answer to every call of `method`, from now on. */
    void answer(const char *method, const Answer &answer);
    /** The answer to the next call of `method` that has none of these yet; goes before answer(). */
    void answerOnce(const char *method, const Answer &answer);
    /** Sends the answers that were held back by Answer::silence(), each with the id of its call. */
    void releaseAnswers();
    /** Answers isRequestAlive with that number for every request, whatever became of it. */
    void answerAlive(int alive);
    /** Answers isRequestAlive by what became of the request, again. */
    void answerAliveTruly();
    /** Does not answer isRequestAlive at all; releaseAnswers() answers 0. */
    void ignoreAlive();
    /** Whether abortRequest ends its request with a broadcast; at first it does not. */
    void completeAborted(bool on = true);
    /** The id that the next accepted call gets. */
    void setNextId(int id);

    /** Ends a request: broadcasts requestCompleted with the account of its call. */
    void complete(int requestId, int code);
    /** The same, and returns when what followed from it has been handled; see settle(). */
    void end(int requestId, int code);
    /** Broadcasts anything, whether true or not. */
    void requestCompleted(int code, qulonglong accountId, int requestId);
    void searchMailboxCompleted(int status, qulonglong accountId,
                                const Activesync::SearchMailboxResult &result, int requestId);
    void syncStarted(qulonglong accountId);
    void syncCompleted(qulonglong accountId);

    /**
     * The next call of `method` that no waitForCall() gave yet, once it is there; an invalid one
     * after `timeoutMs`. Runs the event loop of the calling thread.
     */
    Call waitForCall(const char *method, int timeoutMs = PatienceMs);
    /** All calls, in the order of their arrival. */
    QList<Call> calls() const;
    /** Those of one method. */
    QList<Call> calls(const char *method) const;
    int callCount(const char *method) const;
    /** Forgets the calls, not the ids and answers. */
    void forgetCalls();

    /**
     * Returns when every message that this daemon sent before has reached this process's session
     * bus connection and the calling thread has handled what followed from it: then a test can
     * assert that nothing happened.
     */
    void settle();

private:
    class Service;
    std::unique_ptr<Service> m_service;
};

#endif
