// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef STORE_WINDOWWRITER_H
#define STORE_WINDOWWRITER_H

#include "daemon/eas/syncwindow.h"
#include "daemon/store/storejob.h"
#include "daemon/store/syncstatedb.h"

#include <QHash>
#include <qmailmessage.h>
#include <QSet>

namespace Store {

/**
 * Brings one folder in the mail store in line with a window of changes, and then remembers the
 * window's key.
 *
 * The key is saved only after every message is durable, and each step can be done again without
 * harm: after a crash or an error anywhere in between, the window is asked for with the old key
 * once more and applied once more. The server wins on content; a flag or a deletion of the user
 * that is not uploaded yet wins over the server's.
 */
class WindowWriter : public StoreJob
{
public:
    /** The database must outlive the job; the folder must be known to it. */
    WindowWriter(SyncStateDb &db, const QMailAccountId &account, const Eas::SyncWindow &window);

    bool step() override;
    int progress() const override;

    /** The messages that are new in the store. */
    QMailMessageIdList added() const { return m_added; }
    QMailMessageIdList updated() const { return m_updated; }
    int removed() const { return m_removed; }
    /** Changes of items that are not here and bring too little to make a message of. */
    QStringList incomplete() const { return m_incomplete; }

private:
    SyncStateDb &m_db;
    const QMailAccountId m_account;
    const Eas::SyncWindow m_window;
    QMailMessageIdList m_added;
    QMailMessageIdList m_updated;
    QStringList m_incomplete;
    int m_removed = 0;
};

/**
 * Prepares a folder for a fresh synchronisation after the server refused its key.
 *
 * The key becomes "0", and every message of the folder is noted as unconfirmed; the windows that
 * follow confirm those that the server still has, and the last of them removes the others. All of
 * it outlives a restart.
 */
Eas::Result startReconciling(SyncStateDb &db, const QMailAccountId &account,
                             const QString &serverId);

} // namespace Store

#endif
