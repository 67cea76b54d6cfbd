// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/status.h"

#include <algorithm>
#include <iterator>

namespace Eas {

namespace {

struct Row
{
    int first;
    int last;
    int code;
    const char *meaning;
};

constexpr Row rows[] = {
    {101, 109, InvalidAnswer, "the server did not understand the request"},
    {110, 111, ServerFailed, "the server failed"},
    {112, 112, Forbidden, "access denied"},
    {113, 113, NoRoom, "the mailbox is full"},
    {114, 114, ServerFailed, "the mailbox is offline"},
    {115, 115, NoRoom, "the quota for sending is used up"},
    {116, 116, NotFound, "a recipient cannot be resolved"},
    {117, 117, Forbidden, "the server does not allow replies to this message"},
    {118, 118, Success, "sent before"},
    {119, 119, NotFound, "the message has no recipient"},
    {120, 120, ServerFailed, "the server could not submit the message"},
    {121, 121, ServerFailed, "the reply or forward failed"},
    {122, 122, InvalidAnswer, "the server did not understand the message"},
    {126, 131, Forbidden, "this user or device may not synchronise"},
    {132, 134, ServerFailed, "the server has lost, locked or damaged its state"},
    {135, 138, Forbidden, "the server forbids the operation"},
    {139, 139, PolicyDemanded, "the server's policy must be met wholly"},
    {140, 140, Forbidden, "the server asks to remove the account's data from here"},
    {141, 141, PolicyDemanded, "the server takes only devices that it can provision"},
    {142, 142, PolicyDemanded, "the device must provision first"},
    {143, 143, PolicyDemanded, "the server's policy has changed"},
    {144, 144, PolicyDemanded, "the policy key is wrong"},
    {145, 145, PolicyDemanded, "the server does not take devices that are managed elsewhere"},
    {150, 150, NotFound, "the item is gone"},
    {165, 165, Forbidden, "the server wants to know more of the device"},
    {166, 166, Forbidden, "the account id is invalid"},
    {167, 168, Forbidden, "sending is not allowed for this account"},
    {177, 177, Forbidden, "the user has too many devices"},
};

} // namespace

Result commonStatusResult(int status)
{
    const auto row = std::find_if(std::begin(rows), std::end(rows), [status](const Row &r) {
        return status >= r.first && status <= r.last;
    });
    return row == std::end(rows) ? statusResult(ServerFailed, status, "not one of the known ones")
                                 : statusResult(row->code, status, row->meaning);
}

Result statusResult(int code, int status, const char *meaning)
{
    return {code, QStringLiteral("status %1: %2").arg(status).arg(QLatin1String(meaning)), 0,
            status};
}

bool demandsProvision(int status)
{
    // A wish to wipe (140) is only believed where Provision repeats it: it destroys.
    return status == 140 || (status >= 142 && status <= 144);
}

} // namespace Eas
