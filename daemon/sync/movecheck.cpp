// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/movecheck.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/sizes.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/localchanges.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/state/folderkeys.h"
#include "daemon/store/state/unconfirmedmessages.h"
#include "eas/fetchmessagecommand.h"

namespace Daemon {

namespace {

/** How many bytes of the text are asked for: enough to show that there is one. */
constexpr int TextSize = 64;

/** Whether the server says that the message is gone: by a status, or, as some do, by an item
 * without any property. */
bool isGone(const Eas::FetchMessageCommand &command)
{
    const Eas::Result result = command.result();
    return result.code == Eas::NotFound && (result.isStatus() || !command.item().dateReceived);
}

/** Whether the server has looked for the message, whatever it found. */
bool isAnswer(const Eas::Result &result)
{
    return result.ok() || result.code == Eas::NotFound
        || (result.code == Eas::ServerFailed && result.isStatus());
}

} // namespace

MoveCheck::MoveCheck(const AccountContext &context, const Eas::FolderId &collectionId,
                     QObject *parent)
    : Task(context, parent)
    , m_collectionId(collectionId)
    , m_nowhere(QStringLiteral("/dev/null"))
{
}

void MoveCheck::perform()
{
    m_left = m_context.unconfirmed().acknowledgedMoves(m_collectionId);
    m_nowhere.open(QIODevice::WriteOnly);
    askNext();
}

void MoveCheck::askNext()
{
    while (!m_left.isEmpty() && m_asked < Sizes::CheckedMoves) {
        const QMailMessageId message = m_left.takeFirst();
        const QString id = itemId(message);
        if (id.isEmpty()) {
            m_context.unconfirmed().endAcknowledgedMove(m_collectionId, message);
            continue;
        }
        ++m_asked;
        auto *command = new Eas::FetchMessageCommand(m_context.session,
                                                     {m_collectionId, id, QString()}, &m_nowhere);
        Eas::BodyPreference preference;
        preference.truncation = TextSize;
        command->setBodyPreference(preference);
        run(command, [this, message, command] { onAnswer(message, *command); });
        return;
    }
    end({});
}

QString MoveCheck::itemId(const QMailMessageId &id) const
{
    const QMailMessageMetaData message = Store::currentMessage(id);
    const auto folder = m_context.folders().find(m_collectionId);
    const Store::ServerUid uid(message);
    // A message that was moved on is left to the next upload.
    const bool isHere =
        folder && message.parentFolderId() == folder->folderId && uid.isIn(m_collectionId);
    return isHere ? uid.itemId() : QString();
}

void MoveCheck::onAnswer(const QMailMessageId &message, const Eas::FetchMessageCommand &command)
{
    Eas::Result result = command.result();
    if (!isAnswer(result)) {
        qCInfo(lcSync) << "account" << m_context.id()
                       << "cannot find out about a moved message:" << result.text;
        end({});
        return;
    }
    result = {};
    if (isGone(command) && !itemId(message).isEmpty()) {
        qCInfo(lcSync) << "account" << m_context.id() << "removes message" << message.toULongLong()
                       << "that was moved and is gone at the server";
        result = Store::LocalChanges(*m_context.db, m_context.id()).dropMessage(message);
    }
    if (result.ok())
        result = m_context.unconfirmed().endAcknowledgedMove(m_collectionId, message);
    if (result.ok())
        askNext();
    else
        end(result);
}

} // namespace Daemon
