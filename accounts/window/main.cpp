// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/setup/accountbook.h"
#include "accounts/window/accountwindow.h"
#include "accounts/window/windowmanual.h"
#include "manual/helptext.h"
#include "translations/text.h"
#include "translations/translation.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>

#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void complain(const QString &text)
{
    fprintf(stderr, "orvmail-account: %s\n", qUtf8Printable(text));
}

/** Looked up before, as nothing can be when it is needed. */
QString noDisplayText;

/** Qt gives up where there is no display; a person is told so in one line. */
void handleStartMessage(QtMsgType type, const QMessageLogContext &, const QString &)
{
    if (type != QtFatalMsg)
        return;
    complain(noDisplayText);
    _exit(Accounts::Outcome::Refused);
}

/** Asked for help or the version, it answers without a display. */
bool answers(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Translation::install(Translation::Scope::AllTexts);
    noDisplayText = Text::tr("there is no display to open a window on; start it in a graphical "
                             "session, or see orvmail-account --help");
    QString text;
    for (int i = 1; i < argc; ++i) {
        const QLatin1String word(argv[i]);
        if (word == QLatin1String("--help") || word == QLatin1String("-h"))
            text = helpText(Accounts::windowManual());
        else if (word == QLatin1String("--version"))
            text = QStringLiteral("orvmail-account-window " ORVMAIL_VERSION "\n");
    }
    fputs(qUtf8Printable(text), stdout);
    return !text.isEmpty();
}

} // namespace

int main(int argc, char **argv)
{
    if (answers(argc, argv))
        return 0;
    umask(077);
    qInstallMessageHandler(handleStartMessage);
    QApplication application(argc, argv);
    qInstallMessageHandler(nullptr);
    const QLocale language = Translation::install(Translation::Scope::AllTexts);
    if (language.textDirection() == Qt::RightToLeft)
        QApplication::setLayoutDirection(Qt::RightToLeft);
    // By these names the desktop finds its file and its icon.
    QGuiApplication::setDesktopFileName(QStringLiteral("com.tarvo.orvmail"));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("com.tarvo.orvmail")));
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
            Text::tr("the plugin's settings form is missing; install orvmail completely"));
        return Accounts::Outcome::Refused;
    }
    window.show();
    const int exit = application.exec();
    Accounts::AccountBook::announce();
    return exit;
}
