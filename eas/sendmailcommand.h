// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_SENDMAILCOMMAND_H
#define EAS_SENDMAILCOMMAND_H

#include "eas/command.h"
#include "eas/itemlocator.h"

#include <functional>

namespace Eas {

/** A message to send. */
struct OutgoingMail
{
    enum Kind { Plain, Reply, Forward };

    /** Up to 40 characters, different for each message and the same for each attempt, by which the
     * server recognises the message (14.x). */
    QString clientId;
    /** Makes a device, open for reading, with the message (RFC 5322, with its Bcc field). */
    std::function<std::unique_ptr<QIODevice>()> open;
    /** Bytes of the message. */
    qint64 size = 0;
    Kind kind = Plain;
    /** Of a reply or forward: the message it is about, which the server adds to it ... */
    ItemLocator original;
    /** ... unless the message says all itself; before 14.0 it then goes as a plain one. */
    bool replaceMime = false;
};

/**
 * Sends a message, [MS-ASCMD] 2.2.1.17, and a reply or forward of a message that the server has,
 * 2.2.1.19 and 20.
 *
 * Status 118 is a success: the server has sent the message before. Nothing is repeated: after
 * NoConnection or Timeout the message may have been sent. A message that is as large as one that
 * the server has refused for its size is not sent at all: NoRoom.
 */
class SendMailCommand : public Command
{
    Q_OBJECT

public:
    SendMailCommand(Session *session, const OutgoingMail &mail);

    /** Session::version() when it was prepared last, 0 before: the session forgets it after some
     * answers. */
    int version() const { return m_version; }

protected:
    QByteArray name() const override;
    Result prepare() override;
    QByteArray body() override { return {}; }
    bool isStreamed() const override { return true; }
    std::unique_ptr<QIODevice> streamedBody() override;
    QByteArray contentType() const override;
    QList<QPair<QString, QString>> query() const override;
    AnswerParser *newParser() override;
    Result evaluate() override;
    Result evaluateEmpty() override { return {}; }
    Result evaluateFailure(const HttpAnswer &answer) override;
    bool isRepeatable() const override { return false; }

private:
    class Parser;

    bool isWbxml() const;
    OutgoingMail::Kind kind() const;
    Tag rootTag() const;
    Result tooLarge() const;

    const OutgoingMail m_mail;
    int m_version = 0;
    Parser *m_parser = nullptr;
    std::unique_ptr<QIODevice> m_device;
};

} // namespace Eas

#endif
