// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/download/messagedownload.h"

#include "daemon/download/serveridlookup.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/contentmark.h"
#include "daemon/store/incoming/contentwriter.h"
#include "daemon/store/serveruid.h"
#include "eas/fetchmessagecommand.h"

#include <qmailmessage.h>
#include <qmailstore.h>

namespace Daemon {

namespace {

/** Whether nothing is to be fetched. What its author has edited here, the server does not have. */
bool isWhole(const QMailMessageMetaData &message)
{
    if (Store::isEdited(message))
        return true;
    return message.status() & QMailMessageMetaData::ContentAvailable
        && Store::ContentMark::read(message).downloaded;
}

} // namespace

MessageDownload::MessageDownload(const AccountContext &context, const QMailMessageId &message,
                                 QObject *parent)
    : Job(context, parent)
    , m_message(message)
{
}

void MessageDownload::perform()
{
    const QMailMessageMetaData message = Store::currentMessage(m_message);
    if (isWhole(message)) {
        end({});
    } else if (Store::ServerUid(message).kind() == Store::ServerUid::Kind::None) {
        const bool isHere = message.status() & QMailMessageMetaData::ContentAvailable;
        end(isHere ? Eas::Result()
                   : Eas::Result {Eas::NotFound,
                                  QStringLiteral("the server does not have the message")});
    } else {
        auto *lookup = new ServerIdLookup(m_context, m_message, this);
        runOrEnd(lookup, [this, lookup] { ask(lookup->locator()); });
    }
}

void MessageDownload::ask(const Eas::ItemLocator &locator)
{
    m_file = std::make_unique<DownloadFile>();
    const Eas::Result opened = m_file->open();
    if (!opened.ok()) {
        end(opened);
        return;
    }
    const qint64 size = Store::currentMessage(m_message).size();
    auto *command = new Eas::FetchMessageCommand(m_context.session, locator, m_file->device());
    connect(command, &Eas::Command::progressed, this, [this, size](qint64 received, qint64 total) {
        // The length of an answer that is not packed; else the size that the server once estimated.
        const qint64 all = total > 0 ? total : size;
        if (all > 0)
            emit progressed(int(qMin<qint64>(1000, received * 1000 / all)));
    });
    run(command, [this, command, locator] { onAnswer(*command, locator); });
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
        end(result);
        return;
    }
    if (body && body->type != Eas::Mime) {
        replaceByText(command.item());
        return;
    }
    write(undivided(
              [this] { return Store::ContentWriter::replaceMessage(m_message, m_file->path()); }),
          [this] { end({}); });
}

void MessageDownload::replaceByText(Eas::MailItem item)
{
    QFile file(m_file->path());
    if (file.size() > Eas::Limits::TextSize || !file.open(QIODevice::ReadOnly)) {
        end({Eas::InvalidAnswer, QStringLiteral("a text of absurd length")});
        return;
    }
    item.body->data = file.readAll();
    write(undivided([this, item] { return Store::ContentWriter::replaceText(m_message, item); }),
          [this] { end({}); });
}

} // namespace Daemon
