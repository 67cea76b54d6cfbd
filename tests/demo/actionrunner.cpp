// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/demo/actionrunner.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTextStream>
#include <QTimer>

#include <unistd.h>

namespace Demo {

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
    if (!m_terminal || percent == m_lastPercent)
        return;
    m_lastPercent = percent;
    const int width = 30;
    const int filled = percent * width / 100;
    QTextStream(stdout) << '\r' << m_title << " [" << QString(filled, QLatin1Char('#'))
                        << QString(width - filled, QLatin1Char('.')) << "] " << percent << " %  "
                        << Qt::flush;
}

void ActionRunner::endLine(const QString &text)
{
    QTextStream(stdout) << (m_terminal ? "\r\033[K" : "") << m_title << ": " << text << '\n'
                        << Qt::flush;
}

} // namespace Demo
