// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_DEVICEINFORMATION_H
#define EAS_DEVICEINFORMATION_H

namespace Eas {

struct Device;
class WbxmlWriter;

/** Writes the element that tells an administrator what this device is, [MS-ASCMD] 2.2.3.45. */
void writeDeviceInformation(WbxmlWriter *writer, const Device &device);

} // namespace Eas

#endif
