// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SENTLOOKUP_H
#define DAEMON_SENTLOOKUP_H

#include "daemon/eas/itemlocator.h"
#include "daemon/eas/mailitem.h"
#include "daemon/syncstep.h"

#include <QBuffer>
#include <QList>

namespace Daemon {

/** What a message that may have been sent is known by. */
struct SentMark
{
    QByteArray rfcId;
    QString subject;
    qint64 since = 0; ///< it was sent after this time, UTC seconds since 1970

    static SentMark of(const Store::Outgoing &outgoing);
};

/**
 * Looks whether a message lies in the server's folder of sent ones.
 *
 * Synchronises that folder, which every server can do, and then asks for the head of each message
 * there that is young enough until one has the Message-ID.
 */
class SentLookup : public SyncStep
{
    Q_OBJECT

public:
    SentLookup(const AccountContext &context, const SentMark &mark, QObject *parent);

    void proceed() override;

    /** Milliseconds until it is clear that what is not in the server's folder will not come there.
     */
    static int timeToSettle(const Store::Outgoing &outgoing);

    /** Valid after it has finished with Success. */
    bool hasFound() const { return m_found; }

private:
    void syncFolder();
    void syncTree();
    void run(SyncStep *step, std::function<void(const Eas::Result &)> then);
    void collect(const QMailFolderId &folder);
    void askNext();
    bool isWanted(const QByteArray &head) const;

    const SentMark m_mark;
    QList<Eas::ItemLocator> m_candidates;
    QBuffer m_head;
    bool m_treeIsFresh = false;
    bool m_found = false;
};

} // namespace Daemon

#endif
