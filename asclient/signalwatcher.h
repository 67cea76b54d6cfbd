// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_SIGNALWATCHER_H
#define ASCLIENT_SIGNALWATCHER_H

#include <QObject>

class QSocketNotifier;

namespace Daemon {

/** Turns SIGTERM and SIGINT into a signal of the event loop in which it lives. One a process. */
class SignalWatcher : public QObject
{
    Q_OBJECT

public:
    explicit SignalWatcher(QObject *parent = nullptr);
    ~SignalWatcher() override;

signals:
    void endWanted();

private:
    void onReadable();

    QSocketNotifier *m_notifier;
};

} // namespace Daemon

#endif
