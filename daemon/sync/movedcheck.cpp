// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/movedcheck.h"

#include "daemon/bus/logging.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/localchanges.h"
#include "daemon/store/serveruid.h"
#include "eas/fetchmessagecommand.h"

namespace Daemon {

namespace {

/** Bytes of a text that prove that there is one. */
constexpr int TextSize = 64;

/** Whether the server says so: by a status, or, as some do, by an item without any property. */
bool isGone(const Eas::FetchMessageCommand &command)
{
    const Eas::Result result = command.result();
    return result.code == Eas::NotFound && (result.status > 0 || !command.item().dateReceived);
}

/** Whether the server has looked for the message, whatever it found. */
bool isAnswer(const Eas::Result &result)
{
    return result.ok() || result.code == Eas::NotFound
        || (result.code == Eas::ServerFailed && result.status > 0);
}

} // namespace

MovedCheck::MovedCheck(const AccountContext &context, const QString &collectionId, QObject *parent)
    : Task(context, parent)
    , m_collectionId(collectionId)
    , m_nowhere(QStringLiteral("/dev/null"))
{
}

void MovedCheck::proceed()
{
    m_left = m_context.db->moved(m_context.id(), m_collectionId);
    m_nowhere.open(QIODevice::WriteOnly);
    askNext();
}

void MovedCheck::askNext()
{
    while (!m_left.isEmpty() && m_asked < MaximumMessages) {
        const QMailMessageId message = m_left.takeFirst();
        const QString id = itemId(message);
        if (id.isEmpty()) {
            m_context.db->removeMoved(m_context.id(), m_collectionId, message);
            continue;
        }
        ++m_asked;
        auto *command = new Eas::FetchMessageCommand(m_context.session,
                                                     {m_collectionId, id, QString()}, &m_nowhere);
        Eas::BodyPreference preference;
        preference.truncation = TextSize;
        command->setBodyPreference(preference);
        start(command, [this, message, command] { onAnswer(message, *command); });
        return;
    }
    finishLater({});
}

QString MovedCheck::itemId(const QMailMessageId &id) const
{
    const QMailMessageMetaData message = Store::currentMessage(id);
    const auto folder = m_context.db->folder(m_context.id(), m_collectionId);
    const Store::ServerUid uid = Store::ServerUid::split(message.serverUid());
    // What was moved on, the next upload finds out about.
    const bool isHere = folder && message.parentFolderId() == folder->folderId
        && uid.collectionId == m_collectionId;
    return isHere ? uid.itemId : QString();
}

void MovedCheck::onAnswer(const QMailMessageId &message, const Eas::FetchMessageCommand &command)
{
    Eas::Result result = command.result();
    if (!isAnswer(result)) {
        qCInfo(lcSync) << "account" << m_context.id()
                       << "cannot find out about a moved message:" << result.text;
        finishLater({});
        return;
    }
    result = {};
    if (isGone(command) && !itemId(message).isEmpty()) {
        qCInfo(lcSync) << "account" << m_context.id() << "removes message" << message.toULongLong()
                       << "that was moved and is gone at the server";
        result = Store::LocalChanges(*m_context.db, m_context.id()).dropMessage(message);
    }
    if (result.ok())
        result = m_context.db->removeMoved(m_context.id(), m_collectionId, message);
    if (result.ok())
        askNext();
    else
        finishLater(result, true);
}

} // namespace Daemon
