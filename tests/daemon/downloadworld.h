// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_DOWNLOADWORLD_H
#define TESTS_DAEMON_DOWNLOADWORLD_H

#include "tests/daemon/daemonworld.h"

#include <qmailmessage.h>

/** A part of a message that a test puts together, and what its content must be at the end. */
struct SourcePart
{
    QByteArray headers; ///< without the transfer encoding
    QByteArray content;
    bool isQuoted = false; ///< quoted-printable instead of base64
};

/** A daemon's world with messages whose content is known byte for byte. */
class DownloadWorld : public DaemonWorld
{
public:
    /** A multipart/mixed message, with CR LF line ends. */
    static QByteArray mixed(const QString &subject, const QList<SourcePart> &parts);
    /** An attachment of so many bytes that do not repeat. */
    static SourcePart attachment(const QByteArray &name, int size);
    static SourcePart text(const QByteArray &content);

    /** Delivers it into the inbox, synchronises, and returns its id here. */
    QMailMessageId bring(const QByteArray &message, const QString &subject);

    int downloadMessage(const QMailMessageId &message);
    int downloadPart(const QMailMessageId &message, const QString &location);

    /** The decoded content of a part, as the mail store's own interface gives it. */
    static QByteArray content(const QMailMessageId &message, const QString &location);
    static bool isHere(const QMailMessageId &message, const QString &location);
    /** Decoded contents of all parts that have no parts, in order. */
    static QList<QByteArray> contents(const QMailMessageId &message);

    /**
     * Moves the message into the trash; the server's answer to that is lost, and the folders do not
     * answer since: what the server calls the message is not known here.
     */
    bool moveAndLoseTheAnswer(const QMailMessageId &message);

    /** Kibibytes that the daemon's process has held at most since the last call. */
    qint64 peakMemory() const;
};

#endif
