// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outbox.h"

#include "daemon/store/currentmessages.h"
#include "daemon/store/storefailure.h"

#include <QDateTime>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QUrl>
#include <QUuid>

#include <algorithm>

namespace Store {

namespace {

using Message = QMailMessageMetaData;

const QString clientIdField = QStringLiteral("orvmail-client-id");
const QString reasonField = QStringLiteral("orvmail-send-failure");
/** The message server's own: how often it has tried, "true" once that is enough. */
const QString givenUpField = QStringLiteral("dontSend");
const QString givenUpMark = QStringLiteral("true");

/** 32 letters and digits. */
QString newClientId()
{
    return QString::fromLatin1(QUuid::createUuid().toRfc4122().toHex());
}

bool exists(const QMailMessageId &id)
{
    return QMailStore::instance()->countMessages(QMailMessageKey::id(id)) > 0;
}

Eas::Result setField(const QMailMessageId &id, const QString &name, const QString &value)
{
    Message message = currentMessage(id);
    if (message.customField(name) == value)
        return {};
    if (value.isEmpty())
        message.removeCustomField(name);
    else
        message.setCustomField(name, value);
    // The custom fields alone: others change the message's status at the same time.
    if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                        QMailMessageKey::Custom, message))
        return storeFailure(QStringLiteral("cannot mark a message that is to be sent"));
    return {};
}

/** Why its sending has not come to an end; where that is known already, it stands. */
QString interrupted(const QMailMessageId &id)
{
    const QString known = currentMessage(id).customField(reasonField);
    return known.isEmpty() ? QStringLiteral("the sending was interrupted") : known;
}

/** Messages that wait, and that the message server leaves alone. */
QMailMessageKey givenUpKey(const QMailAccountId &account)
{
    return QMailMessageKey::parentAccountId(account)
        & QMailMessageKey::status(Message::Outbox, QMailDataComparator::Includes)
        & QMailMessageKey::customField(givenUpField, givenUpMark);
}

/** Messages from here that neither wait nor are the server's, so that nobody looks at them. */
QMailMessageMetaDataList stranded(const QMailAccountId &account)
{
    const quint64 settled =
        Message::Outbox | Message::Draft | Message::Trash | Message::Removed | Message::Temporary;
    const QMailMessageKey key = QMailMessageKey::parentAccountId(account)
        & QMailMessageKey::status(Message::Outgoing, QMailDataComparator::Includes)
        & ~QMailMessageKey::status(settled, QMailDataComparator::Includes);
    QMailMessageMetaDataList found = QMailStore::instance()->messagesMetaData(
        key, QMailMessageKey::Id | QMailMessageKey::ServerUid | QMailMessageKey::Status);
    const auto isTheServers = [](const Message &one) { return !one.serverUid().isEmpty(); };
    found.erase(std::remove_if(found.begin(), found.end(), isTheServers), found.end());
    return found;
}

} // namespace

Outbox::Outbox(SyncStateDb &db, const AccountRecord &account)
    : m_db(db)
    , m_account(account)
{
}

Outgoing Outbox::newOutgoing(const QMailMessageId &id, const QString &clientId) const
{
    Outgoing outgoing;
    outgoing.clientId = clientId;
    outgoing.messageId = id;
    const QString domain = m_account.email.section(QLatin1Char('@'), -1).trimmed();
    const QByteArray host = domain.isEmpty() ? QByteArrayLiteral("localhost") : QUrl::toAce(domain);
    outgoing.rfcId = '<' + clientId.toLatin1() + '@' + host + '>';
    outgoing.created = QDateTime::currentSecsSinceEpoch();
    return outgoing;
}

Eas::Result Outbox::open(const QMailMessageId &id, Outgoing *outgoing)
{
    if (!exists(id))
        return {Eas::NotFound, QStringLiteral("the message has been removed")};
    if (const auto remembered = m_db.outgoing(m_account.id, id)) {
        *outgoing = *remembered;
        return {};
    }
    const QString known = currentMessage(id).customField(clientIdField);
    // A copy of another message bears that one's id.
    const bool isForgotten = !known.isEmpty() && !m_db.outgoing(m_account.id, known);
    *outgoing = newOutgoing(id, isForgotten ? known : newClientId());
    outgoing->state = isForgotten ? Outgoing::Uncertain : Outgoing::Ready;
    const Eas::Result saved = m_db.saveOutgoing(m_account.id, *outgoing);
    return saved.ok() ? setField(id, clientIdField, outgoing->clientId) : saved;
}

Eas::Result Outbox::save(const Outgoing &outgoing, Outgoing::State state)
{
    Outgoing changed = outgoing;
    changed.state = state;
    return m_db.saveOutgoing(m_account.id, changed);
}

Eas::Result Outbox::putBack(const QMailMessageId &id, const QString &reason)
{
    noteReason(id, reason);
    if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), Message::Outbox,
                                                        true))
        return storeFailure(QStringLiteral("cannot put a message back into the outbox"));
    return {};
}

void Outbox::noteReason(const QMailMessageId &id, const QString &reason)
{
    if (exists(id))
        setField(id, reasonField, reason);
}

Eas::Result Outbox::hold(const Outgoing &outgoing, const QString &reason)
{
    // The message first: one that is known as doubtful and not held reads as a person's wish.
    noteReason(outgoing.messageId, reason);
    const Eas::Result held = setField(outgoing.messageId, givenUpField, givenUpMark);
    return held.ok() ? save(outgoing, Outgoing::Doubtful) : held;
}

/**
 * The message server counts a failure in a copy of the message that may be older than the hold, and
 * so loses it. A person's program either leaves the mark or takes it away.
 */
bool Outbox::isHeld(const Outgoing &outgoing) const
{
    bool isCount = false;
    currentMessage(outgoing.messageId).customField(givenUpField).toUInt(&isCount);
    return outgoing.state == Outgoing::Doubtful && isCount;
}

Eas::Result Outbox::takeOut(const QMailMessageId &id)
{
    if (exists(id) && !QMailStore::instance()->removeMessage(id, QMailStore::NoRemovalRecord))
        return storeFailure(QStringLiteral("cannot take a sent message out of the outbox"));
    return {};
}

QList<Outgoing> Outbox::givenUp() const
{
    // Nearly always there is none: the mail store, which would look through all messages, is not
    // asked then.
    QList<Outgoing> found = m_db.outgoing(m_account.id);
    const auto leave = [&found](auto isOther) {
        found.erase(std::remove_if(found.begin(), found.end(), isOther), found.end());
    };
    leave([](const Outgoing &one) { return one.state == Outgoing::Ready; });
    if (found.isEmpty())
        return found;
    const QMailMessageIdList ids = QMailStore::instance()->queryMessages(givenUpKey(m_account.id));
    leave([&ids](const Outgoing &one) { return !ids.contains(one.messageId); });
    return found;
}

Eas::Result Outbox::settleGivenUp(const Outgoing &outgoing)
{
    // The message first: once it is known as sent, nobody looks for it again.
    const QMailMessageKey key = givenUpKey(m_account.id) & QMailMessageKey::id(outgoing.messageId);
    if (QMailStore::instance()->countMessages(key) > 0) {
        const Eas::Result taken = takeOut(outgoing.messageId);
        if (!taken.ok())
            return taken;
    }
    return save(outgoing, Outgoing::Sent);
}

void Outbox::recover(const QSet<QMailMessageId> &busy)
{
    forgetRemoved();
    renewHolds();
    const QMailMessageMetaDataList messages = stranded(m_account.id);
    for (const Message &message : messages) {
        const QMailMessageId id = message.id();
        if (busy.contains(id))
            continue;
        const auto known = m_db.outgoing(m_account.id, id);
        if (known && known->state == Outgoing::Sent)
            takeOut(id);
        else if (!(message.status() & Message::Sent))
            putBack(id, interrupted(id));
    }
}

void Outbox::renewHolds()
{
    for (const Outgoing &outgoing : m_db.outgoing(m_account.id)) {
        if (!isHeld(outgoing))
            continue;
        const QString known = currentMessage(outgoing.messageId).customField(reasonField);
        hold(outgoing, known.isEmpty() ? doubt() : known);
    }
}

QString Outbox::doubt()
{
    return QStringLiteral("it is not known whether the server has sent the message; look among the "
                          "sent messages, and send it again only if it is not there");
}

void Outbox::forgetRemoved()
{
    for (const Outgoing &outgoing : m_db.outgoing(m_account.id)) {
        if (!exists(outgoing.messageId))
            m_db.removeOutgoing(m_account.id, outgoing.clientId);
    }
}

} // namespace Store
