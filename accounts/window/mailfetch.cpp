// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/mailfetch.h"

#include "accounts/accountoutput.h"
#include "accounts/actions/synchronisation.h"
#include "accounts/setup/accountbook.h"
#include "accounts/window/taskrun.h"
#include "accounts/window/waitingbar.h"

#include <qmailmessage.h>
#include <qmailstore.h>

#include <memory>

namespace Accounts {

namespace {

QString differenceText(const QList<FolderDifference> &differences)
{
    int added = 0, changed = 0, removed = 0;
    for (const FolderDifference &difference : differences) {
        added += difference.added;
        changed += difference.changed;
        removed += difference.removed;
    }
    if (differences.isEmpty())
        return MailFetch::tr("Synchronised: nothing has changed.");
    return MailFetch::tr("Synchronised. New: %1, changed: %2, gone: %3")
        .arg(added)
        .arg(changed)
        .arg(removed);
}

} // namespace

MailFetch::MailFetch(WaitingBar &bar, TaskRun &run, QObject *parent)
    : QObject(parent)
    , m_bar(bar)
    , m_run(run)
{
}

Outcome MailFetch::check(const QMailAccountId &id)
{
    const AccountDetails details = AccountBook::details(id);
    if (details.wiped)
        return wipedOutcome(details, id);
    if (details.enabled)
        return {};
    return Outcome::wrongSetting(QStringLiteral("enabled"),
                                 tr("It is not synchronised, as it is not used. Tick this and save "
                                    "it."));
}

void MailFetch::start(const QMailAccountId &id, const QString &title, const Ended &ended)
{
    AccountBook::announce();
    auto task = std::make_unique<Synchronisation>(id);
    const Synchronisation *synchronisation = task.get();
    connect(synchronisation, &Synchronisation::progressed, &m_bar, &WaitingBar::showProgress);
    m_run.start(std::move(task), title, [ended, synchronisation](const Outcome &outcome) {
        ended(outcome, synchronisation->differences());
    });
    m_bar.showProgress(0);
}

void MailFetch::synchronise(const QMailAccountId &id)
{
    start(id, tr("Synchronising \"%1\"").arg(AccountBook::details(id).name),
          [this](const Outcome &outcome, const QList<FolderDifference> &differences) {
              m_bar.say(outcome.ok() ? differenceText(differences) : outcome.text);
          });
}

void MailFetch::bringFirst(const QMailAccountId &id)
{
    const QString name = AccountBook::details(id).name;
    start(id, tr("Saved. Bringing the mail of \"%1\"").arg(name),
          [this, id](const Outcome &outcome, const auto &) {
              const int messages =
                  QMailStore::instance()->countMessages(QMailMessageKey::parentAccountId(id));
              QString text = arrivalText(messages);
              if (!outcome.ok())
                  text += QLatin1Char(' ') + savedButText(outcome.text, id);
              m_bar.say(text);
          });
}

} // namespace Accounts
