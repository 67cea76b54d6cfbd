// SPDX-License-Identifier: LGPL-2.1-or-later
// A person's hand for tests/faults: faults-user ACCOUNT COMMAND [ARGUMENT...], one JSON object
// back.
#include "tests/faults/mailuser.h"

#include <qmailmessage.h>
#include <qmailmessageserver.h>
#include <qmailstore.h>

#include <QCoreApplication>
#include <QJsonDocument>
#include <QMap>
#include <QTextStream>

#include <cstdio>

namespace {

using Command = std::function<QJsonObject()>;

QMap<QString, Command> commands(const Faults::MailUser &user, const QStringList &words)
{
    const QString subject = words.value(0);
    const int seconds = words.value(words.size() - 1).toInt();
    return {
        {QStringLiteral("state"), [=] { return user.state(); }},
        {QStringLiteral("read"), [=] { return user.flag(subject, QMailMessage::Read, 0); }},
        {QStringLiteral("unread"), [=] { return user.flag(subject, 0, QMailMessage::Read); }},
        {QStringLiteral("flag"), [=] { return user.flag(subject, QMailMessage::Important, 0); }},
        {QStringLiteral("unflag"), [=] { return user.flag(subject, 0, QMailMessage::Important); }},
        {QStringLiteral("move"), [=] { return user.move(subject, words.value(1)); }},
        {QStringLiteral("delete"), [=] { return user.remove(subject); }},
        {QStringLiteral("discard"), [=] { return user.discard(subject); }},
        {QStringLiteral("compose"), [=] { return user.compose(subject, words.value(1)); }},
        {QStringLiteral("again"), [=] { return user.sendAgain(subject); }},
        {QStringLiteral("fetch"), [=] { return user.fetch(subject, seconds); }},
        {QStringLiteral("search"), [=] { return user.search(subject, seconds); }},
        {QStringLiteral("act"), [=] { return user.act(subject, seconds); }},
        {QStringLiteral("resync"), [=] { return user.resynchronize(seconds); }},
        {QStringLiteral("idle"), [=] { return user.awaitIdle(seconds); }},
        {QStringLiteral("alive"), [=] { return user.awaitNoRequest(seconds); }},
    };
}

/** Carries one command out and tells its outcome; false where there is no such command. */
bool run(const Faults::MailUser &user, const QStringList &words)
{
    const auto known = commands(user, words.mid(1));
    if (!known.contains(words.value(0)))
        return false;
    const QJsonObject answer = known.value(words.value(0))();
    std::printf("%s\n", QJsonDocument(answer).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
    return true;
}

bool serve(const Faults::MailUser &user)
{
    QTextStream input(stdin);
    for (QString line = input.readLine(); !line.isNull(); line = input.readLine()) {
        if (!run(user, line.split(QLatin1Char('\t'))))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList words = app.arguments().mid(1);
    const QMailAccountId account =
        QMailStore::instance()->queryAccounts(QMailAccountKey::name(words.value(0))).value(0);
    QMailMessageServer::registerTypes();
    const Faults::MailUser user(account);
    if (account.isValid()
        && (words.value(1) == QLatin1String("serve") ? serve(user) : run(user, words.mid(1))))
        return 0;
    std::fprintf(stderr, "faults-user: no such account or command\n");
    return 2;
}
