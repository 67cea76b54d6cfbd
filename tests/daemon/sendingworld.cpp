// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/sendingworld.h"

#include <QJsonArray>
#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QSqlDatabase>
#include <QSqlQuery>

SendingWorld::SendingWorld()
{
    daemon.setPatience(24);
}

bool SendingWorld::startAnew(int patience)
{
    const bool hasEnded = endDaemon() == 0;
    listener.clear();
    daemon.setPatience(patience);
    return hasEnded && daemon.start();
}

QMailMessage SendingWorld::draft(const QString &subject) const
{
    QMailMessage message;
    message.setMessageType(QMailMessage::Email);
    message.setParentAccountId(account);
    message.setParentFolderId(QMailFolderId(QMailFolder::LocalStorageFolderId));
    message.setFrom(QMailAddress(QStringLiteral("Alice"), QStringLiteral("alice@example.test")));
    message.setTo(QMailAddress(QStringLiteral("Bob"), QStringLiteral("bob@example.test")));
    message.setSubject(subject);
    message.setDate(QMailTimeStamp::currentDateTime());
    message.setBody(QMailMessageBody::fromData(QStringLiteral("Hello.\n"),
                                               QMailMessageContentType("text/plain; charset=UTF-8"),
                                               QMailMessageBody::QuotedPrintable));
    message.setStatus(QMailMessage::Outgoing | QMailMessage::Outbox | QMailMessage::ContentAvailable
                          | QMailMessage::LocalOnly | QMailMessage::Read,
                      true);
    return message;
}

QMailMessageBody SendingWorld::plainText(const QString &text)
{
    return QMailMessageBody::fromData(text, QMailMessageContentType("text/plain; charset=UTF-8"),
                                      QMailMessageBody::QuotedPrintable);
}

QMailMessageId SendingWorld::add(QMailMessage message) const
{
    if (!QMailStore::instance()->addMessage(&message))
        qFatal("cannot add a message");
    return message.id();
}

int SendingWorld::send(const QMailMessageId &id)
{
    const int request = proxy.sendMail(account.toULongLong(), id.toULongLong(), QDBus::Block);
    if (request > 0)
        setOutbox(id, false);
    return request;
}

QJsonArray SendingWorld::sent()
{
    return server.control("sent", {{QStringLiteral("mime"), true}})
        .value(QStringLiteral("sent"))
        .toArray();
}

QMailMessage SendingWorld::sentMessage(int index)
{
    const QJsonObject entry = sent().at(index).toObject();
    return QMailMessage::fromRfc2822(
        QByteArray::fromBase64(entry.value(QStringLiteral("mime")).toString().toLatin1()));
}

int SendingWorld::copies(const QString &user, const QString &subject, const QString &folder)
{
    int found = 0;
    for (const QJsonObject &message : server.messages(user, folder))
        found += int(message.value(QStringLiteral("subject")).toString() == subject);
    return found;
}

void SendingWorld::setOption(const char *name, const QJsonValue &value)
{
    server.control("options", {{QLatin1String(name), value}});
}

bool SendingWorld::isInOutbox(const QMailMessageId &id) const
{
    return StoreFixture::hasStatus(id, QMailMessage::Outbox);
}

void SendingWorld::setOutbox(const QMailMessageId &id, bool on)
{
    QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), QMailMessage::Outbox,
                                                   on);
}

int SendingWorld::sendAndWait(const QMailMessageId &id)
{
    listener.clear(); // a new daemon counts its requests anew
    return codeOf(send(id), 60000);
}

QByteArray SendingWorld::received()
{
    const QList<QJsonObject> messages =
        server.messages(QStringLiteral("bob"), QStringLiteral("Inbox"));
    if (messages.size() != 1)
        qFatal("bob has %d messages", int(messages.size()));
    const QJsonObject request {
        {QStringLiteral("user"), QStringLiteral("bob")},
        {QStringLiteral("id"), messages.first().value(QStringLiteral("id"))}};
    return QByteArray::fromBase64(
        server.control("message", request).value(QStringLiteral("message")).toString().toLatin1());
}

bool SendingWorld::hasDone(const char *command)
{
    const QList<QJsonObject> requests = server.requests(command);
    return !requests.isEmpty() && requests.last().value(QStringLiteral("done")).toBool();
}

QJsonObject SendingWorld::sendFault(const char *kind, QJsonObject more)
{
    more.insert(QStringLiteral("kind"), QLatin1String(kind));
    if (!more.contains(QStringLiteral("command")))
        more.insert(QStringLiteral("command"), QStringLiteral("SendMail"));
    return more;
}

QString SendingWorld::reasonOf(const QMailMessageId &id)
{
    return fieldOf(id, "orvmail-send-failure");
}

QString SendingWorld::fieldOf(const QMailMessageId &id, const char *name)
{
    // Not this process's copy, which may be older.
    const auto found = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::id(id), QMailMessageKey::Id | QMailMessageKey::Custom);
    return found.isEmpty() ? QString() : found.first().customField(QLatin1String(name));
}

void SendingWorld::setField(const QMailMessageId &id, const char *name, const QString &value)
{
    const auto found = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::id(id), QMailMessageKey::Id | QMailMessageKey::Custom);
    if (found.isEmpty())
        qFatal("there is no such message");
    QMailMessageMetaData message = found.first();
    if (value.isEmpty())
        message.removeCustomField(QLatin1String(name));
    else
        message.setCustomField(QLatin1String(name), value);
    QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), QMailMessageKey::Custom,
                                                   message);
}

void SendingWorld::setLeftAt(qint64 time)
{
    const QString connection = QStringLiteral("left at");
    {
        auto base = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        base.setDatabaseName(QMail::dataPath() + QStringLiteral("asdaemon.db"));
        QSqlQuery query(base.open() ? base : QSqlDatabase());
        query.prepare(QStringLiteral("UPDATE outgoing SET left_at = ? WHERE state <> 0"));
        query.addBindValue(time);
        if (!query.exec() || query.numRowsAffected() != 1)
            qFatal("cannot change when a message left");
    }
    QSqlDatabase::removeDatabase(connection);
}
