// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/waitingbar.h"

#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace Accounts {

WaitingBar::WaitingBar(QWidget *parent)
    : QWidget(parent)
    , m_text(new QLabel(this))
    , m_progress(new QProgressBar(this))
    , m_cancel(new QPushButton(tr("&Cancel"), this))
{
    m_text->setObjectName(QStringLiteral("status"));
    m_text->setWordWrap(true);
    m_text->setTextFormat(Qt::PlainText);
    m_progress->setAccessibleName(tr("Progress of the synchronisation"));
    m_progress->hide();
    m_cancel->setObjectName(QStringLiteral("cancel"));
    m_cancel->setAutoDefault(true);
    m_cancel->hide();
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(m_text, 0, 0);
    grid->addWidget(m_cancel, 0, 1);
    grid->addWidget(m_progress, 1, 0, 1, 2);
    grid->setColumnStretch(0, 1);
    connect(m_cancel, &QPushButton::clicked, this, &WaitingBar::cancelled);
    m_ticker.setInterval(1000);
    connect(&m_ticker, &QTimer::timeout, this, [this] {
        ++m_seconds;
        showWaiting();
    });
}

void WaitingBar::say(const QString &text)
{
    m_text->setText(text);
    m_text->setAccessibleName(text);
}

void WaitingBar::waitFor(const QString &what)
{
    m_what = what;
    m_seconds = 0;
    m_progress->setValue(0);
    m_cancel->show();
    m_ticker.start();
    showWaiting();
}

void WaitingBar::showProgress(int percent)
{
    m_progress->setValue(percent);
    m_progress->show();
}

void WaitingBar::stop()
{
    m_ticker.stop();
    m_cancel->hide();
    m_progress->hide();
    say(QString());
}

void WaitingBar::showWaiting()
{
    say(m_seconds == 0 ? m_what + QLatin1String("...")
                       : tr("%1... %2 s").arg(m_what).arg(m_seconds));
}

} // namespace Accounts
