// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/status.h"

#include "translations/text.h"

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
    Outcome outcome = Outcome::Unspecified;
};

constexpr int WipeWanted = 140;

constexpr Row Rows[] = {
    {101, 106, InvalidAnswer, FailureText::mark("the server did not understand the request"),
     Outcome::NotUnderstood},
    {107, 109, InvalidAnswer, FailureText::mark("the server did not understand the request")},
    {110, 111, ServerFailed, FailureText::mark("the server failed"), Outcome::Uncertain},
    {112, 112, Forbidden, FailureText::mark("access denied")},
    {113, 113, NoRoom, FailureText::mark("the mailbox is full")},
    {114, 114, ServerFailed, FailureText::mark("the mailbox is offline")},
    {115, 115, NoRoom, FailureText::mark("the quota for sending is used up")},
    {116, 116, NotFound, FailureText::mark("a recipient cannot be resolved")},
    {117, 117, Forbidden, FailureText::mark("the server does not allow replies to this message"),
     Outcome::ResponseRefused},
    {118, 118, Success, FailureText::mark("sent before")},
    {119, 119, NotFound, FailureText::mark("the message has no recipient")},
    {120, 120, ServerFailed, FailureText::mark("the server could not submit the message"),
     Outcome::NotSubmitted},
    {121, 121, ServerFailed, FailureText::mark("the reply or forward failed"),
     Outcome::ResponseRefused},
    {122, 122, InvalidAnswer, FailureText::mark("the server did not understand the message")},
    {126, 131, Forbidden, FailureText::mark("this user or device may not synchronise")},
    {132, 132, ServerFailed, FailureText::mark("the server has lost its state"), Outcome::KeyLost},
    {133, 133, ServerFailed, FailureText::mark("the server has locked its state"),
     Outcome::TryLater},
    {134, 134, ServerFailed, FailureText::mark("the server's state is damaged"), Outcome::KeyLost},
    {135, 138, Forbidden, FailureText::mark("the server forbids the operation")},
    {139, 139, PolicyDemanded, FailureText::mark("the server's policy must be met wholly")},
    {WipeWanted, WipeWanted, Forbidden,
     FailureText::mark("the server asks to remove the account's data from here"),
     Outcome::WipeWanted},
    {141, 141, PolicyDemanded,
     FailureText::mark("the server takes only devices that it can provision")},
    {142, 142, PolicyDemanded, FailureText::mark("the device must provision first"),
     Outcome::ProvisionWanted},
    {143, 143, PolicyDemanded, FailureText::mark("the server's policy has changed"),
     Outcome::ProvisionWanted},
    {144, 144, PolicyDemanded, FailureText::mark("the policy key is wrong"),
     Outcome::ProvisionWanted},
    {145, 145, PolicyDemanded,
     FailureText::mark("the server does not take devices that are managed elsewhere")},
    {150, 150, NotFound, FailureText::mark("the item is gone"), Outcome::ItemGone},
    {165, 165, Forbidden, FailureText::mark("the server wants to know more of the device"),
     Outcome::DeviceWanted},
    {166, 166, Forbidden, FailureText::mark("the account id is invalid")},
    {167, 168, Forbidden, FailureText::mark("sending is not allowed for this account")},
    {177, 177, Forbidden, FailureText::mark("the user has too many devices")},
};

} // namespace

Result commonStatusResult(int status)
{
    const auto row = std::find_if(std::begin(Rows), std::end(Rows), [status](const Row &r) {
        return status >= r.first && status <= r.last;
    });
    return row == std::end(Rows)
        ? statusResult(ServerFailed, status, FailureText::mark("not one of the known ones"),
                       borrowedOutcome(status))
        : statusResult(row->code, status, row->meaning, row->outcome);
}

Result statusResult(int code, int status, const char *meaning, Outcome outcome)
{
    const Source source = status > 100 ? Source::AllCommands
        : status > 0                   ? Source::Command
                                       : Source::Nothing;
    return {code, FailureText::english("status %1: %2").arg(status).arg(QLatin1String(meaning)), 0,
            outcome, source};
}

Outcome borrowedOutcome(int status)
{
    switch (status) {
    case 5:
    case 6:
    case 13:
    case 16:
        return Outcome::TryLater;
    case 8:
    case 12:
        return Outcome::TreeStale;
    default:
        return Outcome::Unspecified;
    }
}

Result wipeResult()
{
    return commonStatusResult(WipeWanted);
}

} // namespace Eas
