// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_ASDBUSINTERFACE_H
#define ASCLIENT_ASDBUSINTERFACE_H

#include "asclient/answerwatch.h"
#include "asclient/searchmailboxoptions.h"
#include "asclient/searchmailboxresult.h"
#include "asclient/searchquery.h"

#include <QDBusAbstractInterface>
#include <QDBusReply>
#include <QSet>
#include <QStringList>

namespace Activesync {

/** The ActiveSync daemon's well-known name on the session bus. */
constexpr char ServiceName[] = "com.tarvo.asdbus";
/** The path of the daemon's one object. */
constexpr char ObjectPath[] = "/com/tarvo/asdbus";
/** The name of that object's interface. */
constexpr char InterfaceName[] = "com.tarvo.asdbus";
/** The name of the interface, at the same object, that tells how an account fares. */
constexpr char StatusInterfaceName[] = "com.tarvo.asdbus.Status1";

/** A blocking call holds its caller no longer than this, in milliseconds. */
constexpr int CallTimeoutMs = 10000;
/** The same for isRequestAlive(), which is asked for each running request in turn. */
constexpr int AliveTimeoutMs = 2000;

/**
 * Proxy of the ActiveSync daemon on a message bus.
 *
 * A call that starts work replies at once with the id of the request, or with -1 when the daemon
 * refuses it; the end of the work is told by requestCompleted(). With QDBus::NoBlock the call is
 * sent and the reply is ignored: the returned reply then holds 0 and no error. A daemon that left a
 * call unanswered is not called again until it is heard of; see AnswerWatch.
 */
class AsDBusInterface : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    /** A hint for syncSpecificFolders(): what of a folder matters to the caller. */
    enum ContentType { AllContent = 0, MessageLists = 30 };

    AsDBusInterface(const QDBusConnection &connection, QObject *parent);

    QDBusReply<int> sync(quint64 accountId, QDBus::CallMode mode);
    QDBusReply<int> folderSync(quint64 accountId, QDBus::CallMode mode);
    /** `folders` are decimal QMailFolderIds; `contentType` and `value` are hints. */
    QDBusReply<int> syncSpecificFolders(quint64 accountId, const QStringList &folders,
                                        int contentType, int value, QDBus::CallMode mode);
    QDBusReply<int> downloadMessage(quint64 accountId, quint64 messageId, QDBus::CallMode mode);
    QDBusReply<int> downloadAttachment(quint64 accountId, quint64 messageId,
                                       const QString &location, QDBus::CallMode mode);
    QDBusReply<int> sendMail(quint64 accountId, quint64 messageId, QDBus::CallMode mode);
    QDBusReply<int> searchMailbox(quint64 accountId, const SearchQuery &query,
                                  const SearchMailboxOptions &options, QDBus::CallMode mode);

    /** Ends a request with `code`; unknown ids are ignored by the daemon. */
    QDBusReply<void> abortRequest(int requestId, int code, QDBus::CallMode mode);
    /** Non-zero while the daemon still works on the request. */
    QDBusReply<int> isRequestAlive(int requestId, QDBus::CallMode mode);
    /** Ends every synchronisation of the account with `code`. */
    QDBusReply<void> stopSync(quint64 accountId, int code, QDBus::CallMode mode);

    /** How this daemon answers. */
    AnswerWatch &answers() const { return *m_answers; }
    /** Delivers what has come into this process for this proxy already, before its turn. */
    void deliverPosted();

signals:
    /** The one end of every accepted request; 200 is success. */
    void requestCompleted(int code, qulonglong accountId, int requestId);
    /** What a search found; the requestCompleted() of its request follows. */
    void searchMailboxCompleted(int status, qulonglong accountId,
                                const Activesync::SearchMailboxResult &result, int requestId);

protected:
    /** A signal that was heard once stays subscribed at the bus for the proxy's life. */
    void connectNotify(const QMetaMethod &signal) override;
    void disconnectNotify(const QMetaMethod &signal) override;

private:
    QDBusMessage invoke(QDBus::CallMode mode, int timeoutMs, const QString &method,
                        const QVariantList &arguments);

    QDBus::CallMode modeFor(QDBus::CallMode mode) const;
    QDBusMessage callAndWait(int timeoutMs, const QString &method, const QVariantList &arguments);

    QSet<int> m_subscribed;
    AnswerWatch *m_answers;
};

} // namespace Activesync

#endif
