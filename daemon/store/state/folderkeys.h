// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_FOLDERKEYS_H
#define DAEMON_STORE_STATE_FOLDERKEYS_H

#include "daemon/store/state/statetable.h"
#include "eas/folderchanges.h"
#include "eas/synckey.h"

#include <qmailmessagekey.h>

#include <optional>

namespace Store {

/** What is remembered of one mail folder of an account. */
struct FolderState
{
    Eas::FolderId serverId;
    QMailFolderId folderId; ///< its folder in the mail store
    Eas::FolderId parentId; ///< FolderId::Root at the top
    int type = 0;           ///< Eas::FolderType
    QString syncKey = Eas::FirstKey;
    int filter = -1; ///< the filter type last sent; -1: none yet
    /** It is to be reconciled, or begins to be: the server may call messages otherwise than here
     * until that is done. What it does not show by the end is removed. */
    bool reconciling = false;
    /** While it is reconciled: the server calls messages otherwise than here. What is known of one
     * that it has not shown yet may be another one's. */
    bool renumbered = false;

    /** The messages that lie in it, or lay in it before the user moved them; none where it has no
     * folder in the mail store. */
    QMailMessageKey messages() const;
    /** Whether the user wants it synchronised. */
    bool isEnabled() const;
    /** Whether the server shows all of it, or only what is new enough; it was not asked for yet
     * where neither holds. */
    bool isWhole() const;
    bool isLimited() const;
};

/** The account's folders, and how far each is synchronised. */
class FolderKeys : public StateTable
{
public:
    using StateTable::StateTable;

    QList<FolderState> all() const;
    /** Those that the user wants synchronised: the inbox first, then what a person looks at most.
     */
    QList<FolderState> enabled() const;
    std::optional<FolderState> find(const Eas::FolderId &serverId) const;
    std::optional<FolderState> find(const QMailFolderId &folderId) const;
    std::optional<FolderState> find(Eas::FolderType type) const;
    Eas::Result save(const FolderState &state);
    Eas::Result remove(const Eas::FolderId &serverId);
    /** The server calls the folder by another id from now on: it is to be reconciled. */
    Eas::Result rename(const Eas::FolderId &serverId, const Eas::FolderId &newId);
};

} // namespace Store

#endif
