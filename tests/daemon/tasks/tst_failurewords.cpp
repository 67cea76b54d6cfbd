// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/failurewords.h"
#include "eas/httpstatus.h"
#include "eas/status.h"

#include <QTest>

/** Failures as a person reads them. */
class TestFailureWords : public QObject
{
    Q_OBJECT

private slots:
    void everyKindOfFailureHasWords_data();
    void everyKindOfFailureHasWords();
    void aSuccessHasNone();
};

void TestFailureWords::everyKindOfFailureHasWords_data()
{
    using Eas::Cause;
    QTest::addColumn<Eas::Result>("result");
    QTest::addColumn<QString>("words");
    const auto row = [](const Eas::Result &result, const char *words) {
        QTest::newRow(words) << result << QString::fromLatin1(words);
    };
    const QString secret = QStringLiteral("alice@example.org");
    const auto http = [&secret](int code, int status) {
        return Eas::httpResult(code, status, secret);
    };
    row(http(Eas::NotActiveSync, 404),
        "No ActiveSync server answers at mail.example.org (HTTP 404).");
    row(http(Eas::Forbidden, 403),
        "mail.example.org forbids it to this device or this user (HTTP 403).");
    row({Eas::NotFound, secret}, "What was asked for is not at mail.example.org any more.");
    row(http(Eas::ServerFailed, 503), "mail.example.org failed (HTTP 503).");
    row(Eas::commonStatusResult(111), "mail.example.org failed (status 111: the server failed).");
    row(Eas::failure(Eas::ServerFailed, Cause::Here, secret),
        "The mail store on this device cannot be read or written.");
    row({Eas::InvalidAnswer, secret}, "The answer of mail.example.org cannot be understood.");
    row(http(Eas::NoRoom, 413), "mail.example.org has no room for it (HTTP 413).");
    row({Eas::NoRoom, secret}, "There is no room left on this device.");
    row({Eas::Timeout, secret}, "mail.example.org does not answer in time.");
    row({Eas::NoConnection, secret}, "There is no connection to mail.example.org.");
    row(Eas::failure(Eas::NoConnection, Cause::Cut, secret),
        "mail.example.org has cut the connection.");
    row(Eas::failure(Eas::BadConfiguration, Cause::Certificate, secret),
        "The certificate of mail.example.org is not trusted, or it speaks no TLS.");
    row({Eas::PolicyDemanded, secret}, "mail.example.org demands a policy that is not met here.");
    row(Eas::wipeResult(),
        "mail.example.org has asked to remove this account's mail from this device.");
}

void TestFailureWords::everyKindOfFailureHasWords()
{
    QFETCH(Eas::Result, result);
    QFETCH(QString, words);
    QCOMPARE(Daemon::failureWords(result, QStringLiteral("mail.example.org")), words);
}

void TestFailureWords::aSuccessHasNone()
{
    QVERIFY(Daemon::failureWords({}, QStringLiteral("mail.example.org")).isEmpty());
}

QTEST_GUILESS_MAIN(TestFailureWords)
#include "tst_failurewords.moc"
