// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_FETCHATTACHMENTCOMMAND_H
#define EAS_FETCHATTACHMENTCOMMAND_H

#include "eas/command.h"

namespace Eas {

/**
 * Fetches an attachment and writes its content, decoded, to a device while it arrives,
 * [MS-ASCMD] 2.2.1.10.
 *
 * NotFound where it is gone, NoRoom where the device takes no more.
 */
class FetchAttachmentCommand : public Command
{
    Q_OBJECT

public:
    /** `fileReference`: Attachment::fileReference; `target`: open for writing, the caller's, and
     * outliving the command. */
    FetchAttachmentCommand(Session *session, const QString &fileReference, QIODevice *target);

signals:
    /** Bytes of the attachment that were written so far. */
    void written(qint64 bytes);

protected:
    QByteArray name() const override { return QByteArrayLiteral("ItemOperations"); }
    QByteArray body() override;
    AnswerParser *newParser() override;
    Result evaluate() override;
    void answerArrived() override;
    qint64 answerLimit() const override { return Limits::DownloadSize; }

private:
    class Parser;

    const QString m_fileReference;
    QIODevice *const m_target;
    Parser *m_parser = nullptr;
};

} // namespace Eas

#endif
