// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/demo/actionrunner.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTextStream>
#include <QTimer>

#include <unistd.h>

namespace Demo {

namespace {

constexpr int BarWidth = 30;

} // namespace

ActionRunner::ActionRunner(const QString &title, QMailServiceAction &action)
    : m_title(title)
    , m_action(action)
    , m_terminal(isatty(STDOUT_FILENO))
{
}

bool ActionRunner::run(const std::function<void()> &start, int timeoutMs)
{
    QEventLoop loop;
    QObject context;
    bool ended = false;
    QObject::connect(&m_action, &QMailServiceAction::activityChanged, &context,
                     [&](QMailServiceAction::Activity activity) {
                         ended = activity == QMailServiceAction::Successful
                             || activity == QMailServiceAction::Failed;
                         if (ended)
                             loop.quit();
                     });
    QObject::connect(&m_action, &QMailServiceAction::progressChanged, &context,
                     [this](uint value, uint total) { showProgress(value, total); });
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);

    QElapsedTimer timer;
    timer.start();
    start();
    if (!ended)
        loop.exec();
    m_elapsedMs = timer.elapsed();

    const bool ok = ended && m_action.activity() == QMailServiceAction::Successful;
    if (!ended)
        m_errorText = QStringLiteral("no end after %1 s").arg(timeoutMs / 1000);
    else if (!ok)
        m_errorText = QStringLiteral("error %1 %2")
                          .arg(m_action.status().errorCode)
                          .arg(m_action.status().text);
    endLine(ok ? QStringLiteral("done in %1 ms").arg(m_elapsedMs) : m_errorText);
    return ok;
}

void ActionRunner::showProgress(uint value, uint total)
{
    const int percent = total ? int(qMin<quint64>(100, quint64(value) * 100 / total)) : 0;
    if (percent == qMax(0, m_lastPercent))
        return;
    m_lastPercent = percent;
    if (m_terminal)
        drawBar(percent);
    else
        growBar(percent);
}

void ActionRunner::drawBar(int percent)
{
    const int filled = percent * BarWidth / 100;
    QTextStream(stdout) << '\r' << m_title << " [" << QString(filled, QLatin1Char('#'))
                        << QString(BarWidth - filled, QLatin1Char('.')) << "] "
                        << QStringLiteral("%1 %").arg(percent, 3) << Qt::flush;
}

/** In a log, where nothing can be drawn anew, the bar only grows. */
void ActionRunner::growBar(int percent)
{
    QTextStream out(stdout);
    if (m_drawn < 0) {
        out << m_title << " [";
        m_drawn = 0;
    }
    for (; m_drawn < percent * BarWidth / 100; ++m_drawn)
        out << '#';
}

void ActionRunner::endLine(const QString &text)
{
    QTextStream out(stdout);
    if (m_terminal && m_lastPercent >= 0)
        out << "  ";
    else if (m_drawn >= 0)
        out << "] ";
    else
        out << m_title << ": ";
    out << text << '\n';
}

} // namespace Demo
