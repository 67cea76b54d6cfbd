// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/policy.h"

#include <algorithm>
#include <iterator>

namespace Eas {

namespace {

using namespace Tags::Provision;

/** With this value the setting demands nothing. */
struct Harmless
{
    Tag setting;
    const char *value;
};

constexpr Harmless Settings[] = {
    {DevicePasswordEnabled, "0"},
    {RequireStorageCardEncryption, "0"},
    {RequireDeviceEncryption, "0"},
    {AttachmentsEnabled, "1"},
    {MaxAttachmentSize, ""},
    {AllowStorageCard, "1"},
    {AllowCamera, "1"},
    {AllowUnsignedApplications, "1"},
    {AllowUnsignedInstallationPackages, "1"},
    {AllowWiFi, "1"},
    {AllowTextMessaging, "1"},
    {AllowPOPIMAPEmail, "1"},
    {AllowBluetooth, "2"},
    {AllowIrDA, "1"},
    {RequireManualSyncWhenRoaming, "0"},
    {AllowDesktopSync, "1"},
    {AllowHTMLEmail, "1"},
    {MaxEmailAgeFilter, "0"},
    {MaxEmailBodyTruncationSize, "-1"},
    {MaxEmailHTMLBodyTruncationSize, "-1"},
    {RequireSignedSMIMEMessages, "0"},
    {RequireEncryptedSMIMEMessages, "0"},
    {AllowBrowser, "1"},
    {AllowConsumerEmail, "1"},
    {AllowRemoteDesktop, "1"},
    {AllowInternetSharing, "1"},
    {ApplicationName, ""},
    {Hash, ""},
};

} // namespace

void Policy::add(Tag setting, const QByteArray &value)
{
    const QByteArray trimmed = value.trimmed();
    const auto row = std::find_if(std::begin(Settings), std::end(Settings),
                                  [setting](const Harmless &s) { return s.setting == setting; });
    // An absent value is the setting's default, which demands nothing. What is not in the table
    // only refines a setting that is, or is about what is not brought here (calendars).
    if (row != std::end(Settings) && !trimmed.isEmpty() && trimmed != row->value)
        m_unmet.append(QStringLiteral("%1=%2").arg(QLatin1String(findTag(setting)->name),
                                                   QString::fromUtf8(trimmed.left(40))));
}

} // namespace Eas
