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
        const Eas::Result result = readNext();
        m_hasUnconfirmed = m_next.has_value();
        return result.ok() ? expectFound() : result;
    }
    // What a search brought may lie outside of what the server will show now.
    const QMailMessageKey here = folder.messages();
    QMailStore *store = QMailStore::instance();
    m_toNote = store->queryMessages(folder.isWhole() ? here : here & ~FoundMark.key());
    // What cannot be read is not empty, here and below: its messages would be left, or doubled.
    return store->lastError() == QMailStore::NoError ? Eas::Result() : unreadable();
}

/** It is taken before those that are expected already. */
void Reconciliation::expect(const QByteArray &mark, const QMailMessageId &message)
{
    m_expected[mark].prepend(message);
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
            expect(fingerprint(message), message.id());
    }
    return {};
}

/** Expects what earlier windows have left with that fingerprint. */
Eas::Result Reconciliation::expectAlike(const QByteArray &mark)
{
    if (!m_hasUnconfirmed || m_asked.contains(mark))
        return {};
    QMailMessageIdList messages;
    const Eas::Result result = m_unconfirmed.readAlike(m_folder.serverId, mark, &messages);
    if (!result.ok())
        return result;
    m_asked.insert(mark);
    // What a search brought is taken before them.
    if (!messages.isEmpty())
        m_expected[mark].append(messages);
    return {};
}

/** Goes to the next of those that earlier windows have left. */
Eas::Result Reconciliation::readNext()
{
    const QMailMessageId before = m_next ? m_next->messageId : QMailMessageId();
    QList<Unconfirmed> messages;
    const Eas::Result result = m_unconfirmed.readSome(m_folder.serverId, before, 1, &messages);
    m_next = messages.isEmpty() ? std::nullopt : std::make_optional(messages.first());
    return result;
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
    for (const Unconfirmed &message : qAsConst(m_noted))
        expect(message.fingerprint, message.messageId);
    return expectFound();
}

Eas::Result Reconciliation::lookForRenaming(bool *isPossible)
{
    Eas::Result result;
    // What was asked for and is not taken yet is in m_expected.
    while (result.ok() && m_expected.isEmpty() && m_next && m_asked.contains(m_next->fingerprint))
        result = readNext();
    *isPossible = !m_expected.isEmpty() || m_next;
    return result;
}

Eas::Result Reconciliation::take(const QByteArray &mark, const QMailMessageMetaData &named,
                                 QMailMessageId *message)
{
    QMailMessageIdList expected;
    const Eas::Result result = findExpected(mark, &expected);
    if (!result.ok())
        return result;
    // One that was confirmed is not expected any more, and may have a twin that is.
    const bool isSame =
        named.id().isValid() && (expected.contains(named.id()) || fingerprint(named) == mark);
    const QMailMessageId match = isSame ? named.id() : expected.value(0);
    expected.removeAll(match);
    if (expected.isEmpty())
        m_expected.remove(mark);
    else
        m_expected.insert(mark, expected);
    *message = isSame || !m_confirmed.contains(match) ? match : QMailMessageId();
    return {};
}

Eas::Result Reconciliation::findExpected(const QByteArray &mark, QMailMessageIdList *messages)
{
    const Eas::Result result = expectAlike(mark);
    *messages = m_expected.value(mark);
    return result;
}

Eas::Result Reconciliation::expectAnew(const QMailMessageMetaData &message)
{
    const Unconfirmed unconfirmed {message.id(), fingerprint(message)};
    if (m_isFirst) { // noted with the key, in the place of what was noted before
        m_noted.append(unconfirmed);
        return {};
    }
    m_hasUnconfirmed = true;
    return m_unconfirmed.add(m_folder.serverId, {unconfirmed});
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

Eas::Result Reconciliation::readUnconfirmed(int limit, QMailMessageIdList *messages) const
{
    QList<Unconfirmed> some;
    const Eas::Result result = m_unconfirmed.readSome(m_folder.serverId, {}, limit, &some);
    for (const Unconfirmed &message : qAsConst(some))
        messages->append(message.messageId);
    return result;
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
