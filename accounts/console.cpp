// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/console.h"

#include "translations/text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>
#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace Accounts {

namespace {

/** The terminal as it was before its echo went off. */
termios terminalBefore;

/** Ends the program as the signal does, and leaves the terminal as it was. */
void endWithEcho(int signal)
{
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminalBefore);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

/** Standard input's echo is off while one of these lives. */
class NoEcho
{
public:
    NoEcho()
    {
        m_off = tcgetattr(STDIN_FILENO, &terminalBefore) == 0;
        if (!m_off)
            return;
        for (int signal : EndingSignals)
            std::signal(signal, endWithEcho);
        termios silent = terminalBefore;
        silent.c_lflag &= ~tcflag_t(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~NoEcho()
    {
        if (!m_off)
            return;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminalBefore);
        for (int signal : EndingSignals)
            std::signal(signal, SIG_DFL);
    }
    NoEcho(const NoEcho &) = delete;
    NoEcho &operator=(const NoEcho &) = delete;

private:
    static constexpr int EndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    bool m_off;
};

/** While one of these lives, an interrupt ends the program, whatever it did before. */
class PlainInterrupt
{
public:
    PlainInterrupt()
    {
        struct sigaction plain = {};
        plain.sa_handler = SIG_DFL;
        sigaction(SIGINT, &plain, &m_before);
    }
    ~PlainInterrupt() { sigaction(SIGINT, &m_before, nullptr); }
    PlainInterrupt(const PlainInterrupt &) = delete;
    PlainInterrupt &operator=(const PlainInterrupt &) = delete;

private:
    struct sigaction m_before;
};

/** On one line, and without what a terminal would obey: texts come from servers, too. */
QString plain(const QString &text)
{
    QString line = text;
    for (QChar &character : line) {
        if (character.category() == QChar::Other_Control || character == QChar::LineSeparator
            || character == QChar::ParagraphSeparator)
            character = QLatin1Char(' ');
    }
    return line;
}

constexpr int BarWidth = 30;

} // namespace

Console::Console()
    : m_out(stdout)
    , m_err(stderr)
    , m_in(stdin)
    , m_interactive(isatty(STDIN_FILENO))
    , m_redraw(isatty(STDERR_FILENO))
{
    for (QTextStream *stream : {&m_out, &m_err, &m_in})
        stream->setCodec("UTF-8");
}

void Console::say(const QString &line)
{
    if (!m_json && !m_quiet)
        m_out << plain(line) << '\n' << Qt::flush;
}

void Console::give(const QJsonValue &value)
{
    if (!m_json)
        return;
    const QJsonDocument document =
        value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    m_out << QString::fromUtf8(document.toJson()) << Qt::flush;
}

void Console::complain(const QString &line)
{
    m_err << "orvmail-account: " << plain(line) << '\n' << Qt::flush;
}

void Console::drawProgress(const QString &title, int percent)
{
    if (!m_redraw || m_quiet)
        return;
    const int filled = qBound(0, percent, 100) * BarWidth / 100;
    m_err << '\r' << plain(title) << " [" << QString(filled, QLatin1Char('#'))
          << QString(BarWidth - filled, QLatin1Char('.')) << "] " << qBound(0, percent, 100)
          << " % " << Qt::flush;
    m_drawn = true;
}

void Console::drawWaiting(const QString &title, int seconds)
{
    if (!m_redraw || m_quiet)
        return;
    const QString text = Text::tr("%1... %2 s (Ctrl-C cancels)").arg(plain(title)).arg(seconds);
    m_err << "\r\033[K" << text << Qt::flush;
    m_drawn = true;
}

void Console::clearProgress()
{
    if (m_drawn)
        m_err << "\r\033[K" << Qt::flush;
    m_drawn = false;
}

std::optional<QString> Console::ask(const QString &question, const QString &preset)
{
    // Nobody reads on who has asked for the end.
    const PlainInterrupt interrupt;
    clearProgress();
    m_err << plain(question);
    if (!preset.isEmpty())
        m_err << " [" << plain(preset) << ']';
    m_err << ": " << Qt::flush;
    const std::optional<QString> line = readLine();
    if (!line)
        return line;
    return line->trimmed().isEmpty() ? preset : line->trimmed();
}

std::optional<QString> Console::askSecret(const QString &question)
{
    const NoEcho noEcho;
    m_err << question << ": " << Qt::flush;
    const std::optional<QString> line = readLine();
    m_err << '\n' << Qt::flush;
    return line;
}

bool Console::confirm(const QString &question)
{
    if (!m_interactive)
        return false;
    const QString yes = Text::tr("yes");
    const QString answer =
        ask(Text::tr("%1 (yes/no)").arg(question), Text::tr("no")).value_or(QString());
    const QStringList agreeing {yes, yes.left(1), QStringLiteral("yes"), QStringLiteral("y")};
    return agreeing.contains(answer, Qt::CaseInsensitive);
}

std::optional<QString> Console::readSecret()
{
    return readLine();
}

std::optional<QString> Console::readLine()
{
    QString line;
    if (!m_in.readLineInto(&line))
        return std::nullopt;
    return line;
}

} // namespace Accounts
