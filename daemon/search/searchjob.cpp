// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/search/searchjob.h"

#include "daemon/search/mailboxsearch.h"

namespace Daemon {

SearchJob::SearchJob(std::unique_ptr<MailboxSearch> search, const Request &request, QObject *parent)
    : TaskJob(std::move(search), request, parent)
{
}

void SearchJob::answer(const Request &request, const Eas::Result &result)
{
    if (result.ok())
        emit searchFinished(request.id, result.code,
                            static_cast<const MailboxSearch *>(step())->found());
    else
        TaskJob::answer(request, result);
}

} // namespace Daemon
