// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SOURCE_SYNCMARKER_H
#define PLUGIN_SOURCE_SYNCMARKER_H

#include <qmailserviceaction.h>
#include <QObject>

class OrvService;

/**
 * The action that shows a synchronisation which the daemon started by itself: a protocol request
 * that the service sends through the message server to itself.
 *
 * The client library's reports of that action come late, and may be about another one: the message
 * server numbers the actions that it makes for itself as a client in its process does. So the state
 * that is kept here decides.
 */
class SyncMarker : public QObject
{
    Q_OBJECT

public:
    enum State {
        None,     ///< there is no marker, and one can be asked for
        AskedFor, ///< it is on its way through the message server
        Running,  ///< it was delivered, and ends with the synchronisation
        Ending,   ///< its end is told or about to be; the client library still takes it for running
    };

    /** `service` outlives it; it is not used before the first synchronisation or completion. */
    SyncMarker(OrvService *service, QObject *parent);

    State state() const { return m_state; }
    /** What the client library has heard: the action is in progress. */
    bool isInProgress() const;

    /** A synchronisation has begun that no request explains. */
    void beginSync();
    /** A synchronisation has ended; true when the marker stood for it and is to be completed. */
    bool endSync();
    /** The marker has arrived; true when it stays open, false when it is to be completed soon. */
    bool deliver();

signals:
    /** A synchronisation that began while the last marker was ending still has no marker. */
    void syncLeft();

private:
    void askFor();
    void onActionCompleted();
    void onCancelled();
    void onActivityChanged(QMailServiceAction::Activity activity);
    void settleLater();
    void settle();
    void closeWaiting();

    OrvService *m_service;
    QMailProtocolAction *m_action;
    State m_state = None;
    /** A synchronisation has begun while the marker was ending, and not ended yet. */
    bool m_syncMissed = false;
    /** It was delivered after its synchronisation, and its completion is not told yet. */
    bool m_completionDue = false;
};

#endif
