// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_SYNCRUN_H
#define DAEMON_SYNC_SYNCRUN_H

#include "daemon/tasks/accountcontext.h"
#include "daemon/tasks/job.h"

#include <QSet>
#include <QStringList>

namespace Daemon {

class Task;
class UploadStep;

/**
 * One synchronisation of an account: the folder tree, the folders, or some of them.
 *
 * Answers any number of requests, each as soon as all that it asked for is done; a step that was
 * done before a request came is done again for it, one that is under way counts. What fails for one
 * folder, or for the tree, does not hold up the others. Where the tree was never fetched, that
 * comes first, whatever was asked for; who then named no folder that is known gets the inbox.
 */
class SyncRun : public Job
{
    Q_OBJECT

public:
    SyncRun(const AccountContext &context, QObject *parent);

    bool isUrgent() const override { return false; }
    QList<Request> requests() const override;
    /** False when it is no synchronisation, or so many have joined that the next run takes it. */
    bool join(const Request &request) override;
    bool drop(int requestId) override;
    void proceed() override;

    /** Whether the server brought anything that was not known here. */
    bool hasBroughtNews() const { return m_broughtNews; }
    /** Why changes made here did not reach the server, whatever else the run has achieved. */
    Eas::Result uploadFailure() const { return m_uploadFailure; }

signals:
    /** Changes made here have been carried; what did not go is left. */
    void uploaded();

private:
    /** A request, and the steps that it still waits for. */
    struct Waiter
    {
        Request request;
        QSet<QString> steps;
        /** Its folders are known only when the tree is. */
        bool awaitsTree = false;
        Eas::Result failure;
    };

    void plan(const QSet<QString> &steps, bool first);
    void announce();
    void startNext();
    qint64 textBound(const QString &folder) const;
    QStringList takeBatch();
    bool isOrdinary(const Store::FolderState &folder) const;
    void startStep(Task *step, const QStringList &names);
    void startFolder(const QString &name);
    void onFinished(const Eas::Result &result, bool local);
    bool isServersFault(const Eas::Result &result) const;
    void onUploadFinished(const UploadStep &upload, const Eas::Result &result,
                          const QHash<QString, QString> &renamed);
    void onBatchFinished(const QStringList &names);
    void onStepFinished(const QString &name, const Eas::Result &result);
    bool repeatAfterTree(const QString &name);
    void noteFailure(const QString &name, const Eas::Result &result);
    void noteDone(const QString &name);
    void awaitFolders();
    QHash<quint64, QString> folderIds() const;
    QHash<QString, QString> renamings() const;
    void followRenamings(const QHash<QString, QString> &renamed);
    QStringList foldersOf(const Request &request, bool isTreeNew) const;
    void finishWaiters();
    void finishAll(const Eas::Result &result);
    void onProgressed(int progress);
    QStringList enabledFolders() const;
    QStringList knownFolders(const QStringList &folderIds) const;
    QStringList inbox() const;
    bool isTreeKnown() const;

    const AccountContext m_context;
    QList<Waiter> m_waiters;
    /** Names of steps: a collection's id, or Tree. */
    QStringList m_pending;
    QStringList m_current; ///< what the step that is under way is about
    Task *m_step = nullptr;
    QSet<QString> m_alone; ///< folders that take no part in batches any more
    QSet<QString> m_repeatedAfterTree;
    QHash<quint64, QString> m_idsBefore; ///< of the collections before this step, by their folders
    QSet<QString> m_awaitedByUpload;     ///< folders to be put right before the upload is repeated
    Eas::Result m_treeFailure;
    Eas::Result m_uploadFailure;
    int m_done = 0;
    int m_joined = 0;
    bool m_started = false;
    bool m_announced = false;
    bool m_broughtNews = false;
    bool m_hasServerFailed = false; ///< over one folder, with whatever key
    bool m_isUploadRepeated = false;
};

} // namespace Daemon

#endif
