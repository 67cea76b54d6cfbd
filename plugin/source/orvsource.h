// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SOURCE_ORVSOURCE_H
#define PLUGIN_SOURCE_ORVSOURCE_H

#include "asclient/searchmailboxresult.h"
#include "plugin/requests/asdaemonrequest.h"

#include <qmailmessageservice.h>
#include <QMap>
#include <QSet>

class OrvProgressListener;
class OrvService;
class SyncMarker;

/**
 * The account's message source: turns what the message server asks for into daemon requests, and
 * follows the synchronisations that the daemon starts by itself.
 *
 * An operation that returns true is followed by one completion of the service.
 */
class OrvSource : public QMailMessageSource
{
    Q_OBJECT

public:
    /** Not owned by `service`'s object tree: the service deletes it, and outlives it. */
    explicit OrvSource(OrvService *service);

    /** Keeps a listener under its path, and deletes the one that was there. */
    void addListener(OrvProgressListener *listener);
    /** The marker of a synchronisation that the daemon started; owned by the source. */
    const SyncMarker &marker() const { return *m_marker; }

    using QMailMessageSource::cancelSearch;
    using QMailMessageSource::deleteMessages;
    using QMailMessageSource::exportUpdates;
    using QMailMessageSource::flagMessages;
    using QMailMessageSource::prepareMessages;
    using QMailMessageSource::protocolRequest;
    using QMailMessageSource::retrieveAll;
    using QMailMessageSource::retrieveFolderList;
    using QMailMessageSource::retrieveMessageList;
    using QMailMessageSource::retrieveMessageLists;
    using QMailMessageSource::retrieveMessagePart;
    using QMailMessageSource::retrieveMessagePartRange;
    using QMailMessageSource::retrieveMessageRange;
    using QMailMessageSource::retrieveMessages;
    using QMailMessageSource::searchMessages;
    using QMailMessageSource::synchronize;

signals:
    void updateStatus(const QString &text);
    void actionCompleted(bool success);

public slots:
    bool retrieveAll(const QMailAccountId &accountId) override;
    bool exportUpdates(const QMailAccountId &accountId) override;
    bool synchronize(const QMailAccountId &accountId) override;
    /** Always the whole folder tree. */
    bool retrieveFolderList(const QMailAccountId &accountId, const QMailFolderId &folderId,
                            bool descending) override;
    bool retrieveMessageList(const QMailAccountId &accountId, const QMailFolderId &folderId,
                             uint minimum, const QMailMessageSortKey &sort) override;
    /** Always the whole messages. */
    bool retrieveMessages(const QMailMessageIdList &ids,
                          QMailRetrievalAction::RetrievalSpecification spec) override;
    bool retrieveMessagePart(const QMailMessagePart::Location &partLocation) override;
    /** Refused. */
    bool retrieveMessageRange(const QMailMessageId &messageId, uint minimum) override;
    /** Refused. */
    bool retrieveMessagePartRange(const QMailMessagePart::Location &partLocation,
                                  uint minimum) override;
    /** Nothing to do: completes at once. */
    bool prepareMessages(
        const QList<QPair<QMailMessagePart::Location, QMailMessagePart::Location>> &ids) override;
    bool flagMessages(const QMailMessageIdList &ids, quint64 setMask, quint64 unsetMask) override;
    bool deleteMessages(const QMailMessageIdList &ids) override;
    /** Receives the marker of a synchronisation that the daemon started; refuses other accounts. */
    bool protocolRequest(const QMailAccountId &accountId, const QString &request,
                         const QVariant &data) override;
    bool retrieveMessageLists(const QMailAccountId &accountId, const QMailFolderIdList &folderIds,
                              uint minimum, const QMailMessageSortKey &sort) override;
    bool searchMessages(const QMailMessageKey &filter, const QString &bodyText,
                        const QMailMessageSortKey &sort) override;
    bool cancelSearch() override;
    /** Ends the running action with success. */
    void completeAction();
    /** True while the marker of a synchronisation that the daemon started is in progress. */
    bool isExternalSyncWorking();
    /** Not possible: false. */
    bool cancelExternalSync();

private slots:
    void handleSyncRequestCompleted(int code, AsDaemonRequest *, bool cancelled);
    void onSyncStarted();
    void onSyncStarted(qulonglong account);
    void onSyncCompleted(qulonglong account);
    void onSearchMailboxCompleted(int aStatus, qulonglong aAccountId,
                                  const Activesync::SearchMailboxResult &aResult, int aRequestId);
    void onListenerFinished(const QString &path);

private:
    void completeSoon();
    void endListeners();
    AsDaemonRequest *createRequest(const QMailAccountId &accountId, DaemonCall call);
    void syncFolders(const QMailAccountId &accountId, const QStringList &folders, int contentType);
    void syncChangedFolders(const QStringList &folders);
    void endSent(const QMailMessageIdList &flagged, const QMailMessageIdList &sent);
    static void removeSent(const QMailMessageIdList &ids);
    bool isBusy() const;
    bool isPushEnabled() const;
    bool isSyncRunning() const;
    void followRunningSync();
    QStringList parentFolders(const QMailMessageIdList &ids) const;
    QSet<QMailFolderId> searchScope(const QMailMessageKey &filter) const;

    OrvService *m_service;
    qint64 m_lastSyncCompletedAt = 0;
    int m_searchRequestId = -1;
    SyncMarker *m_marker;
    QMap<QString, OrvProgressListener *> m_listeners;
};

#endif
