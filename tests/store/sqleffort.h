// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STORE_SQLEFFORT_H
#define TESTS_STORE_SQLEFFORT_H

#include <QSqlDatabase>

/**
 * Counts what SQLite does in this process to answer the questions to a database, in the steps of
 * its virtual machine. They are the same each time, however busy the computer is.
 */
class SqlEffort
{
public:
    /** Counts for the connection to the file, of which there must be one. */
    explicit SqlEffort(const QString &file);
    ~SqlEffort();
    SqlEffort(const SqlEffort &) = delete;
    SqlEffort &operator=(const SqlEffort &) = delete;

    qint64 steps() const { return m_steps; }

private:
    static int hear(unsigned event, void *self, void *statement, void *);

    QSqlDatabase m_connection;
    qint64 m_steps = 0;
};

#endif
