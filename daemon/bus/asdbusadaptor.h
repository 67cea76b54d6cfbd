// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_BUS_ASDBUSADAPTOR_H
#define DAEMON_BUS_ASDBUSADAPTOR_H

#include "asclient/searchmailboxoptions.h"
#include "asclient/searchmailboxresult.h"
#include "asclient/searchquery.h"

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QStringList>

namespace Daemon {

class Front;

/**
 * The daemon's interface on D-Bus; turns each call into one of the front's.
 *
 * The calls that start work are answered by the front; what their slots return is not sent. The
 * signals are here for introspection, the front broadcasts by itself.
 */
class AsDBusAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.tarvo.asdbus")

public:
    /** Owned by the front. */
    explicit AsDBusAdaptor(Front *front);

public slots:
    int sync(qulonglong accountId, const QDBusMessage &call);
    int folderSync(qulonglong accountId, const QDBusMessage &call);
    int syncSpecificFolders(qulonglong accountId, const QStringList &folders, int contentType,
                            int value, const QDBusMessage &call);
    int downloadMessage(qulonglong accountId, qulonglong messageId, const QDBusMessage &call);
    int downloadAttachment(qulonglong accountId, qulonglong messageId, const QString &location,
                           const QDBusMessage &call);
    int sendMail(qulonglong accountId, qulonglong messageId, const QDBusMessage &call);
    int searchMailbox(qulonglong accountId, const Activesync::SearchQuery &query,
                      const Activesync::SearchMailboxOptions &options, const QDBusMessage &call);
    void abortRequest(int requestId, int code);
    int isRequestAlive(int requestId);
    void stopSync(qulonglong accountId, int code);

signals:
    void requestCompleted(int code, qulonglong accountId, int requestId);
    void searchMailboxCompleted(int status, qulonglong accountId,
                                const Activesync::SearchMailboxResult &result, int requestId);
    void syncStarted(qulonglong accountId);
    void syncCompleted(qulonglong accountId);

private:
    Front *m_front;
};

} // namespace Daemon

#endif
