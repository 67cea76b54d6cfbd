// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_CONSOLE_H
#define ACCOUNTS_CONSOLE_H

#include <QJsonValue>
#include <QString>
#include <QTextStream>

#include <optional>

namespace Accounts {

/**
 * The terminal: what the program says goes to standard output, what it asks to standard error, so
 * that the output can be read by another program while a person answers.
 */
class Console
{
public:
    Console();

    /** Whether a person can be asked. */
    bool isInteractive() const { return m_interactive; }
    void setJson(bool json) { m_json = json; }
    /** From now on nothing is said or drawn but errors and the output for a program. */
    void setQuiet(bool quiet) { m_quiet = quiet; }

    /** A line for a person; nothing when the output is for a program. What a terminal would obey is
     * left out of all lines. */
    void say(const QString &line);
    /** The output for a program; nothing when it is for a person. */
    void give(const QJsonValue &value);
    /** The one line of an error. */
    void complain(const QString &line);

    /** Draws a bar over the last one; `percent` of 100. */
    void drawProgress(const QString &title, int percent);
    /** Draws, over the last bar, that it waits, and since when. */
    void drawWaiting(const QString &title, int seconds);
    void clearProgress();

    /** A line from the person, `preset` for an empty one; nothing at the end of the input. */
    std::optional<QString> ask(const QString &question, const QString &preset = QString());
    /** The same without echo. */
    std::optional<QString> askSecret(const QString &question);
    /** Whether the answer is yes; no where nobody can be asked. */
    bool confirm(const QString &question);
    /** The first line of standard input. */
    std::optional<QString> readSecret();

private:
    std::optional<QString> readLine();

    QTextStream m_out;
    QTextStream m_err;
    QTextStream m_in;
    bool m_interactive;
    bool m_redraw;
    bool m_json = false;
    bool m_quiet = false;
    bool m_drawn = false;
};

} // namespace Accounts

#endif
