// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sentlookup.h"

#include "daemon/eas/fetchmessagecommand.h"
#include "daemon/eas/folderchanges.h"
#include "daemon/eas/httpchannel.h"
#include "daemon/folderstep.h"
#include "daemon/foldersync.h"
#include "daemon/logging.h"
#include "daemon/store/outgoingmail.h"
#include "daemon/store/serveruid.h"
#include "daemon/treestep.h"

#include <QDateTime>
#include <qmailmessage.h>
#include <qmailstore.h>

#include <algorithm>
#include <vector>

namespace Daemon {

namespace {

/** The server's clock may be so many seconds behind. */
constexpr qint64 ClockSlack = 24 * 60 * 60;
/** So many messages are asked for at most, */
constexpr int MostCandidates = 50;
/** ... and so much of each: all of the head but for very long lists of recipients. */
constexpr int HeadSize = 51200;

/**
 * How long a server may still be at a message that it has got, milliseconds: only then does it tell
 * something that the message is not in its folder. A part of what is waited for an answer.
 */
int settlingTime()
{
    return Eas::HttpTimes::usual().answer / 8;
}

std::optional<Store::FolderState> sentFolder(const AccountContext &context)
{
    const auto folders = context.db->folders(context.id());
    for (const Store::FolderState &folder : folders) {
        if (folder.type == Eas::SentItems)
            return folder;
    }
    return std::nullopt;
}

} // namespace

SentMark SentMark::of(const Store::Outgoing &outgoing)
{
    const QMailMessage message(outgoing.messageId);
    return {Store::OutgoingMail::rfcId(message, outgoing), message.subject(), outgoing.created};
}

SentLookup::SentLookup(const AccountContext &context, const SentMark &mark, QObject *parent)
    : SyncStep(context, parent)
    , m_mark(mark)
{
}

int SentLookup::timeToSettle(const Store::Outgoing &outgoing)
{
    const qint64 passed = QDateTime::currentMSecsSinceEpoch() - outgoing.leftAt;
    // The clock may have been set back.
    return passed < 0 ? 0 : int(qMax<qint64>(0, settlingTime() - passed));
}

void SentLookup::proceed()
{
    syncFolder();
}

void SentLookup::run(SyncStep *step, std::function<void(const Eas::Result &)> then)
{
    connect(step, &SyncStep::paused, step, &SyncStep::proceed);
    connect(step, &SyncStep::finished, this, [step, then](const Eas::Result &result) {
        step->deleteLater();
        then(result);
    });
    step->proceed();
}

void SentLookup::syncFolder()
{
    const auto folder = sentFolder(m_context);
    if (!folder && m_treeIsFresh) {
        qCInfo(lcSync) << "account" << m_context.id() << "has no folder of sent messages";
        finishLater({});
        return;
    }
    if (!folder) {
        syncTree();
        return;
    }
    run(new FolderStep(m_context, folder->serverId, FolderSync::TextBound, this),
        [this, folder](const auto &result) {
            if (result.ok())
                collect(folder->folderId);
            else if (FolderSync::isTreeStale(result) && !m_treeIsFresh)
                syncTree();
            else
                emit finished(result, false);
        });
}

void SentLookup::syncTree()
{
    m_treeIsFresh = true;
    run(new TreeStep(m_context, this), [this](const auto &result) {
        if (result.ok())
            syncFolder();
        else
            emit finished(result, false);
    });
}

void SentLookup::collect(const QMailFolderId &folder)
{
    const QDateTime since = QDateTime::fromSecsSinceEpoch(m_mark.since - ClockSlack, Qt::UTC);
    const auto key = QMailMessageKey::parentFolderId(folder)
        & QMailMessageKey::receptionTimeStamp(since, QMailDataComparator::GreaterThanEqual);
    const auto found = QMailStore::instance()->messagesMetaData(
        key,
        QMailMessageKey::ServerUid | QMailMessageKey::Subject
            | QMailMessageKey::ReceptionTimeStamp);
    std::vector<QMailMessageMetaData> messages(found.cbegin(), found.cend());
    const auto rank = [this](const QMailMessageMetaData &message) {
        return std::make_pair(message.subject() != m_mark.subject,
                              -message.receivedDate().toUTC().toSecsSinceEpoch());
    };
    std::sort(messages.begin(), messages.end(),
              [rank](const auto &a, const auto &b) { return rank(a) < rank(b); });
    for (const QMailMessageMetaData &message : messages) {
        const auto uid = Store::ServerUid::split(message.serverUid());
        if (uid.isKnownThere() && m_candidates.size() < MostCandidates)
            m_candidates.append(uid.locator());
    }
    askNext();
}

void SentLookup::askNext()
{
    if (m_candidates.isEmpty()) {
        finishLater({});
        return;
    }
    m_head.close();
    m_head.setData(QByteArray());
    m_head.open(QIODevice::WriteOnly);
    auto *command =
        new Eas::FetchMessageCommand(m_context.session, m_candidates.takeFirst(), &m_head);
    Eas::BodyPreference preference;
    preference.type = Eas::Mime;
    preference.truncation = HeadSize;
    command->setBodyPreference(preference);
    start(command, [this, command] {
        m_found = command->result().ok() && isWanted(m_head.data());
        if (m_found || (!command->result().ok() && command->result().code != Eas::NotFound))
            emit finished(command->result(), false);
        else
            askNext();
    });
}

bool SentLookup::isWanted(const QByteArray &head) const
{
    const QMailMessage message = QMailMessage::fromRfc2822(head);
    return message.headerFieldText(QStringLiteral("Message-ID")).trimmed().toUtf8() == m_mark.rfcId;
}

} // namespace Daemon
