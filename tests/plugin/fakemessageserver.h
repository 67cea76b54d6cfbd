// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_PLUGIN_FAKEMESSAGESERVER_H
#define TESTS_PLUGIN_FAKEMESSAGESERVER_H

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <qmailserviceaction.h>

/**
 * The message server as its clients meet it on the bus: it notes what they ask for, and the test
 * decides what becomes of it.
 */
class FakeMessageServer : public QDBusVirtualObject
{
    Q_OBJECT

public:
    struct Request
    {
        QString method;
        qulonglong action = 0;
        QVariantList arguments;
    };

    FakeMessageServer();
    ~FakeMessageServer() override;

    /** The requests of one method, in the order of their arrival. */
    QList<Request> requests(const char *method) const;
    /** Waits for the next request of the method that was not waited for yet. */
    Request waitForRequest(const char *method);

    /** Tells the clients what an action does now; returns when they know. */
    void setActivity(qulonglong action, QMailServiceAction::Activity activity);

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;
    QString introspect(const QString &path) const override;

private:
    QDBusConnection m_bus;
    QList<Request> m_requests;
    QHash<QString, int> m_waitedFor;
};

#endif
