// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STAGE_DESKTOP_NOTIFICATIONSERVER_H
#define TESTS_STAGE_DESKTOP_NOTIFICATIONSERVER_H

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QStringList>

/**
 * The notification service of a desktop, on a connection of its own to the session bus. It writes
 * down what it is asked for; the destructor takes it off the bus, as its process's end would.
 */
class NotificationServer : public QDBusVirtualObject
{
    Q_OBJECT

public:
    NotificationServer();
    ~NotificationServer() override;

    /** From now on it answers nothing. */
    void keepSilent() { m_isSilent = true; }

    /** All calls in their order: "Notify NUMBER SUMMARY", or "Notify NUMBER>NUMBER SUMMARY" of one
     * in the place of another, "Close NUMBER", and the bare name of any other call. */
    QStringList calls() const { return m_calls; }
    /** All texts that it was to show. */
    QString texts() const { return m_texts.join(QLatin1Char('\n')); }
    /** How long the last one is to be shown, in milliseconds; 0: until it is closed. */
    int lastExpiry() const { return m_lastExpiry; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;
    QString introspect(const QString &path) const override;

signals:
    /** There is one more of calls(). */
    void called(const QString &call);

private:
    void note(const QString &call);
    uint show(const QVariantList &arguments);

    const QString m_name;
    QDBusConnection m_bus;
    QStringList m_calls;
    QStringList m_texts;
    uint m_last = 0;
    int m_lastExpiry = -2;
    bool m_isSilent = false;
};

#endif
