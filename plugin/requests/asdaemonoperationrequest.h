// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_REQUESTS_ASDAEMONOPERATIONREQUEST_H
#define PLUGIN_REQUESTS_ASDAEMONOPERATIONREQUEST_H

#include "plugin/requests/asdaemonrequest.h"

/** A daemon request whose completion carries nothing but its result code. */
class AsDaemonOperationRequest : public AsDaemonRequest
{
    Q_OBJECT

public:
    AsDaemonOperationRequest(OrvService &service, const QMailAccountId &accountId, DaemonCall call,
                             QObject *parent);

    /** The account is not compared: the daemon's request ids are unique across accounts. */
    void onRequestCompleted(int code, qulonglong accountId, int requestId) override;
};

#endif
