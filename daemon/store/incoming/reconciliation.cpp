// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/reconciliation.h"

#include "daemon/store/fingerprint.h"
#include "daemon/store/mark.h"
#include "daemon/store/narrowing.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/storefailure.h"

#include <qmailstore.h>

namespace Store {

namespace {

constexpr int NoteBatch = 500; ///< messages whose fingerprint is taken in one step

Eas::Result unreadable()
{
    return storeFailure(QStringLiteral("cannot read the messages of a folder"));
}

} // namespace

Reconciliation::Reconciliation(SyncStateDb &db, const QMailAccountId &account)
    : m_unconfirmed(db, account)
{
}

Eas::Result Reconciliation::begin(const FolderState &folder)
{
    m_folder = folder;
    m_isFirst = folder.syncKey == Eas::FirstKey;
    m_isToNote = m_isFirst;
    if (!m_isFirst) {
        expect(m_unconfirmed.of(folder.serverId));
        m_hasUnconfirmed = !m_expected.isEmpty();
        return expectFound();
    }
    // What a search brought may lie outside of what the server will show now.
    const QMailMessageKey here = folder.messages();
    QMailStore *store = QMailStore::instance();
    m_toNote = store->queryMessages(folder.isWhole() ? here : here & ~FoundMark.key());
    // What cannot be read is not empty, here and below: its messages would be left, or doubled.
    return store->lastError() == QMailStore::NoError ? Eas::Result() : unreadable();
}

void Reconciliation::expect(const QList<Unconfirmed> &messages)
{
    for (const Unconfirmed &message : messages)
        m_expected.insert(message.fingerprint, message.messageId);
}

/** What a search brought is recognised when the server shows it under another id. */
Eas::Result Reconciliation::expectFound()
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageMetaDataList found = store->messagesMetaData(
        Narrowing::found(QMailMessageKey::parentFolderId(m_folder.folderId)),
        FingerprintProperties | QMailMessageKey::ServerUid);
    if (store->lastError() != QMailStore::NoError)
        return unreadable();
    for (const QMailMessageMetaData &message : found) {
        const ServerUid known(message);
        if (known.isIn(m_folder.serverId) && (isRunning() || !known.isItem()))
            m_expected.insert(fingerprint(message), message.id());
    }
    return {};
}

/** Notes what the folder has from the server, and not what the user moved there. */
Eas::Result Reconciliation::note()
{
    const QMailMessageIdList ids = m_toNote.mid(0, NoteBatch);
    m_toNote = m_toNote.mid(NoteBatch);
    m_isToNote = !m_toNote.isEmpty();
    QMailStore *store = QMailStore::instance();
    const QMailMessageMetaDataList found = store->messagesMetaData(
        QMailMessageKey::id(ids), FingerprintProperties | QMailMessageKey::ServerUid);
    if (store->lastError() != QMailStore::NoError)
        return unreadable();
    for (const QMailMessageMetaData &message : found) {
        if (ServerUid(message).isIn(m_folder.serverId))
            m_noted.append({message.id(), fingerprint(message)});
    }
    if (m_isToNote)
        return {};
    expect(m_noted);
    return expectFound();
}

QMailMessageId Reconciliation::take(const QByteArray &mark, const QMailMessageMetaData &named)
{
    // One that was confirmed is not expected any more, and may have a twin that is.
    const bool isSame = named.id().isValid()
        && (m_expected.contains(mark, named.id()) || fingerprint(named) == mark);
    const QMailMessageId match = isSame ? named.id() : m_expected.value(mark);
    m_expected.remove(mark, match);
    return isSame || !m_confirmed.contains(match) ? match : QMailMessageId();
}

Eas::Result Reconciliation::startAnew()
{
    FolderState folder = m_folder;
    folder.syncKey = Eas::FirstKey;
    folder.reconciling = true;
    folder.renumbered = true;
    return m_unconfirmed.replace(folder, {});
}

Eas::Result Reconciliation::save(FolderState *folder)
{
    Eas::Result result;
    if (m_isFirst) {
        folder->reconciling = !m_noted.isEmpty();
        result = m_unconfirmed.replace(*folder, m_noted);
    }
    return result.ok() ? m_unconfirmed.confirm(*folder, m_confirmed) : result;
}

bool Reconciliation::isToBeSwept(const FolderState &folder) const
{
    return !m_isFirst && (folder.reconciling || m_hasUnconfirmed);
}

QMailMessageIdList Reconciliation::unconfirmed() const
{
    QMailMessageIdList messages;
    for (const Unconfirmed &message : m_unconfirmed.of(m_folder.serverId))
        messages.append(message.messageId);
    return messages;
}

Eas::Result Reconciliation::forget(const FolderState &folder, const QMailMessageIdList &messages)
{
    return m_unconfirmed.confirm(folder, messages);
}

Eas::Result startReconciling(SyncStateDb &db, const QMailAccountId &account,
                             const Eas::FolderId &serverId)
{
    std::optional<FolderState> folder = FolderKeys(db, account).find(serverId);
    if (!folder)
        return {Eas::NotFound,
                QStringLiteral("no folder here for ") + Eas::loggedId(serverId.text())};
    folder->syncKey = Eas::FirstKey;
    folder->reconciling = true;
    return UnconfirmedMessages(db, account).replace(*folder, {});
}

} // namespace Store
