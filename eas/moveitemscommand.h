// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_MOVEITEMSCOMMAND_H
#define EAS_MOVEITEMSCOMMAND_H

#include "eas/command.h"
#include "eas/folderid.h"

namespace Eas {

/** One message that goes to another folder. */
struct MoveRequest
{
    QString serverId;
    FolderId fromCollectionId;
    FolderId toCollectionId;
};

/** What became of it. */
struct MoveOutcome
{
    enum Kind {
        Moved,
        SameFolder, ///< it is there already
        SourceGone, ///< the message, or the folder that it was in
        DestinationGone,
        Locked,
        Refused ///< or not answered
    };

    Kind kind = Refused;
    /** The message's id in its new folder, where it was moved. */
    QString newServerId;
};

/**
 * Moves messages between folders, [MS-ASCMD] 2.2.1.12.
 *
 * Not repeated where the connection breaks: the server may have done it.
 */
class MoveItemsCommand : public Command
{
    Q_OBJECT

public:
    MoveItemsCommand(Session *session, const QList<MoveRequest> &requests);

    /** One for each request, in their order; valid after Success. */
    const QList<MoveOutcome> &outcomes() const { return m_outcomes; }

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
