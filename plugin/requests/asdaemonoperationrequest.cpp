// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/asdaemonoperationrequest.h"

#include <qmaillog.h>

AsDaemonOperationRequest::AsDaemonOperationRequest(OrvService &service,
                                                   const QMailAccountId &accountId, DaemonCall call,
                                                   QObject *parent)
    : AsDaemonRequest(service, accountId, call, parent)
{
}

void AsDaemonOperationRequest::onRequestCompleted(int code, qulonglong accountId, int requestId)
{
    if (requestId != m_requestId)
        return;
    qMailLog(Messaging) << "request completed signal received code" << code << "for Account"
                        << accountId << "Request" << requestId;
    end(code, false);
}
