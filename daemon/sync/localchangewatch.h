// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_LOCALCHANGEWATCH_H
#define DAEMON_SYNC_LOCALCHANGEWATCH_H

#include "daemon/pacing/alarm.h"
#include "daemon/tasks/accountcontext.h"

#include <QObject>
#include <QSet>
#include <QTimer>

namespace Daemon {

/**
 * Finds what the user changed in the mail store and nobody has carried to the server.
 *
 * Told that the store has changed, by whomever, it looks soon after whether more is to be carried
 * than before; when that stays as it is for a while, it asks for an upload. The while is longer
 * than a mail program's "undo" lasts, which takes back what the server has not confirmed. What an
 * upload has left, because the server does not take it, is no reason for another one; a failure
 * that may pass is, after a pause that grows. No timer runs while there is nothing to carry.
 */
class LocalChangeWatch : public QObject
{
    Q_OBJECT

public:
    /** Milliseconds without another change before an upload; one value for the process. */
    static int &usualQuietTime();

    explicit LocalChangeWatch(const AccountContext &context, QObject *parent = nullptr);

    /** The mail store has changed. */
    void look();
    /** Changes were carried: the same change, if made again, is a new one. */
    void noteUpload();
    /** Work that was to carry the changes has ended. */
    void noteEnd(const Eas::Result &result);
    /** An upload was stopped: what it has left is to be carried all the same. */
    void forget();
    void networkChanged();

signals:
    void uploadNeeded();
    /** After each look: how many changes are to be carried. */
    void looked(int count);

private:
    void compare();
    QSet<QString> changes() const;

    const AccountContext m_context;
    QTimer m_look;
    Alarm m_quiet;
    QSet<QString> m_known; ///< what was to be carried at the last look
    int m_failures = 0;
    bool m_isMuted = false; ///< the server refuses us, and each attempt could make that worse
};

} // namespace Daemon

#endif
