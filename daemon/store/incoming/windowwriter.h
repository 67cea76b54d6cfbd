// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_WINDOWWRITER_H
#define DAEMON_STORE_INCOMING_WINDOWWRITER_H

#include "daemon/store/incoming/messagewriter.h"
#include "daemon/store/incoming/reconciliation.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/storejob.h"
#include "eas/syncwindow.h"

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
 *
 * The answer to key "0" and the windows after it reconcile the folder.
 */
class WindowWriter : public StoreJob
{
public:
    /** What the window answers. Only the answer to a download can be the last window of a
     * folder. */
    enum class Answers { Download, Upload };

    /** The database must outlive the job; the folder must be known to it. */
    WindowWriter(SyncStateDb &db, const QMailAccountId &account, const Eas::SyncWindow &window,
                 Answers answers = Answers::Download);

    bool step() override;
    int progress() const override;

    /** The messages that are new in the store. */
    QMailMessageIdList added() const { return m_writer.added(); }
    QMailMessageIdList updated() const { return m_writer.updated(); }
    int removed() const { return m_writer.removed(); }
    /** Whether the folder is to be reconciled from the start again, and the rest of the window is
     * not written: the server has numbered the items anew, and what was deleted here was known by
     * numbers that are other messages' now. */
    bool startsAnew() const { return m_startsAnew; }
    /** Whether the window changed the folder: servers also tell what is known already. */
    bool hasChangedFolder() const
    {
        return !added().isEmpty() || !updated().isEmpty() || removed() > 0;
    }

private:
    enum class Phase { Start, Note, Items, Removals, Key, Sweep, End };
    using Messages = QHash<ServerUid, QMailMessageMetaData>;
    struct Item
    {
        Eas::MailItem data;
        bool isNew; ///< the server says that it was not there before
    };

    Eas::Result perform();
    Eas::Result start();
    Eas::Result note();
    Eas::Result writeItems();
    Eas::Result writeBatch(const QList<Item> &batch);
    Eas::Result leaveOutDeleted(const QList<Item> &batch, QList<Item> *items, Messages *present);
    Eas::Result findAnother(const Item &item, bool *isFound);
    Eas::Result rematch(const QList<Item> &items, Messages *present);
    QMailMessageMetaData inFolder(const QMailMessageId &id,
                                  const QList<QMailMessageMetaData> &changed) const;
    bool isAnother(const QMailMessageMetaData &named, const QMailMessageMetaData &shown) const;
    bool mayBeChanged(const Item &item, const QMailMessageMetaData &named,
                      const QMailMessageMetaData &shown) const;
    QMailMessageMetaData displaced(const ServerUid &wanted, Messages *present);
    QMailMessageMetaData renamed(QMailMessageMetaData message, const ServerUid &wanted,
                                 Messages *present);
    Eas::Result noteRenumbering();
    Eas::Result forgetDeletions();
    Eas::Result startAnew();
    Eas::Result add(const QList<Eas::MailItem> &items);
    Eas::Result removeItems();
    Eas::Result saveKey();
    Eas::Result sweep();

    QList<Item> nextBatch();
    Eas::Result findPresent();
    Eas::Result look(const ServerUid &uid, Messages *present, bool *isDeleted) const;
    ServerUid uid(const QString &itemId) const;

    const QMailAccountId m_account;
    FolderKeys m_folders;
    Reconciliation m_reconciliation;
    MessageWriter m_writer;
    const Eas::SyncWindow m_window;
    const Answers m_answers;
    Phase m_phase = Phase::Start;
    FolderState m_folder;
    QList<Item> m_items;
    QStringList m_gone;
    QHash<ServerUid, QMailMessageId> m_present;
    QSet<ServerUid> m_deleted; ///< by the user, and the server does not know of it
    int m_total = 1;
    bool m_startsAnew = false;
};

} // namespace Store

#endif
