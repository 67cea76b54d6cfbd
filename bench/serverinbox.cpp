// SPDX-License-Identifier: LGPL-2.1-or-later
#include "bench/serverinbox.h"

#include "daemon/pacing/sizes.h"
#include "eas/foldersynccommand.h"
#include "eas/synccommand.h"

#include <QEventLoop>

namespace {

void run(Eas::Command *command)
{
    QEventLoop loop;
    QObject::connect(command, &Eas::Command::finished, &loop, &QEventLoop::quit);
    command->start();
    loop.exec();
    if (!command->result().ok())
        qFatal("the server: %s", qPrintable(command->result().text));
}

Eas::Device device()
{
    Eas::Device device;
    device.id = QStringLiteral("floor");
    return device;
}

} // namespace

ServerInbox::ServerInbox(int port, const QString &user)
    : m_session({QStringLiteral("127.0.0.1"), port, Eas::ServerAddress::NoEncryption},
                {user, QStringLiteral("secret"), QString()}, device())
{
    Eas::FolderSyncCommand command(&m_session, Eas::FirstKey);
    run(&command);
    for (const Eas::FolderRecord &folder : command.changes().added) {
        if (folder.type == Eas::Inbox)
            m_folder = folder;
    }
}

QList<Eas::MailItem> ServerInbox::next()
{
    QList<Eas::MailItem> items;
    while (items.isEmpty() && !m_isAtEnd) {
        Eas::SyncRequest request;
        request.collectionId = m_folder.serverId;
        request.syncKey = m_key;
        request.windowSize = Daemon::Sizes::Writing.maximum;
        request.filter = Eas::FilterType::Everything;
        request.body.type = Eas::Html;
        Eas::SyncCommand command(&m_session, {request});
        run(&command);
        const Eas::SyncWindow &window = command.windows().constFirst();
        if (!window.unchanged)
            m_key = window.syncKey;
        m_isAtEnd = !window.initial && !window.moreAvailable;
        items = window.added;
    }
    return items;
}
