// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_FETCHMESSAGECOMMAND_H
#define EAS_FETCHMESSAGECOMMAND_H

#include "eas/bodypreference.h"
#include "eas/command.h"
#include "eas/itemlocator.h"

namespace Eas {

/**
 * Fetches a message and writes its body to a device while it arrives, [MS-ASCMD] 2.2.1.10.
 *
 * By default the body is the whole message (RFC 5322), byte for byte as the server sends it. A
 * server may send another form than was asked for: item() tells. NotFound where the message is
 * gone, NoRoom where the device takes no more.
 */
class FetchMessageCommand : public Command
{
    Q_OBJECT

public:
    /** `target`: open for writing, the caller's, and outliving the command. */
    FetchMessageCommand(Session *session, const ItemLocator &locator, QIODevice *target);

    /** Asks for another form of the body. */
    void setBodyPreference(const BodyPreference &preference) { m_preference = preference; }

    /** The message's properties, its body without the data; valid after Success, and after NotFound
     * what there was of them. */
    const MailItem &item() const { return m_item; }

protected:
    QByteArray name() const override { return QByteArrayLiteral("ItemOperations"); }
    QByteArray body() override;
    AnswerParser *newParser() override;
    Result evaluate() override;
    qint64 answerLimit() const override { return Limits::DownloadSize; }

private:
    class Parser;

    const ItemLocator m_locator;
    QIODevice *const m_target;
    BodyPreference m_preference;
    Parser *m_parser = nullptr;
    MailItem m_item;
};

} // namespace Eas

#endif
