// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/fuzz/callmaker.h"

#include "asclient/asdbusinterface.h"

#include <limits>

namespace {

/** Those that start work come first. */
const QStringList Methods = {
    QStringLiteral("sync"),
    QStringLiteral("folderSync"),
    QStringLiteral("syncSpecificFolders"),
    QStringLiteral("downloadMessage"),
    QStringLiteral("downloadAttachment"),
    QStringLiteral("sendMail"),
    QStringLiteral("searchMailbox"),
    QStringLiteral("abortRequest"),
    QStringLiteral("isRequestAlive"),
    QStringLiteral("stopSync"),
    QStringLiteral("noSuchMethod"),
};
constexpr int Starting = 7;
constexpr int Fitting = 192;
/** Records in records; the bus itself refuses more than 64. */
constexpr int Deepest = 12;
constexpr int LongText = 5000;

} // namespace

CallMaker::CallMaker(const QByteArray &bytes, const QList<quint64> &known)
    : m_in(bytes)
    , m_known(known)
{
}

bool CallMaker::startsWork(const QString &method)
{
    return Methods.mid(0, Starting).contains(method);
}

QDBusMessage CallMaker::next()
{
    const QString method = Methods.at(byte() % Methods.size());
    const bool isFitting = byte() < Fitting;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String(Activesync::ServiceName), QLatin1String(Activesync::ObjectPath),
        QLatin1String(Activesync::InterfaceName), method);
    QVariantList arguments;
    if (isFitting) {
        arguments = fitting(method);
    } else {
        for (int i = byte() % 8; i > 0; --i)
            arguments.append(anything(0));
    }
    call.setArguments(arguments);
    return call;
}

quint8 CallMaker::byte()
{
    quint8 value = 0;
    m_in >> value;
    return value;
}

quint64 CallMaker::number()
{
    const quint8 kind = byte();
    switch (kind) {
    case 250:
        return std::numeric_limits<quint64>::max();
    case 251:
        return std::numeric_limits<quint64>::max() / 2 + 1;
    case 252:
        return std::numeric_limits<quint32>::max();
    case 253:
        return quint64(std::numeric_limits<qint32>::max());
    case 254:
        return quint64(std::numeric_limits<qint32>::max()) + 1;
    case 255: {
        quint64 value = 0;
        m_in >> value;
        return value;
    }
    default:
        return kind < m_known.size() ? m_known.at(kind) : kind - quint64(m_known.size());
    }
}

QString CallMaker::text()
{
    const quint8 length = byte();
    if (length == 255)
        return QString(LongText, QLatin1Char(char(byte())));
    if (length == 254)
        return QString::number(number());
    QByteArray bytes(length, '\0');
    bytes.truncate(qMax(0, m_in.readRawData(bytes.data(), length)));
    return QString::fromUtf8(bytes);
}

QStringList CallMaker::texts()
{
    QStringList list;
    for (int i = byte() % 16; i > 0; --i)
        list.append(text());
    return list;
}

/** Arguments of the types that the method has. */
QVariantList CallMaker::fitting(const QString &method)
{
    if (method == QLatin1String("isRequestAlive"))
        return {int(number())};
    if (method == QLatin1String("abortRequest"))
        return {int(number()), int(number())};
    QVariantList arguments {qulonglong(number())};
    if (method == QLatin1String("stopSync"))
        arguments << int(number());
    else if (method == QLatin1String("syncSpecificFolders"))
        arguments << texts() << int(number()) << int(number());
    else if (method == QLatin1String("searchMailbox"))
        arguments << searchArguments();
    else if (method == QLatin1String("downloadMessage") || method == QLatin1String("sendMail"))
        arguments << qulonglong(number());
    else if (method == QLatin1String("downloadAttachment"))
        arguments << qulonglong(number()) << text();
    return arguments;
}

QVariantList CallMaker::searchArguments()
{
    Activesync::SearchQuery query;
    query.text = text();
    query.selector = int(number());
    query.folders = texts();
    query.receivedAfter = QDateTime::fromMSecsSinceEpoch(qint64(number()), Qt::UTC);
    query.receivedBefore = QDateTime::fromMSecsSinceEpoch(qint64(number()), Qt::UTC);
    query.reserved = text();
    Activesync::SearchMailboxOptions options;
    options.rangeStart = int(number());
    options.rangeEnd = int(number());
    options.userName = text();
    options.password = text();
    options.mimeSupport = int(number());
    options.bodyType = int(number());
    options.truncationSize = int(number());
    return {QVariant::fromValue(query), QVariant::fromValue(options)};
}

QVariant CallMaker::anything(int depth)
{
    const quint8 kind = byte() % 16;
    if (kind >= 10 && depth < Deepest)
        return anyRecord(depth + 1);
    switch (kind) {
    case 0:
        return qulonglong(number());
    case 1:
        return qlonglong(number());
    case 2:
        return int(number());
    case 3:
        return uint(number());
    case 4:
        return QVariant::fromValue(short(number()));
    case 5:
        return QVariant::fromValue(uchar(number()));
    case 6:
        return (byte() & 1) == 1;
    case 7:
        return double(number());
    case 8:
        return texts();
    default:
        return text();
    }
}

QVariant CallMaker::anyRecord(int depth)
{
    switch (byte() % 7) {
    case 0:
        return searchArguments().first();
    case 1:
        return searchArguments().last();
    case 2:
        return QVariant::fromValue(QDBusVariant(anything(depth)));
    case 3: {
        QVariantMap map;
        for (int i = byte() % 4; i > 0; --i)
            map.insert(text(), anything(depth));
        return map;
    }
    case 4: {
        QVariantList list;
        for (int i = byte() % 4; i > 0; --i)
            list.append(anything(depth));
        return list;
    }
    case 5:
        return text().toUtf8();
    default:
        return QVariant::fromValue(structure(depth));
    }
}

/** A record like the interface's own, with other members. */
QDBusArgument CallMaker::structure(int depth)
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << text();
    for (int i = byte() % 8; i > 0; --i)
        argument.appendVariant(anything(depth));
    argument.endStructure();
    return argument;
}
