// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DEMO_ACTIONRUNNER_H
#define TESTS_DEMO_ACTIONRUNNER_H

#include <qmailserviceaction.h>

#include <functional>

namespace Demo {

/** Runs one action of the message server to its end and shows its progress on the terminal. */
class ActionRunner
{
public:
    /** `title` stands before the progress; `action` must outlive the runner. */
    ActionRunner(const QString &title, QMailServiceAction &action);

    /**
     * Calls `start` and turns the event loop until the action has ended.
     *
     * Returns true on success; otherwise errorText() tells why. Gives up after `timeoutMs`.
     */
    bool run(const std::function<void()> &start, int timeoutMs = 600000);
    QString errorText() const { return m_errorText; }
    /** Wall time of the last run, in milliseconds. */
    qint64 elapsedMs() const { return m_elapsedMs; }

private:
    void showProgress(uint value, uint total);
    void drawBar(int percent);
    void growBar(int percent);
    void endLine(const QString &text);

    QString m_title;
    QMailServiceAction &m_action;
    QString m_errorText;
    qint64 m_elapsedMs = 0;
    int m_lastPercent = -1;
    int m_drawn = -1; ///< of a bar that only grows; -1: none was begun
    bool m_terminal = false;
};

} // namespace Demo

#endif
