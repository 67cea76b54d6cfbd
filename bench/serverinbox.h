// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef BENCH_SERVERINBOX_H
#define BENCH_SERVERINBOX_H

#include "eas/folderchanges.h"
#include "eas/mailitem.h"
#include "eas/session.h"
#include "eas/synckey.h"

/** A user's inbox at the test server, read from its beginning. */
class ServerInbox
{
public:
    ServerInbox(int port, const QString &user);

    const Eas::FolderRecord &folder() const { return m_folder; }
    /** The next messages, as many as the daemon gives the mail store at once at most; none at the
     * end. */
    QList<Eas::MailItem> next();

private:
    Eas::Session m_session;
    Eas::FolderRecord m_folder;
    QString m_key = Eas::FirstKey;
    bool m_isAtEnd = false;
};

#endif
