// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_SENDINGWORLD_H
#define TESTS_DAEMON_SENDINGWORLD_H

#include "tests/daemon/daemonworld.h"

#include <qmailmessage.h>

/** A daemon's world with messages that are to be sent, mostly from "alice" to "bob". */
class SendingWorld : public DaemonWorld
{
public:
    SendingWorld();

    /** Another daemon, which waits so many seconds for an answer, and an eighth of it until what
     * the server does not show counts as not sent. Nobody listens to requests of the earlier one.
     */
    bool startAnew(int patience);

    /** A message to bob that is ready to go; not in the store yet. */
    QMailMessage draft(const QString &subject = QStringLiteral("Hello")) const;
    /** A text as the body of a message or of a part. */
    static QMailMessageBody plainText(const QString &text);
    QMailMessageId add(QMailMessage message) const;
    /** Asks the daemon to send it, and takes it out of the outbox as the message server does. */
    int send(const QMailMessageId &id);
    /** The code with which the sending ends. */
    int sendAndWait(const QMailMessageId &id);

    /** What the server has taken for sending, oldest first: "command", "mime" and more. */
    QJsonArray sent();
    /** One of those messages, as it came to the server. */
    QMailMessage sentMessage(int index = 0);
    /** Copies of a subject that the user's folder has at the server. */
    int copies(const QString &user, const QString &subject,
               const QString &folder = QStringLiteral("Inbox"));
    /** The only message in bob's inbox, as it arrived there. */
    QByteArray received();
    /** How the server behaves; see Options in tests/easserver/server.py. */
    void setOption(const char *name, const QJsonValue &value);
    /** Whether the server has done what it was last asked for by this command; since
     * EasServer::clearLog(). */
    bool hasDone(const char *command);
    /** A fault that meets the next SendMail, or "command". */
    static QJsonObject sendFault(const char *kind, QJsonObject more = QJsonObject());

    bool isInOutbox(const QMailMessageId &id) const;
    void setOutbox(const QMailMessageId &id, bool on);
    /** Why the message was not sent, as the daemon wrote it down. */
    static QString reasonOf(const QMailMessageId &id);
    /** A custom field of the message, as the mail store has it. */
    static QString fieldOf(const QMailMessageId &id, const char *name);
    /** Changes it as another process does; an empty text takes it away. */
    static void setField(const QMailMessageId &id, const char *name, const QString &value);
    /** What the daemon has noted: all that is on its way began to leave then; UTC milliseconds
     * since 1970. */
    static void setLeftAt(qint64 time);
};

#endif
