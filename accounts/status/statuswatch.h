// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_STATUS_STATUSWATCH_H
#define ACCOUNTS_STATUS_STATUSWATCH_H

#include <QObject>
#include <QTimer>

namespace Accounts {

/**
 * Tells when the status of an account, or of what brings its mail, may be another.
 *
 * Hears of it from the bus and the mail store, and asks nobody: while nothing changes, nothing is
 * done. What comes in a burst is told once.
 */
class StatusWatch : public QObject
{
    Q_OBJECT

public:
    explicit StatusWatch(QObject *parent = nullptr);

signals:
    void changed();

private slots:
    void note();

private:
    void watchBus();
    void watchStore();

    QTimer m_burst;
};

} // namespace Accounts

#endif
