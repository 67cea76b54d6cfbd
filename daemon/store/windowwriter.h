// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_WINDOWWRITER_H
#define DAEMON_STORE_WINDOWWRITER_H

#include "daemon/store/storejob.h"
#include "daemon/store/syncstatedb.h"
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
 * The answer to key "0" starts a fresh synchronisation: the folder's messages are noted as
 * unconfirmed, the windows that follow confirm those that the server still has, and after the last
 * of them the others are removed. All of it outlives a restart. A message that may have been moved
 * here by a request whose answer was lost is treated in the same way.
 */
class WindowWriter : public StoreJob
{
public:
    /** What the window answers. Only changes that were asked for can be the last of them. */
    enum class Answers { Download, Upload };

    /** The database must outlive the job; the folder must be known to it. */
    WindowWriter(SyncStateDb &db, const QMailAccountId &account, const Eas::SyncWindow &window,
                 Answers answers = Answers::Download);

    bool step() override;
    int progress() const override;

    /** The messages that are new in the store. */
    QMailMessageIdList added() const { return m_added; }
    QMailMessageIdList updated() const { return m_updated; }
    int removed() const { return m_removed; }
    /** Whether the folder is another one now: servers tell the same things again and again, too. */
    bool hasChangedFolder() const
    {
        return !m_added.isEmpty() || !m_updated.isEmpty() || m_removed > 0;
    }
    /** Items that are not here, and of which a change brings too little to make a message. */
    QStringList incomplete() const { return m_incomplete; }

private:
    enum class Phase { Start, Note, Items, Removals, Key, Sweep, End };
    using Messages = QHash<QString, QMailMessageMetaData>; ///< by server uid
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
    Eas::Result rematch(const QList<Item> &items, Messages *present);
    Eas::Result add(const QList<Eas::MailItem> &items);
    Eas::Result update(const QList<QPair<Eas::MailItem, QMailMessageMetaData>> &items);
    Eas::Result store(QList<QMailMessageMetaData> &messages);
    Eas::Result storeFlags(const QMap<QPair<quint64, bool>, QMailMessageIdList> &flags);
    Eas::Result storeMarks(const QList<QMailMessageMetaData> &marked);
    Eas::Result removeItems();
    Eas::Result saveKey();
    Eas::Result sweep();

    QList<Item> nextBatch();
    void findPresent();
    bool wasDeleted(const QString &uid, Messages *present) const;
    void expect(const QList<Unconfirmed> &messages);
    void expectFound();
    void passOverFound();
    QString uid(const QString &itemId) const;

    SyncStateDb &m_db;
    const QMailAccountId m_account;
    const Eas::SyncWindow m_window;
    const Answers m_answers;
    Phase m_phase = Phase::Start;
    FolderState m_folder;
    bool m_first = false;          ///< this is the answer to key "0"
    bool m_hasUnconfirmed = false; ///< of earlier windows, or of moves whose answer was lost
    QList<Item> m_items;
    QStringList m_gone;
    QHash<QString, QMailMessageId> m_present; ///< by uid
    QSet<QString> m_deleted; ///< uids that the user deleted here and the server does not know of
    QMailMessageIdList m_toNote;
    QList<Unconfirmed> m_noted;
    QMultiHash<QByteArray, QMailMessageId> m_unconfirmed; ///< by fingerprint
    QMailMessageIdList m_confirmed;
    QMailMessageIdList m_added;
    QMailMessageIdList m_updated;
    QStringList m_incomplete;
    int m_removed = 0;
    int m_total = 1;
};

/** Makes the next synchronisation of the folder a fresh one that keeps what the server still has.
 */
Eas::Result startReconciling(SyncStateDb &db, const QMailAccountId &account,
                             const QString &serverId);

} // namespace Store

#endif
