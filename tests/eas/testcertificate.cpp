// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/eas/testcertificate.h"

#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

TestCertificate TestCertificate::make(const char *commonName, const char *names, int days)
{
    const auto at = [](int day) {
        return QDateTime::currentDateTimeUtc().addDays(day).toString(
            QStringLiteral("yyyyMMddhhmmss'Z'"));
    };
    QTemporaryDir directory;
    QFile key(directory.filePath(QStringLiteral("key")));
    QFile certificate(directory.filePath(QStringLiteral("certificate")));
    QProcess process;
    process.start(QStringLiteral("openssl"),
                  {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                   QStringLiteral("rsa:2048"), QStringLiteral("-nodes"), QStringLiteral("-subj"),
                   QStringLiteral("/CN=") + QLatin1String(commonName), QStringLiteral("-addext"),
                   QStringLiteral("subjectAltName=") + QLatin1String(names),
                   QStringLiteral("-not_before"), at(qMin(days, 0) - 2),
                   QStringLiteral("-not_after"), at(days), QStringLiteral("-keyout"),
                   key.fileName(), QStringLiteral("-out"), certificate.fileName()});
    if (!process.waitForFinished() || process.exitCode() != 0 || !key.open(QFile::ReadOnly)
        || !certificate.open(QFile::ReadOnly)) {
        qWarning("openssl: %s", process.readAllStandardError().constData());
        return TestCertificate();
    }
    TestCertificate made;
    made.certificate = QSslCertificate(&certificate);
    made.key = QSslKey(&key, QSsl::Rsa);
    return made;
}
