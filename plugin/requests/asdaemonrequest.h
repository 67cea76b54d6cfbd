// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_REQUESTS_ASDAEMONREQUEST_H
#define PLUGIN_REQUESTS_ASDAEMONREQUEST_H

#include <QDBusReply>
#include <QObject>

#include <qmailid.h>
#include <qmailserviceaction.h>

#include <tr1/functional>

class OrvService;

/** A call of the daemon's proxy with all its arguments; it returns the id of the new request. */
using DaemonCall = std::tr1::function<QDBusReply<int>()>;

/**
 * One asynchronous call into the daemon, from the call to its completion broadcast.
 *
 * Has a parent, yet ends its own life with deleteLater() when it reports its end; whoever keeps a
 * pointer to it must be ready for its destruction. It is tied to the service's scheduler from
 * birth.
 */
class AsDaemonRequest : public QObject
{
    Q_OBJECT

public:
    AsDaemonRequest(OrvService &service, const QMailAccountId &accountId, DaemonCall call,
                    QObject *parent);

    /** The daemon's id for this request; -2 until execute() has succeeded. */
    int requestId() const { return m_requestId; }
    /** Whether the daemon has the request, or may have it: its end can still be told. */
    virtual bool isTaken() const { return m_requestId != NotTaken; }
    /** Its action has ended without it: it hears of its own end alone, not of a cancellation. */
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
    void requestSet(AsDaemonRequest *daemonRequest);

public slots:
    /**
     * Hears every completion broadcast; acts only on the one for this request: emits
     * requestCompleted() and leaves.
     */
    virtual void onRequestCompleted(int code, qulonglong accountId, int request) = 0;
    /** Aborts the request at the daemon, reports it cancelled, and leaves. */
    virtual void onCancelled(QMailServiceAction::Status::ErrorCode code);

protected:
    /** Reports the end and leaves; who hears of it may even destroy this request at once. */
    void end(int code, bool cancelled);

    /** The id of a request that the daemon has not taken. */
    static constexpr int NotTaken = -2;

    int m_requestId = NotTaken;
    OrvService &m_service;
    QMailAccountId m_accountId;
    DaemonCall m_call;
};

#endif
