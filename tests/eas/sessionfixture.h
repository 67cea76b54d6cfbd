// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_EAS_SESSIONFIXTURE_H
#define TESTS_EAS_SESSIONFIXTURE_H

#include "eas/command.h"
#include "eas/session.h"
#include "tests/eas/scriptedserver.h"

#include <memory>

/** A scripted server and a session with it. */
class SessionFixture
{
public:
    /** With a `version` the session knows it already and does not ask for it. */
    explicit SessionFixture(const char *version = "14.1");

    /** Starts a command and waits for its end; false when it does not end. */
    static bool run(Eas::Command *command, int milliseconds = 10000);
    /**
     * Asks for the folder tree, with these answers to come after those that are due; how that
     * ended. Its code is -1 when it does not end.
     */
    Eas::Result syncFolders(const QList<QByteArray> &answers = {});
    /** The XML of request `i`, or of the last one. */
    QByteArray xml(int i = -1) const;
    /** The Cmd of each request, "OPTIONS" for that method. */
    QList<QByteArray> commands() const;

    ScriptedServer server;
    std::unique_ptr<Eas::Session> session;
};

#endif
