// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STORE_SQLTRACE_H
#define TESTS_STORE_SQLTRACE_H

#include <QSet>
#include <QString>

#include <functional>

/** Listens to what the mail store asks its database in this process, by SQLite's own trace. */
class SqlTrace
{
public:
    /** Calls `heard` when a statement begins, before it does anything. */
    explicit SqlTrace(std::function<void(const QString &)> heard = nullptr);
    ~SqlTrace();
    SqlTrace(const SqlTrace &) = delete;
    SqlTrace &operator=(const SqlTrace &) = delete;

    /** The statements so far, with the values that were bound. */
    const QSet<QString> &statements() const { return m_statements; }
    /** How SQLite would answer the statement now: the lines of its plan. */
    static QString planOf(const QString &statement);

private:
    static int hear(unsigned type, void *self, void *statement, void *text);

    const std::function<void(const QString &)> m_heard;
    QSet<QString> m_statements;
};

#endif
