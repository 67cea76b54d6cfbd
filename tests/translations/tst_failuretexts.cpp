// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/failurewords.h"
#include "eas/httpstatus.h"
#include "eas/status.h"
#include "translations/translation.h"

#include <QFile>
#include <QTest>

/** Failures that the daemon tells in English, as a person reads them whose language is German. */
class TestFailureTexts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void sentenceIsRecognised_data();
    void sentenceIsRecognised();
    void reasonIsRecognisedWithinItsSentence();
    void reasonIsRecognisedWithinAReason();
    void textOfTheServerStaysAsItIs();
    void everyFormIsRecognisedAsItself_data();
    void everyFormIsRecognisedAsItself();
};

void TestFailureTexts::initTestCase()
{
    QCOMPARE(Translation::install(Translation::Scope::OwnTexts).language(), QLocale::German);
}

void TestFailureTexts::sentenceIsRecognised_data()
{
    QTest::addColumn<Eas::Result>("result");
    QTest::addColumn<QString>("german");
    QTest::newRow("without a number")
        << Eas::Result {Eas::Timeout, {}}
        << QStringLiteral("mail.example.org antwortet nicht rechtzeitig.");
    QTest::newRow("with a number")
        << Eas::httpStatusResult(401)
        << QStringLiteral("mail.example.org weist den Benutzernamen oder das Passwort zurück "
                          "(HTTP 401).");
    QTest::newRow("the host in the middle")
        << Eas::failure(Eas::NoConnection, Eas::Cause::NoSuchHost, {})
        << QStringLiteral("Es gibt keinen Rechner namens mail.example.org.");
    QTest::newRow("without a host") << Eas::failure(Eas::NoRoom, Eas::Cause::Here, {})
                                    << QStringLiteral("Auf diesem Gerät ist kein Platz mehr.");
}

void TestFailureTexts::sentenceIsRecognised()
{
    QFETCH(Eas::Result, result);
    QFETCH(QString, german);
    const QString words = Daemon::failureWords(result, QStringLiteral("mail.example.org"));
    QCOMPARE(Translation::ofFailure(words), german);
}

void TestFailureTexts::reasonIsRecognisedWithinItsSentence()
{
    const QString words =
        Daemon::failureWords(Eas::commonStatusResult(113), QStringLiteral("mail.example.org"));
    QCOMPARE(Translation::ofFailure(words),
             QStringLiteral("mail.example.org hat keinen Platz dafür (Status 113: das Postfach ist "
                            "voll)."));
}

void TestFailureTexts::reasonIsRecognisedWithinAReason()
{
    QCOMPARE(Translation::ofFailure(QStringLiteral(
                 "disk full: cannot mark a message of the outbox (mail store error 3)")),
             QStringLiteral("Festplatte voll: eine Nachricht im Postausgang lässt sich nicht "
                            "markieren (Fehler 3 des Mailspeichers)"));
}

void TestFailureTexts::textOfTheServerStaysAsItIs()
{
    const QString text = QStringLiteral("451 4.7.1 100 % of our %1 are asleep (really)");
    QCOMPARE(Translation::ofFailure(text), text);
    QCOMPARE(Translation::ofFailure(QStringLiteral("the answer was cut: ") + text),
             QStringLiteral("die Antwort wurde abgeschnitten: ") + text);
    QCOMPARE(Translation::ofFailure(QString()), QString());
}

/** None is taken for another one that is shorter. */
void TestFailureTexts::everyFormIsRecognisedAsItself_data()
{
    QTest::addColumn<QByteArray>("form");
    QFile file(QStringLiteral(":/orvmail/translations/failures.txt"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> forms = file.readAll().trimmed().split('\n');
    for (const QByteArray &form : forms)
        QTest::newRow(form) << form;
}

void TestFailureTexts::everyFormIsRecognisedAsItself()
{
    QFETCH(QByteArray, form);
    const auto filled = [](QString text) {
        return text.replace(QLatin1String("%1"), QLatin1String("mail-1.example"))
            .replace(QLatin1String("%2"), QLatin1String(" (17)"));
    };
    const QString english = filled(QString::fromUtf8(form));
    QCOMPARE(Translation::ofFailure(english),
             filled(QCoreApplication::translate("FailureText", form.constData())));
}

QTEST_GUILESS_MAIN(TestFailureTexts)
#include "tst_failuretexts.moc"
