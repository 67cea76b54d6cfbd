// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_ACCOUNTS_BUSSERVICE_H
#define TESTS_ACCOUNTS_BUSSERVICE_H

#include <QString>

/**
 * A service that the test's session bus starts when somebody wants it, as an installed one is.
 *
 * The destructor ends a process that was started, and the bus forgets the service.
 */
class BusService
{
public:
    /** QMF's message server; `environment`: "NAME=VALUE ..." for it alone. */
    static BusService messageServer(const QString &environment = QString());
    /** The daemon as it is built. */
    static BusService daemon();

    /** `exec`: its command line. */
    BusService(const QString &busName, const QString &exec);
    /** `file` is the installed activation file. */
    static BusService fromFile(const QString &busName, const QString &file);
    ~BusService();
    BusService(const BusService &) = delete;
    BusService &operator=(const BusService &) = delete;

    bool isRunning() const;

private:
    BusService(const QString &busName, const QString &fileName, const QByteArray &content);

    const QString m_busName;
    const QString m_file;
};

#endif
