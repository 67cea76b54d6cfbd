// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_BUS_STATUSADAPTOR_H
#define DAEMON_BUS_STATUSADAPTOR_H

#include <QDBusAbstractAdaptor>
#include <QVariantMap>

namespace Daemon {

class Front;

/**
 * What the daemon tells about an account's state, on an interface with a version of its own.
 *
 * The signal is here for introspection, the front broadcasts by itself.
 */
class StatusAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.tarvo.asdbus.Status1")
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(qlonglong since READ since CONSTANT)

public:
    /** Owned by the front. */
    explicit StatusAdaptor(Front *front);

    /** The daemon's. */
    QString version() const;
    /** When it began to serve, UTC seconds since 1970. */
    qlonglong since() const;

public slots:
    /** The result code of the account's last work and a sentence for it; 0 and nothing where it
     * went well, or none ran. */
    int lastError(qulonglong accountId, QString &text);
    /** An Activesync::AccountStatus as its map; empty where the daemon does not serve it. */
    QVariantMap accountStatus(qulonglong accountId);

signals:
    void accountStatusChanged(qulonglong accountId);

private:
    Front *m_front;
};

} // namespace Daemon

#endif
