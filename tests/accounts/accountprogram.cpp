// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/accounts/accountprogram.h"

#include "tests/accounts/terminal.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#include <csignal>

namespace AccountProgram {

QByteArray everythingPrinted;

Background::Background(const QStringList &arguments, const QByteArray &input, const QString &store)
{
    if (!store.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QMF_DATA"), store);
        m_process.setProcessEnvironment(environment);
    }
    m_process.start(Program, arguments);
    m_process.write(input);
    m_process.closeWriteChannel();
}

void Background::interrupt()
{
    ::kill(pid_t(m_process.processId()), SIGINT);
}

Run Background::result()
{
    Run run;
    if (!QTest::qWaitFor([this] { return isOver(); }, 90000))
        return run;
    run.exit = m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    run.out = m_process.readAllStandardOutput();
    run.err = m_process.readAllStandardError();
    everythingPrinted += run.out + run.err;
    return run;
}

QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

void verifyRefused(const Run &run, const char *text)
{
    QCOMPARE(run.exit, 1);
    QVERIFY2(run.errorLines() == 1 && run.err.contains(text), run.err.constData());
}

QStringList commandsIn(const QByteArray &text)
{
    static const QRegularExpression command(QStringLiteral("\"(orvmail-account [^\"]+)\""));
    QStringList found;
    QRegularExpressionMatchIterator matches = command.globalMatch(QString::fromUtf8(text));
    while (matches.hasNext())
        found.append(matches.next().captured(1));
    return found;
}

int type(const QString &command, const QByteArray &password)
{
    Terminal terminal(
        QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"),
         QStringLiteral("PATH='%1':$PATH; %2").arg(QFileInfo(Program).path(), command)});
    if (!password.isNull() && terminal.waitFor("Password: "))
        terminal.type(password);
    const int exit = terminal.finish();
    everythingPrinted += terminal.screen();
    return exit;
}

} // namespace AccountProgram
