// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_SYNCCOMMAND_H
#define EAS_SYNCCOMMAND_H

#include "eas/bodypreference.h"
#include "eas/command.h"
#include "eas/filtertype.h"
#include "eas/syncwindow.h"

#include <optional>

namespace Eas {

/** A change of flags made here; what is not set stays as it is. */
struct LocalChange
{
    QString serverId;
    std::optional<bool> read;
    std::optional<FlagStatus> flag;
};

/** What is asked and told about one folder. */
struct SyncRequest
{
    FolderId collectionId;
    /** That of the folder's last window, or FirstKey to begin. */
    QString syncKey;
    /** Whether the server's changes are wanted, or only local ones are sent. */
    bool getChanges = true;
    /** Items at most, 1 to 512. */
    int windowSize = 100;
    FilterType filter = FilterType::OneMonth;
    BodyPreference body;
    QList<LocalChange> changed;
    QStringList deleted;
    /** Whether what is deleted goes to the server's trash, or for good. */
    bool deletesAsMoves = true;
};

/**
 * Brings folders up to date, both ways, [MS-ASCMD] 2.2.1.21.
 *
 * An answer to key "0" never brings items, only the key to ask again with (SyncWindow::initial).
 * The command's own result is Success as soon as the answer was understood: each window carries
 * its own.
 */
class SyncCommand : public Command
{
    Q_OBJECT

public:
    SyncCommand(Session *session, const QList<SyncRequest> &requests);

    /** One for each request, in their order, also for those that the answer does not mention
     * (SyncWindow::unchanged). */
    const QList<SyncWindow> &windows() const { return m_windows; }

protected:
    QByteArray name() const override { return QByteArrayLiteral("Sync"); }
    qint64 answerLimit() const override { return Limits::DownloadSize; }
    QByteArray body() override;
    AnswerParser *newParser() override;
    Result evaluate() override;
    Result evaluateEmpty() override;

private:
    class Parser;

    QList<SyncRequest> m_requests;
    QList<SyncWindow> m_windows;
    Parser *m_parser = nullptr;
};

} // namespace Eas

#endif
