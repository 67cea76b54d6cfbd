// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_PARTSTARTER_H
#define ACCOUNTS_PARTSTARTER_H

#include "accounts/outcome.h"

#include <QDeadlineTimer>
#include <QObject>

class QDBusPendingCallWatcher;

namespace Accounts {

/**
 * Has the session bus start what brings an account's mail here, the message server and the daemon,
 * and looks whether the message server loads the plugin.
 *
 * For an account that is enabled: without one the message server loads nothing. What runs already
 * is left alone. Asks no mail server.
 */
class PartStarter : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /** Ends with finished(), which comes from the event loop. */
    void start();
    /** Ends it without waiting for what is being started. */
    void cancel();

    /** Done, or the first part that is missing and what to do about it; after finished(). */
    const Outcome &outcome() const { return m_outcome; }

signals:
    void finished();

private:
    void startNext();
    void answered(QDBusPendingCallWatcher *answer);
    void lookForPlugin();
    void end(const Outcome &outcome);

    int m_next = 0;
    QDeadlineTimer m_pluginDeadline;
    bool m_over = false;
    Outcome m_outcome;
};

} // namespace Accounts

#endif
