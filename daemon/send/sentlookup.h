// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_SENTLOOKUP_H
#define DAEMON_SEND_SENTLOOKUP_H

#include "daemon/store/state/outgoingtable.h"
#include "daemon/tasks/task.h"
#include "eas/itemlocator.h"

#include <QList>
#include <qmailmessage.h>
#include <QSet>

namespace Daemon {

/** What a message that may have been sent is known by. */
struct SentMark
{
    QMailMessageId id;
    QByteArray rfcId;
    QList<QByteArray> earlierIds; ///< what its earlier versions had instead
    QString subject;
    QSet<QString> recipients; ///< those that all others see
    QString text;             ///< the letters that it begins with
    QSet<QString> attachments;
    qint64 date = 0; ///< what its head says, UTC seconds since 1970
    /** The server shows it with a time between these two; UTC seconds since 1970. */
    qint64 written = 0;
    qint64 left = 0;

    static SentMark of(const Store::Outgoing &outgoing);
};

/**
 * Looks whether a message lies in the server's folder of sent ones.
 *
 * Synchronises that folder, which every server can do, and then asks for the head of each message
 * there that is young enough until one has the Message-ID, and where a mail program gave that, the
 * subject, recipients and text as well. Some servers write one of their own:
 * what has the message's subject, recipients, date, text and attachments, and came there when it
 * left, is the message, too, unless an earlier version of it may be there. What has only some of
 * these, or cannot be looked at, leaves a doubt, and so does what is not there where the account's
 * mail is kept for less time than has passed since it left.
 *
 * Fails, and says nothing, where the server cannot be asked just now.
 */
class SentLookup : public Task
{
    Q_OBJECT

public:
    SentLookup(const AccountContext &context, const SentMark &mark, QObject *parent);

    /** Milliseconds until it is clear that what is not in the server's folder will not come there.
     */
    static int timeToSettle(const Store::Outgoing &outgoing);

    enum Answer { NotThere, There, Unclear };
    /** Valid after it has finished with Success. */
    Answer answer() const { return m_answer; }

private:
    struct Candidate
    {
        Eas::ItemLocator locator;
        QMailMessageId id;
        qint64 received = 0;  ///< UTC seconds since 1970
        bool isAlike = false; ///< it has the subject
    };

    void perform() override { syncFolder(); }
    void syncFolder();
    void syncTree();
    void conclude(Answer answer);
    bool isOutOfRange() const;
    void endUnlooked(const Eas::Result &result);
    void collect(const QMailFolderId &folder);
    void askNext();
    void onHead(const Candidate &candidate, const Eas::Result &result, const QMailMessage &head);
    bool hasItsContent(const Candidate &candidate, const QMailMessage &head) const;
    Answer compare(const Candidate &candidate, const QMailMessage &head) const;

    const SentMark m_mark;
    QList<Candidate> m_candidates;
    bool m_treeIsFresh = false;
    Answer m_answer = NotThere;
};

} // namespace Daemon

#endif
