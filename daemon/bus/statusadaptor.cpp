// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/bus/statusadaptor.h"

#include "daemon/bus/front.h"

namespace Daemon {

StatusAdaptor::StatusAdaptor(Front *front)
    : QDBusAbstractAdaptor(front)
    , m_front(front)
{
}

int StatusAdaptor::lastError(qulonglong accountId, QString &text)
{
    const AccountError error = m_front->lastError(accountId);
    text = error.words;
    return error.code;
}

} // namespace Daemon
