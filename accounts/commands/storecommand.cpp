// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/storecommand.h"

#include "accounts/console.h"
#include "daemon/store/storeindexes.h"
#include "translations/text.h"

#include <QJsonArray>
#include <QJsonObject>

namespace Accounts {

namespace {

const QString DropOption = QStringLiteral("drop-indexes");

/** Another program's transaction is waited for so long. */
constexpr int PatienceMs = 5000;

} // namespace

Manual::Command StoreCommand::manual() const
{
    Manual::Command manual(
        "store", Text::tr("show or remove what orvmail adds to the mail store's database"));
    manual.paragraphs = {
        Text::tr("The daemon puts indexes into the database, so that large accounts are quick; "
                 "nothing relies on them. Where they are removed, it puts them back at its next "
                 "start, unless it is started with --no-indexes (asdaemon --help tells how).")};
    manual.options = {{"drop-indexes", "", Text::tr("remove the indexes")}};
    return manual;
}

Outcome StoreCommand::run(const QCommandLineParser &parser, Console &console)
{
    return parser.isSet(DropOption) ? drop(console) : list(console);
}

Outcome StoreCommand::list(Console &console)
{
    Store::StoreIndexes indexes;
    const QStringList names = indexes.present();
    if (!indexes.failure().isEmpty())
        return Outcome::refused(Text::tr("the indexes cannot be read: %1").arg(indexes.failure()));
    for (const QString &name : names)
        console.say(name);
    if (names.isEmpty())
        console.say(Text::tr("The mail store's database has no indexes of orvmail."));
    console.give(QJsonObject {{QStringLiteral("indexes"), QJsonArray::fromStringList(names)}});
    return {};
}

Outcome StoreCommand::drop(Console &console)
{
    using Store::StoreIndexes;
    StoreIndexes indexes(PatienceMs);
    const QStringList names = indexes.present();
    switch (indexes.drop()) {
    case StoreIndexes::Outcome::Locked:
        return Outcome::refused(
            Text::tr("another program holds the mail store locked; nothing was removed"));
    case StoreIndexes::Outcome::Failed:
        return Outcome::refused(
            Text::tr("the indexes cannot be removed: %1").arg(indexes.failure()));
    case StoreIndexes::Outcome::Changed:
        console.say(Text::tr("Removed."));
        break;
    case StoreIndexes::Outcome::Unchanged:
        console.say(Text::tr("The mail store's database has no indexes of orvmail."));
        break;
    }
    console.give(QJsonObject {{QStringLiteral("dropped"), QJsonArray::fromStringList(names)}});
    return {};
}

} // namespace Accounts
