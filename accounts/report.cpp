// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/report.h"

#include "accounts/accountbook.h"
#include "accounts/console.h"

#include <algorithm>

namespace Accounts {

namespace {

QString encryptionWord(int encryption)
{
    return encryption == 0 ? QStringLiteral("none") : QStringLiteral("tls");
}

QString onOff(bool on)
{
    return on ? QStringLiteral("on") : QStringLiteral("off");
}

} // namespace

QString keepText(int days)
{
    switch (days) {
    case 0:
        return QStringLiteral("all");
    case 1:
        return QStringLiteral("1 day");
    default:
        return QStringLiteral("%1 days").arg(days);
    }
}

QString arrivalText(int messages)
{
    if (messages == 0)
        return QStringLiteral("No message has come.");
    return messages == 1 ? QStringLiteral("1 message has come.")
                         : QStringLiteral("%1 messages have come.").arg(messages);
}

QString savedButText(const QString &problem, const QString &account)
{
    return QStringLiteral("The account is saved, but its mail does not come yet: %1. Afterwards "
                          "\"orvmail-account sync %2\" brings it.")
        .arg(problem, account);
}

QJsonObject accountObject(const QMailAccountId &id)
{
    const AccountDetails details = AccountBook::details(id);
    return {
        {QStringLiteral("id"), double(id.toULongLong())},
        {QStringLiteral("name"), details.name},
        {QStringLiteral("fullName"), details.fullName},
        {QStringLiteral("email"), details.settings.email},
        {QStringLiteral("username"), details.settings.userName},
        {QStringLiteral("domain"), details.settings.domain},
        {QStringLiteral("server"), details.settings.server},
        {QStringLiteral("port"), details.settings.port},
        {QStringLiteral("encryption"), encryptionWord(details.settings.encryption)},
        {QStringLiteral("enabled"), details.enabled},
        {QStringLiteral("push"), details.push},
        {QStringLiteral("keepDays"), details.keepDays},
    };
}

QJsonArray folderArray(const QList<FolderLine> &folders)
{
    QJsonArray array;
    for (const FolderLine &folder : folders)
        array.append(QJsonObject {{QStringLiteral("id"), double(folder.id.toULongLong())},
                                  {QStringLiteral("path"), folder.path},
                                  {QStringLiteral("total"), folder.total},
                                  {QStringLiteral("unread"), folder.unread},
                                  {QStringLiteral("favourite"), folder.favourite}});
    return array;
}

QJsonArray differenceArray(const QList<FolderDifference> &differences)
{
    QJsonArray array;
    for (const FolderDifference &difference : differences)
        array.append(QJsonObject {{QStringLiteral("path"), difference.path},
                                  {QStringLiteral("new"), difference.added},
                                  {QStringLiteral("gone"), difference.removed},
                                  {QStringLiteral("changed"), difference.changed}});
    return array;
}

void sayAccount(Console &console, const QMailAccountId &id)
{
    const AccountDetails details = AccountBook::details(id);
    const AccountSettings &settings = details.settings;
    const auto line = [&console](const char *label, const QString &value) {
        if (!value.isEmpty())
            console.say(QStringLiteral("%1 %2").arg(QLatin1String(label), -11).arg(value));
    };
    line("name", details.name);
    line("number", QString::number(id.toULongLong()));
    line("email", settings.email);
    line("full name", details.fullName);
    line("user", settings.userName);
    line("domain", settings.domain);
    line("password",
         settings.password.isEmpty() ? QStringLiteral("(none)")
                                     : QStringLiteral("(kept, not shown)"));
    line("server", settings.server);
    line("port", QString::number(settings.port));
    line("encryption", encryptionWord(settings.encryption));
    line("enabled", onOff(details.enabled));
    line("push", onOff(details.push));
    line("keep", keepText(details.keepDays));
}

void sayFolders(Console &console, const QList<FolderLine> &folders)
{
    int width = 0;
    for (const FolderLine &folder : folders)
        width = std::max(width, folder.path.size());
    for (const FolderLine &folder : folders)
        console.say(QStringLiteral("%1  %2 messages, %3 unread%4")
                        .arg(folder.path, -width)
                        .arg(folder.total, 6)
                        .arg(folder.unread)
                        .arg(folder.favourite ? QStringLiteral(", favourite") : QString()));
}

void sayDifferences(Console &console, const QList<FolderDifference> &differences)
{
    if (differences.isEmpty())
        console.say(QStringLiteral("Nothing has changed."));
    for (const FolderDifference &difference : differences) {
        QStringList parts;
        if (difference.added)
            parts.append(QStringLiteral("%1 new").arg(difference.added));
        if (difference.changed)
            parts.append(QStringLiteral("%1 changed").arg(difference.changed));
        if (difference.removed)
            parts.append(QStringLiteral("%1 gone").arg(difference.removed));
        console.say(difference.path + QLatin1String(": ") + parts.join(QLatin1String(", ")));
    }
}

} // namespace Accounts
