// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/actionwatcher.h"

#include <QTest>

ActionWatcher::ActionWatcher(QMailServiceAction *action)
{
    connect(action, &QMailServiceAction::activityChanged, this, &ActionWatcher::followActivity);
    connect(action, &QMailServiceAction::statusChanged, this, &ActionWatcher::followStatus);
    connect(action, &QMailServiceAction::progressChanged, this,
            [this](uint value, uint total) { m_progress.append({value, total}); });
}

bool ActionWatcher::waitForEnd(int timeoutMs)
{
    return QTest::qWaitFor([this] { return m_ends > 0; }, timeoutMs);
}

bool ActionWatcher::waitForStart(int timeoutMs)
{
    return QTest::qWaitFor([this] { return m_started; }, timeoutMs);
}

void ActionWatcher::followActivity(QMailServiceAction::Activity activity)
{
    m_last = activity;
    m_started = m_started || activity == QMailServiceAction::InProgress;
    if (activity == QMailServiceAction::Successful || activity == QMailServiceAction::Failed)
        ++m_ends;
}

void ActionWatcher::followStatus(const QMailServiceAction::Status &status)
{
    if (status.errorCode == QMailServiceAction::Status::ErrNoError)
        return;
    m_errorCode = status.errorCode;
    m_errorText = status.text;
}
