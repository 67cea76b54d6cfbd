// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/search/searcherrand.h"

#include "daemon/search/mailboxsearch.h"

namespace Daemon {

SearchErrand::SearchErrand(std::unique_ptr<MailboxSearch> search, const Request &request,
                           QObject *parent)
    : Errand(std::move(search), request, parent)
{
}

void SearchErrand::answer(const Request &request, const Eas::Result &result)
{
    if (result.ok())
        emit searchFinished(request.id, result.code,
                            static_cast<const MailboxSearch *>(step())->found());
    else
        Errand::answer(request, result);
}

} // namespace Daemon
