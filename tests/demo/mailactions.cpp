// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/demo/mailactions.h"

#include "tests/demo/actionrunner.h"
#include "tests/demo/storeview.h"

#include <qmailstore.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTextStream>
#include <QTimer>

#include <unistd.h>

namespace Demo {

namespace {

/** The first part whose content is not here; an invalid location when all of it is. */
QMailMessagePart::Location missingPart(const QMailMessagePartContainer &container)
{
    for (uint i = 0; i < container.partCount(); ++i) {
        const QMailMessagePart &part = container.partAt(i);
        if (part.partCount() == 0 && !part.contentAvailable())
            return part.location();
        const QMailMessagePart::Location inner = missingPart(part);
        if (inner.isValid())
            return inner;
    }
    return QMailMessagePart::Location();
}

QMailMessage replyTo(const QMailMessage &original, const QString &text, const QString &attachment)
{
    const QMailAccount account(original.parentAccountId());
    QMailMessage reply;
    reply.setMessageType(QMailMessage::Email);
    reply.setParentAccountId(account.id());
    reply.setFrom(account.fromAddress());
    reply.setTo(original.from());
    reply.setSubject(QStringLiteral("Re: ") + original.subject());
    reply.setDate(QMailTimeStamp::currentDateTime());
    reply.setInResponseTo(original.id());
    reply.setResponseType(QMailMessage::Reply);
    reply.setMultipartType(QMailMessage::MultipartMixed);

    QMailMessagePart body;
    body.setBody(QMailMessageBody::fromData(text,
                                            QMailMessageContentType("text/plain; charset=utf-8"),
                                            QMailMessageBody::QuotedPrintable));
    reply.appendPart(body);
    const QString name = attachment.section(QLatin1Char('/'), -1);
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setFilename(name.toLatin1());
    reply.appendPart(QMailMessagePart::fromFile(
        attachment, disposition, QMailMessageContentType("application/octet-stream"),
        QMailMessageBody::Base64, QMailMessageBody::RequiresEncoding));
    return reply;
}

/** Puts a message where the message server looks for what is to be sent. */
bool queue(QMailMessage &message)
{
    const QMailAccount account(message.parentAccountId());
    const QMailFolderId drafts = account.standardFolder(QMailFolder::DraftsFolder);
    message.setParentFolderId(drafts.isValid() ? drafts : QMailFolder::LocalStorageFolderId);
    message.setContentScheme(QStringLiteral("qmfstoragemanager"));
    message.setStatus(QMailMessage::Outbox | QMailMessage::Outgoing | QMailMessage::LocalOnly
                          | QMailMessage::ContentAvailable | QMailMessage::Read,
                      true);
    return QMailStore::instance()->addMessage(&message);
}

} // namespace

MailActions::MailActions(const QMailAccountId &account)
    : m_account(account)
{
}

bool MailActions::synchronize()
{
    QMailRetrievalAction action;
    return ActionRunner(QStringLiteral("  synchronise"), action).run([&] {
        action.synchronize(m_account, QMailRetrievalAction::defaultMinimum());
    });
}

bool MailActions::refresh(const QMailFolderId &folder)
{
    QMailRetrievalAction action;
    return ActionRunner(QStringLiteral("  refresh"), action).run([&] {
        action.retrieveNewMessages(m_account, {folder});
    });
}

bool MailActions::fetch(const QMailMessageId &id)
{
    QMailRetrievalAction action;
    return ActionRunner(QStringLiteral("  fetch the message"), action).run([&] {
        action.retrieveMessages({id}, QMailRetrievalAction::Content);
    });
}

bool MailActions::fetchAttachment(const QMailMessageId &id)
{
    QMailMessagePart::Location location = missingPart(QMailMessage(id));
    if (!location.isValid()) {
        QTextStream(stdout) << "  every part is here already\n";
        return true;
    }
    location.setContainingMessageId(id);
    QMailRetrievalAction action;
    return ActionRunner(QStringLiteral("  fetch part ") + location.toString(false), action)
        .run([&] { action.retrieveMessagePart(location); });
}

bool MailActions::mark(const QMailMessageId &id)
{
    QMailStorageAction action;
    return ActionRunner(QStringLiteral("  mark as read and important"), action).run([&] {
        action.flagMessages({id}, QMailMessage::Read | QMailMessage::Important, 0);
    }) && refresh(QMailMessageMetaData(id).parentFolderId());
}

bool MailActions::markAll(const QMailFolderId &folder)
{
    const QMailMessageIdList ids =
        QMailStore::instance()->queryMessages(QMailMessageKey::parentFolderId(folder));
    QMailStorageAction action;
    return ActionRunner(QStringLiteral("  mark as read"), action).run([&] {
        action.flagMessages(ids, QMailMessage::Read, 0);
    }) && refresh(folder);
}

bool MailActions::remove(const QMailMessageId &id)
{
    const QMailFolderId folder = QMailMessageMetaData(id).parentFolderId();
    QMailStorageAction action;
    return ActionRunner(QStringLiteral("  move to the trash"), action).run([&] {
        action.moveToStandardFolder({id}, QMailFolder::TrashFolder);
    }) && refresh(folder);
}

bool MailActions::search(const QString &text)
{
    QMailSearchAction action;
    const QMailMessageKey key = QMailMessageKey::parentAccountId(m_account);
    if (!ActionRunner(QStringLiteral("  search"), action).run([&] {
            action.searchMessages(key, text, QMailSearchAction::Remote, QMailMessageSortKey());
        }))
        return false;
    StoreView(m_account).printMatches(text);
    return true;
}

bool MailActions::reply(const QMailMessageId &id, const QString &text, const QString &attachment)
{
    QMailMessage message = replyTo(QMailMessage(id), text, attachment);
    if (!queue(message))
        return false;
    QMailTransmitAction action;
    return ActionRunner(QStringLiteral("  send"), action).run([&] {
        action.transmitMessages(m_account);
    });
}

bool MailActions::await(const QString &subject, int timeoutMs)
{
    const StoreView view(m_account);
    QElapsedTimer timer;
    timer.start();
    QEventLoop loop;
    QObject::connect(QMailStore::instance(), &QMailStore::messagesAdded, &loop, [&] {
        if (view.messageBySubject(subject).isValid())
            loop.quit();
    });
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    QTextStream(stdout) << "  waiting for it\n" << Qt::flush;
    if (!view.messageBySubject(subject).isValid())
        loop.exec();
    const bool arrived = view.messageBySubject(subject).isValid();
    QTextStream(stdout) << (arrived ? "  arrived after " : "  nothing after ") << timer.elapsed()
                        << " ms\n";
    return arrived;
}

bool MailActions::watch()
{
    QEventLoop loop;
    QObject::connect(QMailStore::instance(), &QMailStore::messagesAdded, &loop,
                     [](const QMailMessageIdList &ids) {
                         QTextStream out(stdout);
                         for (const QMailMessageId &id : ids)
                             out << QMailMessageMetaData(id).subject() << '\n';
                     });
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &loop, &QEventLoop::quit);
    QTextStream(stdout) << "watching\n";
    loop.exec();
    return true;
}

} // namespace Demo
