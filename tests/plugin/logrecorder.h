// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_PLUGIN_LOGRECORDER_H
#define TESTS_PLUGIN_LOGRECORDER_H

#include <QStringList>

/** Keeps, while it lives, what this process logs. One at a time. */
class LogRecorder
{
public:
    LogRecorder();
    ~LogRecorder();
    LogRecorder(const LogRecorder &) = delete;
    LogRecorder &operator=(const LogRecorder &) = delete;

    /** The lines of the log category "Messaging" since the last call, without the category. */
    QStringList takeLines();
    /** Whether the line is among those that takeLines() would give. */
    bool hasLine(const QString &line) const;
    /** The warnings and critical messages since the last call. */
    QStringList takeWarnings();
};

#endif
