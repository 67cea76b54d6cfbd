// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_CURRENTMESSAGES_H
#define DAEMON_STORE_CURRENTMESSAGES_H

#include <qmailmessage.h>
#include <qmailmessagekey.h>

namespace Store {

/**
 * The messages as the store's database has them now.
 *
 * What QMailMessageMetaData(id) gives may be older: the store keeps what it has read, and hears of
 * another process's changes only later, by the bus. Whoever writes back what it got there undoes
 * what the user has done meanwhile.
 */
QMailMessageMetaDataList currentMessages(const QMailMessageKey &key);

/** The one message; an invalid one where there is none. */
QMailMessageMetaData currentMessage(const QMailMessageId &id);

/** Whether the store has the message. */
bool isHere(const QMailMessageId &id);

/**
 * Waits for another process that is writing into the store: nobody sees what it does until it has
 * done. One that begins right now is still not seen by a look that follows, as the store cannot
 * look and write in one.
 */
void awaitWriters();

/** Undoes a move that the server does not know of; false when the store fails. */
bool putBack(const QMailMessageMetaData &message);
/** The same of one that may not tell where it comes from. */
bool putBack(const QMailMessageMetaData &message, const QMailFolderId &home);

} // namespace Store

#endif
