// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/setup/autodiscoveranswer.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace Accounts {

namespace {

const QString Schema =
    QStringLiteral("http://schemas.microsoft.com/exchange/autodiscover/mobilesync/");

/** One server element: its URL where it speaks ActiveSync. */
QUrl readServer(QXmlStreamReader &xml)
{
    QString type;
    QUrl url;
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("Type"))
            type = xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
        else if (xml.name() == QLatin1String("Url"))
            url = QUrl(xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed(),
                       QUrl::StrictMode);
        else
            xml.skipCurrentElement();
    }
    return type == QLatin1String("MobileSync") ? url : QUrl();
}

} // namespace

AutodiscoverAnswer AutodiscoverAnswer::parse(const QByteArray &document)
{
    AutodiscoverAnswer answer;
    QXmlStreamReader xml(document);
    while (!xml.atEnd() && answer.kind != Found && answer.kind != OtherAddress) {
        if (xml.readNext() == QXmlStreamReader::DTD)
            return {};
        if (!xml.isStartElement())
            continue;
        if (xml.name() == QLatin1String("Server")) {
            answer.server = readServer(xml);
            if (!answer.server.host().isEmpty())
                answer.kind = Found;
        } else if (xml.name() == QLatin1String("Redirect")) {
            answer.email = xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
            answer.kind = OtherAddress;
        } else if (xml.name() == QLatin1String("Error")) {
            answer.kind = Failed;
        } else if (xml.name() == QLatin1String("Message") && answer.kind == Failed) {
            answer.reason = xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
        }
    }
    return xml.hasError() ? AutodiscoverAnswer() : answer;
}

QByteArray autodiscoverRequest(const QString &email)
{
    QByteArray document;
    QXmlStreamWriter xml(&document);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("Autodiscover"));
    xml.writeDefaultNamespace(Schema + QLatin1String("requestschema/2006"));
    xml.writeStartElement(QStringLiteral("Request"));
    xml.writeTextElement(QStringLiteral("EMailAddress"), email);
    xml.writeTextElement(QStringLiteral("AcceptableResponseSchema"),
                         Schema + QLatin1String("responseschema/2006"));
    xml.writeEndDocument();
    return document;
}

} // namespace Accounts
