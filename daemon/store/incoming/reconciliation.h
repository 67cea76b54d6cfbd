// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_RECONCILIATION_H
#define DAEMON_STORE_INCOMING_RECONCILIATION_H

#include "daemon/store/state/unconfirmedmessages.h"

#include <QHash>
#include <qmailmessage.h>
#include <QSet>

#include <optional>

namespace Store {

/**
 * Keeps the messages of a folder that the server still has when it is synchronised from key "0".
 *
 * With the answer to key "0" the folder's messages are noted as unconfirmed, the windows that
 * follow confirm those that the server still has, and what is unconfirmed after the last of them is
 * removed. All of it outlives a restart. A message that may have been moved here by a request whose
 * answer was lost is treated in the same way. A window costs what it holds, however large the
 * folder is.
 */
class Reconciliation
{
public:
    /** The database must outlive it. */
    Reconciliation(SyncStateDb &db, const QMailAccountId &account);

    /** Begins with a window for the folder. */
    Eas::Result begin(const FolderState &folder);
    /** Whether messages of the folder are to be noted. */
    bool isToNote() const { return m_isToNote; }
    /** Notes some of them. */
    Eas::Result note();

    /** Whether the folder is being reconciled, so that the server may call all otherwise. */
    bool isRunning() const { return m_isFirst || m_folder.reconciling; }
    /** Whether ids by which messages were deleted here may be other ones' by now: the key was lost,
     * and either the server has shown so, or nothing is here by which it could. */
    bool areDeletionsDoubtful() const
    {
        return m_isFirst && m_folder.reconciling && (m_folder.renumbered || m_noted.isEmpty());
    }
    /** Looks whether an item may be one of the messages under another id. */
    Eas::Result lookForRenaming(bool *isPossible);
    /** Finds the message that an item with that fingerprint is: `named`, which has the item's id
     * here, if it looks so itself, else an expected one that is not confirmed yet; invalid where
     * there is none. */
    Eas::Result take(const QByteArray &mark, const QMailMessageMetaData &named,
                     QMailMessageId *message);
    /** Finds the messages that are expected with that fingerprint. */
    Eas::Result findExpected(const QByteArray &mark, QMailMessageIdList *messages);
    /** Expects what a search brought, and has lost its id to another message, under a new one:
     * where the server does not show it, it goes. */
    Eas::Result expectAnew(const QMailMessageMetaData &message);
    /** The server has the message. */
    void confirm(const QMailMessageId &message) { m_confirmed.append(message); }

    /** Has the folder reconciled from the start again. */
    Eas::Result startAnew();
    /** Saves what was noted and confirmed, and the folder's state with it. */
    Eas::Result save(FolderState *folder);
    /** Whether unconfirmed messages may be left after the last window, to be removed. */
    bool isToBeSwept(const FolderState &folder) const;
    /** Reads so many of those that no window has confirmed. */
    Eas::Result readUnconfirmed(int limit, QMailMessageIdList *messages) const;
    /** They were removed. */
    Eas::Result forget(const FolderState &folder, const QMailMessageIdList &messages);

private:
    void expect(const QByteArray &mark, const QMailMessageId &message);
    Eas::Result expectFound();
    Eas::Result expectAlike(const QByteArray &mark);
    Eas::Result readNext();

    UnconfirmedMessages m_unconfirmed;
    FolderState m_folder;          ///< as it was before the window
    bool m_isFirst = false;        ///< the window answers key "0"
    bool m_hasUnconfirmed = false; ///< of earlier windows, or of moves whose answer was lost
    bool m_isToNote = false;
    QMailMessageIdList m_toNote;
    QList<Unconfirmed> m_noted;
    /** By fingerprint, in the order in which they are taken. Of what earlier windows have left,
     * which may be much, only what has a fingerprint that was asked for. */
    QHash<QByteArray, QMailMessageIdList> m_expected;
    QSet<QByteArray> m_asked; ///< fingerprints
    /** Of what earlier windows have left, the first one whose fingerprint may be none of these. */
    std::optional<Unconfirmed> m_next;
    QMailMessageIdList m_confirmed;
};

/** Has the folder reconciled by its next windows. */
Eas::Result startReconciling(SyncStateDb &db, const QMailAccountId &account,
                             const Eas::FolderId &serverId);

} // namespace Store

#endif
