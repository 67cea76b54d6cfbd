// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_MOVEITEMSCOMMAND_H
#define EAS_MOVEITEMSCOMMAND_H

#include "eas/command.h"

namespace Eas {

/** One message that goes to another folder. */
struct MoveRequest
{
    QString serverId;
    QString fromCollectionId;
    QString toCollectionId;
};

/** What became of it. */
struct MoveOutcome
{
    /** [MS-ASCMD] 2.2.3.177.10; 0 where the server did not say. */
    int status = 0;
    /** The message's id in its new folder, after status 3. */
    QString newServerId;
};

/**
 * Moves messages between folders, [MS-ASCMD] 2.2.1.12.
 *
 * Not repeated where the connection breaks: mayHaveArrived() tells whether the server may have done
 * it.
 */
class MoveItemsCommand : public Command
{
    Q_OBJECT

public:
    MoveItemsCommand(Session *session, const QList<MoveRequest> &requests);

    /** One for each request, in their order; valid after Success. */
    const QList<MoveOutcome> &outcomes() const { return m_outcomes; }

    /** What an outcome's status means: Success for 3, NotFound where the message or the folder is
     * gone. */
    static Result statusResult(int status);

protected:
    QByteArray name() const override { return QByteArrayLiteral("MoveItems"); }
    QByteArray body() override;
    AnswerParser *newParser() override;
    Result evaluate() override;
    bool isRepeatable() const override { return false; }

private:
    class Parser;

    const QList<MoveRequest> m_requests;
    Parser *m_parser = nullptr;
    QList<MoveOutcome> m_outcomes;
};

} // namespace Eas

#endif
