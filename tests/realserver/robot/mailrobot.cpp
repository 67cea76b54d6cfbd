// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/realserver/robot/mailrobot.h"

#include "asclient/asdbusinterface.h"
#include "tests/realserver/robot/storejson.h"

#include <qmailstore.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QMap>
#include <QTimer>

namespace Robot {

namespace {

constexpr int ActionTimeoutMs = 120000;

QJsonObject success(const QString &name = QString(), const QJsonValue &value = QJsonValue())
{
    QJsonObject answer {{QStringLiteral("ok"), true}};
    if (!name.isEmpty())
        answer.insert(name, value);
    return answer;
}

QJsonObject failure(const QString &text)
{
    return {{QStringLiteral("ok"), false}, {QStringLiteral("text"), text}};
}

QMailMessageIdList idsOf(const QJsonObject &command)
{
    QMailMessageIdList ids;
    const QJsonArray list = command.value(QLatin1String("ids")).toArray();
    for (const QJsonValue &value : list)
        ids.append(QMailMessageId(value.toString().toULongLong()));
    return ids;
}

quint64 flagsOf(const QJsonValue &names)
{
    quint64 flags = 0;
    const QJsonArray list = names.toArray();
    for (const QJsonValue &name : list)
        flags |=
            name.toString() == QLatin1String("read") ? QMailMessage::Read : QMailMessage::Important;
    return flags;
}

QList<QMailAddress> addressesOf(const QJsonValue &texts)
{
    QList<QMailAddress> addresses;
    const QJsonArray list = texts.toArray();
    for (const QJsonValue &text : list)
        addresses.append(QMailAddress(text.toString()));
    return addresses;
}

QMailMessagePart textPart(const QString &text)
{
    QMailMessagePart part;
    part.setBody(QMailMessageBody::fromData(text,
                                            QMailMessageContentType("text/plain; charset=utf-8"),
                                            QMailMessageBody::QuotedPrintable));
    return part;
}

/** The original by its name alone, or as much of it as is here. */
QMailMessagePart originalPart(const QMailMessageId &id, bool named)
{
    const QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    const QMailMessageContentType type("message/rfc822");
    if (named)
        return QMailMessagePart::fromMessageReference(id, disposition, type,
                                                      QMailMessageBody::NoEncoding);
    return QMailMessagePart::fromData(QMailMessage(id).toRfc2822(), disposition, type,
                                      QMailMessageBody::EightBit);
}

QMailMessagePart filePart(const QString &path)
{
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setFilename(path.section(QLatin1Char('/'), -1).toLatin1());
    return QMailMessagePart::fromFile(path, disposition,
                                      QMailMessageContentType("application/octet-stream"),
                                      QMailMessageBody::Base64, QMailMessageBody::RequiresEncoding);
}

} // namespace

MailRobot::MailRobot(const QString &accountName)
    : m_accountName(accountName)
{
}

QJsonObject MailRobot::obey(const QJsonObject &command)
{
    static const QMap<QString, Handler> handlers {
        {QStringLiteral("synchronize"), &MailRobot::synchronize},
        {QStringLiteral("exportUpdates"), &MailRobot::exportUpdates},
        {QStringLiteral("folderList"), &MailRobot::folderList},
        {QStringLiteral("refresh"), &MailRobot::refresh},
        {QStringLiteral("folders"), &MailRobot::folders},
        {QStringLiteral("messages"), &MailRobot::messages},
        {QStringLiteral("flag"), &MailRobot::flag},
        {QStringLiteral("move"), &MailRobot::move},
        {QStringLiteral("remove"), &MailRobot::remove},
        {QStringLiteral("fetch"), &MailRobot::fetch},
        {QStringLiteral("part"), &MailRobot::part},
        {QStringLiteral("search"), &MailRobot::search},
        {QStringLiteral("send"), &MailRobot::send},
    };
    const QString name = command.value(QLatin1String("do")).toString();
    if (!handlers.contains(name))
        return failure(QStringLiteral("no such command: ") + name);
    if (!account().isValid())
        return failure(QStringLiteral("no such account: ") + m_accountName);
    return (this->*handlers.value(name))(command);
}

QJsonObject MailRobot::synchronize(const QJsonObject &)
{
    QMailRetrievalAction action;
    return run(action,
               [&] { action.synchronize(account(), QMailRetrievalAction::defaultMinimum()); });
}

QJsonObject MailRobot::exportUpdates(const QJsonObject &)
{
    QMailRetrievalAction action;
    return run(action, [&] { action.exportUpdates(account()); });
}

QJsonObject MailRobot::folderList(const QJsonObject &)
{
    QMailRetrievalAction action;
    return run(action, [&] { action.retrieveFolderList(account(), QMailFolderId()); });
}

/** One "folder", or all of them. */
QJsonObject MailRobot::refresh(const QJsonObject &command)
{
    QMailFolderIdList folders;
    if (command.contains(QLatin1String("folder")))
        folders.append(folderByPath(command.value(QLatin1String("folder")).toString()));
    else
        folders = QMailStore::instance()->queryFolders(QMailFolderKey::parentAccountId(account()));
    if (folders.contains(QMailFolderId()))
        return failure(QStringLiteral("no such folder"));
    QMailRetrievalAction action;
    return run(action, [&] { action.retrieveNewMessages(account(), folders); });
}

QJsonObject MailRobot::folders(const QJsonObject &)
{
    QJsonArray list;
    const auto ids =
        QMailStore::instance()->queryFolders(QMailFolderKey::parentAccountId(account()));
    for (const QMailFolderId &id : ids)
        list.append(folderToJson(id));
    return success(QStringLiteral("folders"), list);
}

/** All messages of the account, or those of "folder" or with "ids"; with "content" when asked. */
QJsonObject MailRobot::messages(const QJsonObject &command)
{
    QMailMessageKey key = QMailMessageKey::parentAccountId(account());
    if (command.contains(QLatin1String("folder")))
        key &= QMailMessageKey::parentFolderId(
            folderByPath(command.value(QLatin1String("folder")).toString()));
    if (command.contains(QLatin1String("ids")))
        key &= QMailMessageKey::id(idsOf(command));
    QJsonArray list;
    const auto ids = QMailStore::instance()->queryMessages(key);
    for (const QMailMessageId &id : ids)
        list.append(messageToJson(id, command.value(QLatin1String("content")).toBool()));
    return success(QStringLiteral("messages"), list);
}

QJsonObject MailRobot::flag(const QJsonObject &command)
{
    QMailStorageAction action;
    return run(action, [&] {
        action.flagMessages(idsOf(command), flagsOf(command.value(QLatin1String("set"))),
                            flagsOf(command.value(QLatin1String("clear"))));
    });
}

QJsonObject MailRobot::move(const QJsonObject &command)
{
    const QMailFolderId folder = folderByPath(command.value(QLatin1String("folder")).toString());
    if (!folder.isValid())
        return failure(QStringLiteral("no such folder"));
    QMailStorageAction action;
    return run(action, [&] { action.moveToFolder(idsOf(command), folder); });
}

/** To the trash, or with "forGood" out of the store at once. */
QJsonObject MailRobot::remove(const QJsonObject &command)
{
    QMailStorageAction action;
    return run(action, [&] {
        if (command.value(QLatin1String("forGood")).toBool())
            action.deleteMessages(idsOf(command));
        else
            action.moveToStandardFolder(idsOf(command), QMailFolder::TrashFolder);
    });
}

QJsonObject MailRobot::fetch(const QJsonObject &command)
{
    QMailRetrievalAction action;
    return run(action,
               [&] { action.retrieveMessages(idsOf(command), QMailRetrievalAction::Content); });
}

QJsonObject MailRobot::part(const QJsonObject &command)
{
    const QMailMessagePart::Location location(command.value(QLatin1String("location")).toString());
    QMailRetrievalAction action;
    return run(action, [&] { action.retrieveMessagePart(location); });
}

/** At the server; "found" has the ids that the daemon told, "folder" bounds it to one. */
QJsonObject MailRobot::search(const QJsonObject &command)
{
    // A folder instead of the account: the two would add up.
    QMailMessageKey key = QMailMessageKey::parentAccountId(account());
    if (command.contains(QLatin1String("folder"))) {
        const QMailFolderId folder =
            folderByPath(command.value(QLatin1String("folder")).toString());
        if (!folder.isValid())
            return failure(QStringLiteral("no such folder"));
        key = QMailMessageKey::parentFolderId(folder);
    }
    QMailSearchAction action;
    QJsonArray found;
    const Activesync::AsDBusInterface daemon(QDBusConnection::sessionBus(), nullptr);
    connect(&daemon, &Activesync::AsDBusInterface::searchMailboxCompleted, this,
            [&found](int, qulonglong, const Activesync::SearchMailboxResult &result, int) {
                for (const qulonglong id : result.messageIds)
                    found.append(QString::number(id));
            });
    QJsonObject answer = run(action, [&] {
        action.searchMessages(key, command.value(QLatin1String("text")).toString(),
                              QMailSearchAction::Remote, QMailMessageSortKey());
    });
    answer.insert(QStringLiteral("found"), found);
    return answer;
}

/** Sends "subject", "text" and "files" to "to", "cc" and "bcc"; "original" with "response" ("reply"
   or "forward") makes it one, and "passOn" ("named" or "embedded") puts the original into it. */
QJsonObject MailRobot::send(const QJsonObject &command)
{
    QMailMessage message = compose(command);
    if (!QMailStore::instance()->addMessage(&message))
        return failure(QStringLiteral("the mail store did not take it"));
    QMailTransmitAction action;
    QJsonObject answer = run(action, [&] { action.transmitMessages(account()); });
    answer.insert(QStringLiteral("id"), QString::number(message.id().toULongLong()));
    return answer;
}

QMailMessage MailRobot::compose(const QJsonObject &command) const
{
    const QMailAccount account(this->account());
    QMailMessage message;
    message.setMessageType(QMailMessage::Email);
    message.setParentAccountId(account.id());
    message.setFrom(account.fromAddress());
    message.setTo(addressesOf(command.value(QLatin1String("to"))));
    message.setCc(addressesOf(command.value(QLatin1String("cc"))));
    message.setBcc(addressesOf(command.value(QLatin1String("bcc"))));
    message.setSubject(command.value(QLatin1String("subject")).toString());
    message.setDate(QMailTimeStamp::currentDateTime());
    const QMailMessageId original(
        command.value(QLatin1String("original")).toString().toULongLong());
    if (original.isValid()) {
        const bool isReply = command.value(QLatin1String("response")) == QLatin1String("reply");
        message.setInResponseTo(original);
        message.setResponseType(isReply ? QMailMessage::Reply : QMailMessage::Forward);
    }
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(textPart(command.value(QLatin1String("text")).toString()));
    const QJsonArray files = command.value(QLatin1String("files")).toArray();
    for (const QJsonValue &file : files)
        message.appendPart(filePart(file.toString()));
    if (command.contains(QLatin1String("passOn")))
        message.appendPart(originalPart(
            original, command.value(QLatin1String("passOn")) == QLatin1String("named")));
    const QMailFolderId drafts = account.standardFolder(QMailFolder::DraftsFolder);
    message.setParentFolderId(drafts.isValid() ? drafts : QMailFolder::LocalStorageFolderId);
    message.setContentScheme(QStringLiteral("qmfstoragemanager"));
    message.setStatus(QMailMessage::Outbox | QMailMessage::Outgoing | QMailMessage::LocalOnly
                          | QMailMessage::ContentAvailable | QMailMessage::Read,
                      true);
    return message;
}

QMailAccountId MailRobot::account() const
{
    return QMailStore::instance()->queryAccounts(QMailAccountKey::name(m_accountName)).value(0);
}

QMailFolderId MailRobot::folderByPath(const QString &path) const
{
    const auto ids =
        QMailStore::instance()->queryFolders(QMailFolderKey::parentAccountId(account()));
    for (const QMailFolderId &id : ids) {
        if (folderPath(id) == path)
            return id;
    }
    return QMailFolderId();
}

QJsonObject MailRobot::run(QMailServiceAction &action, const std::function<void()> &start) const
{
    QEventLoop loop;
    bool ended = false;
    connect(&action, &QMailServiceAction::activityChanged, &loop,
            [&](QMailServiceAction::Activity activity) {
                ended = activity == QMailServiceAction::Successful
                    || activity == QMailServiceAction::Failed;
                if (ended)
                    loop.quit();
            });
    QTimer::singleShot(ActionTimeoutMs, &loop, &QEventLoop::quit);
    QElapsedTimer timer;
    timer.start();
    start();
    if (!ended)
        loop.exec();
    const bool ok = ended && action.activity() == QMailServiceAction::Successful;
    return {
        {QStringLiteral("ok"), ok},
        {QStringLiteral("code"), ended ? int(action.status().errorCode) : -1},
        {QStringLiteral("text"), ended ? action.status().text : QStringLiteral("no end")},
        {QStringLiteral("ms"), timer.elapsed()},
    };
}

} // namespace Robot
