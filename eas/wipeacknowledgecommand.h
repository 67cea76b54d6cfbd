// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_WIPEACKNOWLEDGECOMMAND_H
#define EAS_WIPEACKNOWLEDGECOMMAND_H

#include "eas/command.h"

namespace Eas {

/** Tells the server whether the account's data was removed from here, [MS-ASPROV] 3.1.5.1.2. */
class WipeAcknowledgeCommand : public Command
{
    Q_OBJECT

public:
    WipeAcknowledgeCommand(Session *session, bool removed);

protected:
    QByteArray name() const override { return QByteArrayLiteral("Provision"); }
    QByteArray body() override;
    AnswerParser *newParser() override;
    Result evaluate() override;
    bool needsSession() const override { return false; }

private:
    class Parser;

    const bool m_removed;
    Parser *m_parser = nullptr;
};

} // namespace Eas

#endif
