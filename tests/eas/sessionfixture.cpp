// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/eas/sessionfixture.h"

#include "eas/foldersynccommand.h"

#include <QSignalSpy>
#include <QTest>

using namespace Eas;

SessionFixture::SessionFixture(const char *version)
{
    const ServerAddress address {QStringLiteral("127.0.0.1"), server.serverPort(),
                                 ServerAddress::NoEncryption};
    const Credentials credentials {QStringLiteral("alice"), QStringLiteral("secret"),
                                   QStringLiteral("EXAMPLE")};
    Device device;
    device.id = QStringLiteral("device1");
    device.type = QStringLiteral("kind");
    device.userAgent = QStringLiteral("agent/1");
    session.reset(new Session(address, credentials, device));
    SessionState state;
    state.protocolVersion = QLatin1String(version);
    session->setState(state);
}

bool SessionFixture::run(Command *command, int milliseconds)
{
    QSignalSpy finished(command, &Command::finished);
    command->start();
    if (!finished.isEmpty()) {
        qWarning("a command ended within start()");
        return false;
    }
    if (!QTest::qWaitFor([&finished] { return !finished.isEmpty(); }, milliseconds))
        return false;
    QCoreApplication::processEvents();
    return finished.size() == 1 && command->isFinished();
}

Eas::Result SessionFixture::syncFolders(const QList<QByteArray> &answers)
{
    for (const QByteArray &answer : answers)
        server.enqueue(answer);
    Eas::FolderSyncCommand command(session.get(), QStringLiteral("0"));
    Eas::Result unended;
    unended.code = -1;
    return run(&command) ? command.result() : unended;
}

QByteArray SessionFixture::xml(int i) const
{
    return i < 0 ? server.requests().last().xml() : server.requests().at(i).xml();
}

QList<QByteArray> SessionFixture::commands() const
{
    QList<QByteArray> names;
    for (const SeenRequest &request : server.requests())
        names.append(request.method == "OPTIONS" ? request.method
                                                 : request.query("Cmd").toLatin1());
    return names;
}
