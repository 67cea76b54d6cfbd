// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_WAITING_H
#define ACCOUNTS_COMMANDS_WAITING_H

#include "asclient/signalwatcher.h"

#include <QEventLoop>
#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>

namespace Accounts {

class Console;

/**
 * What the terminal shows and obeys while the program waits for something: the seconds that pass,
 * or a bar, and an interrupt (SIGINT, SIGTERM), which cancels what is waited for.
 */
class Waiting : public QObject
{
    Q_OBJECT

public:
    Waiting(Console &console, const QString &title);
    ~Waiting() override;

    /** Starts `job`, a Task or a LoginCheck, and returns when it has emitted finished(). */
    template <typename Job>
    void run(Job &job)
    {
        QEventLoop loop;
        connect(&job, &Job::finished, &loop, &QEventLoop::quit);
        connect(m_signals.get(), &Activesync::SignalWatcher::endWanted, &job, &Job::cancel);
        QTimer::singleShot(0, &job, &Job::start);
        loop.exec();
    }

    /** From now on a bar is shown instead of the seconds. */
    void showProgress(int percent);

private:
    void tick();

    Console &m_console;
    const QString m_title;
    std::unique_ptr<Activesync::SignalWatcher> m_signals;
    QTimer m_ticker;
    int m_seconds = 0;
};

} // namespace Accounts

#endif
