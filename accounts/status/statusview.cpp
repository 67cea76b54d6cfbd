// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/status/statusview.h"

#include "accounts/advice.h"
#include "accounts/setup/accountbook.h"
#include "accounts/status/outboxview.h"
#include "asclient/asdbusinterface.h"
#include "manual/typedname.h"
#include "translations/text.h"
#include "translations/translation.h"

#include <QDateTime>
#include <QJsonArray>
#include <QLocale>

#include <algorithm>

namespace Accounts {

using Activesync::AccountStatus;
using Activesync::WaitingMail;

namespace {

/** Labels are as wide as the widest, and at least so wide. */
constexpr int PartLabelWidth = 15;
constexpr int AccountLabelWidth = 13;

QStringList linesOf(const QList<StatusRow> &rows, int width)
{
    for (const StatusRow &row : rows)
        width = std::max(width, row.label.size());
    QStringList lines;
    for (const StatusRow &row : rows)
        lines += QStringLiteral("%1 %2").arg(row.label, -width).arg(row.value);
    return lines;
}

QString sentence(const QString &text)
{
    return text.endsWith(QLatin1Char('.')) ? text : text + QLatin1Char('.');
}

QString textOf(PartState state, const QString &startedBy)
{
    switch (state) {
    case PartState::Running:
        return Text::tr("running");
    case PartState::Activatable:
        return Text::tr("not running; the session bus starts it when it is needed");
    case PartState::NoBus:
        return Text::tr(
            "not known: there is no session bus here; log in to a session that has one");
    default:
        return Text::tr("absent: not running, and the session bus does not know it; %1")
            .arg(startedBy);
    }
}

QString textOf(PluginState state)
{
    switch (state) {
    case PluginState::Loaded:
        return Text::tr("loaded");
    case PluginState::NotLoaded:
        return Text::tr("not loaded by the message server that runs; log out and in again");
    case PluginState::NotInstalled:
        return Text::tr("not found; install orvmail completely and log in again");
    default:
        return Text::tr("not known, as no message server is seen to run");
    }
}

QString pluginText(const PartsView &parts)
{
    return parts.plugin == PluginState::Loaded && !parts.pluginVersion.isEmpty()
        ? Text::tr("loaded, version %1").arg(parts.pluginVersion)
        : textOf(parts.plugin);
}

QString syncText(const AccountView &account)
{
    const AccountStatus &status = account.status;
    if (status.isSyncing)
        return Text::tr("just now, not over yet");
    if (status.syncedAt == 0)
        return Text::tr("not yet");
    if (status.syncCode == Eas::Success)
        return Text::tr("%1, successfully").arg(timeText(status.syncedAt));
    const QString before = status.succeededAt == 0
        ? Text::tr("never successfully before")
        : Text::tr("last successfully %1").arg(timeText(status.succeededAt));
    return Text::tr("%1, failed: %2 (%3)")
        .arg(timeText(status.syncedAt), Translation::ofFailure(status.syncText), before);
}

QString pushText(const AccountView &account)
{
    const AccountStatus &status = account.status;
    if (!account.details.push)
        return Text::tr("off");
    if (!account.isLive)
        return Text::tr("on, but no daemon waits for news");
    const QString because = Translation::ofFailure(status.pushText);
    switch (status.push) {
    case AccountStatus::PushWaiting:
        return because.isEmpty()
            ? Text::tr("on, connected since %1").arg(timeText(status.pushSince))
            : Text::tr("on, trying again: %1").arg(because);
    case AccountStatus::PushPaused:
        return because.isEmpty()
            ? Text::tr("on, not connected until %1").arg(timeText(status.pushRetryAt))
            : Text::tr("on, not connected until %1: %2").arg(timeText(status.pushRetryAt), because);
    case AccountStatus::PushStopped:
        return because.isEmpty() ? Text::tr("stopped") : Text::tr("stopped: %1").arg(because);
    case AccountStatus::PushBusy:
        return Text::tr("on, news is being fetched");
    default:
        return Text::tr("on, not begun yet");
    }
}

QString changesText(int changes)
{
    if (changes == 0)
        return Text::tr("all at the server");
    return changes == 1
        ? Text::tr("1 change made here is not at the server yet")
        : Text::tr("%Ln changes made here are not at the server yet", nullptr, changes);
}

QString outboxText(const AccountView &account)
{
    const int count = account.status.outbox.size();
    return count == 0 ? Text::tr("none") : QString::number(count);
}

QJsonObject objectOf(const AccountView &account)
{
    const AccountStatus &status = account.status;
    const auto number = [](qint64 value) { return double(value); };
    return {
        {QStringLiteral("id"), double(account.id.toULongLong())},
        {QStringLiteral("name"), account.details.name},
        {QStringLiteral("email"), account.details.settings.email},
        {QStringLiteral("enabled"), account.details.enabled},
        {QStringLiteral("wiped"), account.details.wiped},
        {QStringLiteral("live"), account.isLive},
        {QStringLiteral("problems"), QJsonArray::fromStringList(account.problems())},
        {QStringLiteral("sync"),
         QJsonObject {{QStringLiteral("running"), status.isSyncing},
                      {QStringLiteral("at"), number(status.syncedAt)},
                      {QStringLiteral("code"), status.syncCode},
                      {QStringLiteral("text"), status.syncText},
                      {QStringLiteral("succeededAt"), number(status.succeededAt)}}},
        {QStringLiteral("error"),
         QJsonObject {{QStringLiteral("code"), status.errorCode},
                      {QStringLiteral("text"), status.errorText}}},
        {QStringLiteral("loginRefusedAt"), number(status.loginRefusedAt)},
        {QStringLiteral("policyUnmetAt"), number(status.policyUnmetAt)},
        {QStringLiteral("push"),
         QJsonObject {{QStringLiteral("on"), account.details.push},
                      {QStringLiteral("state"), status.pushName()},
                      {QStringLiteral("since"), number(status.pushSince)},
                      {QStringLiteral("code"), status.pushCode},
                      {QStringLiteral("text"), status.pushText},
                      {QStringLiteral("retryAt"), number(status.pushRetryAt)}}},
        {QStringLiteral("changes"), status.changes},
        {QStringLiteral("outbox"), outboxArray(status.outbox, account.details.settings)},
    };
}

} // namespace

PartsView PartsView::now()
{
    PartsView parts;
    parts.messageServer = partState(MessageServerName);
    parts.plugin = pluginState();
    parts.pluginVersion = Accounts::pluginVersion(pluginFile());
    parts.daemon = partState(QLatin1String(Activesync::ServiceName));
    if (parts.daemon == PartState::Running)
        parts.daemonInfo = Accounts::daemonInfo();
    return parts;
}

bool PartsView::areRunning() const
{
    return messageServer == PartState::Running && daemon == PartState::Running
        && (plugin == PluginState::Loaded || plugin == PluginState::Unknown);
}

AccountView AccountView::of(const QMailAccountId &id)
{
    AccountView view;
    view.id = id;
    view.details = AccountBook::details(id);
    const auto told = daemonStatusOf(id);
    view.isLive = told.has_value();
    if (told)
        view.status = *told;
    else
        view.unreadable = readRememberedStatus(id, &view.status).text;
    return view;
}

QStringList AccountView::problems() const
{
    if (details.wiped)
        return {sentence(wipedOutcome(details, id).text)};
    QStringList found;
    if (!unreadable.isEmpty())
        found.append(Text::tr("What the daemon has noted cannot be read: %1.").arg(unreadable));
    if (status.loginRefusedAt > 0)
        found.append(Text::tr("%1 refuses the user name or the password since %2; "
                              "\"orvmail-account set %3 --ask-password\" takes another.")
                         .arg(details.settings.server, timeText(status.loginRefusedAt),
                              Manual::typedName(details.name, id.toULongLong())));
    if (status.policyUnmetAt > 0)
        found.append(Text::tr("%1 demands a policy that is not met here, since %2; ask its "
                              "administrator.")
                         .arg(details.settings.server, timeText(status.policyUnmetAt)));
    found += failures();
    for (const WaitingMail &mail : status.outbox) {
        if (mail.state != WaitingMail::Waiting && mail.state != WaitingMail::Sending)
            found.append(sentence(mailText(mail, details.settings)));
    }
    return found;
}

/** Each failure that is not over, once: of the last work, the last synchronisation, push. */
QStringList AccountView::failures() const
{
    QStringList found;
    QList<int> told {0, Eas::Success, Eas::Cancelled};
    // A message or a recipient that the server does not have is no matter of the account; what the
    // outbox says of its mails is told there.
    QList<int> toldElsewhere {Eas::NotFound};
    for (const WaitingMail &mail : status.outbox)
        toldElsewhere.append(mail.code);
    if (status.loginRefusedAt > 0)
        told.append(Eas::LoginRefused);
    if (status.policyUnmetAt > 0)
        told.append(Eas::PolicyDemanded);
    const auto tell = [&](int code, const QString &text, const QString &title) {
        if (told.contains(code))
            return;
        told.append(code);
        found.append(title + sentence(adviceForLastError({code, text}, details.settings).text));
    };
    if (!toldElsewhere.contains(status.errorCode))
        tell(status.errorCode, status.errorText, QString());
    // Later work for the account has succeeded, so that these two are over.
    told += {Eas::LoginRefused, Eas::PolicyDemanded};
    if (!status.isSyncing)
        tell(status.syncCode, status.syncText, Text::tr("The last synchronisation failed: "));
    if (status.push == AccountStatus::PushPaused || status.push == AccountStatus::PushStopped)
        tell(status.pushCode, status.pushText, Text::tr("Push does not work: "));
    return found;
}

QStringList linesOf(const PartsView &parts)
{
    QString daemon = textOf(parts.daemon, Text::tr("install orvmail completely"));
    if (!parts.daemonInfo.version.isEmpty())
        daemon = Text::tr("%1, version %2, since %3")
                     .arg(daemon, parts.daemonInfo.version, timeText(parts.daemonInfo.since));
    return linesOf({{Text::tr("message server"),
                     textOf(parts.messageServer, Text::tr("install QMF's message server"))},
                    {Text::tr("plugin"), pluginText(parts)},
                    {Text::tr("daemon"), daemon}},
                   PartLabelWidth);
}

QList<StatusRow> rowsOf(const AccountView &account)
{
    if (account.details.wiped)
        return {};
    return {{Text::tr("synchronised"), syncText(account)},
            {Text::tr("push"), pushText(account)},
            {Text::tr("changes"), changesText(account.status.changes)},
            {Text::tr("mail to send"), outboxText(account)}};
}

QStringList linesOf(const AccountView &account)
{
    QList<StatusRow> rows = rowsOf(account);
    // The window has a page for it.
    if (!rows.isEmpty() && !account.status.outbox.isEmpty())
        rows.last().value =
            Text::tr("%1; \"orvmail-account outbox %2\" tells more")
                .arg(rows.last().value,
                     Manual::typedName(account.details.name, account.id.toULongLong()));
    const QStringList problems = account.problems();
    for (const QString &problem : problems)
        rows.append({QStringLiteral("!"), problem});
    QStringList lines {
        (account.details.enabled ? QStringLiteral("%1  <%2>") : Text::tr("%1  <%2>  (not enabled)"))
            .arg(account.details.name, account.details.settings.email)};
    const QStringList told = linesOf(rows, AccountLabelWidth);
    for (const QString &line : told)
        lines += QLatin1String("  ") + line;
    return lines;
}

QJsonObject objectOf(const PartsView &parts, const QList<AccountView> &accounts)
{
    QJsonArray array;
    for (const AccountView &account : accounts)
        array.append(objectOf(account));
    return {
        {QStringLiteral("messageServer"), wordFor(parts.messageServer)},
        {QStringLiteral("plugin"), wordFor(parts.plugin)},
        {QStringLiteral("pluginVersion"), parts.pluginVersion},
        {QStringLiteral("daemon"),
         QJsonObject {{QStringLiteral("state"), wordFor(parts.daemon)},
                      {QStringLiteral("version"), parts.daemonInfo.version},
                      {QStringLiteral("since"), double(parts.daemonInfo.since)}}},
        {QStringLiteral("accounts"), array},
    };
}

QString timeText(qint64 seconds)
{
    const QDateTime time = QDateTime::fromSecsSinceEpoch(seconds);
    const QLocale locale;
    return locale.language() == QLocale::C ? time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                                           : locale.toString(time, QLocale::ShortFormat);
}

} // namespace Accounts
