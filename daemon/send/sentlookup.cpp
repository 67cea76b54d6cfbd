// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/sentlookup.h"

#include "daemon/log/logging.h"
#include "daemon/send/headfetch.h"
#include "daemon/store/outgoing/outgoingmail.h"
#include "daemon/store/outgoing/texttraces.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/state/folderkeys.h"
#include "daemon/store/storefailure.h"
#include "daemon/sync/folderstep.h"
#include "daemon/sync/foldersync.h"
#include "daemon/sync/treestep.h"
#include "eas/httpchannel.h"

#include <QDateTime>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QRegularExpression>

#include <algorithm>
#include <vector>

namespace Daemon {

namespace {

/** The server's clock may be so many seconds behind: messages that are older are not looked at. */
constexpr qint64 ClockSlack = 24 * 60 * 60;
/** So many messages are asked for at most. */
constexpr int MaximumCandidates = 50;
/**
 * What came to the folder earlier than so many seconds before the message was written, or so many
 * after it left, may be another one. Clocks differ, and large messages take their time.
 */
constexpr qint64 EarliestArrival = 10 * 60;
constexpr qint64 LatestArrival = 60 * 60;

/**
 * How many milliseconds a server may take to put a message that it has got into its folder: before,
 * its absence there says nothing. A part of the time that an answer is waited for.
 */
int settlingTime()
{
    return Eas::HttpTimes::usual().answer / 8;
}

void collectAddresses(const QMailAddress &address, QSet<QString> *places)
{
    const QList<QMailAddress> members =
        address.isGroup() ? address.groupMembers() : QList<QMailAddress>();
    for (const QMailAddress &member : members)
        collectAddresses(member, places);
    if (!address.isGroup())
        places->insert(address.address().toLower());
}

QSet<QString> visibleRecipients(const QMailMessage &message)
{
    QSet<QString> places;
    for (const QMailAddress &address : message.to() + message.cc())
        collectAddresses(address, &places);
    return places;
}

bool isSameSubject(const QString &one, const QString &other)
{
    return one.simplified().compare(other.simplified(), Qt::CaseInsensitive) == 0;
}

/** Whether this program has given the id, and no mail program. */
bool isGivenHere(const QByteArray &id)
{
    static const QRegularExpression form(QStringLiteral("^<[0-9a-f]{32}@"));
    return form.match(QString::fromLatin1(id)).hasMatch();
}

/** Whether the id is of the form that this program gives: then it is that of another message. */
bool isOwnId(const QByteArray &id, const QByteArray &own)
{
    return isGivenHere(id) && id.mid(33) == own.mid(33);
}

/** The date of the head, UTC seconds since 1970. */
std::optional<qint64> dateOf(const QMailMessage &head)
{
    const QDateTime date = QMailTimeStamp(head.headerFieldText(QStringLiteral("Date"))).toUTC();
    return date.isValid() ? std::make_optional(date.toSecsSinceEpoch()) : std::nullopt;
}

bool isServersTrouble(Eas::Outcome outcome)
{
    return outcome == Eas::Outcome::Broken || outcome == Eas::Outcome::Unavailable
        || outcome == Eas::Outcome::NotImplemented;
}

/** Whether the server cannot be asked now, and perhaps can later. */
bool isPassing(const Eas::Result &result)
{
    switch (result.code) {
    case Eas::NotFound:
    case Eas::InvalidAnswer:
        return false;
    case Eas::ServerFailed:
        return result.retryAfter > 0 || isServersTrouble(result.outcome)
            || Retry().nextDelay(result);
    default:
        return true;
    }
}

} // namespace

SentMark SentMark::of(const Store::Outgoing &outgoing)
{
    const QMailMessage message(outgoing.messageId);
    SentMark mark;
    mark.id = outgoing.messageId;
    // The one that was noted: the mail program may have written another one since.
    mark.rfcId =
        outgoing.print.isEmpty() ? Store::OutgoingMail::rfcId(message, outgoing) : outgoing.rfcId;
    mark.earlierIds = outgoing.earlierIds;
    mark.subject = message.subject();
    mark.recipients = visibleRecipients(message);
    mark.text = Store::TextTraces::beginning(message);
    mark.attachments = Store::TextTraces::attachmentNames(message);
    mark.date = Store::OutgoingMail::date(message, outgoing);
    mark.left = outgoing.leftAt / 1000;
    const qint64 date = message.date().toUTC().toSecsSinceEpoch();
    // Some servers show the time of the header, which may be long before.
    mark.written = qMin(message.date().isValid() ? date : outgoing.created, outgoing.created);
    return mark;
}

SentLookup::SentLookup(const AccountContext &context, const SentMark &mark, QObject *parent)
    : Task(context, parent)
    , m_mark(mark)
{
}

int SentLookup::timeToSettle(const Store::Outgoing &outgoing)
{
    const qint64 passed = QDateTime::currentMSecsSinceEpoch() - outgoing.leftAt;
    return int(settlingTime() - qBound<qint64>(0, passed, settlingTime()));
}

void SentLookup::syncFolder()
{
    const auto folder = m_context.folders().find(Eas::SentItems);
    if (!folder && m_treeIsFresh) {
        qCInfo(lcSync) << "account" << m_context.id() << "has no folder of sent messages";
        conclude(Unclear);
        return;
    }
    if (!folder) {
        syncTree();
        return;
    }
    run(new FolderStep(m_context, folder->serverId, FolderSync::TextBound, this),
        [this, folder](const Eas::Result &result) {
            if (result.ok())
                collect(folder->folderId);
            else if (result.outcome == Eas::Outcome::TreeStale && !m_treeIsFresh)
                syncTree();
            else
                endUnlooked(result);
        });
}

void SentLookup::syncTree()
{
    m_treeIsFresh = true;
    run(new TreeStep(m_context, this), [this](const Eas::Result &result) {
        if (result.ok())
            syncFolder();
        else
            endUnlooked(result);
    });
}

void SentLookup::conclude(Answer answer)
{
    // What the server does not show any more cannot be missed.
    m_answer = answer == NotThere && isOutOfRange() ? Unclear : answer;
    end({});
}

/** Whether the copy may be too old for what is asked for, by its arrival or by its head's time. */
bool SentLookup::isOutOfRange() const
{
    const int days = FolderSync::daysShown(m_context.record);
    const qint64 begin = QDateTime::currentSecsSinceEpoch() - qint64(days) * 24 * 60 * 60;
    return days > 0 && m_mark.written < begin + EarliestArrival;
}

/** Fails where another attempt may help; else nobody can tell whether the message was sent. */
void SentLookup::endUnlooked(const Eas::Result &result)
{
    if (result.cause == Eas::Cause::Here || isPassing(result)) {
        end(result);
        return;
    }
    qCWarning(lcSync) << "account" << m_context.id()
                      << "does not show what was sent:" << result.text;
    conclude(Unclear);
}

void SentLookup::collect(const QMailFolderId &folder)
{
    const QDateTime since = QDateTime::fromSecsSinceEpoch(m_mark.written - ClockSlack, Qt::UTC);
    const auto key = QMailMessageKey::parentFolderId(folder)
        & QMailMessageKey::receptionTimeStamp(since, QMailDataComparator::GreaterThanEqual);
    const auto found = QMailStore::instance()->messagesMetaData(
        key,
        QMailMessageKey::Id | QMailMessageKey::ServerUid | QMailMessageKey::Subject
            | QMailMessageKey::ReceptionTimeStamp);
    if (QMailStore::instance()->lastError() != QMailStore::NoError) {
        end(Store::storeFailure(QStringLiteral("cannot look through the sent messages")));
        return;
    }
    for (const QMailMessageMetaData &message : found) {
        const Store::ServerUid uid(message);
        if (uid.isKnownThere())
            m_candidates.append({uid.locator(), message.id(),
                                 message.receivedDate().toUTC().toSecsSinceEpoch(),
                                 isSameSubject(message.subject(), m_mark.subject)});
    }
    std::sort(m_candidates.begin(), m_candidates.end(), [](const auto &a, const auto &b) {
        return std::make_pair(!a.isAlike, -a.received) < std::make_pair(!b.isAlike, -b.received);
    });
    if (m_candidates.size() > MaximumCandidates && m_candidates.at(MaximumCandidates).isAlike)
        m_answer = Unclear;
    m_candidates = m_candidates.mid(0, MaximumCandidates);
    askNext();
}

void SentLookup::askNext()
{
    if (m_candidates.isEmpty()) {
        conclude(m_answer);
        return;
    }
    const Candidate candidate = m_candidates.takeFirst();
    auto *fetch = new HeadFetch(m_context, candidate.locator, this);
    run(fetch, [this, fetch, candidate](const Eas::Result &result) {
        onHead(candidate, result, fetch->message());
    });
}

void SentLookup::onHead(const Candidate &candidate, const Eas::Result &result,
                        const QMailMessage &head)
{
    if (!result.ok() && result.code != Eas::NotFound) {
        const bool isDoubt = candidate.isAlike || m_answer == Unclear;
        if (isPassing(result) || isDoubt)
            endUnlooked(result);
        else
            conclude(NotThere); // all others have another subject as well
        return;
    }
    const Answer answer = result.ok() ? compare(candidate, head)
        : candidate.isAlike           ? Unclear // listed, and not to be had
                                      : NotThere;
    if (answer == There) {
        conclude(There);
        return;
    }
    if (answer == Unclear)
        m_answer = Unclear;
    askNext();
}

/** A mail program that makes a message of another one may leave it that one's Message-ID. */
bool SentLookup::hasItsContent(const Candidate &candidate, const QMailMessage &head) const
{
    return candidate.isAlike && visibleRecipients(head) == m_mark.recipients
        && Store::TextTraces::contains(head, m_mark.text);
}

SentLookup::Answer SentLookup::compare(const Candidate &candidate, const QMailMessage &head) const
{
    const QByteArray id = head.headerFieldText(QStringLiteral("Message-ID")).trimmed().toUtf8();
    // A message that was in the mail store before this one leaves a doubt at most.
    const bool isLater = candidate.id.toULongLong() > m_mark.id.toULongLong();
    if (id == m_mark.rfcId)
        return isLater && (isGivenHere(id) || hasItsContent(candidate, head)) ? There : Unclear;
    if (!candidate.isAlike || isOwnId(id, m_mark.rfcId) || m_mark.earlierIds.contains(id))
        return NotThere;
    if (id.isEmpty())
        return Unclear;
    const QSet<QString> recipients = visibleRecipients(head);
    if (!m_mark.recipients.isEmpty() && !recipients.intersects(m_mark.recipients))
        return NotThere;
    const bool isSame = m_mark.earlierIds.isEmpty() && isLater && hasItsContent(candidate, head)
        && dateOf(head) == m_mark.date && candidate.received >= m_mark.written - EarliestArrival
        && candidate.received < m_mark.left + LatestArrival
        && Store::TextTraces::attachmentNames(QMailMessage(candidate.id))
               .contains(m_mark.attachments);
    return isSame ? There : Unclear;
}

} // namespace Daemon
