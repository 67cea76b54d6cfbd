// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/accountoutput.h"

#include "accounts/console.h"
#include "accounts/setup/accountbook.h"
#include "manual/typedname.h"
#include "translations/text.h"

#include <algorithm>

namespace Accounts {

namespace {

/** As the option --encryption takes it. */
QString encryptionWord(int encryption)
{
    return encryption == 0 ? QStringLiteral("none") : QStringLiteral("tls");
}

QString encryptionText(int encryption)
{
    return encryption == 0 ? Text::tr("none") : encryptionWord(encryption);
}

QString onOff(bool on)
{
    return on ? Text::tr("on") : Text::tr("off");
}

/** Labels are as wide as the widest, and at least as wide as here. */
constexpr int LabelWidth = 13;

} // namespace

QString keepText(int days)
{
    switch (days) {
    case 0:
        return Text::tr("all");
    case 1:
        return Text::tr("1 day");
    default:
        return Text::tr("%n days", nullptr, days);
    }
}

QString arrivalText(int messages)
{
    if (messages == 0)
        return Text::tr("No message has come.");
    return messages == 1 ? Text::tr("1 message has come.")
                         : Text::tr("%Ln messages have come.", nullptr, messages);
}

QString savedButText(const QString &problem, const QMailAccountId &id)
{
    return Text::tr("The account is saved, but its mail does not come yet: %1. Afterwards "
                    "\"orvmail-account sync %2\" brings it.")
        .arg(problem, Manual::typedName(AccountBook::details(id).name, id.toULongLong()));
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
        {QStringLiteral("notifications"), details.notifications},
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
    const QList<QPair<QString, QString>> rows {
        {Text::tr("name"), details.name},
        {Text::tr("number"), QString::number(id.toULongLong())},
        {Text::tr("email"), settings.email},
        {Text::tr("full name"), details.fullName},
        {Text::tr("user"), settings.userName},
        {Text::tr("domain"), settings.domain},
        {Text::tr("password"),
         settings.password.isEmpty() ? Text::tr("(none)") : Text::tr("(kept, not shown)")},
        {Text::tr("server"), settings.server},
        {Text::tr("port"), QString::number(settings.port)},
        {Text::tr("encryption"), encryptionText(settings.encryption)},
        {Text::tr("enabled"), onOff(details.enabled)},
        {Text::tr("push"), onOff(details.push)},
        {Text::tr("keep"), keepText(details.keepDays)},
        {Text::tr("notifications"), onOff(details.notifications)},
    };
    int width = LabelWidth;
    for (const auto &row : rows)
        width = std::max(width, row.first.size());
    for (const auto &row : rows) {
        if (!row.second.isEmpty())
            console.say(QStringLiteral("%1 %2").arg(row.first, -width).arg(row.second));
    }
}

namespace {

/** Numbers one below the other. */
QString countText(const FolderLine &folder)
{
    const QString text = folder.favourite
        ? Text::tr("%1 messages, %2 unread, favourite", nullptr, folder.total)
        : Text::tr("%1 messages, %2 unread", nullptr, folder.total);
    return text.arg(Text::number(folder.total), 6).arg(Text::number(folder.unread));
}

} // namespace

void sayFolders(Console &console, const QList<FolderLine> &folders)
{
    int width = 0;
    for (const FolderLine &folder : folders)
        width = std::max(width, folder.path.size());
    for (const FolderLine &folder : folders)
        console.say(folder.path.leftJustified(width) + QLatin1String("  ") + countText(folder));
}

void sayDifferences(Console &console, const QList<FolderDifference> &differences)
{
    if (differences.isEmpty())
        console.say(Text::tr("Nothing has changed."));
    for (const FolderDifference &difference : differences) {
        QStringList parts;
        if (difference.added)
            parts.append(Text::tr("%Ln new", nullptr, difference.added));
        if (difference.changed)
            parts.append(Text::tr("%Ln changed", nullptr, difference.changed));
        if (difference.removed)
            parts.append(Text::tr("%Ln gone", nullptr, difference.removed));
        console.say(difference.path + QLatin1String(": ") + parts.join(QLatin1String(", ")));
    }
}

} // namespace Accounts
