// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/localchangewatch.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/pauses.h"
#include "daemon/store/localchanges.h"

namespace Daemon {

namespace {

QString text(const std::optional<bool> &flag)
{
    return flag ? QString::number(*flag) : QStringLiteral("-");
}

} // namespace

int &LocalChangeWatch::usualQuietTime()
{
    static int milliseconds = Pauses::BeforeUpload;
    return milliseconds;
}

LocalChangeWatch::LocalChangeWatch(const AccountContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
{
    m_look.setSingleShot(true);
    m_look.setInterval(Pauses::BeforeLook);
    connect(&m_look, &QTimer::timeout, this, &LocalChangeWatch::compare);
    connect(&m_quiet, &Alarm::rang, this, &LocalChangeWatch::uploadNeeded);
    // Finds what changed while no daemon ran.
    look();
}

void LocalChangeWatch::look()
{
    if (!m_look.isActive())
        m_look.start();
}

/** Starts the wait where there are more changes than before; our own writing only removes some. */
void LocalChangeWatch::compare()
{
    const QSet<QString> now = changes();
    const bool isMore = !m_known.contains(now);
    m_known = now;
    if (now.isEmpty())
        m_quiet.stop();
    else if (isMore && !m_isMuted)
        m_quiet.start(usualQuietTime());
    emit looked(now.size());
    if (m_quiet.isActive())
        qCDebug(lcSync) << "they go up after" << m_quiet.interval() << "ms without another change";
}

void LocalChangeWatch::noteUpload()
{
    if (!m_known.isEmpty())
        m_known.intersect(changes());
}

void LocalChangeWatch::noteEnd(const Eas::Result &result)
{
    if (result.ok()) {
        m_failures = 0;
        m_isMuted = false;
        return;
    }
    m_isMuted = Backoff::isFinal(result.code);
    m_known = changes();
    if (m_isMuted || m_known.isEmpty()) {
        m_quiet.stop();
        return;
    }
    const Backoff &pauses =
        Backoff::isGrave(result.code) ? Pauses::AfterGraveFailure : Pauses::AfterFailure;
    m_quiet.start(qMax(usualQuietTime(), pauses.pauseMs(++m_failures, result.retryAfter)));
}

void LocalChangeWatch::forget()
{
    m_known.clear();
    look();
}

void LocalChangeWatch::networkChanged()
{
    if (m_failures == 0 || m_known.isEmpty() || m_isMuted)
        return;
    m_failures = 0;
    m_quiet.start(usualQuietTime());
}

/** Each change as a text that tells it from all others. */
QSet<QString> LocalChangeWatch::changes() const
{
    QSet<QString> found;
    const auto folders = Store::LocalChanges(*m_context.db, m_context.id()).collect();
    for (const Store::FolderLocalChanges &folder : folders) {
        for (const Store::FlagChange &change : folder.flags)
            found.insert(QStringLiteral("flags %1 %2 %3")
                             .arg(change.id.toULongLong())
                             .arg(text(change.read), text(change.important)));
        for (const Store::Move &move : folder.moves)
            found.insert(QStringLiteral("move %1 %2")
                             .arg(move.id.toULongLong())
                             .arg(move.destination.text()));
        for (const Store::ServerUid &uid : folder.deletions + folder.erasures)
            found.insert(
                QStringLiteral("deletion %1 %2").arg(folder.collectionId.text(), uid.itemId()));
    }
    qCDebug(lcSync) << "account" << m_context.id().toULongLong()
                    << "was looked through:" << found.size() << "changes are to be carried";
    return found;
}

} // namespace Daemon
