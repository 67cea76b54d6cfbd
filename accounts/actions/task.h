// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_ACTIONS_TASK_H
#define ACCOUNTS_ACTIONS_TASK_H

#include "accounts/outcome.h"

#include <QObject>

namespace Accounts {

/** What a person waits for and may cancel: it is started once, and ends once. */
class Task : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /** Ends with finished(). */
    virtual void start() = 0;
    virtual void cancel() = 0;

    /** Done, or why not and what to do about it; after finished(). */
    const Outcome &outcome() const { return m_outcome; }

signals:
    /** From the event loop; once. */
    void finished();

protected:
    /** The first end counts. */
    void end(const Outcome &outcome);
    bool isOver() const { return m_over; }

private:
    Outcome m_outcome;
    bool m_over = false;
};

} // namespace Accounts

#endif
