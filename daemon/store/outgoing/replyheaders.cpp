// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/replyheaders.h"

#include <QRegularExpression>

namespace Store {

namespace {

const QString InReplyTo = QStringLiteral("In-Reply-To");
const QString References = QStringLiteral("References");

/** Characters of References at most: it is one line, which may have 998. */
constexpr int MaximumReferencesLength = 900;

/** The message ids of a field, with their brackets. */
QStringList idsIn(const QMailMessage &message, const QString &field)
{
    static const QRegularExpression id(QStringLiteral("<[^<>\\s]+>"));
    QStringList ids;
    auto found = id.globalMatch(message.headerFieldText(field));
    while (found.hasNext())
        ids.append(found.next().captured());
    return ids;
}

/** The first one tells the conversation, the last ones the place in it. */
QString joined(QStringList ids)
{
    while (ids.size() > 2 && ids.join(QLatin1Char(' ')).size() > MaximumReferencesLength)
        ids.removeAt(1);
    return ids.join(QLatin1Char(' '));
}

QStringList ancestorsOf(const QMailMessage &original)
{
    const QStringList known = idsIn(original, References);
    const QStringList parents = idsIn(original, InReplyTo);
    if (known.isEmpty() && parents.size() == 1)
        return parents;
    return known;
}

} // namespace

bool ReplyHeaders::isIncomplete(const QMailMessage &reply)
{
    return idsIn(reply, InReplyTo).isEmpty() || idsIn(reply, References).isEmpty();
}

void ReplyHeaders::complete(QMailMessage *reply, const QMailMessage &original)
{
    const QString id = idsIn(original, QStringLiteral("Message-ID")).value(0);
    const QStringList parents = idsIn(*reply, InReplyTo);
    // Its own In-Reply-To may name another message.
    if (id.isEmpty() || id.size() > MaximumReferencesLength
        || (!parents.isEmpty() && parents.first() != id))
        return;
    if (parents.isEmpty())
        reply->setHeaderField(InReplyTo, id);
    if (idsIn(*reply, References).isEmpty())
        reply->setHeaderField(References, joined(ancestorsOf(original) + QStringList(id)));
}

} // namespace Store
