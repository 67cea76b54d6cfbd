// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/servernursery.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>

namespace {

const int StartTimeoutMs = 20000;

} // namespace

ServerNursery::ServerNursery()
    : QObject(QCoreApplication::instance())
    , m_path(QStringLiteral("%1/nursery.%2")
                 .arg(QDir::tempPath())
                 .arg(QCoreApplication::applicationPid()))
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("EASSERVER_VIOLATIONS"), violations());
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral("python3"),
                    {QStringLiteral("-B"), QStringLiteral(EASSERVER_DIRECTORY),
                     QStringLiteral("--nursery"), m_path});
    m_isReady = m_process.waitForReadyRead(StartTimeoutMs);
}

ServerNursery::~ServerNursery()
{
    m_process.closeWriteChannel();
    m_process.waitForFinished();
    QFile::remove(m_path);
}

bool ServerNursery::connect(QLocalSocket *connection, const QStringList &arguments)
{
    static QPointer<ServerNursery> nursery;
    if (!nursery)
        nursery = new ServerNursery;
    if (!nursery->m_isReady)
        return false;
    connection->connectToServer(nursery->m_path);
    if (!connection->waitForConnected(StartTimeoutMs))
        return false;
    const QJsonDocument request(QJsonArray::fromStringList(arguments));
    connection->write(request.toJson(QJsonDocument::Compact) + '\n');
    return connection->waitForBytesWritten(StartTimeoutMs) || connection->bytesToWrite() == 0;
}

QString ServerNursery::violations()
{
    return qEnvironmentVariable("EASSERVER_VIOLATIONS", QDir::tempPath());
}
