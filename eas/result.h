// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_RESULT_H
#define EAS_RESULT_H

#include "asclient/resultcode.h"

#include <QMetaType>
#include <QString>

namespace Eas {

/** A result is told in the codes of the daemon's interface. */
using namespace Activesync;

/** What failed, where the code leaves that open and a person needs to know it. */
enum class Cause { Unknown, Here, NoSuchHost, Refused, Cut, Certificate };

/**
 * What a server's answer means for the command's caller, where the code leaves that open.
 *
 * Each command derives it from its own statuses: one number means different things in different
 * commands.
 */
enum class Outcome {
    Unspecified,
    KeyLost,             ///< the server does not know the key any more, of a folder or of the tree
    TreeStale,           ///< the folder tree is to be fetched first
    TryLater,            ///< the server says that the failure will pass
    Uncertain,           ///< the server failed, before or after it has done it
    NotUnderstood,       ///< the server does not understand the request
    NotImplemented,      ///< HTTP: the server cannot do that
    Refused,             ///< HTTP: the request was not carried out
    Broken,              ///< HTTP: the server's program crashed over the request
    Unavailable,         ///< HTTP: another failure of the server itself
    Unheard,             ///< HTTP: a proxy has waited for the server in vain
    ItemGone,            ///< what the request is about is gone
    ResponseRefused,     ///< what makes the message a reply or forward
    NotSubmitted,        ///< the message was not passed on
    HeartbeatOutOfRange, ///< PingCommand::heartbeat() may say what the range is
    TooManyFolders,      ///< PingCommand::maxFolders() may say how many are allowed
    ProvisionWanted,     ///< the device must provision (again) first
    DeviceWanted,        ///< the server wants to know more of the device first
    WipeWanted           ///< the account's data is to be removed from here
};

/** Where the outcome comes from: nowhere, HTTP, a status of the command, or one that all share. */
enum class Source { Nothing, Http, Command, AllCommands };

/** How an operation ended: a code of the daemon's interface and a text for the log. */
struct Result
{
    int code = Success;
    QString text;
    /** Seconds for which the server asks to be left alone; 0 where it does not. */
    int retryAfter = 0;
    Outcome outcome = Outcome::Unspecified;
    Source source = Source::Nothing;
    /** What HTTP has said, where that is the source: "HTTP 503". */
    QString http = {};
    Cause cause = Cause::Unknown;

    bool ok() const { return code == Success; }
    /** Whether the server has answered the command, be it with a failure. */
    bool isStatus() const { return source >= Source::Command; }
};

/** A failure whose cause is known. */
inline Result failure(int code, Cause cause, const QString &text)
{
    Result result {code, text};
    result.cause = cause;
    return result;
}

} // namespace Eas

Q_DECLARE_METATYPE(Eas::Result)

#endif
