// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/troublereport.h"

#include "accounts/accountoutput.h"
#include "accounts/daemonlog.h"
#include "accounts/folderview.h"
#include "accounts/setup/accountbook.h"
#include "accounts/status/partplaces.h"
#include "accounts/status/partstate.h"
#include "accounts/status/partversions.h"
#include "accounts/status/statusview.h"
#include "accounts/syncmemory.h"
#include "asclient/asdbusinterface.h"
#include "asclient/debuglog.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonDocument>
#include <qmailaccount.h>
#include <qmailnamespace.h>
#include <QMap>
#include <QStorageInfo>

namespace Accounts {

namespace {

QStringList jsonLines(const QJsonValue &value)
{
    const QJsonDocument document =
        value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    return QString::fromUtf8(document.toJson()).trimmed().split(QLatin1Char('\n'));
}

/** The status without what tells of single mails. */
QJsonObject withoutMails(QJsonObject status)
{
    QJsonArray accounts = status[QStringLiteral("accounts")].toArray();
    for (QJsonValueRef value : accounts) {
        QJsonObject account = value.toObject();
        QJsonArray outbox = account[QStringLiteral("outbox")].toArray();
        for (QJsonValueRef waiting : outbox) {
            QJsonObject mail = waiting.toObject();
            mail.remove(QStringLiteral("subject"));
            mail.remove(QStringLiteral("to"));
            waiting = mail;
        }
        account[QStringLiteral("outbox")] = outbox;
        value = account;
    }
    status[QStringLiteral("accounts")] = accounts;
    return status;
}

/** What a folder is for; its name may be a secret. */
QString kindOf(const QMailAccountId &account, const QMailFolderId &folder)
{
    static const QMap<QMailFolder::StandardFolder, QString> kinds = {
        {QMailFolder::InboxFolder, QStringLiteral("inbox")},
        {QMailFolder::OutboxFolder, QStringLiteral("outbox")},
        {QMailFolder::DraftsFolder, QStringLiteral("drafts")},
        {QMailFolder::SentFolder, QStringLiteral("sent")},
        {QMailFolder::TrashFolder, QStringLiteral("trash")},
        {QMailFolder::JunkFolder, QStringLiteral("junk")},
    };
    const auto standard = QMailAccount(account).standardFolders();
    return kinds.value(standard.key(folder), QStringLiteral("folder"));
}

QStringList countsOf(const QMailAccountId &account)
{
    QStringList lines;
    const QList<FolderLine> folders = foldersOf(account);
    int total = 0;
    for (const FolderLine &folder : folders) {
        total += folder.total;
        lines.append(QStringLiteral("%1 %2: %3 messages, %4 unread%5")
                         .arg(kindOf(account, folder.id))
                         .arg(folder.id.toULongLong())
                         .arg(folder.total)
                         .arg(folder.unread)
                         .arg(folder.favourite ? QStringLiteral(", favourite") : QString()));
    }
    lines.prepend(QStringLiteral("%1 folders, %2 messages").arg(folders.size()).arg(total));
    return lines;
}

QStringList placesOf(const char *part, const QString &busName)
{
    const QString running = programOf(busName);
    QStringList lines {QStringLiteral("%1 (%2): %3%4")
                           .arg(QLatin1String(part), busName, wordFor(partState(busName)),
                                running.isEmpty() ? QString() : QLatin1String(", ") + running)};
    const QList<BusFile> files = busFiles(busName);
    for (const BusFile &file : files)
        lines.append(QStringLiteral("  started by %1: %2").arg(file.path, file.exec));
    if (files.isEmpty())
        lines.append(QStringLiteral("  no file by which the session bus starts it"));
    return lines;
}

QString variable(const char *name)
{
    return QStringLiteral("%1=%2").arg(QLatin1String(name),
                                       qEnvironmentVariable(name, QStringLiteral("(not set)")));
}

QStringList storeLines()
{
    const QString folder = QMail::dataPath();
    const QStorageInfo disk(folder);
    QStringList lines {QStringLiteral("mail store: %1, %2 MiB free")
                           .arg(folder)
                           .arg(disk.bytesAvailable() / 1024 / 1024)};
    for (const char *name : {"database/qmailstore.db", "asdaemon.db"}) {
        const QFileInfo file(folder + QLatin1Char('/') + QLatin1String(name));
        lines.append(
            file.exists()
                ? QStringLiteral("  %1: %2 KiB").arg(QLatin1String(name)).arg(file.size() / 1024)
                : QStringLiteral("  %1: not there").arg(QLatin1String(name)));
    }
    return lines;
}

} // namespace

TroubleReport::TroubleReport(const Outcome &store)
    : m_store(store)
{
    m_redaction.addMachine();
    if (!m_store.ok())
        return;
    m_accounts = AccountBook::accounts();
    for (const QMailAccountId &id : qAsConst(m_accounts))
        m_redaction.addAccount(AccountBook::details(id));
    const QStringList devices = rememberedDeviceIds();
    for (const QString &device : devices)
        m_redaction.addSecret(device);
}

QString TroubleReport::text()
{
    m_lines.clear();
    m_lines << QStringLiteral("A report by \"orvmail-account report\", %1")
                   .arg(QDateTime::currentDateTimeUtc().toString(Qt::ISODate))
            << QString()
            << QStringLiteral(
                   "Addresses, servers, users and names are replaced by \"(address 1)\" and the "
                   "like, the same by the same. Passwords, subjects and contents of mails are "
                   "not in it. Look through it before you give it away.");
    addVersions();
    addPlaces();
    addStatus();
    addAccounts();
    addLogs();
    return m_lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

void TroubleReport::addSection(const QString &title, const QStringList &lines)
{
    m_lines << QString() << QStringLiteral("== %1 ==").arg(title) << QString() << lines;
}

void TroubleReport::addRedacted(const QString &title, const QStringList &lines)
{
    QStringList redacted;
    for (const QString &line : lines)
        redacted.append(m_redaction.text(line));
    addSection(title, redacted);
}

void TroubleReport::addVersions()
{
    addSection(QStringLiteral("Versions"), partVersions());
}

void TroubleReport::addPlaces()
{
    QStringList lines = placesOf("message server", MessageServerName)
        + placesOf("daemon", QLatin1String(Activesync::ServiceName));
    const QString plugin = pluginFile();
    lines.append(QStringLiteral("plugin: %1%2")
                     .arg(wordFor(pluginState()),
                          plugin.isEmpty() ? QString() : QLatin1String(", ") + plugin));
    const QStringList units = unitFiles();
    for (const QString &unit : units)
        lines.append(QStringLiteral("unit: ") + unit);
    if (units.isEmpty())
        lines.append(QStringLiteral("no unit of the user's service manager"));
    lines += storeLines();
    for (const char *name : {"QMF_DATA", "QT_PLUGIN_PATH", "XDG_DATA_DIRS", "XDG_RUNTIME_DIR",
                             "LANG", Activesync::DebugVariable})
        lines.append(variable(name));
    addRedacted(QStringLiteral("How the parts are found"), lines);
}

void TroubleReport::addStatus()
{
    const QString title = QStringLiteral("Status");
    if (!m_store.ok()) {
        addRedacted(title, {m_store.text});
        return;
    }
    QList<AccountView> views;
    for (const QMailAccountId &id : qAsConst(m_accounts))
        views.append(AccountView::of(id));
    addSection(title, jsonLines(m_redaction.json(withoutMails(objectOf(PartsView::now(), views)))));
}

void TroubleReport::addAccounts()
{
    for (const QMailAccountId &id : qAsConst(m_accounts))
        addSection(QStringLiteral("Account %1").arg(id.toULongLong()),
                   jsonLines(m_redaction.json(accountObject(id))) + countsOf(id));
}

void TroubleReport::addLogs()
{
    const auto add = [this](const QString &title, const DaemonLog &log) {
        addRedacted(title,
                    (log.remark.isEmpty() ? QStringList()
                                          : QStringList {QStringLiteral("(%1)").arg(log.remark)})
                        + log.lines);
    };
    add(QStringLiteral("The daemon's journal"), DaemonLog::journal());
    add(QStringLiteral("The daemon's debug log"), DaemonLog::debugLog());
}

} // namespace Accounts
