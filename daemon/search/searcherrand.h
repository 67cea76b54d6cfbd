// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEARCHERRAND_H
#define DAEMON_SEARCHERRAND_H

#include "daemon/work/errand.h"

namespace Daemon {

class MailboxSearch;

/** An errand whose request is also told what was found. */
class SearchErrand : public Errand
{
    Q_OBJECT

public:
    SearchErrand(std::unique_ptr<MailboxSearch> search, const Request &request, QObject *parent);

protected:
    void answer(const Request &request, const Eas::Result &result) override;
};

} // namespace Daemon

#endif
