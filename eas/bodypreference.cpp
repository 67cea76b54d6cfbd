// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/bodypreference.h"

#include "eas/wbxmlwriter.h"

namespace Eas {

namespace {

/** The smallest step of MIMETruncation, [MS-ASCMD] 2.2.3.109, that leaves `bytes`. */
int mimeTruncation(qint64 bytes)
{
    constexpr qint64 Steps[] = {0, 4096, 5120, 7168, 10240, 20480, 51200, 102400};
    int step = 0;
    while (step < 8 && Steps[step] < bytes)
        ++step;
    return step;
}

} // namespace

void BodyPreference::write(WbxmlWriter *writer, int version) const
{
    writeSupport(writer);
    writeBodies(writer, version);
}

void BodyPreference::writeForSync(WbxmlWriter *writer, int version) const
{
    writeSupport(writer);
    if (truncation >= 0)
        writer->element(Tags::AirSync::MIMETruncation, mimeTruncation(truncation));
    writeBodies(writer, version);
}

void BodyPreference::writeSupport(WbxmlWriter *writer) const
{
    if (type == Mime)
        writer->element(Tags::AirSync::MIMESupport, 2);
}

void BodyPreference::writeBodies(WbxmlWriter *writer, int version) const
{
    // With both offered, a server sends each message in its own form. One that heeds the last offer
    // alone sends HTML, but a plain message as plain text.
    if (type == Html)
        writeOne(writer, PlainText, version);
    writeOne(writer, type, version);
}

void BodyPreference::writeOne(WbxmlWriter *writer, BodyType form, int version) const
{
    writer->startElement(Tags::AirSyncBase::BodyPreference);
    writer->element(Tags::AirSyncBase::Type, form);
    if (truncation >= 0)
        writer->element(Tags::AirSyncBase::TruncationSize, QString::number(truncation));
    if (preview > 0 && version >= 140)
        writer->element(Tags::AirSyncBase::Preview, qMin(preview, 255));
    writer->endElement();
}

} // namespace Eas
