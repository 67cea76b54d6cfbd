// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/accounts/terminal.h"

#include <QDeadlineTimer>
#include <QFile>

#include <csignal>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

Terminal::Terminal(const QString &program, const QStringList &arguments)
{
    QList<QByteArray> words {QFile::encodeName(program)};
    for (const QString &argument : arguments)
        words.append(argument.toLocal8Bit());
    std::vector<char *> list;
    for (QByteArray &word : words)
        list.push_back(word.data());
    list.push_back(nullptr);
    m_process = forkpty(&m_master, nullptr, nullptr, nullptr);
    if (m_process == 0) {
        execv(list.front(), list.data());
        _exit(127);
    }
    if (m_process < 0)
        qFatal("no terminal");
}

Terminal::~Terminal()
{
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    close(m_master);
}

bool Terminal::readMore(int timeoutMs)
{
    pollfd wanted {m_master, POLLIN, 0};
    if (poll(&wanted, 1, timeoutMs) <= 0)
        return false;
    char buffer[4096];
    const ssize_t length = read(m_master, buffer, sizeof buffer);
    if (length <= 0)
        return false;
    m_screen.append(buffer, int(length));
    return true;
}

bool Terminal::waitFor(const QByteArray &text, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        const int found = m_screen.indexOf(text, m_seen);
        if (found >= 0) {
            m_seen = found + text.size();
            return true;
        }
        if (!readMore(int(deadline.remainingTime())))
            return false;
    }
}

void Terminal::type(const QByteArray &line)
{
    const QByteArray bytes = line + '\n';
    if (write(m_master, bytes.constData(), size_t(bytes.size())) != bytes.size())
        qFatal("the terminal takes nothing");
}

bool Terminal::echoes() const
{
    termios state;
    return tcgetattr(m_master, &state) == 0 && (state.c_lflag & ECHO);
}

int Terminal::finish(int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (readMore(int(deadline.remainingTime()))) { }
    int status = 0;
    if (deadline.hasExpired() || waitpid(m_process, &status, 0) != m_process)
        return -1;
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
