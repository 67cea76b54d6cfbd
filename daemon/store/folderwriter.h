// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef STORE_FOLDERWRITER_H
#define STORE_FOLDERWRITER_H

#include "daemon/eas/folderchanges.h"
#include "daemon/store/storejob.h"
#include "daemon/store/syncstatedb.h"

#include <QHash>
#include <QMap>

class QMailAccount;
class QMailFolder;

namespace Store {

/**
 * Brings the account's folders in the mail store in line with an answer to FolderSync, and then
 * remembers the answer's key.
 *
 * Folders that hold no mail are left out. A complete answer is compared with what is here: a
 * folder that the server still has keeps its id and its messages.
 */
class FolderWriter : public StoreJob
{
public:
    /** The database must outlive the job. */
    FolderWriter(SyncStateDb &db, const QMailAccountId &account, const Eas::FolderChanges &changes);

    bool step() override;
    int progress() const override;

private:
    bool fail(const Eas::Result &result);
    bool plan();
    bool writeNext();
    bool removeNext();
    bool finish();

    SyncStateDb &m_db;
    const QMailAccountId m_account;
    const Eas::FolderChanges m_changes;
    enum class Phase { Plan, Write, Remove, Finish } m_phase = Phase::Plan;
    QMap<QString, FolderState> m_known;
    QList<Eas::FolderRecord> m_pending; ///< parents before children
    QStringList m_doomed;               ///< children before parents
    int m_total = 1;
};

} // namespace Store

#endif
