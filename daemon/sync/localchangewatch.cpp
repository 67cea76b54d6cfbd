// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/localchangewatch.h"

#include "daemon/bus/logging.h"
#include "daemon/store/localchanges.h"
#include "daemon/tasks/backoff.h"

#include <QRandomGenerator>

namespace Daemon {

namespace {

/** Changes come in crowds, and each look reads through the account. */
constexpr int LookDelayMs = 500;

/** Each further attempt could lock the account at the server. */
bool isFinal(int code)
{
    return code == Eas::LoginRefused;
}

QString text(const std::optional<bool> &flag)
{
    return flag ? QString::number(*flag) : QStringLiteral("-");
}

} // namespace

int &LocalChangeWatch::usualQuietTime()
{
    static int milliseconds = 6500;
    return milliseconds;
}

LocalChangeWatch::LocalChangeWatch(const AccountContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
{
    m_look.setSingleShot(true);
    m_look.setInterval(LookDelayMs);
    connect(&m_look, &QTimer::timeout, this, &LocalChangeWatch::compare);
    connect(&m_quiet, &Alarm::rang, this, &LocalChangeWatch::uploadNeeded);
    // What changed while no daemon ran.
    look();
}

void LocalChangeWatch::look()
{
    if (!m_look.isActive())
        m_look.start();
}

/** Our own writing takes changes away and adds none, so it postpones and begins nothing. */
void LocalChangeWatch::compare()
{
    const QSet<QString> now = changes();
    const bool isMore = !m_known.contains(now);
    m_known = now;
    if (now.isEmpty())
        m_quiet.stop();
    else if (isMore && !m_isMuted)
        m_quiet.start(usualQuietTime());
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
    m_isMuted = isFinal(result.code);
    m_known = changes();
    if (m_isMuted || m_known.isEmpty()) {
        m_quiet.stop();
        return;
    }
    const double share = QRandomGenerator::global()->generateDouble();
    ++m_failures;
    const int pause = Backoff::isGrave(result.code)
        ? Backoff::gravePauseMs(m_failures, share, result.retryAfter)
        : Backoff::pauseMs(m_failures, share, result.retryAfter);
    m_quiet.start(qMax(usualQuietTime(), pause));
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
            found.insert(
                QStringLiteral("move %1 %2").arg(move.id.toULongLong()).arg(move.destination));
        for (const QString &id : folder.deletions)
            found.insert(QStringLiteral("deletion %1 %2").arg(folder.collectionId, id));
    }
    qCDebug(lcSync) << "account" << m_context.id().toULongLong()
                    << "was looked through:" << found.size() << "changes are to be carried";
    return found;
}

} // namespace Daemon
