// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_PROVISIONCOMMAND_H
#define EAS_PROVISIONCOMMAND_H

#include "eas/command.h"
#include "eas/policy.h"

namespace Eas {

class WbxmlWriter;

/**
 * Provisioning, [MS-ASPROV] 3.1.5.1: asks for the server's policy, then tells that it is met.
 *
 * That takes two of these commands; a session sends them by itself.
 */
class ProvisionCommand : public Command
{
    Q_OBJECT

public:
    /** Asks for the policy. */
    explicit ProvisionCommand(Session *session);
    /** Says that the policy which came with the temporary `key` is met, wholly. */
    ProvisionCommand(Session *session, const QString &key);

    /** The key that came; empty where the server has no policy for this device. */
    QString key() const { return m_key; }
    const Policy &policy() const { return m_policy; }
    /** The server asks to remove the account's data from here; then nothing else is valid. */
    bool wipeRequested() const { return m_wipe; }

protected:
    QByteArray name() const override { return QByteArrayLiteral("Provision"); }
    QByteArray body() override;
    AnswerParser *newParser() override;
    Result evaluate() override;
    bool needsSession() const override { return false; }

private:
    class Parser;

    QString m_sentKey;
    Parser *m_parser = nullptr;
    QString m_key;
    Policy m_policy;
    bool m_wipe = false;
};

} // namespace Eas

#endif
