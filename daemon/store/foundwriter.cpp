// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/foundwriter.h"

#include "daemon/store/accountguard.h"
#include "daemon/store/fingerprint.h"
#include "daemon/store/folderflags.h"
#include "daemon/store/foundmark.h"
#include "daemon/store/messagebuilder.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/storefailure.h"

#include <QElapsedTimer>
#include <qmailstore.h>

namespace Store {

namespace {

constexpr int shareMs = 50; ///< how long a step goes on

QString uidOf(const FoundItem &found)
{
    return found.itemId.isEmpty() ? ServerUid::joinFound(found.collectionId, found.longId)
                                  : ServerUid::join(found.collectionId, found.itemId);
}

} // namespace

FoundWriter::FoundWriter(SyncStateDb &db, const QMailAccountId &account,
                         const QList<FoundItem> &items)
    : m_db(db)
    , m_account(account)
    , m_items(items)
    , m_total(qMax(1, items.size()))
{
}

int FoundWriter::progress() const
{
    return 1000 - 1000 * m_items.size() / m_total;
}

bool FoundWriter::step()
{
    m_result = AccountGuard::check(m_account);
    if (!m_started) {
        m_started = true;
        const auto records = QMailStore::instance()->messageRemovalRecords(m_account);
        for (const QMailMessageRemovalRecord &record : records)
            m_deleted.insert(record.serverUid());
    }
    QElapsedTimer timer;
    timer.start();
    while (m_result.ok() && !m_items.isEmpty() && timer.elapsed() < shareMs)
        m_result = write(m_items.takeFirst());
    if (!m_result.ok() || !m_items.isEmpty())
        return m_result.ok();
    if (!QMailStore::instance()->ensureDurability())
        m_result = storeFailure(QStringLiteral("cannot make messages durable"));
    return false;
}

Eas::Result FoundWriter::write(const FoundItem &found)
{
    const std::optional<FolderState> folder = m_db.folder(m_account, found.collectionId);
    if (!folder || m_deleted.contains(uidOf(found)))
        return {};
    const QMailMessageId present = presentAs(found, folder->folderId);
    if (present.isValid()) {
        m_messages.append(present);
        return {};
    }
    return MessageBuilder::isComplete(found.item) ? add(found, *folder) : Eas::Result();
}

QMailMessageId FoundWriter::presentAs(const FoundItem &found, const QMailFolderId &folder) const
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageKey ours = QMailMessageKey::parentAccountId(m_account);
    const QMailMessageIdList named =
        store->queryMessages(ours & QMailMessageKey::serverUid(uidOf(found)));
    if (!named.isEmpty())
        return named.first();
    if (!found.itemId.isEmpty() || !found.item.dateReceived)
        return {};
    // It may have come by a synchronisation, which knows it by its real id.
    const QMailMessage wanted = MessageBuilder::build(found.item);
    const QMailMessageIdList alike = store->queryMessages(
        ours & QMailMessageKey::parentFolderId(folder)
        & QMailMessageKey::receptionTimeStamp(wanted.receivedDate().toUTC().addSecs(-1),
                                              QMailDataComparator::GreaterThanEqual)
        & QMailMessageKey::receptionTimeStamp(wanted.receivedDate().toUTC().addSecs(1),
                                              QMailDataComparator::LessThanEqual));
    for (const QMailMessageId &id : alike) {
        if (fingerprint(QMailMessageMetaData(id)) == fingerprint(wanted))
            return id;
    }
    return {};
}

Eas::Result FoundWriter::add(const FoundItem &found, const FolderState &folder)
{
    QMailMessage message = MessageBuilder::build(found.item);
    message.setParentAccountId(m_account);
    message.setParentFolderId(folder.folderId);
    message.setServerUid(uidOf(found));
    message.setStatus(folderFlags(folder), true);
    // Whoever searches for old mail does not want to be told of it as new.
    message.setStatus(QMailMessageMetaData::New, false);
    message.setStatus(QMailMessageMetaData::NoNotification, true);
    FoundMark::set(&message);
    const Eas::Result room = checkRoom(message.body().length());
    if (!room.ok())
        return room;
    if (!QMailStore::instance()->addMessage(&message))
        return storeFailure(QStringLiteral("cannot add a message"));
    const Eas::Result still = AccountGuard::check(m_account);
    if (!still.ok()) {
        // Removed while we wrote: nobody else would remove it.
        QMailStore::instance()->removeMessages(QMailMessageKey::id(message.id()));
        return still;
    }
    m_messages.append(message.id());
    return {};
}

} // namespace Store
