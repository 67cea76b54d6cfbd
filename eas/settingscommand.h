// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_SETTINGSCOMMAND_H
#define EAS_SETTINGSCOMMAND_H

#include "eas/command.h"

namespace Eas {

/** Tells the server what this device is, [MS-ASCMD] 2.2.1.18; a session does so by itself when it
 * is asked to. */
class SettingsCommand : public Command
{
    Q_OBJECT

public:
    explicit SettingsCommand(Session *session);

protected:
    QByteArray name() const override { return QByteArrayLiteral("Settings"); }
    QByteArray body() override;
    AnswerParser *newParser() override;
    Result evaluate() override;
    bool needsSession() const override { return false; }

private:
    class Parser;

    Parser *m_parser = nullptr;
};

} // namespace Eas

#endif
