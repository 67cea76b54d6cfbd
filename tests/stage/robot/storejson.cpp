// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/stage/robot/storejson.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <qmailaccount.h>
#include <qmailstore.h>

namespace Robot {

namespace {

QString roleOf(const QMailFolder &folder)
{
    const QMap<QMailFolder::StandardFolder, QMailFolderId> standard =
        QMailAccount(folder.parentAccountId()).standardFolders();
    switch (standard.key(folder.id(), QMailFolder::StandardFolder(0))) {
    case QMailFolder::InboxFolder:
        return QStringLiteral("inbox");
    case QMailFolder::OutboxFolder:
        return QStringLiteral("outbox");
    case QMailFolder::DraftsFolder:
        return QStringLiteral("drafts");
    case QMailFolder::SentFolder:
        return QStringLiteral("sent");
    case QMailFolder::TrashFolder:
        return QStringLiteral("trash");
    case QMailFolder::JunkFolder:
        return QStringLiteral("junk");
    default:
        return QString();
    }
}

QJsonArray addressesToJson(const QList<QMailAddress> &addresses)
{
    QJsonArray list;
    for (const QMailAddress &address : addresses)
        list.append(QJsonArray {address.name(), address.address()});
    return list;
}

QString utc(const QMailTimeStamp &stamp)
{
    return stamp.toUTC().toString(Qt::ISODate);
}

QString textOf(const QMailMessagePartContainer *container)
{
    return container && container->hasBody() ? container->body().data() : QString();
}

QJsonObject partToJson(const QMailMessagePart &part)
{
    QJsonObject json {
        {QStringLiteral("location"), part.location().toString(true)},
        {QStringLiteral("type"), QString::fromLatin1(part.contentType().content()).toLower()},
        {QStringLiteral("name"), part.displayName()},
        {QStringLiteral("here"), part.contentAvailable()},
    };
    if (part.contentAvailable()) {
        const QByteArray data = part.referenceType() == QMailMessagePart::None
            ? part.body().data(QMailMessageBody::Decoded)
            : QByteArray();
        json.insert(QStringLiteral("size"), data.size());
        json.insert(QStringLiteral("sha256"),
                    QString::fromLatin1(
                        QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex()));
    }
    return json;
}

void addContent(const QMailMessage &message, QJsonObject *json)
{
    json->insert(QStringLiteral("text"), textOf(message.findPlainTextContainer()));
    json->insert(QStringLiteral("html"), textOf(message.findHtmlContainer()));
    QJsonArray attachments;
    const auto locations = message.findAttachmentLocations();
    for (const QMailMessagePart::Location &location : locations)
        attachments.append(partToJson(message.partAt(location)));
    json->insert(QStringLiteral("attachments"), attachments);
}

} // namespace

QString folderPath(const QMailFolderId &id)
{
    if (!id.isValid())
        return QString();
    const QMailFolder folder(id);
    const QString above = folderPath(folder.parentFolderId());
    return above.isEmpty() ? folder.displayName() : above + QLatin1Char('/') + folder.displayName();
}

QJsonObject folderToJson(const QMailFolderId &id)
{
    const QMailFolder folder(id);
    const QMailMessageKey inFolder = QMailMessageKey::parentFolderId(id);
    const QMailMessageKey unread =
        inFolder & ~QMailMessageKey::status(QMailMessage::Read, QMailDataComparator::Includes);
    return {
        {QStringLiteral("id"), QString::number(id.toULongLong())},
        {QStringLiteral("path"), folderPath(id)},
        {QStringLiteral("role"), roleOf(folder)},
        {QStringLiteral("synchronized"),
         bool(folder.status() & QMailFolder::SynchronizationEnabled)},
        {QStringLiteral("count"), QMailStore::instance()->countMessages(inFolder)},
        {QStringLiteral("unread"), QMailStore::instance()->countMessages(unread)},
    };
}

QJsonObject messageToJson(const QMailMessage &message, bool content)
{
    const quint64 status = message.status();
    QJsonObject json {
        {QStringLiteral("id"), QString::number(message.id().toULongLong())},
        {QStringLiteral("folder"), folderPath(message.parentFolderId())},
        {QStringLiteral("subject"), message.subject()},
        {QStringLiteral("from"), QJsonArray {message.from().name(), message.from().address()}},
        {QStringLiteral("to"), addressesToJson(message.to())},
        {QStringLiteral("cc"), addressesToJson(message.cc())},
        {QStringLiteral("date"), utc(message.date())},
        {QStringLiteral("received"), utc(message.receivedDate())},
        {QStringLiteral("read"), bool(status & QMailMessage::Read)},
        {QStringLiteral("important"), bool(status & QMailMessage::Important)},
        {QStringLiteral("complete"), bool(status & QMailMessage::ContentAvailable)},
        {QStringLiteral("hasAttachments"), bool(status & QMailMessage::HasAttachments)},
        {QStringLiteral("outbox"), bool(status & QMailMessage::Outbox)},
        {QStringLiteral("sent"), bool(status & QMailMessage::Sent)},
        {QStringLiteral("removed"), bool(status & QMailMessage::Removed)},
        {QStringLiteral("serverUid"), message.serverUid()},
        {QStringLiteral("givenUp"), message.customField(GivenUpField) == QLatin1String("true")},
        {QStringLiteral("reason"), message.customField(QStringLiteral("orvmail-send-failure"))},
    };
    if (content)
        addContent(message, &json);
    return json;
}

} // namespace Robot
