// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/contentwriter.h"

#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/contentmark.h"
#include "daemon/store/incoming/messagebuilder.h"
#include "daemon/store/incoming/mimeguard.h"
#include "daemon/store/mailtext.h"
#include "daemon/store/storefailure.h"
#include "translations/text.h"

#include <QDir>
#include <QFile>
#include <qmailnamespace.h>
#include <qmailstore.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <unistd.h>

namespace Store {

namespace {

using Message = QMailMessageMetaData;

const quint64 ContentMask = Message::ContentAvailable | Message::PartialContentAvailable;

Eas::Result gone()
{
    return {Eas::NotFound, FailureText::english("the message or its part is not here any more")};
}

/** Looks at the file without reading it into memory. */
Eas::Result checkFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() == 0)
        return {Eas::InvalidAnswer, FailureText::english("the downloaded message is empty")};
    const uchar *bytes = file.map(0, file.size());
    if (!bytes)
        return storeFailure(FailureText::english("cannot read the downloaded message"));
    const auto *text = reinterpret_cast<const char *>(bytes);
    if (!MimeGuard::isHarmless(QByteArray::fromRawData(text, int(file.size()))))
        return {Eas::InvalidAnswer,
                FailureText::english(
                    "the message is built in a way that mail programs do not get over")};
    return {};
}

/** A mail program crashes on a text without any character. */
void fillEmptyText(QMailMessage *message)
{
    if (message->multipartType() != QMailMessagePartContainer::MultipartNone
        || (message->hasBody() && message->body().length() > 0))
        return;
    message->setBody(QMailMessageBody::fromData(
        QByteArrayLiteral("\r\n"), QMailMessageContentType("text/plain; charset=UTF-8"),
        QMailMessageBody::SevenBit, QMailMessageBody::AlreadyEncoded));
}

/** The message id that a location may begin with ("12-1.2"), and the rest. */
bool splitLocation(const QString &location, quint64 id, QStringList *steps)
{
    const int dash = location.indexOf(QLatin1Char('-'));
    if (dash >= 0 && location.left(dash) != QString::number(id))
        return false;
    *steps = location.mid(dash + 1).split(QLatin1Char('.'));
    return true;
}

/** The part at a location, or null; QMF's own look-up does not get over a wrong one. */
QMailMessagePart *find(QMailMessage &message, const QString &location)
{
    QStringList steps;
    if (!splitLocation(location, message.id().toULongLong(), &steps))
        return nullptr;
    QMailMessagePartContainer *container = &message;
    QMailMessagePart *part = nullptr;
    for (const QString &step : qAsConst(steps)) {
        const uint number = step.toUInt();
        if (number == 0 || number > container->partCount())
            return nullptr;
        part = &container->partAt(number - 1);
        container = part;
    }
    return part;
}

quint64 contentState(const QMailMessage &message)
{
    const bool whole = !ContentMark::read(message).truncated
        && message.foreachPart([](const QMailMessagePart &part) {
               return part.multipartType() != QMailMessagePartContainer::MultipartNone
                   || part.contentAvailable();
           });
    return Message::PartialContentAvailable | (whole ? Message::ContentAvailable : 0);
}

template <typename Update>
Eas::Result save(Update update, const QMailMessageId &id)
{
    if (update())
        return {};
    return isHere(id) ? storeFailure(FailureText::english("cannot write downloaded content"))
                      : gone();
}

/** Writes a message with the content that the server has. */
Eas::Result saveContent(QMailMessage *message)
{
    const Eas::Result saved =
        save([message] { return QMailStore::instance()->updateMessage(message); }, message->id());
    return saved.ok() ? noteContent(*message) : saved;
}

/** Writes a message of which one part is new; whose the text is stays as it was. */
Eas::Result saveWithPart(QMailMessage *message)
{
    const bool isAuthors = isEdited(*message);
    const Eas::Result saved =
        save([message] { return QMailStore::instance()->updateMessage(message); }, message->id());
    if (!saved.ok() || isAuthors)
        return saved;
    ContentMark mark = ContentMark::read(*message);
    mark.written.clear();
    mark.store(message);
    return noteContent(*message);
}

/** Writes these flags alone: the user may be doing more with the message right now. */
Eas::Result saveContentState(const QMailMessageId &id, quint64 state)
{
    const auto write = [&id](quint64 flags, bool value) {
        return flags == 0
            || QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), flags,
                                                              value);
    };
    return save(
        [&] { return write(state, true) && write(ContentMask & ~state, false) && isHere(id); }, id);
}

/** Where the store has the content of a part, decoded, if it is here. */
QString partFile(const QMailMessage &message, const QMailMessagePart &part)
{
    return message.contentIdentifier() + QStringLiteral("-parts/")
        + part.location().toString(false);
}

/** Whether the store keeps the parts that are here where we think it does. */
bool isLayoutKnown(const QMailMessage &message)
{
    bool anyHere = false;
    const bool asThought = message.foreachPart([&](const QMailMessagePart &part) {
        if (part.multipartType() != QMailMessagePartContainer::MultipartNone || !part.hasBody())
            return true;
        anyHere = true;
        return QFile::exists(partFile(message, part));
    });
    return anyHere && asThought;
}

/**
 * Moves the file to where the store looks for the part's content, or does nothing.
 *
 * The store itself would need as much memory as the part is large. It reads a part whose file is in
 * its place, so that renaming the file is enough.
 */
bool placeFile(const QMailMessage &message, const QMailMessagePart &part, const QString &path)
{
    QFile file(path);
    if (!isLayoutKnown(message) || !file.open(QIODevice::ReadWrite)
        || ::fdatasync(file.handle()) != 0)
        return false;
    const QByteArray target = QFile::encodeName(partFile(message, part));
    return ::rename(QFile::encodeName(path).constData(), target.constData()) == 0;
}

/** What an attachment is told by: its name, if it has one, and what tells those of one name apart.
 */
struct AttachmentTraits
{
    explicit AttachmentTraits(const QMailMessagePart &part)
        : reference(MessageBuilder::fileReference(part))
        , traits {MessageBuilder::fileName(part), part.contentID(),
                  QString::number(part.contentDisposition().type()),
                  QString::fromLatin1(part.contentType().content()).toLower(),
                  QString::number(part.contentDisposition().size())}
    {
    }

    QString reference;
    QStringList traits;
};

/**
 * The reference of the one `there` that is the attachment `here` at this place; empty where that is
 * not sure.
 *
 * Only the name has to be the same: servers estimate a size otherwise, or leave something out. What
 * lies in a text may stand elsewhere in the server's list. So what cannot be told apart by its
 * traits has the same order on both sides.
 */
QString matching(QList<AttachmentTraits> here, int at, QList<AttachmentTraits> there)
{
    const QStringList wanted = here.at(at).traits;
    for (int trait = 0; trait < wanted.size(); ++trait) {
        const auto having = [&](const QList<AttachmentTraits> &all) {
            QList<AttachmentTraits> found;
            std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                         [&](const auto &one) { return one.traits.at(trait) == wanted.at(trait); });
            return found;
        };
        const QList<AttachmentTraits> thereAlike = having(there);
        const bool isTelling = !thereAlike.isEmpty() && thereAlike.size() == having(here).size();
        if (trait > 0 && !isTelling)
            continue;
        at = having(here.mid(0, at)).size();
        here = having(here);
        there = thereAlike;
    }
    return here.size() == there.size() ? there.at(at).reference : QString();
}

} // namespace

Eas::Result ContentWriter::replaceMessage(const QMailMessageId &id, const QString &path)
{
    Eas::Result result = checkFile(path);
    if (result.ok())
        result = checkRoom(2 * QFile(path).size());
    if (!result.ok())
        return result;
    if (!isHere(id))
        return gone();
    // Not what a loaded message tells: it tells nothing where the content is lost.
    const Message before = currentMessage(id);
    if (isEdited(before))
        return {};
    QMailMessage message = QMailMessage::fromRfc2822File(path);
    MimeGuard::disarm(&message);
    message.setMessageType(Message::Email);
    message.setContentScheme(QStringLiteral("qmfstoragemanager"));
    fillEmptyText(&message);
    message.setStatus(Message::ContentAvailable | Message::PartialContentAvailable, true);
    message.setStatus(Message::HasAttachments, message.hasAttachments());
    MessageBuilder::keepIdentity(&message, before);
    const quint64 priority = Message::HighPriority | Message::LowPriority;
    message.setStatus((message.status() & ~priority) | (before.status() & priority));
    message.setReceivedDate(before.receivedDate());
    message.setSize(uint(QFile(path).size()));
    message.setContentSize(message.size());
    ContentMark mark = ContentMark::read(before);
    // Of a text that had come in part, that part alone is known.
    if (mark.truncated)
        mark.body.clear();
    mark.truncated = false;
    mark.downloaded = true;
    mark.written.clear();
    mark.store(&message);
    return saveContent(&message);
}

Eas::Result ContentWriter::replaceText(const QMailMessageId &id, const Eas::MailItem &item)
{
    if (!isHere(id))
        return gone();
    if (isEdited(currentMessage(id)))
        return {};
    QMailMessage message = MessageBuilder::updated(QMailMessage(id), item);
    return saveContent(&message);
}

QString ContentWriter::downloadFolder()
{
    const QString path = QMail::dataPath() + QStringLiteral("asdaemon-downloads");
    return QDir().mkpath(path) ? path : QString();
}

Eas::Result ContentWriter::partSource(const QMailMessageId &id, const QString &location,
                                      PartSource *source)
{
    if (!isHere(id))
        return gone();
    QMailMessage message(id);
    const QMailMessagePart *part = find(message, location);
    const bool isAlone = message.multipartType() == QMailMessagePartContainer::MultipartNone
        && location == QLatin1String("1");
    if (!part && !isAlone)
        return gone();
    source->fileReference = part ? MessageBuilder::fileReference(*part) : QString();
    source->estimatedSize = part ? qMax(0, part->contentDisposition().size()) : 0;
    source->available = part ? part->contentAvailable() : message.hasBody();
    // Of a text, only the beginning may be here.
    if (source->fileReference.isEmpty() && ContentMark::read(message).truncated)
        source->available = false;
    return {};
}

QString ContentWriter::matchingReference(const QMailMessageId &id, const QString &location,
                                         const QList<Eas::Attachment> &attachments)
{
    QMailMessage message(id);
    const QMailMessagePart *wanted = find(message, location);
    if (!wanted)
        return {};
    QList<AttachmentTraits> here;
    int at = -1;
    message.foreachPart([&](const QMailMessagePart &part) {
        if (MessageBuilder::fileReference(part).isEmpty())
            return true;
        if (&part == wanted)
            at = here.size();
        here.append(AttachmentTraits(part));
        return true;
    });
    QList<AttachmentTraits> there;
    for (const Eas::Attachment &attachment : attachments)
        there.append(AttachmentTraits(MessageBuilder::attachmentPart(attachment)));
    return at < 0 ? QString() : matching(here, at, there);
}

Eas::Result ContentWriter::writePart(const QMailMessageId &id, const QString &location,
                                     const QString &reference, const QString &path)
{
    if (!isHere(id))
        return gone();
    QMailMessage message(id);
    QMailMessagePart *part = find(message, location);
    if (!part || MessageBuilder::fileReference(*part) != reference)
        return gone();
    if (placeFile(message, *part, path))
        return saveContentState(id, contentState(QMailMessage(id)));
    // The body refers to the file; the store copies from there, as it is. Of a message whose other
    // properties are as they were read, it writes the content alone.
    part->setBody(QMailMessageBody::fromFile(path, part->contentType(), QMailMessageBody::Base64,
                                             QMailMessageBody::RequiresEncoding));
    const quint64 state = contentState(message);
    const Eas::Result saved = saveWithPart(&message);
    return saved.ok() ? saveContentState(id, state) : saved;
}

} // namespace Store
