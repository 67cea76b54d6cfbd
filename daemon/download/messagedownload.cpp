// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/download/messagedownload.h"

#include "daemon/download/namingtask.h"
#include "daemon/store/contentmark.h"
#include "daemon/store/contentwriter.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/serveruid.h"
#include "daemon/tasks/storecall.h"
#include "eas/fetchmessagecommand.h"

#include <qmailmessage.h>
#include <qmailstore.h>

namespace Daemon {

namespace {

bool isWhole(const QMailMessageMetaData &message)
{
    return message.status() & QMailMessageMetaData::ContentAvailable
        && Store::ContentMark::read(message).downloaded;
}

} // namespace

MessageDownload::MessageDownload(const AccountContext &context, const QMailMessageId &message,
                                 QObject *parent)
    : Task(context, parent)
    , m_message(message)
{
}

void MessageDownload::proceed()
{
    const QMailMessageMetaData message = Store::currentMessage(m_message);
    if (isWhole(message)) {
        finishLater({});
    } else if (Store::ServerUid::split(message.serverUid()).collectionId.isEmpty()) {
        const bool isHere = message.status() & QMailMessageMetaData::ContentAvailable;
        finishLater(isHere ? Eas::Result()
                           : Eas::Result {Eas::NotFound,
                                          QStringLiteral("the server does not have the message")});
    } else {
        nameMessage();
    }
}

void MessageDownload::nameMessage()
{
    auto *naming = new NamingTask(m_context, m_message, this);
    connect(naming, &Task::finished, this, [this, naming](const Eas::Result &result, bool local) {
        naming->deleteLater();
        if (result.ok())
            ask(naming->locator());
        else
            emit finished(result, local);
    });
    naming->proceed();
}

void MessageDownload::ask(const Eas::ItemLocator &locator)
{
    m_file = std::make_unique<DownloadFile>();
    const Eas::Result opened = m_file->open();
    if (!opened.ok()) {
        finishLater(opened, true);
        return;
    }
    const qint64 size = Store::currentMessage(m_message).size();
    auto *command = new Eas::FetchMessageCommand(m_context.session, locator, m_file->device());
    connect(command, &Eas::Command::progressed, this, [this, size](qint64 received, qint64 total) {
        // An unpacked answer tells its length; else the size that the server once estimated.
        const qint64 all = total > 0 ? total : size;
        if (all > 0)
            emit progressed(int(qMin<qint64>(1000, received * 1000 / all)));
    });
    start(command, [this, command, locator] { onAnswer(*command, locator); });
}

void MessageDownload::onAnswer(const Eas::FetchMessageCommand &command,
                               const Eas::ItemLocator &locator)
{
    Eas::Result result = command.result();
    if (result.code == Eas::ServerFailed) {
        retryOrFail(result, [this, locator] { ask(locator); });
        return;
    }
    if (result.ok())
        result = m_file->finish();
    const std::optional<Eas::Body> &body = command.item().body;
    if (result.ok() && body && body->truncated)
        result = {Eas::InvalidAnswer, QStringLiteral("the server cuts the message off")};
    if (!result.ok()) {
        emit finished(result, false);
        return;
    }
    if (body && body->type != Eas::Mime) {
        replaceByText(command.item());
        return;
    }
    write(std::make_unique<StoreCall>(
              m_context.id(),
              [this] { return Store::ContentWriter::replaceMessage(m_message, m_file->path()); }),
          [this] { emit finished({}, false); });
}

void MessageDownload::replaceByText(Eas::MailItem item)
{
    QFile file(m_file->path());
    if (file.size() > Eas::Limits::TextSize || !file.open(QIODevice::ReadOnly)) {
        emit finished({Eas::InvalidAnswer, QStringLiteral("a text of absurd length")}, false);
        return;
    }
    item.body->data = file.readAll();
    write(std::make_unique<StoreCall>(
              m_context.id(),
              [this, item] { return Store::ContentWriter::replaceText(m_message, item); }),
          [this] { emit finished({}, false); });
}

} // namespace Daemon
