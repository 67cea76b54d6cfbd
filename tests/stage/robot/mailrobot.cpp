// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/stage/robot/mailrobot.h"

#include "asclient/asdbusinterface.h"
#include "asclient/resultcode.h"
#include "tests/stage/robot/storejson.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QJsonArray>
#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QMap>
#include <QTimer>

namespace Robot {

namespace {

constexpr int DefaultSeconds = 120;
/** Requests before the newest one that are asked for, too. */
constexpr int RequestsLookedAt = 200;

QJsonObject outcome(bool ok, const char *name = "", const QJsonValue &value = QJsonValue())
{
    QJsonObject answer {{QStringLiteral("ok"), ok}};
    if (*name)
        answer.insert(QLatin1String(name), value);
    return answer;
}

QJsonObject failure(const char *text)
{
    return outcome(false, "text", QLatin1String(text));
}

QString textIn(const QJsonObject &command, const char *name)
{
    return command.value(QLatin1String(name)).toString();
}

bool isSet(const QJsonObject &command, const char *name)
{
    return command.value(QLatin1String(name)).toBool();
}

QMailMessageIdList idsIn(const QJsonObject &command)
{
    QMailMessageIdList ids;
    const QJsonArray list = command.value(QLatin1String("ids")).toArray();
    for (const QJsonValue &value : list)
        ids.append(QMailMessageId(value.toString().toULongLong()));
    return ids;
}

QMailMessageSortKey newestFirst()
{
    return QMailMessageSortKey::receptionTimeStamp(Qt::DescendingOrder);
}

quint64 flagsIn(const QJsonObject &command, const char *name)
{
    quint64 flags = 0;
    const QJsonArray list = command.value(QLatin1String(name)).toArray();
    for (const QJsonValue &flag : list)
        flags |=
            flag.toString() == QLatin1String("read") ? QMailMessage::Read : QMailMessage::Important;
    return flags;
}

QList<QMailAddress> addressesIn(const QJsonObject &command, const char *name)
{
    QList<QMailAddress> addresses;
    const QJsonArray list = command.value(QLatin1String(name)).toArray();
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

/** What is written, with nothing said of where it lies and where it goes from there. */
void write(QMailMessage *message, const QJsonObject &command)
{
    message->setTo(addressesIn(command, "to"));
    message->setCc(addressesIn(command, "cc"));
    message->setBcc(addressesIn(command, "bcc"));
    message->setSubject(textIn(command, "subject"));
    message->setDate(QMailTimeStamp::currentDateTime());
    message->setMultipartType(QMailMessage::MultipartMixed);
    message->appendPart(textPart(textIn(command, "text")));
    const QJsonArray files = command.value(QLatin1String("files")).toArray();
    for (const QJsonValue &file : files)
        message->appendPart(filePart(file.toString()));
    const QMailMessageId original(textIn(command, "original").toULongLong());
    if (!original.isValid())
        return;
    message->setInResponseTo(original);
    message->setResponseType(textIn(command, "response") == QLatin1String("reply")
                                 ? QMailMessage::Reply
                                 : QMailMessage::Forward);
    const QString passOn = textIn(command, "passOn");
    if (!passOn.isEmpty())
        message->appendPart(originalPart(original, passOn == QLatin1String("named")));
}

/** Turns the event loop until the condition holds; false where it does not in time. */
bool turnUntil(const QJsonObject &command, const std::function<bool()> &holds)
{
    const int seconds = command.value(QLatin1String("seconds")).toInt(DefaultSeconds);
    const QDeadlineTimer deadline(seconds * 1000);
    QTimer looks; // also at what nobody tells of
    looks.start(20);
    while (!holds()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace

MailRobot::MailRobot(const QString &accountName, const Tell &tell)
    : m_accountName(accountName)
    , m_tell(tell)
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
        {QStringLiteral("compose"), &MailRobot::compose},
        {QStringLiteral("edit"), &MailRobot::edit},
        {QStringLiteral("transmit"), &MailRobot::transmit},
        {QStringLiteral("sendAgain"), &MailRobot::sendAgain},
        {QStringLiteral("watch"), &MailRobot::watch},
        {QStringLiteral("await"), &MailRobot::await},
        {QStringLiteral("daemonSync"), &MailRobot::daemonSync},
        {QStringLiteral("awaitIdle"), &MailRobot::awaitIdle},
        {QStringLiteral("awaitNoRequest"), &MailRobot::awaitNoRequest},
    };
    const QString name = textIn(command, "do");
    if (!handlers.contains(name))
        return failure("no such command");
    if (!account().isValid())
        return failure("no such account");
    return (this->*handlers.value(name))(command);
}

/** "minimum" bounds the messages of a folder where the service heeds it; 0: all of them. */
QJsonObject MailRobot::synchronize(const QJsonObject &command)
{
    const int minimum =
        command.value(QLatin1String("minimum")).toInt(int(QMailRetrievalAction::defaultMinimum()));
    QMailRetrievalAction action;
    return run(command, action, [&] { action.synchronize(account(), uint(minimum)); });
}

QJsonObject MailRobot::exportUpdates(const QJsonObject &command)
{
    QMailRetrievalAction action;
    return run(command, action, [&] { action.exportUpdates(account()); });
}

QJsonObject MailRobot::folderList(const QJsonObject &command)
{
    QMailRetrievalAction action;
    return run(command, action, [&] { action.retrieveFolderList(account(), QMailFolderId()); });
}

/** One "folder", or all of them. */
QJsonObject MailRobot::refresh(const QJsonObject &command)
{
    QMailFolderIdList folders;
    if (command.contains(QLatin1String("folder")))
        folders.append(folderByPath(textIn(command, "folder")));
    else
        folders = QMailStore::instance()->queryFolders(QMailFolderKey::parentAccountId(account()));
    if (folders.contains(QMailFolderId()))
        return failure("no such folder");
    QMailRetrievalAction action;
    return run(command, action, [&] { action.retrieveNewMessages(account(), folders); });
}

QJsonObject MailRobot::folders(const QJsonObject &)
{
    QJsonArray list;
    const auto ids =
        QMailStore::instance()->queryFolders(QMailFolderKey::parentAccountId(account()));
    for (const QMailFolderId &id : ids)
        list.append(folderToJson(id));
    return outcome(true, "folders", list);
}

/** Those of "ids", "subject" and "folder", or all of the account, newest first; with "content" when
   asked. "readable" says whether the store showed all that it has, "removals" counts what was
   removed here and not yet at the server. */
QJsonObject MailRobot::messages(const QJsonObject &command)
{
    QMailStore *store = QMailStore::instance();
    QJsonArray list;
    const auto ids = store->queryMessages(keyOf(command), newestFirst());
    bool isReadable = store->lastError() == QMailStore::NoError;
    for (const QMailMessageId &id : ids) {
        const QMailMessage message(id);
        if (message.id().isValid())
            list.append(messageToJson(message, isSet(command, "content")));
        else // Unless it has gone meanwhile.
            isReadable = isReadable && store->countMessages(QMailMessageKey::id(id)) == 0;
    }
    QJsonObject answer = outcome(true, "messages", list);
    answer.insert(QStringLiteral("readable"), isReadable);
    answer.insert(QStringLiteral("removals"), int(store->messageRemovalRecords(account()).size()));
    return answer;
}

/** With "locally", in the mail store and without the message server; so do move() and remove(). */
QJsonObject MailRobot::flag(const QJsonObject &command)
{
    const QMailMessageIdList ids = named(command);
    if (ids.isEmpty())
        return failure("no such message");
    const quint64 set = flagsIn(command, "set"), clear = flagsIn(command, "clear");
    if (isSet(command, "locally")) {
        QMailStore *store = QMailStore::instance();
        const QMailMessageKey key = QMailMessageKey::id(ids);
        return outcome((set == 0 || store->updateMessagesMetaData(key, set, true))
                       && (clear == 0 || store->updateMessagesMetaData(key, clear, false)));
    }
    QMailStorageAction action;
    return run(command, action, [&] { action.flagMessages(ids, set, clear); });
}

QJsonObject MailRobot::move(const QJsonObject &command)
{
    const QMailMessageIdList ids = named(command);
    const QMailFolderId target = folderByPath(textIn(command, "target"));
    if (ids.isEmpty() || !target.isValid())
        return failure("no such message or folder");
    if (isSet(command, "locally")) {
        QMailMessageMetaData message(ids.first());
        QMailDisconnected::moveToFolder(&message, target);
        return outcome(QMailStore::instance()->updateMessage(&message));
    }
    QMailStorageAction action;
    return run(command, action, [&] { action.moveToFolder(ids, target); });
}

/** To the trash, or with "forGood" out of the store at once; locally always for good, and with
   "unknown" what no server knows. */
QJsonObject MailRobot::remove(const QJsonObject &command)
{
    const QMailMessageIdList ids = named(command);
    if (ids.isEmpty())
        return failure("no such message");
    if (isSet(command, "locally"))
        return outcome(QMailStore::instance()->removeMessages(
            QMailMessageKey::id(ids),
            isSet(command, "unknown") ? QMailStore::NoRemovalRecord
                                      : QMailStore::CreateRemovalRecord));
    QMailStorageAction action;
    return run(command, action, [&] {
        if (isSet(command, "forGood"))
            action.deleteMessages(ids);
        else
            action.moveToStandardFolder(ids, QMailFolder::TrashFolder);
    });
}

QJsonObject MailRobot::fetch(const QJsonObject &command)
{
    const QMailMessageIdList ids = named(command);
    if (ids.isEmpty())
        return failure("no such message");
    QMailRetrievalAction action;
    return run(command, action,
               [&] { action.retrieveMessages(ids, QMailRetrievalAction::Content); });
}

QJsonObject MailRobot::part(const QJsonObject &command)
{
    const QMailMessagePart::Location location(textIn(command, "location"));
    QMailRetrievalAction action;
    return run(command, action, [&] { action.retrieveMessagePart(location); });
}

/** At the server; "found" has the ids that the daemon told, "folder" bounds it to one. */
QJsonObject MailRobot::search(const QJsonObject &command)
{
    // A folder instead of the account: the two would add up.
    QMailMessageKey key = QMailMessageKey::parentAccountId(account());
    if (command.contains(QLatin1String("folder"))) {
        const QMailFolderId folder = folderByPath(textIn(command, "folder"));
        if (!folder.isValid())
            return failure("no such folder");
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
    QJsonObject answer = run(command, action, [&] {
        action.searchMessages(key, textIn(command, "text"), QMailSearchAction::Remote,
                              QMailMessageSortKey());
    });
    answer.insert(QStringLiteral("found"), found);
    return answer;
}

/** Puts a message where the message server looks for what is to be sent: "subject", "text" and
   "files" to "to", "cc" and "bcc"; "original" with "response" ("reply" or "forward") makes it one,
   and "passOn" ("named" or "embedded") puts the original into it. With "draft" it is not to be sent
   yet. "id" is the message's. */
QJsonObject MailRobot::compose(const QJsonObject &command)
{
    const QMailAccount account(this->account());
    QMailMessage message;
    message.setMessageType(QMailMessage::Email);
    message.setParentAccountId(account.id());
    message.setFrom(account.fromAddress());
    write(&message, command);
    const QMailFolderId drafts = account.standardFolder(QMailFolder::DraftsFolder);
    message.setParentFolderId(drafts.isValid() ? drafts : QMailFolder::LocalStorageFolderId);
    message.setContentScheme(QStringLiteral("qmfstoragemanager"));
    message.setStatus((isSet(command, "draft") ? QMailMessage::Draft : QMailMessage::Outbox)
                          | QMailMessage::Outgoing | QMailMessage::LocalOnly
                          | QMailMessage::ContentAvailable | QMailMessage::Read,
                      true);
    const bool added = QMailStore::instance()->addMessage(&message);
    return outcome(added, "id", QString::number(message.id().toULongLong()));
}

/** Gives the first of "ids", a draft, another "text", and with "send" puts it into the outbox. */
QJsonObject MailRobot::edit(const QJsonObject &command)
{
    QMailMessage message(idsIn(command).value(0));
    if (!message.id().isValid())
        return failure("no such message");
    message.clearParts();
    message.appendPart(textPart(textIn(command, "text")));
    message.setStatus(QMailMessage::Draft, !isSet(command, "send"));
    message.setStatus(QMailMessage::Outbox, isSet(command, "send"));
    return outcome(QMailStore::instance()->updateMessage(&message));
}

/** "toldMs" has the milliseconds after which each message was told to be on its way. */
QJsonObject MailRobot::transmit(const QJsonObject &command)
{
    QMailTransmitAction action;
    QJsonArray told;
    QElapsedTimer timer;
    connect(&action, &QMailTransmitAction::messagesTransmitted, this,
            [&](const QMailMessageIdList &ids) {
                for (int i = 0; i < ids.size(); ++i)
                    told.append(double(timer.nsecsElapsed()) / 1e6);
            });
    timer.start();
    QJsonObject answer = run(command, action, [&] { action.transmitMessages(account()); });
    answer.insert(QStringLiteral("toldMs"), told);
    return answer;
}

/** Wants a message sent all the same that the message server has given up. */
QJsonObject MailRobot::sendAgain(const QJsonObject &command)
{
    const QMailMessageIdList ids = named(command);
    if (ids.isEmpty())
        return failure("no such message");
    QMailMessageMetaData message(ids.first());
    message.removeCustomField(GivenUpField);
    message.removeCustomField(QStringLiteral("sendFailedTime"));
    return outcome(QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::id(message.id()), QMailMessageKey::Custom, message));
}

/** From now on it notes what arrives, as it is told of it. */
QJsonObject MailRobot::watch(const QJsonObject &)
{
    connect(QMailStore::instance(), &QMailStore::messagesAdded, this,
            [this](const QMailMessageIdList &ids) {
                for (const QMailMessageId &id : ids)
                    m_arrived.insert(QMailMessageMetaData(id).subject(), id);
            });
    return outcome(true);
}

/** Waits until a message of "subject" has arrived since watch(); "id" is the message's. */
QJsonObject MailRobot::await(const QJsonObject &command)
{
    const QString subject = textIn(command, "subject");
    const bool hasCome = turnUntil(command, [&] { return m_arrived.contains(subject); });
    return outcome(hasCome, "id", QString::number(m_arrived.value(subject).toULongLong()));
}

/** Lets the daemon synchronise, past the message server, which takes a second request for a
   doublet. */
QJsonObject MailRobot::daemonSync(const QJsonObject &command)
{
    Activesync::AsDBusInterface daemon(QDBusConnection::sessionBus(), nullptr);
    QMap<int, int> ends;
    connect(&daemon, &Activesync::AsDBusInterface::requestCompleted, this,
            [&ends](int code, qulonglong, int id) { ends.insert(id, code); });
    const int id = daemon.sync(account().toULongLong(), QDBus::Block).value();
    const bool ended = id > 0 && turnUntil(command, [&] { return ends.contains(id); });
    QJsonObject answer = outcome(ends.value(id) == Activesync::Success, "ended", ended);
    answer.insert(QStringLiteral("code"), ends.value(id));
    return answer;
}

/** Waits until the message server runs nothing; "left" are the actions that it still runs. */
QJsonObject MailRobot::awaitIdle(const QJsonObject &command)
{
    QMailActionObserver observer;
    bool told = false;
    connect(&observer, &QMailActionObserver::actionsChanged, this, [&told] { told = true; });
    const bool idle = turnUntil(command, [&] { return told && observer.actions().isEmpty(); });
    QJsonArray left;
    for (const QSharedPointer<QMailActionInfo> &action : observer.actions())
        left.append(int(action->requestType()));
    QJsonObject answer = outcome(idle, "left", left);
    answer.insert(QStringLiteral("told"), told);
    return answer;
}

/** Waits until the daemon works on none of its newest requests; "left" are their ids. */
QJsonObject MailRobot::awaitNoRequest(const QJsonObject &command)
{
    Activesync::AsDBusInterface daemon(QDBusConnection::sessionBus(), nullptr);
    const int newest = daemon.folderSync(account().toULongLong(), QDBus::Block).value();
    QJsonArray left;
    const auto isAtRest = [&] {
        left = {};
        for (int id = qMax(1, newest - RequestsLookedAt); id <= newest; ++id) {
            if (daemon.isRequestAlive(id, QDBus::Block).value() != 0)
                left.append(id);
        }
        return left.isEmpty();
    };
    const bool isIdle = newest > 0 && turnUntil(command, isAtRest);
    QJsonObject answer = outcome(isIdle, "left", left);
    answer.insert(QStringLiteral("newest"), newest);
    return answer;
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

QMailMessageKey MailRobot::keyOf(const QJsonObject &command) const
{
    QMailMessageKey key = QMailMessageKey::parentAccountId(account());
    if (command.contains(QLatin1String("folder")))
        key &= QMailMessageKey::parentFolderId(folderByPath(textIn(command, "folder")));
    if (command.contains(QLatin1String("ids")))
        key &= QMailMessageKey::id(idsIn(command));
    if (command.contains(QLatin1String("subject")))
        key &= QMailMessageKey::subject(textIn(command, "subject"));
    return key;
}

QMailMessageIdList MailRobot::named(const QJsonObject &command) const
{
    // Also what is gone meanwhile: a person asks for what she still sees.
    if (command.contains(QLatin1String("ids")))
        return idsIn(command);
    const bool hasSubject = command.contains(QLatin1String("subject"));
    return QMailStore::instance()->queryMessages(keyOf(command), newestFirst(), hasSubject ? 1 : 0);
}

QJsonObject MailRobot::run(const QJsonObject &command, QMailServiceAction &action,
                           const std::function<void()> &start) const
{
    if (isSet(command, "progress"))
        connect(&action, &QMailServiceAction::progressChanged, this,
                [this](uint value, uint total) {
                    m_tell({{QStringLiteral("value"), int(value)},
                            {QStringLiteral("total"), int(total)}});
                });
    const auto succeeded = [&] { return action.activity() == QMailServiceAction::Successful; };
    QElapsedTimer timer;
    timer.start();
    start();
    const bool ended = turnUntil(
        command, [&] { return succeeded() || action.activity() == QMailServiceAction::Failed; });
    return {
        {QStringLiteral("ok"), succeeded()},
        {QStringLiteral("ended"), ended},
        {QStringLiteral("code"), int(action.status().errorCode)},
        {QStringLiteral("text"), ended ? action.status().text : QStringLiteral("no end")},
        {QStringLiteral("ms"), timer.elapsed()},
    };
}

} // namespace Robot
