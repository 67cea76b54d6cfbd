// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/accounts/discoveryservice.h"

#include <QFile>

namespace {

QSslCertificate certificate()
{
    return QSslCertificate::fromPath(qEnvironmentVariable("CERTIFICATE")).value(0);
}

QSslKey key()
{
    QFile file(qEnvironmentVariable("KEY"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("there is no key in KEY");
    return QSslKey(&file, QSsl::Ec);
}

} // namespace

DiscoveryService::DiscoveryService(quint16 port)
    : ScriptedServer(certificate(), key())
{
    close();
    if (!listen(QHostAddress::LocalHost, port))
        qFatal("cannot listen on port %d", port);
    setAnswer([this](const SeenRequest &) { return ScriptedAnswer {m_document}; });
}

void DiscoveryService::tell(const QString &server)
{
    m_document = http(200,
                      "<Autodiscover><Response><Action><Settings><Server><Type>MobileSync"
                      "</Type><Url>"
                          + server.toUtf8()
                          + "</Url></Server></Settings></Action></Response></Autodiscover>");
}
