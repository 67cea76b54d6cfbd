// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEARCH_SEARCHJOB_H
#define DAEMON_SEARCH_SEARCHJOB_H

#include "daemon/tasks/taskjob.h"

namespace Daemon {

class MailboxSearch;

/** A job whose request is also told what was found. */
class SearchJob : public TaskJob
{
    Q_OBJECT

public:
    SearchJob(std::unique_ptr<MailboxSearch> search, const Request &request, QObject *parent);

protected:
    void answer(const Request &request, const Eas::Result &result) override;
};

} // namespace Daemon

#endif
