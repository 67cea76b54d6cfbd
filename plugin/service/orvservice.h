// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SERVICE_ORVSERVICE_H
#define PLUGIN_SERVICE_ORVSERVICE_H

#include <qmailmessageservice.h>

#include <functional>

class OrvSink;
class OrvSource;
class RequestScheduler;

namespace Activesync {
class AsDBusInterface;
}

/**
 * The message service of one account.
 *
 * Owns the account's source and sink, the daemon's proxy and the scheduler of the daemon requests,
 * and is the one place that reports status, activity, progress and completion to the message
 * server. While requests are out it is waiting: a timer moves the progress on, and once that is at
 * its maximum asks the daemon whether the requests still live.
 */
class OrvService : public QMailMessageService
{
    Q_OBJECT

public:
    /** A service for the account; the message server deletes it. */
    explicit OrvService(const QMailAccountId &accountId);
    ~OrvService() override;

    QString service() const override;
    QMailAccountId accountId() const override;
    bool hasSource() const override;
    QMailMessageSource &source() const override;
    bool hasSink() const override;
    QMailMessageSink &sink() const override;
    bool available() const override;

    /** The proxy that every daemon call goes through; owned by the service. */
    Activesync::AsDBusInterface *daemon() const { return m_daemon; }
    /** Null until source and sink are constructed; owned by the service. */
    RequestScheduler *scheduler() const { return m_scheduler; }

    /** True between startWaiting() and stopWaiting(). */
    bool isWaiting() const { return m_waiting; }
    /** Opens the waiting state; false, and nothing changed, when its timer already runs. */
    bool startWaiting();
    /** Closes the waiting state and reports the outcome that the daemon's `code` stands for. */
    void stopWaiting(int code);
    /** Takes over the progress figures, and reports them while waiting. */
    void setProgress(int progress, int total);
    /** Whether the timer may advance the progress by itself; startWaiting() allows it again. */
    void allowProgressCounter(bool allow);

    /** Calls `complete`, which ends the running action, unless that has ended by then. */
    void completeLater(int delayMs, const std::function<void()> &complete);
    /** True while an action runs that none of the scheduler's requests belongs to. */
    bool hasActionOfItsOwn() const;
    /** True while something runs that only the daemon can end. */
    bool needsDaemon() const;

    using QMailMessageService::cancelOperation;
    using QMailMessageService::updateStatus;

signals:
    /** The running action is cancelled; every live daemon request listens. */
    void operationCanceled(QMailServiceAction::Status::ErrorCode code);

public slots:
    /** Ends the running action without completing it; always true. */
    bool cancelOperation(QMailServiceAction::Status::ErrorCode code, const QString &text) override;
    /** Reports `text` as the status of the running action. */
    void updateStatus(const QString &text);
    /** One step of the progress timer. */
    void countProgress();
    /** Ends, with success, an action that needed no daemon. */
    void completeAction();

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    void forgetCompletions();
    bool advanceProgress();
    int publishedProgress() const;

    OrvSink *m_sink = nullptr;
    OrvSource *m_source = nullptr;
    Activesync::AsDBusInterface *m_daemon = nullptr;
    RequestScheduler *m_scheduler = nullptr;
    bool m_waiting = false;
    /** Deliberate, though nothing here raises it: where it is set, stopWaiting() hands over to a
     * slower timer instead of ending it. */
    bool m_restartTimer = false;
    bool m_progressCounterAllowed = true;
    int m_progress = 0;
    int m_progressTotal = 1000;
    int m_timerId = 0;
    /** Counts the actions that ended without a completion that was put off. */
    quint64 m_endedActions = 0;
    int m_completionsDue = 0;
    bool m_isCompleting = false;
    QMailAccountId m_accountId;
};

#endif
