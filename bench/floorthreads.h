// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef BENCH_FLOORTHREADS_H
#define BENCH_FLOORTHREADS_H

#include <QHash>
#include <qmailmessage.h>

/** Which thread of the store each conversation is in, as the daemon puts it there. */
class FloorThreads
{
public:
    /** Prepares a message for its conversation's thread; false where there is none yet. */
    bool join(QMailMessage *message) const;
    /** The message has been added. */
    void note(const QMailMessage &message);

private:
    struct Thread
    {
        QMailThreadId id;
        QMailMessageId first;
        QMailMessageId last;
        QDateTime firstDate;
        QDateTime lastDate;
    };

    QHash<QByteArray, Thread> m_threads;
};

#endif
