// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_ERRAND_H
#define DAEMON_ERRAND_H

#include "daemon/work/operation.h"

#include <memory>

namespace Daemon {

class SyncStep;

/**
 * One thing that a person waits for: a single step, and the requests that its end answers.
 *
 * Requests for the same thing that come meanwhile are answered together.
 */
class Errand : public Operation
{
    Q_OBJECT

public:
    Errand(std::unique_ptr<SyncStep> step, const Request &request, QObject *parent);
    ~Errand() override;

    bool isUrgent() const override { return true; }
    QList<Request> requests() const override { return m_requests; }
    bool join(const Request &request) override;
    bool drop(int requestId) override;
    void proceed() override;

signals:
    /** Somebody else wants the same now. */
    void joined();

protected:
    /** Tells a request of its end. */
    virtual void answer(const Request &request, const Eas::Result &result);
    const SyncStep *step() const { return m_step.get(); }

private:
    void onFinished(const Eas::Result &result);

    std::unique_ptr<SyncStep> m_step;
    QList<Request> m_requests;
};

} // namespace Daemon

#endif
