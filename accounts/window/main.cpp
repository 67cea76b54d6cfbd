// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/accountbook.h"
#include "accounts/window/accountwindow.h"

#include <QApplication>
#include <QMessageBox>

#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void complain(const QString &text)
{
    fprintf(stderr, "orvmail-account: %s\n", qUtf8Printable(text));
}

/** Qt gives up where there is no display; a person is told so in one line. */
void handleStartMessage(QtMsgType type, const QMessageLogContext &, const QString &)
{
    if (type != QtFatalMsg)
        return;
    complain(QStringLiteral("there is no display to open a window on; start it in a graphical "
                            "session, or see orvmail-account --help"));
    _exit(Accounts::Outcome::Refused);
}

} // namespace

int main(int argc, char **argv)
{
    umask(077);
    qInstallMessageHandler(handleStartMessage);
    QApplication application(argc, argv);
    qInstallMessageHandler(nullptr);
    const Accounts::Outcome opened = Accounts::AccountBook::open();
    if (!opened.ok()) {
        complain(opened.text);
        QMessageBox::critical(nullptr, QStringLiteral("orvmail-account"), opened.text);
        return opened.exit;
    }
    Accounts::AccountWindow window;
    if (!window.isUsable()) {
        QMessageBox::critical(
            nullptr, QStringLiteral("orvmail-account"),
            QStringLiteral("the plugin's settings form is missing; install orvmail completely"));
        return Accounts::Outcome::Refused;
    }
    window.show();
    const int exit = application.exec();
    Accounts::AccountBook::announce();
    return exit;
}
