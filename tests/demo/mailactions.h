// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DEMO_MAILACTIONS_H
#define TESTS_DEMO_MAILACTIONS_H

#include <qmailid.h>

#include <QString>

namespace Demo {

/**
 * What a person does in a mail program, each as that program asks it of the message server.
 *
 * Every function shows its progress and returns whether it succeeded.
 */
class MailActions
{
public:
    explicit MailActions(const QMailAccountId &account);

    bool synchronize();
    /** Pulls one folder down to refresh it. */
    bool refresh(const QMailFolderId &folder);
    /** Fetches the whole message. */
    bool fetch(const QMailMessageId &id);
    /** Fetches the first part that is still at the server. */
    bool fetchAttachment(const QMailMessageId &id);
    /** Marks as read and as important in the store, and refreshes the folder: that carries it. */
    bool mark(const QMailMessageId &id);
    /** Marks every message of a folder as read in the store, and refreshes the folder. */
    bool markAll(const QMailFolderId &folder);
    /** Moves to the trash in the store, and refreshes the folder it came from. */
    bool remove(const QMailMessageId &id);
    /** Searches at the server and lists what it found. */
    bool search(const QString &text);
    /** Replies with `text` and the file `attachment`, and sends it. */
    bool reply(const QMailMessageId &id, const QString &text, const QString &attachment);
    /** Waits until a message with that subject is in the store; tells how long it took. */
    bool await(const QString &subject, int timeoutMs);
    /** Prints the subject of each message that arrives, until standard input ends. */
    bool watch();

private:
    QMailAccountId m_account;
};

} // namespace Demo

#endif
