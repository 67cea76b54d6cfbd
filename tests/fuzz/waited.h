// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_FUZZ_WAITED_H
#define TESTS_FUZZ_WAITED_H

#include <QCoreApplication>
#include <QTimer>

/**
 * Turns the event loop until the condition holds, and at most for so long; whether it holds.
 *
 * Unlike Qt Test's it never sleeps: a fuzz target waits some hundred times a second.
 */
template <class Condition>
bool waited(const Condition &condition, int milliseconds = 8000)
{
    QTimer deadline;
    deadline.setSingleShot(true);
    deadline.start(milliseconds);
    while (!condition() && deadline.isActive())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return condition();
}

#endif
