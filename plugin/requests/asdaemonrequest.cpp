// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/asdaemonrequest.h"

#include "asclient/asdbusinterface.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/service/orvservice.h"

#include <qmaillog.h>
#include <QPointer>

AsDaemonRequest::AsDaemonRequest(OrvService &service, const QMailAccountId &accountId,
                                 DaemonCall call, QObject *parent)
    : QObject(parent)
    , m_service(service)
    , m_accountId(accountId)
    , m_call(call)
{
    connect(service.daemon(), SIGNAL(requestCompleted(int, qulonglong, int)), this,
            SLOT(onRequestCompleted(int, qulonglong, int)));
    connect(&service, SIGNAL(operationCanceled(QMailServiceAction::Status::ErrorCode)), this,
            SLOT(onCancelled(QMailServiceAction::Status::ErrorCode)));
    connect(this, SIGNAL(requestCompleted(int, AsDaemonRequest *, bool)), service.scheduler(),
            SLOT(onRequestCompleted(int, AsDaemonRequest *, bool)));
}

int AsDaemonRequest::execute()
{
    const QDBusReply<int> reply = m_call();
    if (reply.isValid() && reply.value() != -1) {
        m_requestId = reply.value();
        return m_requestId;
    }
    if (!reply.isValid()) {
        qMailLog(Messaging) << "Request has returned an error" << reply.error().name();
    }
    end(-1, false);
    return -1;
}

void AsDaemonRequest::onCancelled(QMailServiceAction::Status::ErrorCode code)
{
    qMailLog(Messaging) << "cancelling as-daemon request" << m_requestId << "with code"
                        << int(code);
    // Deliberate: this does not disconnect the proxy, so the request still hears the daemon until
    // it is deleted, and a broadcast that is already on its way is handled.
    disconnect(this, nullptr, this, SLOT(onRequestCompleted(int, qulonglong, int)));
    m_service.daemon()->abortRequest(m_requestId, code, QDBus::Block);
    end(code, true);
}

void AsDaemonRequest::outliveAction()
{
    disconnect(&m_service, SIGNAL(operationCanceled(QMailServiceAction::Status::ErrorCode)), this,
               SLOT(onCancelled(QMailServiceAction::Status::ErrorCode)));
}

void AsDaemonRequest::end(int code, bool cancelled)
{
    const QPointer<AsDaemonRequest> self(this);
    emit requestCompleted(code, this, cancelled);
    if (self)
        deleteLater();
}
