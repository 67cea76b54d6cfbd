// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_SYNCSTATEDB_H
#define DAEMON_STORE_SYNCSTATEDB_H

#include "daemon/store/accountrecord.h"
#include "eas/result.h"

#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QSysInfo>

#include <optional>

class QSqlQuery;

namespace Store {

/** What is remembered of an account between two conversations with its server. */
struct AccountState
{
    QString folderSyncKey = QStringLiteral("0");
    QString policyKey;       ///< empty: none
    QString protocolVersion; ///< empty: not negotiated yet
    QString serverUrl;       ///< where the server sent us to; empty: where the settings say
};

/** What is remembered of one mail folder of an account. */
struct FolderState
{
    QString serverId;
    QMailFolderId folderId; ///< its folder in the mail store
    QString parentId;       ///< server id of the parent; "0": the root
    int type = 0;           ///< Eas::FolderType
    QString syncKey = QStringLiteral("0");
    int filter = -1; ///< the filter type last sent; -1: none yet
    /** A fresh synchronisation runs that keeps what the server still has. */
    bool reconciling = false;
};

/** A message of which a synchronisation has still to show that the server has it in the folder. */
struct Unconfirmed
{
    QMailMessageId messageId;
    QByteArray fingerprint;
};

/** What is remembered of a message that was to be sent from here. */
struct Outgoing
{
    /** How far it got, as far as is known here. */
    enum State {
        Ready = 0,     ///< the server does not have it
        Uncertain = 1, ///< the server may have it
        Sent = 2,      ///< the server has it
        Doubtful = 3   ///< that cannot be found out: only a person has it sent again
    };

    QString clientId; ///< by which the server knows it again
    QMailMessageId messageId;
    QByteArray rfcId;   ///< its Message-ID, with the brackets
    qint64 created = 0; ///< UTC seconds since 1970; the message's Date if it has none of its own
    qint64 leftAt = 0;  ///< UTC milliseconds since 1970, when it last began to leave
    State state = Ready;
};

/**
 * The daemon's own durable memory: the device id, the accounts' and the folders' keys.
 *
 * An SQLite file of the user's own (mode 0600). Every save is durable when it returns. Where the
 * mail store lacks what the memory speaks of (a folder that vanished, a wiped store), the keys
 * concerned read as "0".
 */
class SyncStateDb
{
public:
    /** asdaemon.db in QMF's data folder. */
    static QString defaultPath();

    /** `machine` names the computer: a file that was copied to another one gets a new device id. */
    explicit SyncStateDb(const QString &path = defaultPath(),
                         const QByteArray &machine = QSysInfo::machineUniqueId());
    ~SyncStateDb();
    SyncStateDb(const SyncStateDb &) = delete;
    SyncStateDb &operator=(const SyncStateDb &) = delete;

    /** Opens or makes the file; a damaged one is put aside and made anew. */
    Eas::Result open();

    /** 32 letters and digits, made once for this user on this machine; never empty once open. */
    QString deviceId() const { return m_deviceId; }

    /**
     * Must come before the other calls for an account: forgets what is remembered of it if that
     * belongs to another user or server, or to a folder that is not in the mail store any more.
     */
    Eas::Result openAccount(const AccountRecord &account);
    /** Forgets an account; nothing of it can be saved until it is opened again. */
    Eas::Result removeAccount(const QMailAccountId &account);
    /** Forgets every account that the mail store does not have. */
    Eas::Result removeVanishedAccounts();

    AccountState account(const QMailAccountId &account) const;
    Eas::Result saveAccount(const QMailAccountId &account, const AccountState &state);

    /** Notes that the folder tree was asked for with the account's key and the answer is not here
     * yet, or that none is to come. */
    Eas::Result awaitTree(const QMailAccountId &account, bool isAwaited = true);
    /** Whether an answer to the account's present key has never been saved. */
    bool isTreeAwaited(const QMailAccountId &account) const;
    /** The folder tree is saved as an answer told it, which came with that key. */
    Eas::Result saveTree(const QMailAccountId &account, const QString &folderSyncKey);

    QList<FolderState> folders(const QMailAccountId &account) const;
    std::optional<FolderState> folder(const QMailAccountId &account, const QString &serverId) const;
    std::optional<FolderState> folder(const QMailFolderId &folderId) const;
    Eas::Result saveFolder(const QMailAccountId &account, const FolderState &state);
    Eas::Result removeFolder(const QMailAccountId &account, const QString &serverId);
    /** The server calls the folder by another id from now on: its synchronisation begins anew. */
    Eas::Result renameFolder(const QMailAccountId &account, const QString &serverId,
                             const QString &newId);

    /** Replaces the folder's unconfirmed messages, which moved ones are as well from now on, and
     * saves its state, both or neither. */
    Eas::Result startReconciling(const QMailAccountId &account, const FolderState &state,
                                 const QList<Unconfirmed> &messages);
    /** One more unconfirmed message of a folder that is not compared as a whole. */
    Eas::Result addUnconfirmed(const QMailAccountId &account, const QString &serverId,
                               const Unconfirmed &message);
    /** Strikes messages off the unconfirmed and the moved ones and saves the folder's state, all or
     * nothing. */
    Eas::Result confirm(const QMailAccountId &account, const FolderState &state,
                        const QMailMessageIdList &messages);
    QList<Unconfirmed> unconfirmed(const QMailAccountId &account, const QString &serverId) const;

    /** Notes a message that was moved to the folder: its synchronisation has not shown it yet. */
    Eas::Result addMoved(const QMailAccountId &account, const QString &serverId,
                         const QMailMessageId &message);
    /** It was shown, or is no matter of that folder any more. */
    Eas::Result removeMoved(const QMailAccountId &account, const QString &serverId,
                            const QMailMessageId &message);
    QMailMessageIdList moved(const QMailAccountId &account, const QString &serverId) const;

    std::optional<Outgoing> outgoing(const QMailAccountId &account, const QString &clientId) const;
    std::optional<Outgoing> outgoing(const QMailAccountId &account,
                                     const QMailMessageId &messageId) const;
    QList<Outgoing> outgoing(const QMailAccountId &account) const;
    Eas::Result saveOutgoing(const QMailAccountId &account, const Outgoing &outgoing);
    Eas::Result removeOutgoing(const QMailAccountId &account, const QString &clientId);

private:
    class Transaction;

    Eas::Result openFile();
    void putAside();
    Eas::Result createTables();
    Eas::Result loadDeviceId();
    Eas::Result resetAccount(const QMailAccountId &account);
    Eas::Result forgetVanishedFolders(const QMailAccountId &account);
    Eas::Result run(QSqlQuery &query) const;
    Eas::Result execute(const QString &sql);

    const QString m_path;
    const QByteArray m_machine;
    const QString m_connection;
    QSqlDatabase m_database;
    QString m_deviceId;
    mutable bool m_damaged = false; ///< what SQLite said of the file last
};

} // namespace Store

#endif
