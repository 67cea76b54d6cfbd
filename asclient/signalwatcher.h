// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_SIGNALWATCHER_H
#define ASCLIENT_SIGNALWATCHER_H

#include <QObject>

class QSocketNotifier;

namespace Activesync {

/** Turns SIGTERM and SIGINT into endWanted(), emitted by the event loop. One in a process. */
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

} // namespace Activesync

#endif
