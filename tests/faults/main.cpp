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
        {QStringLiteral("compose"), [=] { return user.compose(subject, words.value(1)); }},
        {QStringLiteral("fetch"), [=] { return user.fetch(subject, seconds); }},
        {QStringLiteral("act"), [=] { return user.act(subject, seconds); }},
        {QStringLiteral("resync"), [=] { return user.resynchronize(seconds); }},
        {QStringLiteral("idle"), [=] { return user.awaitIdle(seconds); }},
        {QStringLiteral("alive"), [=] { return user.awaitNoRequest(seconds); }},
    };
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList words = app.arguments().mid(1);
    const QMailAccountId account =
        QMailStore::instance()->queryAccounts(QMailAccountKey::name(words.value(0))).value(0);
    const auto known = commands(Faults::MailUser(account), words.mid(2));
    if (!account.isValid() || !known.contains(words.value(1))) {
        std::fprintf(stderr, "faults-user: no such account or command\n");
        return 2;
    }
    QMailMessageServer::registerTypes();
    const QJsonObject answer = known.value(words.value(1))();
    std::printf("%s\n", QJsonDocument(answer).toJson(QJsonDocument::Compact).constData());
    return 0;
}
