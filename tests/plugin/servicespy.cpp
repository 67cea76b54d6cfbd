// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/servicespy.h"

namespace {

QString text(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

} // namespace

ServiceSpy::ServiceSpy(QMailMessageService *service)
{
    using Service = QMailMessageService;
    connect(service, qOverload<uint, uint>(&Service::progressChanged), this,
            [this](uint progress, uint total) {
                m_events += QStringLiteral("progress %1/%2").arg(progress).arg(total);
            });
    connect(service, qOverload<QMailServiceAction::Activity>(&Service::activityChanged), this,
            [this](QMailServiceAction::Activity activity) {
                m_events += QStringLiteral("activity %1").arg(activity);
            });
    connect(service, qOverload<bool>(&Service::actionCompleted), this,
            [this](bool success) { m_events += QStringLiteral("completed ") + text(success); });
    connect(service, &Service::availabilityChanged, this,
            [this](bool available) { m_events += QStringLiteral("available ") + text(available); });
    connect(service, qOverload<const QMailServiceAction::Status>(&Service::statusChanged), this,
            &ServiceSpy::onStatusChanged);
}

QStringList ServiceSpy::take()
{
    QStringList taken;
    taken.swap(m_events);
    return taken;
}

QStringList ServiceSpy::takeOutcome()
{
    QStringList outcome;
    for (const QString &event : take()) {
        if (!event.startsWith(QLatin1String("progress"))
            && !event.startsWith(QLatin1String("status")))
            outcome += event;
    }
    return outcome;
}

int ServiceSpy::completions() const
{
    return m_events.filter(QStringLiteral("completed")).count();
}

void ServiceSpy::onStatusChanged(const QMailServiceAction::Status status)
{
    m_status = status;
    // An error's text is the platform's.
    m_events += status.errorCode == QMailServiceAction::Status::ErrNoError
        ? QStringLiteral("status ") + status.text
        : QStringLiteral("error %1").arg(status.errorCode);
}
