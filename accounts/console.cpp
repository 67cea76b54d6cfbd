// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/console.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace Accounts {

namespace {

/** Standard input's echo is off while one of these lives. */
class NoEcho
{
public:
    NoEcho()
    {
        m_off = tcgetattr(STDIN_FILENO, &m_before) == 0;
        termios silent = m_before;
        silent.c_lflag &= ~tcflag_t(ECHO);
        if (m_off)
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~NoEcho()
    {
        if (m_off)
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
    }
    NoEcho(const NoEcho &) = delete;
    NoEcho &operator=(const NoEcho &) = delete;

private:
    termios m_before;
    bool m_off;
};

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
    if (!m_json)
        m_out << line << '\n' << Qt::flush;
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
    m_err << "orvmail-account: " << line << '\n' << Qt::flush;
}

void Console::drawProgress(const QString &title, int percent)
{
    if (!m_redraw)
        return;
    const int filled = qBound(0, percent, 100) * BarWidth / 100;
    m_err << '\r' << title << " [" << QString(filled, QLatin1Char('#'))
          << QString(BarWidth - filled, QLatin1Char('.')) << "] " << qBound(0, percent, 100)
          << " % " << Qt::flush;
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
    m_err << question;
    if (!preset.isEmpty())
        m_err << " [" << preset << ']';
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
    const QString answer =
        ask(question + QLatin1String(" (yes/no)"), QStringLiteral("no")).value_or(QString());
    return answer.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0
        || answer.compare(QLatin1String("y"), Qt::CaseInsensitive) == 0;
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
