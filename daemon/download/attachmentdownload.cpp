// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/download/attachmentdownload.h"

#include "daemon/download/messagedownload.h"
#include "daemon/download/namingtask.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/renamedmark.h"
#include "daemon/store/serveruid.h"
#include "daemon/tasks/storecall.h"
#include "eas/fetchattachmentcommand.h"
#include "eas/fetchmessagecommand.h"

namespace Daemon {

namespace {

/** 100 is only said when the part is in the mail store. */
int percentOf(qint64 part, qint64 all)
{
    return int(qBound<qint64>(0, part * 100 / all, 99));
}

} // namespace

AttachmentDownload::AttachmentDownload(const AccountContext &context, const QMailMessageId &message,
                                       const QString &location, QObject *parent)
    : Task(context, parent)
    , m_message(message)
    , m_location(location)
    , m_progress(message.toULongLong(), location, this)
{
}

void AttachmentDownload::proceed()
{
    m_progress.open();
    const Eas::Result found = Store::ContentWriter::partSource(m_message, m_location, &m_source);
    if (!found.ok() || m_source.available) {
        finishLater(found);
    } else if (m_source.fileReference.isEmpty()) {
        fetchWhole();
    } else if (mayReferToAnother()) {
        m_progress.report(m_source.estimatedSize > 0 ? 0 : -1);
        nameMessage();
    } else {
        m_progress.report(m_source.estimatedSize > 0 ? 0 : -1);
        ask();
    }
}

/** Whether the server may have another message's attachment by that reference. */
bool AttachmentDownload::mayReferToAnother() const
{
    const QMailMessageMetaData message = Store::currentMessage(m_message);
    return Store::RenamedMark::isSet(message)
        || !Store::ServerUid::split(message.serverUid()).isKnownThere();
}

void AttachmentDownload::fetchWhole()
{
    auto *whole = new MessageDownload(m_context, m_message, this);
    connect(whole, &Task::progressed, this,
            [this](int progress) { m_progress.report(percentOf(progress, 1000)); });
    connect(whole, &Task::finished, this, [this](const Eas::Result &result, bool local) {
        if (result.ok())
            m_progress.complete();
        emit finished(result, local);
    });
    whole->proceed();
}

void AttachmentDownload::ask()
{
    m_file = std::make_unique<DownloadFile>();
    const Eas::Result opened = m_file->open();
    if (!opened.ok()) {
        finishLater(opened, true);
        return;
    }
    m_isLengthKnown = false;
    auto *command = new Eas::FetchAttachmentCommand(m_context.session, m_source.fileReference,
                                                    m_file->device());
    connect(command, &Eas::Command::progressed, this, &AttachmentDownload::onReceived);
    connect(command, &Eas::FetchAttachmentCommand::written, this, &AttachmentDownload::onWritten);
    start(command, [this, command] { onAnswer(*command); });
}

void AttachmentDownload::onReceived(qint64 received, qint64 total)
{
    m_isLengthKnown = total > 0;
    if (m_isLengthKnown)
        m_progress.report(percentOf(received, total));
}

void AttachmentDownload::onWritten(qint64 bytes)
{
    if (!m_isLengthKnown && m_source.estimatedSize > 0)
        m_progress.report(percentOf(bytes, m_source.estimatedSize));
}

void AttachmentDownload::onAnswer(const Eas::FetchAttachmentCommand &command)
{
    Eas::Result result = command.result();
    if (result.code == Eas::ServerFailed) {
        retryOrFail(result, [this] { ask(); });
        return;
    }
    // Some servers answer with half a document where the reference leads nowhere.
    const bool mayBeStale = result.code == Eas::NotFound || result.code == Eas::InvalidAnswer;
    if (mayBeStale && !m_isReferenceNew) {
        m_failure = result;
        nameMessage();
        return;
    }
    if (result.ok())
        result = m_file->finish();
    if (!result.ok()) {
        emit finished(result, false);
        return;
    }
    write(std::make_unique<StoreCall>(m_context.id(),
                                      [this] {
                                          return Store::ContentWriter::writePart(
                                              m_message, m_location, m_file->path());
                                      }),
          [this] { end(); });
}

/** The message may have moved since its references came. */
void AttachmentDownload::nameMessage()
{
    m_isReferenceNew = true;
    auto *naming = new NamingTask(m_context, m_message, this);
    connect(naming, &Task::finished, this, [this, naming](const Eas::Result &result, bool local) {
        naming->deleteLater();
        if (result.ok())
            askForReference(naming->locator());
        else
            emit finished(result, local);
    });
    naming->proceed();
}

void AttachmentDownload::askForReference(const Eas::ItemLocator &locator)
{
    m_nothing.open(QIODevice::WriteOnly | QIODevice::Truncate);
    auto *command = new Eas::FetchMessageCommand(m_context.session, locator, &m_nothing);
    Eas::BodyPreference preference;
    preference.type = Eas::Html;
    preference.truncation = 0;
    command->setBodyPreference(preference);
    start(command, [this, command] { onReference(*command); });
}

void AttachmentDownload::onReference(const Eas::FetchMessageCommand &command)
{
    if (!command.result().ok()) {
        emit finished(command.result(), false);
        return;
    }
    const QString reference = Store::ContentWriter::matchingReference(
        m_message, m_location, command.item().attachments.value_or(QList<Eas::Attachment>()));
    if (reference.isEmpty()) {
        emit finished({Eas::NotFound, QStringLiteral("the attachment is gone")}, false);
        return;
    }
    if (reference == m_source.fileReference && !m_failure.ok()) {
        emit finished(m_failure, false);
        return;
    }
    m_source.fileReference = reference;
    ask();
}

void AttachmentDownload::end()
{
    m_progress.complete();
    emit finished({}, false);
}

} // namespace Daemon
