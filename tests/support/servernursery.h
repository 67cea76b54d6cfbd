// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_SERVERNURSERY_H
#define TESTS_SUPPORT_SERVERNURSERY_H

#include <QLocalSocket>
#include <QObject>
#include <QProcess>
#include <QStringList>

/**
 * Starts the servers of this test program (tests/easserver/nursery.py): a start costs a few
 * milliseconds, where a Python of its own needs more than 100. It begins with the first server and
 * ends with the program.
 */
class ServerNursery : public QObject
{
public:
    /**
     * Starts a server with these arguments and connects to its standard input and output. Its first
     * line is the number of its process; the connection closes when that has ended. False when no
     * nursery can be had.
     */
    static bool connect(QLocalSocket *connection, const QStringList &arguments);
    /** The folder in which each server notes, in a file by its number, what clients did wrong. */
    static QString violations();

private:
    ServerNursery();
    ~ServerNursery() override;

    QString m_path;
    QProcess m_process;
    bool m_isReady = false;
};

#endif
