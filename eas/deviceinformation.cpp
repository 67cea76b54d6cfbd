// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/deviceinformation.h"

#include "eas/serveraddress.h"
#include "eas/wbxmlwriter.h"

namespace Eas {

namespace S = Tags::Settings;

void writeDeviceInformation(WbxmlWriter *writer, const Device &device)
{
    writer->startElement(S::DeviceInformation);
    writer->startElement(S::Set);
    // The model is the one part that servers insist on.
    writer->element(S::Model, device.model.isEmpty() ? device.type : device.model);
    if (!device.friendlyName.isEmpty())
        writer->element(S::FriendlyName, device.friendlyName);
    if (!device.os.isEmpty())
        writer->element(S::OS, device.os);
    writer->element(S::UserAgent, device.userAgent);
    writer->endElement();
    writer->endElement();
}

} // namespace Eas
