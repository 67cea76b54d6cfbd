// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_DOWNLOAD_ATTACHMENTDOWNLOAD_H
#define DAEMON_DOWNLOAD_ATTACHMENTDOWNLOAD_H

#include "daemon/download/downloadfile.h"
#include "daemon/download/progresssocket.h"
#include "daemon/store/incoming/contentwriter.h"
#include "daemon/tasks/job.h"

#include <QBuffer>

namespace Eas {
class FetchAttachmentCommand;
class FetchMessageCommand;
struct ItemLocator;
} // namespace Eas

namespace Daemon {

/**
 * Brings one part of a message, by way of a file, and tells how far it is.
 *
 * A part that is no attachment of its own at the server comes with the whole message. Until all is
 * here, the message in the mail store stays as it was.
 */
class AttachmentDownload : public Job
{
    Q_OBJECT

public:
    /** `location`: of the part within its message, as QMF writes it ("1.2"). */
    AttachmentDownload(const AccountContext &context, const QMailMessageId &message,
                       const QString &location, QObject *parent = nullptr);

    void add(const Request &request) override;

private:
    void perform() override;
    bool mayReferToAnother() const;
    void fetchWhole();
    void ask();
    void onReceived(qint64 received, qint64 total);
    void onWritten(qint64 bytes);
    void onAnswer(const Eas::FetchAttachmentCommand &command);
    void lookUpServerId();
    void askForReference(const Eas::ItemLocator &locator);
    void onReference(const Eas::FetchMessageCommand &command);

    const QMailMessageId m_message;
    const QString m_location;
    Store::PartSource m_source;
    QString m_newReference; ///< what the server calls the part now; empty until it was asked
    std::unique_ptr<DownloadFile> m_file;
    ProgressSocket m_progress;
    QBuffer m_nothing;     ///< takes the text that comes with a new reference
    Eas::Result m_failure; ///< of the first reference
    bool m_isLengthKnown = false;
};

} // namespace Daemon

#endif
