// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/outbox.h"

#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/contentcheck.h"
#include "daemon/store/narrowing.h"
#include "daemon/store/outgoing/outgoingprint.h"
#include "daemon/store/storefailure.h"
#include "translations/text.h"

#include <QDateTime>
#include <qmailfolder.h>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QUrl>
#include <QUuid>

#include <algorithm>

namespace Store {

namespace {

using Message = QMailMessageMetaData;

const QString ClientIdField = QStringLiteral("orvmail-client-id");
const QString ReasonField = QStringLiteral("orvmail-send-failure");
/** The message server's own: how often it has tried, "true" once that is enough. */
const QString GivenUpField = QStringLiteral("dontSend");
const QString GivenUpMark = QStringLiteral("true");

/** 32 letters and digits. */
QString newClientId()
{
    return QString::fromLatin1(QUuid::createUuid().toRfc4122().toHex());
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
        return storeFailure(FailureText::english("cannot mark a message that is to be sent"));
    return {};
}

Eas::Result setStatus(const QMailMessageId &id, quint64 mask, bool value)
{
    if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), mask, value))
        return storeFailure(FailureText::english("cannot mark a message of the outbox"));
    return {};
}

/** Why its sending has not ended: the reason that is noted already, or an interruption. */
QString interrupted(const QMailMessageId &id)
{
    const QString known = currentMessage(id).customField(ReasonField);
    return known.isEmpty() ? FailureText::english("the sending was interrupted") : known;
}

/** Messages of the outbox that the message server has given up. */
QMailMessageKey givenUpKey(const QMailAccountId &account)
{
    return QMailMessageKey::parentAccountId(account)
        & QMailMessageKey::status(Message::Outbox, QMailDataComparator::Includes)
        & QMailMessageKey::customField(GivenUpField, GivenUpMark);
}

/** Messages that wait, whoever is to send them. */
QMailMessageKey outboxKey(const QMailAccountId &account)
{
    return QMailMessageKey::parentAccountId(account)
        & QMailMessageKey::status(Message::Outbox, QMailDataComparator::Includes)
        & ~QMailMessageKey::status(Message::Trash, QMailDataComparator::Includes);
}

/** Why the mail store has given no message. */
Eas::Result notGiven()
{
    if (QMailStore::instance()->lastError() != QMailStore::NoError)
        return storeFailure(FailureText::english("cannot read a message that is to be sent"));
    return {Eas::NotFound, FailureText::english("the message has been removed")};
}

OutgoingPrint::Content contentHere(const QMailMessage &message)
{
    const bool hasParts = message.multipartType() != QMailMessage::MultipartNone;
    return isContentLost(message, hasParts) ? OutgoingPrint::Content::Lost
                                            : OutgoingPrint::Content::Whole;
}

/** The reason as it was written down: a result code, and words. */
void readReason(const QString &field, Activesync::WaitingMail *mail)
{
    bool isNumber = false;
    const int code = field.section(QLatin1Char(' '), 0, 0).toInt(&isNumber);
    mail->code = isNumber ? code : 0;
    mail->reason = isNumber ? field.section(QLatin1Char(' '), 1) : field;
}

/** With one of these, a message is not on its way out. */
quint64 settled()
{
    return Message::Outbox | Message::Draft | Message::Trash | Message::Junk | Message::Removed
        | Message::Temporary;
}

} // namespace

Outbox::Outbox(SyncStateDb &db, const AccountRecord &account)
    : m_account(account)
    , m_outgoing(db, account.id)
    , m_asked(db, account.id)
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

/** Messages from here that are neither in the outbox nor known at the server: they are being sent,
 * or their sending was interrupted. */
QMailMessageMetaDataList Outbox::stranded() const
{
    const QMailMessageKey key = QMailMessageKey::parentAccountId(m_account.id)
        & QMailMessageKey::status(Message::Outgoing, QMailDataComparator::Includes)
        & ~QMailMessageKey::status(settled(), QMailDataComparator::Includes);
    QMailMessageMetaDataList found =
        Narrowing::unsettled(m_account.id, key,
                             QMailMessageKey::Id | QMailMessageKey::ServerUid
                                 | QMailMessageKey::Status | QMailMessageKey::ParentFolderId);
    const auto isOther = [this](const Message &one) { return !isStranded(one); };
    found.erase(std::remove_if(found.begin(), found.end(), isOther), found.end());
    return found;
}

bool Outbox::isStranded(const Message &message) const
{
    const quint64 status = message.status();
    return status & Message::Outgoing && !(status & settled()) && message.serverUid().isEmpty()
        && !isPutAway(message);
}

/** One of those of which the message server may not know that it was interrupted. What is marked as
 * sent is the message server's: it knows of the end. */
bool Outbox::isInterrupted(const Message &message) const
{
    return isStranded(message) && !(message.status() & Message::Sent);
}

/**
 * Whether a message lies where its author has put it, and not on its way out.
 *
 * A move to the inbox takes from a draft, or from a copy of a sent message, the marks that tell it
 * from mail on its way out, and a move from there to another folder does not give them back. So
 * nothing goes out from the inbox, and from a folder where no mail waits to be sent only what
 * somebody has asked to be sent.
 */
bool Outbox::isPutAway(const Message &message) const
{
    // As the mail store knows the folder: the daemon's own memory may be lost.
    const QMailFolder place(message.parentFolderId());
    if (isWhereMailWaits(place))
        return false;
    return place.status() & QMailFolder::Incoming || !wasAskedFor(message);
}

/** Mail programs keep it in the mail store's own folder, or in one that has this purpose. */
bool Outbox::isWhereMailWaits(const QMailFolder &place) const
{
    const QMailFolderId id = place.id();
    if (id == QMailFolderId(QMailFolder::LocalStorageFolderId)
        || place.status() & (QMailFolder::Drafts | QMailFolder::Outgoing))
        return true;
    const QMailAccount account(m_account.id);
    return id.isValid()
        && (id == account.standardFolder(QMailFolder::OutboxFolder)
            || id == account.standardFolder(QMailFolder::DraftsFolder)
            || id == account.standardFolder(QMailFolder::SentFolder));
}

bool Outbox::wasAskedFor(const Message &message) const
{
    return m_outgoing.find(message.id()) || m_asked.contains(message.id())
        || !currentMessage(message.id()).customField(ClientIdField).isEmpty();
}

Eas::Result Outbox::open(const QMailMessageId &id, Outgoing *outgoing)
{
    const Message message = currentMessage(id);
    // Where its fields alone cannot be read, there is one without them.
    if (!message.id().isValid() || QMailStore::instance()->lastError() != QMailStore::NoError)
        return notGiven();
    if (const auto remembered = m_outgoing.find(id)) {
        *outgoing = *remembered;
        bool isEdited = false;
        const Eas::Result compared = compare(*outgoing, &isEdited);
        return compared.ok() && isEdited ? renew(outgoing) : compared;
    }
    const QString known = message.customField(ClientIdField);
    // An id that is known is that of another message, of which this is a copy.
    const bool isForgotten = !known.isEmpty() && !m_outgoing.find(known);
    *outgoing = newOutgoing(id, isForgotten ? known : newClientId());
    outgoing->state = isForgotten ? Outgoing::Uncertain : Outgoing::Ready;
    const Eas::Result saved = m_outgoing.save(*outgoing);
    return saved.ok() ? setField(id, ClientIdField, outgoing->clientId) : saved;
}

Eas::Result Outbox::compare(const Outgoing &outgoing, bool *isEdited) const
{
    *isEdited = false;
    if (outgoing.state == Outgoing::Ready || outgoing.print.isEmpty())
        return {};
    const Message here = currentMessage(outgoing.messageId);
    if (!here.id().isValid()) {
        const Eas::Result why = notGiven();
        return why.code == Eas::NotFound ? Eas::Result {} : why;
    }
    if (isContentDamaged(here, 1))
        return {};
    const QMailMessage message(outgoing.messageId);
    // An empty one would pass for an edited one, and go again.
    if (!message.id().isValid())
        return storeFailure(FailureText::english("cannot read a message that is to be sent"));
    // What is lost here is not an edit; what is left may have been edited before.
    *isEdited = !OutgoingPrint::isSame(outgoing.print, message, contentHere(message));
    return {};
}

bool Outbox::mayBeEdited(const Outgoing &outgoing) const
{
    bool isEdited = false;
    return !compare(outgoing, &isEdited).ok() || isEdited;
}

/** Makes an edited message another one, with new ids, whatever became of the earlier version. */
Eas::Result Outbox::renew(Outgoing *outgoing)
{
    const Outgoing earlier = *outgoing;
    *outgoing = newOutgoing(earlier.messageId, newClientId());
    outgoing->earlierIds = earlier.earlierIds + QList<QByteArray> {earlier.rfcId};
    // The database last: as long as it knows the earlier one, this is done again.
    Eas::Result result = setField(earlier.messageId, ClientIdField, outgoing->clientId);
    if (result.ok())
        result = setField(earlier.messageId, GivenUpField, QString());
    return result.ok() ? m_outgoing.replace(earlier.clientId, *outgoing) : result;
}

Eas::Result Outbox::save(const Outgoing &outgoing, Outgoing::State state)
{
    Outgoing changed = outgoing;
    changed.state = state;
    return m_outgoing.save(changed);
}

void Outbox::keepUpWithClock(Outgoing *outgoing)
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (outgoing->leftAt <= now)
        return;
    outgoing->leftAt = now;
    m_outgoing.save(*outgoing);
}

Eas::Result Outbox::putBack(const QMailMessageId &id, const QString &reason)
{
    noteReason(id, reason);
    if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), Message::Outbox,
                                                        true))
        return storeFailure(FailureText::english("cannot put a message back into the outbox"));
    return {};
}

void Outbox::noteReason(const QMailMessageId &id, const QString &reason)
{
    if (isHere(id))
        setField(id, ReasonField, reason);
}

Eas::Result Outbox::hold(const Outgoing &outgoing, const QString &reason)
{
    // The message first: one that is doubtful and not held counts as released by a person.
    noteReason(outgoing.messageId, reason);
    const Eas::Result held = setField(outgoing.messageId, GivenUpField, GivenUpMark);
    return held.ok() ? save(outgoing, Outgoing::Doubtful) : held;
}

/**
 * Whether the message server has replaced the hold by its count of failures, which it writes to a
 * copy that may be older. A person's program keeps the mark or removes it, and writes no number.
 */
bool Outbox::isHeld(const Outgoing &outgoing) const
{
    bool isCount = false;
    currentMessage(outgoing.messageId).customField(GivenUpField).toUInt(&isCount);
    return outgoing.state == Outgoing::Doubtful && isCount;
}

bool Outbox::isTakenBack(const Message &message, quint64 statusAsked)
{
    const quint64 notToGo = Message::Trash | Message::Draft | Message::Removed;
    return !message.id().isValid() || (message.status() & notToGo & ~statusAsked) != 0;
}

bool Outbox::isBackUnwanted(const Message &message, quint64 statusAsked)
{
    return message.status() & Message::Outbox && isTakenBack(message, statusAsked);
}

Eas::Result Outbox::takeBack(const QMailMessageId &id)
{
    // Why it did not go is not for when its author sends it.
    const Eas::Result cleared = setField(id, ReasonField, QString());
    return cleared.ok() ? setStatus(id, Message::Outbox, false) : cleared;
}

Eas::Result Outbox::takeOut(const QMailMessageId &id)
{
    if (isHere(id) && !QMailStore::instance()->removeMessage(id, QMailStore::NoRemovalRecord))
        return storeFailure(FailureText::english("cannot take a sent message out of the outbox"));
    return {};
}

QList<Activesync::WaitingMail> Outbox::waiting(const QSet<QMailMessageId> &except) const
{
    QMailMessageIdList ids = QMailStore::instance()->queryMessages(
        Narrowing::unsettled(m_account.id, outboxKey(m_account.id)));
    for (const Message &message : stranded()) {
        if (isInterrupted(message))
            ids.append(message.id());
    }
    QList<Activesync::WaitingMail> mails;
    for (const QMailMessageId &id : qAsConst(ids)) {
        if (except.contains(id))
            continue;
        const Message message = currentMessage(id);
        const auto mail = message.id().isValid() ? waitingMail(message) : std::nullopt;
        if (mail)
            mails.append(*mail);
    }
    return mails;
}

std::optional<Activesync::WaitingMail> Outbox::waiting(const QMailMessageId &id) const
{
    const Message message = currentMessage(id);
    const quint64 status = message.status();
    const bool isInOutbox = status & Message::Outbox && !(status & Message::Trash);
    return isInOutbox || isInterrupted(message) ? waitingMail(message) : std::nullopt;
}

std::optional<Activesync::WaitingMail> Outbox::waitingMail(const Message &message) const
{
    using Activesync::WaitingMail;
    const QMailMessageId id = message.id();
    const QString clientId = message.customField(ClientIdField);
    const std::optional<Outgoing> known = m_outgoing.find(id);
    const bool isSent = known && known->state == Outgoing::Sent;
    // The message server has not marked it yet; whether it was edited is a look at all of it.
    if (isSent && !(message.status() & Message::Outbox))
        return std::nullopt;
    // What cannot be read counts as what left: to send it again is no matter of course.
    bool isEdited = false;
    if (known)
        compare(*known, &isEdited);
    const bool hasLeft = known && known->state != Outgoing::Ready && !isEdited;
    if (hasLeft && isSent)
        return std::nullopt;
    const bool isForgotten = !known && !clientId.isEmpty() && !m_outgoing.find(clientId);
    WaitingMail mail;
    mail.message = id.toULongLong();
    readReason(message.customField(ReasonField), &mail);
    if (hasLeft && known->state == Outgoing::Doubtful)
        mail.state = WaitingMail::Doubtful;
    else if (hasLeft || isForgotten)
        mail.state = WaitingMail::Uncertain;
    else if (message.customField(GivenUpField).compare(GivenUpMark, Qt::CaseInsensitive) == 0)
        mail.state = WaitingMail::GivenUp;
    else if (!message.customField(ReasonField).isEmpty())
        mail.state = WaitingMail::Failed;
    return mail;
}

Eas::Result Outbox::release(const Activesync::WaitingMail &mail)
{
    const QMailMessageId id(mail.message);
    const quint64 status = currentMessage(id).status();
    const bool isTakenBack =
        status & Message::Trash || (status & Message::Draft && !(status & Message::Outbox));
    const auto now = waitingMail(currentMessage(id));
    if (!isHere(id) || isTakenBack || !now || now->state != mail.state)
        return {Eas::NotFound,
                FailureText::english(
                    "what became of the mail has changed meanwhile; nothing was done")};
    // A doubtful one that is not held is held again, when the message server asks for it.
    const bool isDoubtful = mail.state == Activesync::WaitingMail::Doubtful;
    Eas::Result result = setField(id, GivenUpField, isDoubtful ? GivenUpMark : QString());
    // Why it did not go is of the last attempt, not of the one that begins.
    if (result.ok() && !isDoubtful)
        result = setField(id, ReasonField, QString());
    return result.ok() ? setStatus(id, Message::Outbox, true) : result;
}

Eas::Result Outbox::makeDraft(const QMailMessageId &id)
{
    // In this order: neither draft nor in the outbox is what an interrupted sending leaves.
    const Eas::Result marked = setStatus(id, Message::Draft, true);
    return marked.ok() ? setStatus(id, Message::Outbox, false) : marked;
}

Eas::Result Outbox::settleDraft(const QMailMessageId &id)
{
    const Eas::Result marked = setField(id, GivenUpField, QString());
    const QMailFolderId drafts =
        QMailAccount(m_account.id).standardFolder(QMailFolder::DraftsFolder);
    if (!marked.ok())
        return marked;
    Message moved;
    moved.setParentFolderId(drafts);
    if (drafts.isValid()
        && !QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                           QMailMessageKey::ParentFolderId, moved))
        return storeFailure(FailureText::english("cannot move a message to the drafts"));
    // A sending that ended meanwhile without success has put it into the outbox again.
    return setStatus(id, Message::Outbox, false);
}

Eas::Result Outbox::undoDraft(const QMailMessageId &id)
{
    const Eas::Result marked = setStatus(id, Message::Outbox, true);
    return marked.ok() ? setStatus(id, Message::Draft, false) : marked;
}

QList<Outgoing> Outbox::givenUp()
{
    // Nearly always there is none: the mail store, which would look through all messages, is not
    // asked then.
    QList<Outgoing> found = m_outgoing.all();
    const auto leave = [&found](auto isOther) {
        found.erase(std::remove_if(found.begin(), found.end(), isOther), found.end());
    };
    leave([](const Outgoing &one) { return one.state == Outgoing::Ready; });
    if (found.isEmpty())
        return found;
    const QMailMessageIdList ids = QMailStore::instance()->queryMessages(
        Narrowing::unsettled(m_account.id, givenUpKey(m_account.id)));
    leave([&ids](const Outgoing &one) { return !ids.contains(one.messageId); });
    for (Outgoing &one : found)
        keepUpWithClock(&one);
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
    const QMailMessageMetaDataList messages = stranded();
    for (const Message &message : messages) {
        const QMailMessageId id = message.id();
        if (busy.contains(id))
            continue;
        const auto known = m_outgoing.find(id);
        if (known && known->state == Outgoing::Sent && !mayBeEdited(*known))
            takeOut(id);
        else if (!(message.status() & Message::Sent))
            putBack(id, interrupted(id));
    }
}

void Outbox::renewHolds()
{
    for (const Outgoing &outgoing : m_outgoing.all()) {
        if (!isHeld(outgoing) || mayBeEdited(outgoing))
            continue;
        const QString known = currentMessage(outgoing.messageId).customField(ReasonField);
        hold(outgoing, known.isEmpty() ? doubt() : known);
    }
}

QString Outbox::doubt()
{
    return FailureText::english(
        "it is not known whether the server has sent the message; look among the "
        "sent messages, and send it again only if it is not there");
}

void Outbox::forgetRemoved()
{
    const QList<Outgoing> noted = m_outgoing.all();
    if (noted.isEmpty())
        return;
    QMailMessageIdList ids;
    for (const Outgoing &outgoing : noted)
        ids.append(outgoing.messageId);
    QMailStore *store = QMailStore::instance();
    const QMailMessageIdList here = store->queryMessages(QMailMessageKey::id(ids));
    // What cannot be read is not gone, and nothing else tells that it was sent.
    if (store->lastError() != QMailStore::NoError)
        return;
    for (const Outgoing &outgoing : noted) {
        if (!here.contains(outgoing.messageId))
            m_outgoing.remove(outgoing.clientId);
    }
}

} // namespace Store
