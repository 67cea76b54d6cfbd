// SPDX-License-Identifier: LGPL-2.1-or-later
// A mail program without a face: what a person does in one, as commands. The demo drives it.
#include "tests/demo/actionrunner.h"
#include "tests/demo/storeview.h"

#include <qmailmessageserver.h>
#include <qmailstore.h>

#include <QCoreApplication>
#include <QTextStream>

namespace {

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

const char Usage[] = "usage: demo-client ACCOUNT COMMAND [ARGUMENT]\n"
                     "  synchronize            let the message server synchronise the account\n"
                     "  folders                show the folders in the mail store\n"
                     "  messages FOLDER        show the newest messages of a folder\n"
                     "  read SUBJECT           show a message as far as it is here\n";

QMailAccountId accountByName(const QString &name)
{
    return QMailStore::instance()->queryAccounts(QMailAccountKey::name(name)).value(0);
}

bool synchronize(const QMailAccountId &account)
{
    QMailRetrievalAction action;
    Demo::ActionRunner runner(QStringLiteral("  synchronise"), action);
    return runner.run([&] { action.synchronize(account, QMailRetrievalAction::defaultMinimum()); });
}

int runCommand(const QMailAccountId &account, const QString &command, const QString &argument)
{
    const Demo::StoreView view(account);
    if (command == QLatin1String("synchronize"))
        return synchronize(account) ? 0 : 1;
    if (command == QLatin1String("folders"))
        view.printFolders();
    else if (command == QLatin1String("messages"))
        view.printMessages(argument, 12);
    else if (command == QLatin1String("read"))
        view.printMessage(view.messageBySubject(argument));
    else {
        err() << Usage << Qt::flush;
        return 2;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments().mid(1);
    if (arguments.size() < 2) {
        err() << Usage << Qt::flush;
        return 2;
    }
    QMailMessageServer::registerTypes();
    const QMailAccountId account = accountByName(arguments.at(0));
    if (!account.isValid()) {
        err() << "demo-client: no account \"" << arguments.at(0) << "\"\n" << Qt::flush;
        return 1;
    }
    return runCommand(account, arguments.at(1), arguments.value(2));
}
