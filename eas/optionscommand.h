// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_OPTIONSCOMMAND_H
#define EAS_OPTIONSCOMMAND_H

#include "eas/command.h"

#include <QStringList>

namespace Eas {

/**
 * Asks which versions of the protocol the server speaks, [MS-ASHTTP] 2.2.3.
 *
 * Ends with NotActiveSync where it speaks none that is spoken here. A session asks by itself; alone
 * this is the cheapest way to find out whether address, user name and password are right.
 */
class OptionsCommand : public Command
{
    Q_OBJECT

public:
    explicit OptionsCommand(Session *session);

    /** The newest version that both sides speak; valid after Success. */
    QString version() const { return m_version; }
    QStringList commands() const { return m_commands; }

    /** The newest of the versions spoken here that `offered` (separated by commas) has, or nothing.
     */
    static QString bestVersion(const QByteArray &offered);

protected:
    QByteArray name() const override { return QByteArrayLiteral("Options"); }
    QByteArray body() override { return {}; }
    AnswerParser *newParser() override { return nullptr; }
    Result evaluate() override;
    Result evaluateEmpty() override { return evaluate(); }
    bool needsSession() const override { return false; }
    bool isOptions() const override { return true; }
    void headersArrived(const HttpAnswer &answer) override;
    Result evaluateFailure(const HttpAnswer &answer) override;

private:
    QByteArray m_offered;
    QString m_version;
    QStringList m_commands;
};

} // namespace Eas

#endif
