// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_MAILITEM_H
#define EAS_MAILITEM_H

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

namespace Eas {

/** The form of a body, [MS-ASAIRS] 2.2.2.41 (Type). */
enum BodyType { PlainText = 1, Html = 2, Mime = 4 };

/** A message's body, or as much of it as was asked for. */
struct Body
{
    BodyType type = PlainText;
    QByteArray data; ///< UTF-8 for text and HTML, the RFC 5322 message for Mime
    bool truncated = false;
    qint64 estimatedSize = 0; ///< bytes of the whole body, as the server estimates
    QString preview;
};

/** What is known of an attachment before it is fetched. */
struct Attachment
{
    QString displayName;
    QString fileReference; ///< what ItemOperations fetches; opaque
    QString contentId;
    QString contentLocation;
    QString contentType;      ///< empty where the server does not tell
    qint64 estimatedSize = 0; ///< bytes
    int method = 1;           ///< 1 normal, 5 embedded message, 6 OLE
    bool isInline = false;
};

/** The protocol's follow-up flag. */
enum class FlagStatus { Clear = 0, Complete = 1, Active = 2 };

/**
 * A message's properties as they came; in a change, only those present were changed.
 *
 * Addresses are header text as the server sends it ("Name" <a@b>, ...).
 */
struct MailItem
{
    QString serverId; ///< unique within its collection only
    std::optional<QString> from;
    std::optional<QString> to;
    std::optional<QString> cc;
    std::optional<QString> bcc;
    std::optional<QString> replyTo;
    std::optional<QString> sender;
    std::optional<QString> subject;
    std::optional<QDateTime> dateReceived; ///< UTC
    std::optional<bool> read;
    std::optional<FlagStatus> flag;
    bool hasFlagDates = false;                ///< the flag has dates or a reminder
    std::optional<int> importance;            ///< 0 low, 1 normal, 2 high
    std::optional<QByteArray> conversationId; ///< opaque
    std::optional<int> lastVerb;              ///< 1 replied, 2 replied to all, 3 forwarded
    std::optional<Body> body;
    std::optional<QList<Attachment>> attachments;
};

} // namespace Eas

#endif
