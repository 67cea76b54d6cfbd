// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_ACCOUNTS_TERMINAL_H
#define TESTS_ACCOUNTS_TERMINAL_H

#include "tests/support/patience.h"

#include <QByteArray>
#include <QStringList>

#include <sys/types.h>

/** A program on a terminal of its own, and the person in front of it. */
class Terminal
{
public:
    Terminal(const QString &program, const QStringList &arguments);
    /** Ends a program that still runs. */
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    /** Reads until `text` was on the screen (after what was waited for before); false: it never
     * was. */
    bool waitFor(const QByteArray &text, int timeoutMs = PatienceMs);
    /** Types a line and the enter key. */
    void type(const QByteArray &line);
    /** Whether what is typed now would be seen. */
    bool echoes() const;
    /** Reads to the program's end and returns its exit code; -1: it did not end as a program does.
     */
    int finish(int timeoutMs = PatienceMs);
    /** All that was on the screen. */
    const QByteArray &screen() const { return m_screen; }

private:
    bool readMore(int timeoutMs);

    int m_master = -1;
    pid_t m_process = -1;
    QByteArray m_screen;
    int m_seen = 0;
};

#endif
