// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/faults/mailuser.h"

#include "asclient/asdbusinterface.h"

#include <qmaildisconnected.h>
#include <qmailmessage.h>
#include <qmailstore.h>

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QMap>
#include <QTimer>

namespace Faults {

namespace {

/** Ids before the newest one that are asked for, too. */
constexpr int RequestsLookedAt = 200;

/** What the message server marks a message with that it has tried to send often enough. */
const QString givenUpField = QStringLiteral("dontSend");

QJsonObject outcome(bool ok)
{
    return {{QStringLiteral("ok"), ok}};
}

QString pathOf(const QMailFolderId &id)
{
    const QMailFolder folder(id);
    const QMailFolderId parent = folder.parentFolderId();
    return (parent.isValid() ? pathOf(parent) + QLatin1Char('/') : QString())
        + folder.displayName();
}

/** A digest of the text without what line ends may do to it. */
QString textDigest(const QMailMessage &message)
{
    const QMailMessagePartContainer *container = message.findPlainTextContainer();
    const QString text = container ? container->body().data() : QString();
    QByteArray bytes;
    for (const QChar c : text) {
        if (!c.isSpace())
            bytes.append(c.toLatin1());
    }
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex());
}

/** Digests of the attachments that are here. */
QJsonArray attachmentDigests(const QMailMessage &message)
{
    QJsonArray digests;
    for (const QMailMessagePart::Location &location : message.findAttachmentLocations()) {
        const QMailMessagePart &part = message.partAt(location);
        if (part.contentAvailable())
            digests.append(QString::fromLatin1(
                QCryptographicHash::hash(part.body().data(QMailMessageBody::Decoded),
                                         QCryptographicHash::Sha1)
                    .toHex()));
    }
    return digests;
}

QJsonObject describe(const QMailMessage &message)
{
    const auto has = [&message](quint64 flag) { return (message.status() & flag) == flag; };
    return {
        {QStringLiteral("id"), qint64(message.id().toULongLong())},
        {QStringLiteral("uid"), message.serverUid()},
        {QStringLiteral("subject"), message.subject()},
        {QStringLiteral("folder"), pathOf(message.parentFolderId())},
        {QStringLiteral("read"), has(QMailMessage::Read)},
        {QStringLiteral("flagged"), has(QMailMessage::Important)},
        {QStringLiteral("outbox"), has(QMailMessage::Outbox)},
        {QStringLiteral("sent"), has(QMailMessage::Sent)},
        {QStringLiteral("whole"), has(QMailMessage::ContentAvailable)},
        {QStringLiteral("text"), textDigest(message)},
        {QStringLiteral("attachments"), attachmentDigests(message)},
        {QStringLiteral("given up"), message.customField(givenUpField) == QLatin1String("true")},
        {QStringLiteral("reason"), message.customField(QStringLiteral("orvmail-send-failure"))},
    };
}

/** Turns the event loop until the condition holds. */
bool await(int seconds, const std::function<bool()> &holds)
{
    QElapsedTimer timer;
    timer.start();
    while (!holds()) {
        if (timer.elapsed() > seconds * 1000)
            return false;
        QEventLoop loop;
        QTimer::singleShot(20, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

QJsonObject awaitEnd(QMailServiceAction &action, int seconds)
{
    const bool ended = await(seconds, [&action] {
        return action.activity() == QMailServiceAction::Successful
            || action.activity() == QMailServiceAction::Failed;
    });
    QJsonObject result = outcome(action.activity() == QMailServiceAction::Successful);
    result.insert(QStringLiteral("ended"), ended);
    result.insert(QStringLiteral("code"), int(action.status().errorCode));
    result.insert(QStringLiteral("text"), action.status().text);
    return result;
}

} // namespace

MailUser::MailUser(const QMailAccountId &account)
    : m_account(account)
{
}

QMailMessageId MailUser::find(const QString &subject) const
{
    const QMailMessageKey key =
        QMailMessageKey::parentAccountId(m_account) & QMailMessageKey::subject(subject);
    return QMailStore::instance()->queryMessages(key).value(0);
}

QMailFolderId MailUser::folder(const QString &path) const
{
    const auto ids =
        QMailStore::instance()->queryFolders(QMailFolderKey::parentAccountId(m_account));
    for (const QMailFolderId &id : ids) {
        if (pathOf(id) == path)
            return id;
    }
    return {};
}

QJsonObject MailUser::state() const
{
    QMailStore *store = QMailStore::instance();
    QJsonArray folders;
    for (const QMailFolderId &id : store->queryFolders(QMailFolderKey::parentAccountId(m_account)))
        folders.append(pathOf(id));
    QJsonArray messages;
    for (const QMailMessageId &id :
         store->queryMessages(QMailMessageKey::parentAccountId(m_account)))
        messages.append(describe(QMailMessage(id)));
    QJsonObject state = outcome(store->lastError() == QMailStore::NoError);
    state.insert(QStringLiteral("folders"), folders);
    state.insert(QStringLiteral("messages"), messages);
    state.insert(QStringLiteral("removals"), int(store->messageRemovalRecords(m_account).size()));
    return state;
}

QJsonObject MailUser::flag(const QString &subject, quint64 set, quint64 unset) const
{
    const QMailMessageId id = find(subject);
    if (!id.isValid())
        return outcome(false);
    QMailStore *store = QMailStore::instance();
    const QMailMessageKey key = QMailMessageKey::id(id);
    return outcome((set == 0 || store->updateMessagesMetaData(key, set, true))
                   && (unset == 0 || store->updateMessagesMetaData(key, unset, false)));
}

QJsonObject MailUser::move(const QString &subject, const QString &path) const
{
    const QMailMessageId id = find(subject);
    const QMailFolderId target = folder(path);
    if (!id.isValid() || !target.isValid())
        return outcome(false);
    QMailMessageMetaData message(id);
    QMailDisconnected::moveToFolder(&message, target);
    return outcome(QMailStore::instance()->updateMessage(&message));
}

QJsonObject MailUser::remove(const QString &subject) const
{
    const QMailMessageId id = find(subject);
    return outcome(id.isValid()
                   && QMailStore::instance()->removeMessage(id, QMailStore::CreateRemovalRecord));
}

QJsonObject MailUser::discard(const QString &subject) const
{
    const QMailMessageId id = find(subject);
    return outcome(id.isValid()
                   && QMailStore::instance()->removeMessage(id, QMailStore::NoRemovalRecord));
}

QJsonObject MailUser::compose(const QString &subject, const QString &recipient) const
{
    const QMailAccount account(m_account);
    const QMailFolderId drafts = account.standardFolder(QMailFolder::DraftsFolder);
    QMailMessage message;
    message.setMessageType(QMailMessage::Email);
    message.setParentAccountId(m_account);
    message.setParentFolderId(drafts.isValid() ? drafts
                                               : QMailFolderId(QMailFolder::LocalStorageFolderId));
    message.setFrom(account.fromAddress());
    message.setTo(QMailAddress(recipient));
    message.setSubject(subject);
    message.setDate(QMailTimeStamp::currentDateTime());
    message.setBody(QMailMessageBody::fromData(QStringLiteral("Written in troubled times.\n"),
                                               QMailMessageContentType("text/plain; charset=utf-8"),
                                               QMailMessageBody::QuotedPrintable));
    message.setContentScheme(QStringLiteral("qmfstoragemanager"));
    message.setStatus(QMailMessage::Outbox | QMailMessage::Outgoing | QMailMessage::LocalOnly
                          | QMailMessage::ContentAvailable | QMailMessage::Read,
                      true);
    return outcome(QMailStore::instance()->addMessage(&message));
}

QJsonObject MailUser::sendAgain(const QString &subject) const
{
    const QMailMessageId id = find(subject);
    if (!id.isValid())
        return outcome(false);
    QMailMessageMetaData message(id);
    message.removeCustomField(givenUpField);
    message.removeCustomField(QStringLiteral("sendFailedTime"));
    return outcome(QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::id(id), QMailMessageKey::Custom, message));
}

QJsonObject MailUser::fetch(const QString &subject, int seconds) const
{
    const QMailMessageId id = find(subject);
    if (!id.isValid())
        return outcome(false);
    QMailRetrievalAction action;
    action.retrieveMessages({id}, QMailRetrievalAction::Content);
    return awaitEnd(action, seconds);
}

QJsonObject MailUser::search(const QString &text, int seconds) const
{
    QMailSearchAction action;
    action.searchMessages(QMailMessageKey::parentAccountId(m_account), text,
                          QMailSearchAction::Remote, QMailMessageSortKey());
    return awaitEnd(action, seconds);
}

QJsonObject MailUser::act(const QString &what, int seconds) const
{
    if (what == QLatin1String("transmit")) {
        QMailTransmitAction action;
        action.transmitMessages(m_account);
        return awaitEnd(action, seconds);
    }
    QMailRetrievalAction action;
    if (what == QLatin1String("export"))
        action.exportUpdates(m_account);
    else
        action.synchronize(m_account, QMailRetrievalAction::defaultMinimum());
    return awaitEnd(action, seconds);
}

QJsonObject MailUser::resynchronize(int seconds) const
{
    Activesync::AsDBusInterface daemon(QDBusConnection::sessionBus(), nullptr);
    QMap<int, int> ends;
    QObject::connect(&daemon, &Activesync::AsDBusInterface::requestCompleted,
                     [&ends](int code, qulonglong, int id) { ends.insert(id, code); });
    const int id = daemon.sync(m_account.toULongLong(), QDBus::Block).value();
    const bool ended = id > 0 && await(seconds, [&] { return ends.contains(id); });
    QJsonObject result = outcome(ends.value(id) == 200);
    result.insert(QStringLiteral("ended"), ended);
    result.insert(QStringLiteral("code"), ends.value(id));
    return result;
}

QJsonObject MailUser::awaitIdle(int seconds) const
{
    QMailActionObserver observer;
    bool told = false;
    QObject::connect(&observer, &QMailActionObserver::actionsChanged, [&told] { told = true; });
    const bool idle = await(seconds, [&] { return told && observer.actions().isEmpty(); });
    QJsonArray left;
    for (const QSharedPointer<QMailActionInfo> &action : observer.actions())
        left.append(int(action->requestType()));
    QJsonObject result = outcome(idle);
    result.insert(QStringLiteral("told"), told);
    result.insert(QStringLiteral("left"), left);
    return result;
}

QJsonObject MailUser::awaitNoRequest(int seconds) const
{
    Activesync::AsDBusInterface daemon(QDBusConnection::sessionBus(), nullptr);
    const int newest = daemon.folderSync(m_account.toULongLong(), QDBus::Block).value();
    QJsonArray left;
    const bool none = newest > 0 && await(seconds, [&] {
                          left = {};
                          for (int id = qMax(1, newest - RequestsLookedAt); id <= newest; ++id) {
                              if (daemon.isRequestAlive(id, QDBus::Block).value() != 0)
                                  left.append(id);
                          }
                          return left.isEmpty();
                      });
    QJsonObject result = outcome(none);
    result.insert(QStringLiteral("newest"), newest);
    result.insert(QStringLiteral("left"), left);
    return result;
}

} // namespace Faults
