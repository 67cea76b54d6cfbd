// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/accountbook.h"
#include "accounts/window/accountwindow.h"

#include <QApplication>
#include <QMessageBox>

#include <sys/stat.h>

int main(int argc, char **argv)
{
    umask(077);
    QApplication application(argc, argv);
    const Accounts::Outcome opened = Accounts::AccountBook::open();
    if (!opened.ok()) {
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
    return application.exec();
}
