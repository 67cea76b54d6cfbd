// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_DOWNLOAD_MESSAGEDOWNLOAD_H
#define DAEMON_DOWNLOAD_MESSAGEDOWNLOAD_H

#include "daemon/download/downloadfile.h"
#include "daemon/tasks/job.h"

#include <qmailid.h>

namespace Eas {
class FetchMessageCommand;
struct ItemLocator;
struct MailItem;
} // namespace Eas

namespace Daemon {

/**
 * Brings a whole message as the server has it, by way of a file.
 *
 * NotFound where the server has it no more. A server that has no MIME form of it gives its text,
 * whole. Until all is here, the message in the mail store stays as it was.
 */
class MessageDownload : public Job
{
    Q_OBJECT

public:
    MessageDownload(const AccountContext &context, const QMailMessageId &message,
                    QObject *parent = nullptr);

private:
    void perform() override;
    void ask(const Eas::ItemLocator &locator);
    void onAnswer(const Eas::FetchMessageCommand &command, const Eas::ItemLocator &locator);
    void replaceByText(Eas::MailItem item);

    const QMailMessageId m_message;
    std::unique_ptr<DownloadFile> m_file;
};

} // namespace Daemon

#endif
