// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_REQUESTS_ASDAEMONREQUEST_H
#define PLUGIN_REQUESTS_ASDAEMONREQUEST_H

#include <QDBusReply>
#include <qmailid.h>
#include <qmailserviceaction.h>
#include <QObject>

#include <tr1/functional>

class OrvService;

/** A call of the daemon's proxy with all its arguments; it returns the id of the new request. */
using DaemonCall = std::tr1::function<QDBusReply<int>()>;

/**
 * One asynchronous call into the daemon, from the call to its completion broadcast.
 *
 * Deletes itself with deleteLater() when it reports its end, although it has a parent: keep no
 * plain pointer to it. Connects itself to the service's scheduler when it is made.
 */
class AsDaemonRequest : public QObject
{
    Q_OBJECT

public:
    AsDaemonRequest(OrvService &service, const QMailAccountId &accountId, DaemonCall call,
                    QObject *parent);

    /** The daemon's id for this request; -2 until execute() has succeeded. */
    int requestId() const { return m_requestId; }
    /** Whether the daemon has the request, or may have it, so that its end can still come. */
    virtual bool isTaken() const { return m_requestId != NotTaken; }
    /** Its action has ended without it: from now on it waits for its own end and ignores
     * cancellations. */
    void outliveAction();

    /**
     * Makes the call: the request's id, or -1 when it failed or was refused. A failure is reported
     * by requestCompleted() before this returns.
     */
    virtual int execute();

signals:
    /** The request's end: the daemon's code, -1 for a failed call, or the code of a cancellation.
     */
    void requestCompleted(int code, AsDaemonRequest *request, bool cancelled);
    /** Deliberately part of the meta-object, by which others know this class; never emitted. */
    void requestSet(AsDaemonRequest *daemonRequest);

public slots:
    /**
     * Hears every completion broadcast; acts only on the one for this request: emits
     * requestCompleted() and deletes itself.
     */
    virtual void onRequestCompleted(int code, qulonglong accountId, int request) = 0;
    /** Aborts the request at the daemon, reports it cancelled, and deletes itself. */
    virtual void onCancelled(QMailServiceAction::Status::ErrorCode code);

protected:
    /** Reports the end and deletes itself; a receiver may destroy this request even before. */
    void end(int code, bool cancelled);

    /** The id of a request that the daemon has not taken. */
    static constexpr int NotTaken = -2;

    int m_requestId = NotTaken;
    OrvService &m_service;
    QMailAccountId m_accountId;
    DaemonCall m_call;
};

#endif
