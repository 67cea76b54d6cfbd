// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_FOLDERSYNCCOMMAND_H
#define EAS_FOLDERSYNCCOMMAND_H

#include "eas/command.h"
#include "eas/folderchanges.h"

namespace Eas {

/** Asks what has changed in the folder tree, [MS-ASCMD] 2.2.1.5. */
class FolderSyncCommand : public Command
{
    Q_OBJECT

public:
    /** `syncKey`: that of the last FolderChanges, or FirstKey for the whole tree. */
    FolderSyncCommand(Session *session, const QString &syncKey);

    /** What has changed; valid after Success. */
    const FolderChanges &changes() const { return m_changes; }

protected:
    QByteArray name() const override { return QByteArrayLiteral("FolderSync"); }
    QByteArray body() override;
    AnswerParser *newParser() override;
    Result evaluate() override;

private:
    class Parser;

    QString m_syncKey;
    FolderChanges m_changes;
    Parser *m_parser = nullptr;
};

} // namespace Eas

#endif
