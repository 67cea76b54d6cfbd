// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_ACTIONWATCHER_H
#define TESTS_SUPPORT_ACTIONWATCHER_H

#include "tests/support/patience.h"

#include <QList>
#include <qmailserviceaction.h>
#include <QObject>
#include <QString>

/** What a client of the message server sees of one of its actions. Made before the action starts.
 */
class ActionWatcher : public QObject
{
    Q_OBJECT

public:
    /** Watches `action`, which must live longer. */
    explicit ActionWatcher(QMailServiceAction *action);

    /** Runs the event loop until the action ended; false when it did not within `timeoutMs`. */
    bool waitForEnd(int timeoutMs = PatienceMs);
    /** The same for the message server having taken the action up. */
    bool waitForStart(int timeoutMs = PatienceMs);

    /** How often it became Successful or Failed. */
    int endCount() const { return m_ends; }
    bool succeeded() const { return m_ends > 0 && m_last == QMailServiceAction::Successful; }
    /** The code and text of the last status that names an error; 0 where there was none. */
    int errorCode() const { return m_errorCode; }
    QString errorText() const { return m_errorText; }
    /** Value and total of each report of progress. */
    QList<QPair<uint, uint>> progress() const { return m_progress; }

private:
    void followActivity(QMailServiceAction::Activity activity);
    void followStatus(const QMailServiceAction::Status &status);

    int m_ends = 0;
    bool m_started = false;
    QMailServiceAction::Activity m_last = QMailServiceAction::Pending;
    int m_errorCode = 0;
    QString m_errorText;
    QList<QPair<uint, uint>> m_progress;
};

#endif
