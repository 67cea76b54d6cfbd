// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_FOLDERWRITER_H
#define DAEMON_STORE_FOLDERWRITER_H

#include "daemon/store/folderrenaming.h"
#include "daemon/store/state/accountkeys.h"
#include "daemon/store/storejob.h"
#include "eas/folderchanges.h"

#include <QHash>
#include <qmailfolder.h>

namespace Store {

/**
 * Brings the account's folders in the mail store in line with an answer to FolderSync, and then
 * remembers the answer's key.
 *
 * Folders that hold no mail are left out. A complete answer is compared with what is here: a
 * folder that the server still has keeps its id and its messages, even if the server calls it by
 * another id now, which is seen by its place, name and kind. Every folder in the store carries
 * its server id, so that it is found again even if the daemon's own memory was lost.
 *
 * A folder that goes takes along what the server had in it. What no server ever had, drafts and
 * mail that waits to be sent, stays in another folder, and so do folders that were made here.
 */
class FolderWriter : public StoreJob
{
public:
    /** The database must outlive the job. */
    FolderWriter(SyncStateDb &db, const QMailAccountId &account, const Eas::FolderChanges &changes);

    bool step() override;
    int progress() const override;

private:
    using Records = QHash<Eas::FolderId, Eas::FolderRecord>;

    Eas::Result plan();
    Eas::Result adopt();
    void collect(Records *wanted);
    void sortParentsFirst(Records wanted);
    void findRenamed(const Records &wanted);
    Eas::FolderId formerId(const Eas::FolderRecord &record) const;
    Eas::Result rename();
    void addChildrenToRemove();
    Eas::Result write(const Eas::FolderRecord &record);
    static Eas::Result markBelow(const QMailFolderId &folder);
    bool wouldLoop(const QMailFolder &folder, QMailFolderId parent) const;
    bool describe(QMailFolder *folder, const Eas::FolderRecord &record) const;
    Eas::Result empty(const FolderState &state, bool *emptied);
    QMailFolderId homeOf(const QMailMessageMetaData &message, const FolderState &state) const;
    Eas::Result keep(const QMailMessageIdList &messages, const FolderState &state);
    static bool place(const QMailMessageKey &messages, const QMailFolderId &folder);
    QMailFolderId remaining(int type) const;
    Eas::Result keepSubfolders(const FolderState &state);
    Eas::Result remove(const FolderState &state);
    Eas::Result setStandardFolders();
    Eas::Result finish();

    const QMailAccountId m_account;
    AccountKeys m_keys;
    FolderKeys m_folders;
    const Eas::FolderChanges m_changes;
    bool m_planned = false;
    QHash<Eas::FolderId, FolderState> m_known;
    QList<FolderRenaming> m_renamed;
    QList<Eas::FolderRecord> m_pending; ///< parents before children
    QList<Eas::FolderId> m_toRemove;    ///< children before parents
    int m_total = 1;
};

} // namespace Store

#endif
