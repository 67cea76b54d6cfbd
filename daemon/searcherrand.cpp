// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/searcherrand.h"

#include "daemon/mailboxsearch.h"

namespace Daemon {

SearchErrand::SearchErrand(std::unique_ptr<MailboxSearch> search, const Request &request,
                           QObject *parent)
    : Errand(std::move(search), request, parent)
{
}

void SearchErrand::answer(const Request &request, int code)
{
    if (code == Eas::Success)
        emit searchFinished(request.id, code, static_cast<const MailboxSearch *>(step())->found());
    else
        Errand::answer(request, code);
}

} // namespace Daemon
