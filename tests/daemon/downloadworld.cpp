// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/downloadworld.h"

#include <QFile>
#include <qmaildisconnected.h>
#include <qmailstore.h>
#include <QRandomGenerator>

namespace {

QByteArray quoted(const QByteArray &content)
{
    QByteArray encoded;
    for (const char c : content) {
        const bool isPlain = c > 32 && c < 127 && c != '=';
        encoded += isPlain ? QByteArray(1, c) : '=' + QByteArray(1, c).toHex().toUpper();
        if (encoded.size() - encoded.lastIndexOf('\n') > 70)
            encoded += "=\r\n";
    }
    return encoded;
}

QByteArray wrapped(const QByteArray &content)
{
    const QByteArray encoded = content.toBase64();
    QByteArray lines;
    lines.reserve(encoded.size() + encoded.size() / 38);
    for (int at = 0; at < encoded.size(); at += 76)
        lines += encoded.mid(at, 76) + "\r\n";
    return lines;
}

} // namespace

QByteArray DownloadWorld::mixed(const QString &subject, const QList<SourcePart> &parts)
{
    QByteArray message = "Received: from one by two; Mon, 16 Nov 2026 10:00:00 +0000\r\n"
                         "Received: from zero by one; Mon, 16 Nov 2026 09:59:00 +0000\r\n"
                         "From: Carol <carol@example.com>\r\nTo: alice@example.com\r\n"
                         "Date: Mon, 16 Nov 2026 10:59:59 +0100\r\nSubject: "
        + subject.toUtf8()
        + "\r\nMessage-ID: <mixed@example.com>\r\nX-Odd: kept as it is\r\nMIME-Version: 1.0\r\n"
          "Content-Type: multipart/mixed; boundary=\"=_b\"\r\n\r\n";
    for (const SourcePart &part : parts)
        message += "--=_b\r\n" + part.headers + "Content-Transfer-Encoding: "
            + (part.isQuoted ? "quoted-printable\r\n\r\n" + quoted(part.content) + "\r\n"
                             : "base64\r\n\r\n" + wrapped(part.content));
    return message + "--=_b--\r\n";
}

SourcePart DownloadWorld::attachment(const QByteArray &name, int size)
{
    SourcePart part;
    part.headers = "Content-Type: application/octet-stream; name=" + name
        + "\r\nContent-Disposition: attachment; filename=" + name + "\r\n";
    QRandomGenerator random(quint32(size) + quint32(qHash(name)));
    QByteArray content(size, 0);
    for (char &byte : content)
        byte = char(random.generate());
    part.content = content;
    return part;
}

SourcePart DownloadWorld::text(const QByteArray &content)
{
    return {"Content-Type: text/plain; charset=utf-8\r\n", content, true};
}

QMailMessageId DownloadWorld::bring(const QByteArray &message, const QString &subject)
{
    server.deliver(QStringLiteral("alice"), QStringLiteral("Inbox"), message);
    return syncAndWait() == 200 ? find(subject) : QMailMessageId();
}

int DownloadWorld::downloadMessage(const QMailMessageId &message)
{
    return proxy.downloadMessage(account.toULongLong(), message.toULongLong(), QDBus::Block)
        .value();
}

int DownloadWorld::downloadPart(const QMailMessageId &message, const QString &location)
{
    return proxy
        .downloadAttachment(account.toULongLong(), message.toULongLong(), location, QDBus::Block)
        .value();
}

QByteArray DownloadWorld::content(const QMailMessageId &message, const QString &location)
{
    QMailMessagePart::Location place(location);
    place.setContainingMessageId(message);
    const QMailMessage whole(message);
    return whole.contains(place) && whole.partAt(place).hasBody()
        ? whole.partAt(place).body().data(QMailMessageBody::Decoded)
        : QByteArray();
}

bool DownloadWorld::isHere(const QMailMessageId &message, const QString &location)
{
    QMailMessagePart::Location place(location);
    place.setContainingMessageId(message);
    const QMailMessage whole(message);
    return whole.contains(place) && whole.partAt(place).contentAvailable();
}

QList<QByteArray> DownloadWorld::contents(const QMailMessageId &message)
{
    QList<QByteArray> found;
    const QMailMessage whole(message);
    whole.foreachPart([&found](const QMailMessagePart &part) {
        if (part.multipartType() == QMailMessagePartContainer::MultipartNone)
            found.append(part.hasBody() ? part.body().data(QMailMessageBody::Decoded)
                                        : QByteArray());
        return true;
    });
    return found;
}

bool DownloadWorld::moveAndLoseTheAnswer(const QMailMessageId &message)
{
    QMailDisconnected::moveToFolder({message},
                                    QMailAccount(account).standardFolder(QMailFolder::TrashFolder));
    server.fault("reset", "MoveItems", {{"late", true}});
    // Whether the server takes the folder's key is asked before, each time.
    const QJsonObject nothingElse =
        EasServer::faultOf("http", "Sync", {{"status", 500}, {"count", -1}, {"after", 1}});
    server.fault(nothingElse);
    const bool isLost = syncAndWait() != 200 && server.requestCount("MoveItems") == 1;
    // The server says now that the message is not where it was.
    server.clearFaults();
    server.clearLog();
    server.fault(nothingElse);
    const bool isGone = syncAndWait() == 500 && server.requestCount("MoveItems") == 1;
    server.clearFaults();
    server.clearLog();
    return isLost && isGone;
}

qint64 DownloadWorld::peakMemory() const
{
    const QString process = QStringLiteral("/proc/%1/").arg(daemon.processId());
    QFile status(process + QStringLiteral("status"));
    qint64 peak = 0;
    if (status.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = status.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith("VmHWM:"))
                peak = line.mid(6).simplified().split(' ').first().toLongLong();
        }
    }
    QFile reset(process + QStringLiteral("clear_refs"));
    if (reset.open(QIODevice::WriteOnly))
        reset.write("5");
    return peak;
}
