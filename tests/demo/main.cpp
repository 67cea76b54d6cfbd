// SPDX-License-Identifier: LGPL-2.1-or-later
// A mail program without a face: what a person does in one, as commands. The demo drives it.
#include "tests/demo/mailactions.h"
#include "tests/demo/storeview.h"

#include <qmailmessageserver.h>
#include <qmailstore.h>

#include <QCoreApplication>
#include <QMap>
#include <QTextStream>

#include <functional>

namespace {

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

const char Usage[] =
    "usage: demo-client ACCOUNT COMMAND [ARGUMENT...]\n"
    "  synchronize              let the message server synchronise the account\n"
    "  refresh FOLDER           bring one folder up to date\n"
    "  folders                  show the folders in the mail store\n"
    "  messages FOLDER          show the newest messages of a folder\n"
    "  read SUBJECT             show a message as far as it is here\n"
    "  state SUBJECT            tell what the mail store says of a message\n"
    "  fetch SUBJECT            fetch the whole message\n"
    "  attachment SUBJECT       fetch the first part that is not here\n"
    "  save SUBJECT FILE        save the first attachment from the mail store\n"
    "  mark SUBJECT             mark as read and as important\n"
    "  mark-all FOLDER          mark a folder's messages as read\n"
    "  delete SUBJECT           move to the trash\n"
    "  search TEXT              search at the server\n"
    "  reply SUBJECT TEXT FILE  reply with a file attached, and send it\n"
    "  await SUBJECT            wait until such a message is in the store\n"
    "  watch                    tell of arriving messages until standard input ends\n";

QMailAccountId accountByName(const QString &name)
{
    return QMailStore::instance()->queryAccounts(QMailAccountKey::name(name)).value(0);
}

int runCommand(const QMailAccountId &account, const QString &command, const QStringList &arguments)
{
    const Demo::StoreView view(account);
    Demo::MailActions mail(account);
    const QString argument = arguments.value(0);
    const auto message = [&] { return view.messageBySubject(argument); };
    const QMap<QString, std::function<bool()>> commands {
        {QStringLiteral("synchronize"), [&] { return mail.synchronize(); }},
        {QStringLiteral("refresh"), [&] { return mail.refresh(view.folderByPath(argument)); }},
        {QStringLiteral("fetch"), [&] { return mail.fetch(message()); }},
        {QStringLiteral("attachment"), [&] { return mail.fetchAttachment(message()); }},
        {QStringLiteral("save"),
         [&] { return view.saveAttachment(message(), arguments.value(1)); }},
        {QStringLiteral("mark"), [&] { return mail.mark(message()); }},
        {QStringLiteral("mark-all"), [&] { return mail.markAll(view.folderByPath(argument)); }},
        {QStringLiteral("delete"), [&] { return mail.remove(message()); }},
        {QStringLiteral("search"), [&] { return mail.search(argument); }},
        {QStringLiteral("reply"),
         [&] { return mail.reply(message(), arguments.value(1), arguments.value(2)); }},
        {QStringLiteral("await"), [&] { return mail.await(argument, 30000); }},
        {QStringLiteral("watch"), [&] { return mail.watch(); }},
        {QStringLiteral("folders"), [&] { return view.printFolders(), true; }},
        {QStringLiteral("messages"), [&] { return view.printMessages(argument, 12), true; }},
        {QStringLiteral("read"), [&] { return view.printMessage(message()), true; }},
        {QStringLiteral("state"), [&] { return view.printState(message()), true; }},
    };
    if (!commands.contains(command)) {
        err() << Usage << Qt::flush;
        return 2;
    }
    return commands.value(command)() ? 0 : 1;
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
    return runCommand(account, arguments.at(1), arguments.mid(2));
}
