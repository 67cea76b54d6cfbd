// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/demo/storeview.h"

#include <qmailstore.h>

#include <QMap>
#include <QTextStream>

namespace Demo {

namespace {

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

QString flags(const QMailMessageMetaData &message)
{
    QString text;
    text += QLatin1Char(message.status() & QMailMessage::Read ? ' ' : '*');
    text += QLatin1Char(message.status() & QMailMessage::Important ? '!' : ' ');
    text += QLatin1Char(message.status() & QMailMessage::HasAttachments ? '@' : ' ');
    return text;
}

QString presence(quint64 status)
{
    if (status & QMailMessage::ContentAvailable)
        return QStringLiteral("all of it is here");
    if (status & QMailMessage::PartialContentAvailable)
        return QStringLiteral("part of it is here");
    return QStringLiteral("only its header is here");
}

QString clipped(const QString &text, int width)
{
    return text.simplified().left(width).leftJustified(width);
}

void printLine(const QMailMessageMetaData &message)
{
    const QString from =
        message.from().name().isEmpty() ? message.from().address() : message.from().name();
    out() << "    " << flags(message) << ' '
          << message.receivedDate().toUTC().toString(QStringLiteral("yyyy-MM-dd hh:mm")) << "  "
          << clipped(from, 20) << "  " << message.subject().simplified().left(44) << '\n';
}

void printParts(const QMailMessagePartContainer &container, int depth)
{
    for (uint i = 0; i < container.partCount(); ++i) {
        const QMailMessagePart &part = container.partAt(i);
        const QString type = QString::fromLatin1(part.contentType().content());
        const bool isNamed =
            !part.contentDisposition().filename().isEmpty() || !part.contentType().name().isEmpty();
        out() << QString(4 + 2 * depth, QLatin1Char(' ')) << "part "
              << part.location().toString(false) << "  " << type.toLower() << "  "
              << (isNamed ? part.displayName() + QStringLiteral("  ") : QString())
              << (part.contentAvailable() ? "here" : "at the server") << '\n';
        printParts(part, depth + 1);
    }
}

} // namespace

StoreView::StoreView(const QMailAccountId &account)
    : m_account(account)
{
}

QString StoreView::folderPath(const QMailFolder &folder) const
{
    const QString name = folder.displayName();
    if (!folder.parentFolderId().isValid())
        return name;
    return folderPath(QMailFolder(folder.parentFolderId())) + QLatin1Char('/') + name;
}

void StoreView::printFolders() const
{
    QMap<QString, QMailFolderId> byPath;
    for (const QMailFolderId &id :
         QMailStore::instance()->queryFolders(QMailFolderKey::parentAccountId(m_account)))
        byPath.insert(folderPath(QMailFolder(id)), id);
    for (auto it = byPath.cbegin(); it != byPath.cend(); ++it) {
        const QMailMessageKey inFolder = QMailMessageKey::parentFolderId(it.value());
        const QMailMessageKey unread =
            inFolder & ~QMailMessageKey::status(QMailMessage::Read, QMailDataComparator::Includes);
        out() << "    " << it.key().leftJustified(28)
              << QStringLiteral("%1 messages, %2 unread")
                     .arg(QMailStore::instance()->countMessages(inFolder), 5)
                     .arg(QMailStore::instance()->countMessages(unread))
              << '\n';
    }
    out() << Qt::flush;
}

QMailFolderId StoreView::folderByPath(const QString &path) const
{
    for (const QMailFolderId &id :
         QMailStore::instance()->queryFolders(QMailFolderKey::parentAccountId(m_account))) {
        if (folderPath(QMailFolder(id)).compare(path, Qt::CaseInsensitive) == 0)
            return id;
    }
    return QMailFolderId();
}

void StoreView::printMessages(const QString &folder, int limit) const
{
    const QMailMessageKey key = QMailMessageKey::parentFolderId(folderByPath(folder));
    const QMailMessageSortKey newest = QMailMessageSortKey::receptionTimeStamp(Qt::DescendingOrder);
    for (const QMailMessageId &id : QMailStore::instance()->queryMessages(key, newest, uint(limit)))
        printLine(QMailMessageMetaData(id));
    out() << Qt::flush;
}

void StoreView::printMatches(const QString &text) const
{
    const QMailMessageKey key = QMailMessageKey::parentAccountId(m_account)
        & (QMailMessageKey::subject(text, QMailDataComparator::Includes)
           | QMailMessageKey::preview(text, QMailDataComparator::Includes));
    for (const QMailMessageId &id : QMailStore::instance()->queryMessages(key)) {
        const QMailMessageMetaData message(id);
        out() << "    " << clipped(folderPath(QMailFolder(message.parentFolderId())), 10);
        printLine(message);
    }
    out() << Qt::flush;
}

void StoreView::printMessage(const QMailMessageId &id) const
{
    const QMailMessage message(id);
    out() << "    From:    " << message.from().toString() << '\n'
          << "    To:      " << QMailAddress::toStringList(message.to()).join(QStringLiteral(", "))
          << '\n'
          << "    Subject: " << message.subject() << '\n';
    const QMailMessagePartContainer *text = message.findPlainTextContainer();
    if (!text)
        text = message.findHtmlContainer();
    if (text && text->hasBody()) {
        for (const QString &line : text->body().data().split(QLatin1Char('\n')).mid(0, 8))
            out() << "    | " << line.trimmed() << '\n';
    }
    printParts(message, 0);
    out() << Qt::flush;
}

void StoreView::printState(const QMailMessageId &id) const
{
    if (!id.isValid() || !QMailStore::instance()->countMessages(QMailMessageKey::id(id))) {
        out() << "    store: the message is not there\n" << Qt::flush;
        return;
    }
    const QMailMessageMetaData message(id);
    out() << "    store: \"" << message.subject() << "\" in "
          << folderPath(QMailFolder(message.parentFolderId())) << ", "
          << (message.status() & QMailMessage::Read ? "read" : "unread")
          << (message.status() & QMailMessage::Important ? ", flagged" : "") << ", "
          << presence(message.status()) << '\n'
          << Qt::flush;
}

bool StoreView::saveAttachment(const QMailMessageId &id, const QString &path) const
{
    const QMailMessage message(id);
    const QList<QMailMessagePart::Location> attachments = message.findAttachmentLocations();
    if (attachments.isEmpty() || !message.contains(attachments.first()))
        return false;
    const QMailMessagePart &part = message.partAt(attachments.first());
    return part.hasBody() && part.body().toFile(path, QMailMessageBody::Decoded);
}

QMailMessageId StoreView::messageBySubject(const QString &subject) const
{
    const QMailMessageKey key = QMailMessageKey::parentAccountId(m_account)
        & QMailMessageKey::subject(subject, QMailDataComparator::Includes);
    const QMailMessageSortKey newest = QMailMessageSortKey::receptionTimeStamp(Qt::DescendingOrder);
    return QMailStore::instance()->queryMessages(key, newest, 1).value(0);
}

} // namespace Demo
