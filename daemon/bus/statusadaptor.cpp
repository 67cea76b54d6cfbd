// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/bus/statusadaptor.h"

#include "daemon/bus/front.h"

namespace Daemon {

StatusAdaptor::StatusAdaptor(Front *front)
    : QDBusAbstractAdaptor(front)
    , m_front(front)
{
}

QString StatusAdaptor::version() const
{
    return QStringLiteral(ORVMAIL_VERSION);
}

qlonglong StatusAdaptor::since() const
{
    return m_front->servesSince();
}

int StatusAdaptor::lastError(qulonglong accountId, QString &text)
{
    const AccountError error = m_front->lastError(accountId);
    text = error.words;
    return error.code;
}

QVariantMap StatusAdaptor::accountStatus(qulonglong accountId)
{
    return m_front->accountStatus(accountId);
}

} // namespace Daemon
