// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/download/attachmentdownload.h"

#include "daemon/download/messagedownload.h"
#include "daemon/download/serveridlookup.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/mark.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/state/folderkeys.h"
#include "eas/fetchattachmentcommand.h"
#include "eas/fetchmessagecommand.h"

#include <qmailstore.h>

namespace Daemon {

namespace {

/** Percent, at most 99: 100 is reported only when the part is in the mail store. */
int percentOf(qint64 part, qint64 all)
{
    return int(qBound<qint64>(0, part * 100 / all, 99));
}

} // namespace

AttachmentDownload::AttachmentDownload(const AccountContext &context, const QMailMessageId &message,
                                       const QString &location, QObject *parent)
    : Job(context, parent)
    , m_message(message)
    , m_location(location)
    , m_progress(message.toULongLong(), location, this)
{
}

void AttachmentDownload::add(const Request &request)
{
    // A later request may have a listener of its own.
    if (!m_waiters.isEmpty())
        m_progress.open();
    Job::add(request);
}

void AttachmentDownload::perform()
{
    m_progress.open();
    const Eas::Result found = Store::ContentWriter::partSource(m_message, m_location, &m_source);
    if (!found.ok() || m_source.available) {
        end(found);
    } else if (m_source.fileReference.isEmpty()) {
        fetchWhole();
    } else {
        m_progress.report(m_source.estimatedSize > 0 ? 0 : -1);
        mayReferToAnother() ? lookUpServerId() : ask();
    }
}

/** Whether the server may have another message's attachment by that reference. */
bool AttachmentDownload::mayReferToAnother() const
{
    const QMailMessageMetaData message = Store::currentMessage(m_message);
    const Store::ServerUid uid(message);
    if (Store::RenamedMark.isSet(message) || !uid.isKnownThere())
        return true;
    const auto folder = m_context.folders().find(uid.collectionId());
    const QMailFolderKey renamed = Store::RenamedMark.folderKey()
        & QMailFolderKey::id(folder ? folder->folderId : message.parentFolderId());
    QMailStore *store = QMailStore::instance();
    return store->countFolders(renamed) > 0 || store->lastError() != QMailStore::NoError;
}

void AttachmentDownload::fetchWhole()
{
    auto *whole = new MessageDownload(m_context, m_message, this);
    connect(whole, &Task::progressed, this,
            [this](int progress) { m_progress.report(percentOf(progress, 1000)); });
    run(whole, [this](const Eas::Result &result) {
        if (result.ok())
            m_progress.complete();
        end(result);
    });
}

void AttachmentDownload::ask()
{
    m_file = std::make_unique<DownloadFile>();
    const Eas::Result opened = m_file->open();
    if (!opened.ok()) {
        end(opened);
        return;
    }
    m_isLengthKnown = false;
    const QString &reference = m_newReference.isEmpty() ? m_source.fileReference : m_newReference;
    auto *command = new Eas::FetchAttachmentCommand(m_context.session, reference, m_file->device());
    connect(command, &Eas::Command::progressed, this, &AttachmentDownload::onReceived);
    connect(command, &Eas::FetchAttachmentCommand::written, this, &AttachmentDownload::onWritten);
    run(command, [this, command] { onAnswer(*command); });
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
    // Some servers answer a reference that is not valid any more with an incomplete document.
    const bool mayBeStale = result.code == Eas::NotFound || result.code == Eas::InvalidAnswer;
    if (mayBeStale && m_newReference.isEmpty()) {
        m_failure = result;
        lookUpServerId();
        return;
    }
    if (result.ok())
        result = m_file->finish();
    if (!result.ok()) {
        end(result);
        return;
    }
    write(undivided([this] {
              return Store::ContentWriter::writePart(m_message, m_location, m_source.fileReference,
                                                     m_file->path());
          }),
          [this] {
              m_progress.complete();
              end({});
          });
}

/** Asks for a new reference: the message may have moved since the old one came. */
void AttachmentDownload::lookUpServerId()
{
    auto *lookup = new ServerIdLookup(m_context, m_message, this);
    runOrEnd(lookup, [this, lookup] { askForReference(lookup->locator()); });
}

void AttachmentDownload::askForReference(const Eas::ItemLocator &locator)
{
    m_nothing.open(QIODevice::WriteOnly | QIODevice::Truncate);
    auto *command = new Eas::FetchMessageCommand(m_context.session, locator, &m_nothing);
    Eas::BodyPreference preference;
    preference.type = Eas::Html;
    preference.truncation = 0;
    command->setBodyPreference(preference);
    run(command, [this, command] { onReference(*command); });
}

void AttachmentDownload::onReference(const Eas::FetchMessageCommand &command)
{
    if (!command.result().ok()) {
        end(command.result());
        return;
    }
    const QString reference = Store::ContentWriter::matchingReference(
        m_message, m_location, command.item().attachments.value_or(QList<Eas::Attachment>()));
    if (reference.isEmpty()) {
        end({Eas::NotFound, QStringLiteral("the attachment is gone")});
        return;
    }
    if (reference == m_source.fileReference && !m_failure.ok()) {
        end(m_failure);
        return;
    }
    m_newReference = reference;
    ask();
}

} // namespace Daemon
