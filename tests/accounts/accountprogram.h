// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_ACCOUNTS_ACCOUNTPROGRAM_H
#define TESTS_ACCOUNTS_ACCOUNTPROGRAM_H

#include <QByteArray>
#include <QJsonDocument>
#include <QProcess>
#include <QStringList>

/** The account program as it is built, run as a process. */
namespace AccountProgram {

const QString Program = QStringLiteral(ACCOUNT_PROGRAM);

/** The result of a run. */
struct Run
{
    int exit = -1;
    QByteArray out;
    QByteArray err;

    QJsonDocument json() const { return QJsonDocument::fromJson(out); }
    int errorLines() const { return err.count('\n'); }
    QByteArray lastLine() const { return out.trimmed().split('\n').last(); }
};

/** A run of it while this process's event loop turns. */
class Background
{
public:
    /** `store`: another mail store than the test's own. */
    explicit Background(const QStringList &arguments, const QByteArray &input = QByteArray(),
                        const QString &store = QString());

    bool isOver() const { return m_process.state() == QProcess::NotRunning; }
    void interrupt();
    /** Waits for its end. */
    Run result();

private:
    QProcess m_process;
};

/** The same, to its end. */
inline Run run(const QStringList &arguments, const QByteArray &input = QByteArray(),
               const QString &store = QString())
{
    return Background(arguments, input, store).result();
}

/** Arguments, as a person types them. */
QStringList words(const char *text);

/** It ended with 1 and one line on the standard error that has this text. */
void verifyRefused(const Run &run, const char *text);

/** The commands of the program that a text names, as they stand in it. */
QStringList commandsIn(const QByteArray &text);

/** Types a command into a shell that finds the program, and the password where that is asked for;
 * returns the exit code. */
int type(const QString &command, const QByteArray &password = QByteArray());

/** Everything that it printed in all tests. */
extern QByteArray everythingPrinted;

} // namespace AccountProgram

#endif
