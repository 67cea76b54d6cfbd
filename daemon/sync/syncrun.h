// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_SYNCRUN_H
#define DAEMON_SYNC_SYNCRUN_H

#include "daemon/store/state/folderkeys.h"
#include "daemon/tasks/job.h"

#include <QSet>
#include <QStringList>

namespace Daemon {

class BatchStep;
class UploadStep;

/**
 * One synchronisation of an account: the folder tree, the folders, or some of them.
 *
 * Answers any number of requests, each as soon as all that it asked for is done; a step that was
 * done before a request came is done again for it, one that is under way counts. What fails for one
 * folder alone, or for the tree, leaves the others; what is wrong with the account, its server or
 * the mail store ends all of it. Where the tree was never fetched, that comes first, whatever was
 * asked for; who then named no folder that is known gets the inbox.
 */
class SyncRun : public Job
{
    Q_OBJECT

public:
    using Job::Job;
    ~SyncRun() override;

    bool isUrgent() const override { return false; }
    void add(const Request &request) override;
    void proceed() override;

    /** Whether the server brought anything that was not known here. */
    bool hasBroughtNews() const { return m_broughtNews; }
    /** Why changes made here did not reach the server, whatever else the run has achieved. */
    Eas::Result uploadFailure() const { return m_uploadFailure; }

signals:
    /** Changes made here have been carried; what did not go is left. */
    void uploaded();

private:
    void perform() override;
    void end(const Eas::Result &result) override;
    /** False when it is no synchronisation, or so many have joined that the next run takes it. */
    bool mayJoin(const Request &request) const override;
    void plan(const QSet<SyncStep> &steps, bool first);
    void announce();
    qint64 textBound(const SyncStep &folder) const;
    QList<Eas::FolderId> takeBatch();
    QSet<Eas::FolderId> ordinaryFolders() const;
    void startStep(Task *task, const QList<SyncStep> &steps);
    void startFolder(const SyncStep &step);
    void onFinished(Task *task, const Eas::Result &result);
    bool isServersFault(const Eas::Result &result) const;
    void onUploadFinished(const UploadStep &upload, const Eas::Result &result,
                          const QHash<SyncStep, SyncStep> &renamed);
    void onBatchFinished(const BatchStep &batch, const QList<SyncStep> &steps);
    void onStepFinished(const SyncStep &step, const Eas::Result &result);
    bool repeatAfterTree(const SyncStep &step);
    void noteFailure(const SyncStep &step, const Eas::Result &result);
    void noteDone(const SyncStep &step);
    void awaitFolders();
    QHash<quint64, Eas::FolderId> folderIds() const;
    QHash<SyncStep, SyncStep> renamings() const;
    void followRenamings(const QHash<SyncStep, SyncStep> &renamed);
    QList<Eas::FolderId> foldersOf(const Request &request, bool isTreeNew) const;
    void endSync();
    void onProgressed(int progress);
    QList<Eas::FolderId> enabledFolders() const;
    QList<Eas::FolderId> knownFolders(const QStringList &folderIds) const;
    bool isTreeKnown() const;

    QList<SyncStep> m_pending;
    QList<SyncStep> m_current; ///< those that are under way
    QSet<SyncStep> m_alone;    ///< folders that take no part in batches any more
    QSet<SyncStep> m_repeatedAfterTree;
    /** Before this step, by the folders in the mail store. */
    QHash<quint64, Eas::FolderId> m_idsBefore;
    QSet<SyncStep> m_awaitedByUpload; ///< folders to be put right before the upload is repeated
    Eas::Result m_treeFailure;
    Eas::Result m_uploadFailure;
    int m_done = 0;
    int m_joined = 0;
    bool m_started = false;
    bool m_announced = false;
    bool m_hasAskedForNews = false;
    bool m_broughtNews = false;
    bool m_hasServerFailed = false; ///< over one folder, with whatever key
    bool m_isUploadRepeated = false;
};

} // namespace Daemon

#endif
