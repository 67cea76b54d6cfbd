// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/folderwriter.h"

#include "daemon/store/accountguard.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/mailtext.h"
#include "daemon/store/mark.h"
#include "daemon/store/removalrecords.h"
#include "daemon/store/storefailure.h"
#include "translations/text.h"

#include <QElapsedTimer>
#include <qmailstore.h>

#include <optional>

namespace Store {

namespace {

constexpr int StepBudget = 40;   ///< milliseconds after which a step takes up nothing more
constexpr int MaximumDepth = 60; ///< the store keeps a row for each pair of ancestors
constexpr int MaximumNameLength = 255;
constexpr int RemovalBatch = 50;

const QString ServerIdField = QStringLiteral("orvmail-serverid");

/** The protocol has no type for junk; servers call it by one of these names. */
bool isJunkName(const QString &name)
{
    static const QStringList names {
        QStringLiteral("junk"),       QStringLiteral("junk email"), QStringLiteral("junk e-mail"),
        QStringLiteral("junk mail"),  QStringLiteral("spam"),       QStringLiteral("bulk mail"),
        QStringLiteral("bulk email"),
    };
    return names.contains(name.toLower());
}

/** What the record's folder is called here. */
QString folderName(const Eas::FolderRecord &record)
{
    const QString name = MailText::headerText(record.displayName, MaximumNameLength);
    return name.isEmpty() ? QStringLiteral("?") : name;
}

quint64 roleMask()
{
    return QMailFolder::Incoming | QMailFolder::Outgoing | QMailFolder::Sent | QMailFolder::Drafts
        | QMailFolder::Trash | QMailFolder::Junk;
}

quint64 roleOf(int type, const QString &name, bool atTop)
{
    switch (type) {
    case Eas::Inbox:
        return QMailFolder::Incoming;
    case Eas::Drafts:
        return QMailFolder::Drafts;
    case Eas::DeletedItems:
        return QMailFolder::Trash;
    case Eas::SentItems:
        return QMailFolder::Sent | QMailFolder::Outgoing;
    case Eas::UserMailFolder:
        return atTop && isJunkName(name) ? QMailFolder::Junk : 0;
    default:
        return 0;
    }
}

/** Whether the folder that was there before has another name or place now. */
bool isRenamed(const QMailFolder &before, const QMailFolder &now)
{
    return before.id().isValid()
        && (before.displayName() != now.displayName()
            || before.parentFolderId() != now.parentFolderId());
}

/** The account's status in the database: this process's copy may be older, and an update writes
 * all of it. */
std::optional<quint64> currentStatus(const QMailAccountId &account)
{
    quint64 status = 0;
    QMailStore *store = QMailStore::instance();
    for (int bit = 0; bit < 63; ++bit) {
        const quint64 flag = Q_UINT64_C(1) << bit;
        const auto key = QMailAccountKey::id(account)
            & QMailAccountKey::status(flag, QMailDataComparator::Includes);
        if (store->countAccounts(key) > 0)
            status |= flag;
        // What cannot be read would disable the account.
        if (store->lastError() != QMailStore::NoError)
            return std::nullopt;
    }
    return status;
}

} // namespace

FolderWriter::FolderWriter(SyncStateDb &db, const QMailAccountId &account,
                           const Eas::FolderChanges &changes)
    : m_account(account)
    , m_keys(db, account)
    , m_folders(db, account)
    , m_changes(changes)
{
}

int FolderWriter::progress() const
{
    return 1000 - 1000 * (m_pending.size() + m_toRemove.size()) / m_total;
}

bool FolderWriter::step()
{
    QElapsedTimer timer;
    timer.start();
    m_result = AccountGuard::check(m_account);
    if (m_result.ok() && !m_planned)
        m_result = plan();
    while (m_result.ok() && !m_renamed.isEmpty() && timer.elapsed() < StepBudget)
        m_result = rename();
    while (m_result.ok() && m_renamed.isEmpty() && !m_pending.isEmpty()
           && timer.elapsed() < StepBudget)
        m_result = write(m_pending.takeFirst());
    while (m_result.ok() && m_renamed.isEmpty() && m_pending.isEmpty() && !m_toRemove.isEmpty()
           && timer.elapsed() < StepBudget) {
        const FolderState state = m_known.value(m_toRemove.first());
        bool emptied = false;
        m_result = empty(state, &emptied);
        if (m_result.ok() && emptied) {
            m_result = remove(state);
            m_toRemove.removeFirst();
        }
    }
    if (!m_result.ok())
        return false;
    if (!m_renamed.isEmpty() || !m_pending.isEmpty() || !m_toRemove.isEmpty())
        return true;
    m_result = finish();
    return false;
}

Eas::Result FolderWriter::plan()
{
    const Eas::Result adopted = adopt();
    if (!adopted.ok())
        return adopted;
    Records wanted;
    collect(&wanted);
    sortParentsFirst(wanted);
    if (m_changes.complete)
        findRenamed(wanted);
    addChildrenToRemove();
    m_total = qMax(1, m_pending.size() + m_toRemove.size());
    m_planned = true;
    return {};
}

/** Learns which folders are here, those included that only the mail store remembers. */
Eas::Result FolderWriter::adopt()
{
    QMailStore *store = QMailStore::instance();
    QHash<QMailFolderId, Eas::FolderId> present;
    const auto here = store->queryFolders(QMailFolderKey::parentAccountId(m_account));
    // Folders that cannot be read are not gone: they would be made once more.
    if (store->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot read the account's folders"));
    for (const QMailFolderId &id : here)
        present.insert(id, Eas::FolderId(store->folder(id).customField(ServerIdField)));
    QSet<QMailFolderId> remembered;
    for (const FolderState &state : m_folders.all()) {
        if (!present.contains(state.folderId))
            continue;
        m_known.insert(state.serverId, state);
        remembered.insert(state.folderId);
    }
    for (auto it = present.constBegin(); it != present.constEnd(); ++it) {
        // A renaming that was broken off leaves the former id in the mail store.
        if (it.value().isEmpty() || m_known.contains(it.value()) || remembered.contains(it.key()))
            continue;
        FolderState state;
        state.serverId = it.value();
        state.folderId = it.key();
        const Eas::Result result = m_folders.save(state);
        if (!result.ok())
            return result;
        m_known.insert(state.serverId, state);
    }
    return {};
}

/** What is to be written, and what is to be removed. */
void FolderWriter::collect(Records *wanted)
{
    for (const Eas::FolderId &serverId : m_changes.removed) {
        if (m_known.contains(serverId) && !m_toRemove.contains(serverId))
            m_toRemove.append(serverId);
    }
    for (const Eas::FolderRecord &record : m_changes.added + m_changes.updated) {
        if (record.serverId.isEmpty())
            continue;
        if (record.isMail()) {
            wanted->insert(record.serverId, record);
            m_toRemove.removeAll(record.serverId);
        } else if (m_known.contains(record.serverId) && !m_toRemove.contains(record.serverId)) {
            m_toRemove.append(record.serverId);
        }
    }
    if (!m_changes.complete)
        return;
    for (auto it = m_known.constBegin(); it != m_known.constEnd(); ++it) {
        if (!wanted->contains(it.key()) && !m_toRemove.contains(it.key()))
            m_toRemove.append(it.key());
    }
}

/** Parents may come after their children, be missing, or be their own ancestors. */
void FolderWriter::sortParentsFirst(Records wanted)
{
    while (!wanted.isEmpty()) {
        QList<Eas::FolderRecord> chain;
        Eas::FolderId id = wanted.constBegin().key();
        while (wanted.contains(id) && chain.size() < MaximumDepth) {
            chain.prepend(wanted.take(id));
            id = chain.first().parentId;
        }
        m_pending.append(chain);
    }
}

/**
 * Finds folders that the server calls by another id than before: one that is to be removed is kept
 * where one of the same place, name and kind is to be added.
 */
void FolderWriter::findRenamed(const Records &wanted)
{
    for (const Eas::FolderRecord &record : qAsConst(m_pending)) {
        const bool isParentNew =
            wanted.contains(record.parentId) && !m_known.contains(record.parentId);
        if (m_known.contains(record.serverId) || isParentNew)
            continue;
        const Eas::FolderId former = formerId(record);
        if (former.isEmpty())
            continue;
        FolderState state = m_known.take(former);
        m_toRemove.removeAll(former);
        m_renamed.append(FolderRenaming(state, record.serverId));
        state.serverId = record.serverId;
        state.parentId = record.parentId;
        state.syncKey = Eas::FirstKey;
        state.reconciling = false;
        m_known.insert(record.serverId, state);
    }
}

/** The id of the folder that is to be removed and has the place, name and kind of the record. */
Eas::FolderId FolderWriter::formerId(const Eas::FolderRecord &record) const
{
    const QMailFolderId parent = m_known.value(record.parentId).folderId;
    for (const Eas::FolderId &id : m_toRemove) {
        const FolderState state = m_known.value(id);
        const QMailFolder folder(state.folderId);
        // The kind is not remembered of a folder that only the mail store knew.
        const bool isSameKind = state.type == 0 || state.type == record.type;
        if (isSameKind && folder.parentFolderId() == parent
            && folder.displayName() == folderName(record))
            return id;
    }
    return {};
}

Eas::Result FolderWriter::rename()
{
    bool isDone = false;
    const Eas::Result result = m_renamed.first().step(m_folders, m_account, &isDone);
    if (isDone)
        m_renamed.removeFirst();
    return result;
}

/** A folder below one that is removed goes with it, unless this answer moves it elsewhere. */
void FolderWriter::addChildrenToRemove()
{
    QHash<Eas::FolderId, Eas::FolderId> parents;
    for (const FolderState &state : qAsConst(m_known))
        parents.insert(state.serverId, state.parentId);
    for (const Eas::FolderRecord &record : qAsConst(m_pending))
        parents.remove(record.serverId);
    for (int i = 0; i < m_toRemove.size(); ++i) {
        parents.remove(m_toRemove.at(i));
        for (const Eas::FolderId &child : parents.keys(m_toRemove.at(i))) {
            m_toRemove.removeAll(child); // once, and removed before its parent
            m_toRemove.append(child);
        }
    }
    std::reverse(m_toRemove.begin(), m_toRemove.end());
}

Eas::Result FolderWriter::write(const Eas::FolderRecord &record)
{
    QMailStore *store = QMailStore::instance();
    FolderState state = m_known.value(record.serverId);
    QMailFolder folder = state.folderId.isValid() ? store->folder(state.folderId) : QMailFolder();
    const QMailFolder before = folder;
    if (describe(&folder, record)) {
        // Those below first: of a folder that has its new name already, nothing would be seen.
        const Eas::Result marked =
            isRenamed(before, folder) ? markBelow(folder.id()) : Eas::Result();
        if (!marked.ok())
            return marked;
        const bool written =
            folder.id().isValid() ? store->updateFolder(&folder) : store->addFolder(&folder);
        if (!written)
            return storeFailure(QStringLiteral("cannot write a folder"));
    }
    state.serverId = record.serverId;
    state.folderId = folder.id();
    state.parentId = record.parentId;
    state.type = record.type;
    m_known.insert(record.serverId, state);
    return m_folders.save(state);
}

/** Makes the folder look as the record says; whether that changed anything. */
bool FolderWriter::describe(QMailFolder *folder, const Eas::FolderRecord &record) const
{
    QMailFolder result = *folder;
    const FolderState parent = m_known.value(record.parentId);
    const QString name = folderName(record);
    result.setDisplayName(name);
    result.setPath(name);
    result.setParentAccountId(m_account);
    result.setParentFolderId(wouldLoop(*folder, parent.folderId) ? QMailFolderId()
                                                                 : parent.folderId);
    result.setStatus(roleMask(), false);
    result.setStatus(roleOf(record.type, name, !parent.folderId.isValid()), true);
    result.setStatus(QMailFolder::Synchronized | QMailFolder::MessagesPermitted, true);
    if (!folder->id().isValid()) // later it is the user's choice
        result.setStatus(QMailFolder::SynchronizationEnabled, true);
    result.setCustomField(ServerIdField, record.serverId.text());
    if (isRenamed(*folder, result))
        RenamedMark.set(&result);
    const bool changed = !folder->id().isValid() || result.displayName() != folder->displayName()
        || result.path() != folder->path() || result.parentFolderId() != folder->parentFolderId()
        || result.status() != folder->status() || result.customFields() != folder->customFields();
    *folder = result;
    return changed;
}

/** Some servers call attachments by their folder's path. */
Eas::Result FolderWriter::markBelow(const QMailFolderId &folder)
{
    QMailStore *store = QMailStore::instance();
    const auto below =
        store->queryFolders(QMailFolderKey::ancestorFolderIds(folder) & ~RenamedMark.folderKey());
    if (store->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot read the folders below a renamed one"));
    for (const QMailFolderId &id : below) {
        QMailFolder marked(id);
        RenamedMark.set(&marked);
        if (!store->updateFolder(&marked))
            return storeFailure(QStringLiteral("cannot mark a folder below a renamed one"));
    }
    return {};
}

/** Whether the folder would become its own ancestor, or lie too deep. */
bool FolderWriter::wouldLoop(const QMailFolder &folder, QMailFolderId parent) const
{
    for (int depth = 0; parent.isValid(); ++depth) {
        if (depth >= MaximumDepth || parent == folder.id())
            return true;
        parent = QMailStore::instance()->folder(parent).parentFolderId();
    }
    return false;
}

/** Clears a folder of some of its messages; `emptied` tells whether none is left. */
Eas::Result FolderWriter::empty(const FolderState &state, bool *emptied)
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageIdList some =
        store->queryMessages(state.messages(), QMailMessageSortKey(), uint(RemovalBatch));
    // A folder that cannot be read is not empty.
    if (store->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot read a folder that goes"));
    QMailMessageIdList fetched;
    QMailMessageIdList own;
    const QMailMessageMetaDataList found = store->messagesMetaData(
        QMailMessageKey::id(some),
        QMailMessageKey::Id | QMailMessageKey::ServerUid | QMailMessageKey::ParentAccountId);
    if (store->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot read the messages of a folder that goes"));
    for (const QMailMessageMetaData &message : found) {
        const QMailFolderId home = homeOf(message, state);
        const bool isOwn = ServerUid(message).kind() == ServerUid::Kind::None;
        if (!home.isValid())
            (isOwn ? own : fetched).append(message.id());
        else if (!putBack(message, home))
            return storeFailure(QStringLiteral("cannot move a message back"));
    }
    const Eas::Result kept = own.isEmpty() ? Eas::Result() : keep(own, state);
    if (!kept.ok())
        return kept;
    *emptied = some.isEmpty();
    if (!fetched.isEmpty() && !store->removeMessages(QMailMessageKey::id(fetched)))
        return storeFailure(QStringLiteral("cannot remove the messages of a folder"));
    return {};
}

/**
 * Takes messages that no server has, and that nobody could bring back, out of the folder.
 *
 * Each write looks and writes in one step: the user may be doing more with them right now.
 */
Eas::Result FolderWriter::keep(const QMailMessageIdList &messages, const FolderState &state)
{
    using Message = QMailMessageMetaData;
    const QMailMessageKey any = QMailMessageKey::id(messages);
    const QMailMessageKey here = any & QMailMessageKey::parentFolderId(state.folderId);
    const auto received = QMailMessageKey::status(Message::Incoming, QMailDataComparator::Includes);
    const QMailFolderId successor = remaining(state.type);
    // Without a mark, what is moved to where mail waits would pass for mail on its way out.
    const quint64 marks = Message::Draft | Message::Outbox | Message::Sent | Message::Incoming;
    const auto unmarked = ~QMailMessageKey::status(marks, QMailDataComparator::Includes);
    const bool isToBeMarked = !successor.isValid() && state.type != Eas::Drafts;
    if (isToBeMarked
        && !QMailStore::instance()->updateMessagesMetaData(here & unmarked, Message::Draft, true))
        return storeFailure(QStringLiteral("cannot mark drafts"));
    bool isKept = place(here & received, successor.isValid() ? successor : remaining(Eas::Inbox));
    isKept =
        isKept && place(here & ~received, successor.isValid() ? successor : remaining(Eas::Drafts));
    // The user has moved some out, which is not to be undone any more.
    const auto movedOut = any
        & QMailMessageKey::parentFolderId(state.folderId, QMailDataComparator::NotEqual)
        & QMailMessageKey::previousParentFolderId(state.folderId);
    isKept = isKept
        && QMailStore::instance()->updateMessagesMetaData(
            movedOut, QMailMessageKey::PreviousParentFolderId, Message());
    return isKept ? Eas::Result()
                  : storeFailure(QStringLiteral("cannot keep the messages of a folder"));
}

/** Puts messages into the folder, or where there is none, into the mail store's own. */
bool FolderWriter::place(const QMailMessageKey &messages, const QMailFolderId &folder)
{
    QMailMessageMetaData data;
    data.setParentFolderId(folder.isValid() ? folder
                                            : QMailFolderId(QMailFolder::LocalStorageFolderId));
    return QMailStore::instance()->updateMessagesMetaData(
        messages, QMailMessageKey::ParentFolderId | QMailMessageKey::PreviousParentFolderId, data);
}

/** A folder of that kind, of which there is one for each account, that does not go. */
QMailFolderId FolderWriter::remaining(int type) const
{
    static const QList<int> single {Eas::Inbox, Eas::Drafts, Eas::DeletedItems, Eas::SentItems};
    for (const FolderState &state : qAsConst(m_known)) {
        if (state.type == type && single.contains(type) && !m_toRemove.contains(state.serverId))
            return state.folderId;
    }
    return {};
}

/** The folder that stays and in which the server has a message, whatever has brought it into the
 * one that goes; invalid where there is none. */
QMailFolderId FolderWriter::homeOf(const QMailMessageMetaData &message,
                                   const FolderState &state) const
{
    const Eas::FolderId id = ServerUid(message).collectionId();
    const QMailFolderId home = m_known.value(id).folderId;
    return home == state.folderId || m_toRemove.contains(id) ? QMailFolderId() : home;
}

Eas::Result FolderWriter::remove(const FolderState &state)
{
    QMailStore *store = QMailStore::instance();
    RemovalRecords records(m_account);
    const Eas::Result forgotten = records.forget(records.in(state.serverId));
    if (!forgotten.ok())
        return forgotten;
    const Eas::Result kept = keepSubfolders(state);
    if (!kept.ok())
        return kept;
    const bool present = store->countFolders(QMailFolderKey::id(state.folderId)) > 0;
    if (present && !store->removeFolder(state.folderId))
        return storeFailure(QStringLiteral("cannot remove a folder"));
    m_known.remove(state.serverId);
    return m_folders.remove(state.serverId);
}

/** The mail store removes a folder with all below it: what was made here goes to the top. */
Eas::Result FolderWriter::keepSubfolders(const FolderState &state)
{
    if (!state.folderId.isValid())
        return {};
    QMailStore *store = QMailStore::instance();
    const auto below = store->queryFolders(QMailFolderKey::parentFolderId(state.folderId));
    if (store->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot read the folders below one that goes"));
    for (const QMailFolderId &id : below) {
        QMailFolder folder(id);
        folder.setParentFolderId(QMailFolderId());
        if (!store->updateFolder(&folder))
            return storeFailure(QStringLiteral("cannot move a folder to the top"));
    }
    return {};
}

Eas::Result FolderWriter::setStandardFolders()
{
    QMap<QMailFolder::StandardFolder, QMailFolderId> wanted;
    for (const FolderState &state : qAsConst(m_known)) {
        const quint64 status = QMailFolder(state.folderId).status();
        const QPair<quint64, QMailFolder::StandardFolder> roles[] = {
            {QMailFolder::Incoming, QMailFolder::InboxFolder},
            {QMailFolder::Drafts, QMailFolder::DraftsFolder},
            {QMailFolder::Sent, QMailFolder::SentFolder},
            {QMailFolder::Trash, QMailFolder::TrashFolder},
            {QMailFolder::Junk, QMailFolder::JunkFolder},
        };
        for (const auto &role : roles) {
            if ((status & role.first) && !wanted.value(role.second).isValid())
                wanted.insert(role.second, state.folderId);
        }
    }
    QMailAccount account(m_account);
    bool changed = false;
    for (const auto role :
         {QMailFolder::InboxFolder, QMailFolder::DraftsFolder, QMailFolder::SentFolder,
          QMailFolder::TrashFolder, QMailFolder::JunkFolder}) {
        const QMailFolderId current = account.standardFolder(role);
        if (current == wanted.value(role))
            continue;
        const bool stands = current.isValid()
            && QMailStore::instance()->countFolders(QMailFolderKey::id(current)) > 0;
        if (stands && !wanted.value(role).isValid())
            continue;
        account.setStandardFolder(role, wanted.value(role));
        changed = true;
    }
    if (!changed)
        return {};
    const std::optional<quint64> status = currentStatus(m_account);
    if (!status)
        return storeFailure(FailureText::english("cannot read the accounts"));
    account.setStatus(*status);
    if (!QMailStore::instance()->updateAccount(&account))
        return storeFailure(QStringLiteral("cannot name the account's standard folders"));
    return {};
}

Eas::Result FolderWriter::finish()
{
    const Eas::Result named = setStandardFolders();
    if (!named.ok())
        return named;
    const bool isAsBefore = !m_changes.complete && m_changes.isEmpty();
    if (!isAsBefore && !QMailStore::instance()->ensureDurability())
        return storeFailure(QStringLiteral("cannot make the folders durable"));
    return m_keys.saveTree(m_changes.syncKey);
}

} // namespace Store
