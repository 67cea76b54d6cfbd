// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/saving.h"

#include "accounts/advice.h"
#include "accounts/setup/accountbook.h"
#include "accounts/setup/logincheck.h"
#include "accounts/syncmemory.h"
#include "accounts/window/accountpage.h"
#include "accounts/window/taskrun.h"
#include "accounts/window/waitingbar.h"

namespace Accounts {

Saving::Saving(AccountPage &page, WaitingBar &bar, TaskRun &run, QObject *parent)
    : QObject(parent)
    , m_page(page)
    , m_bar(bar)
    , m_run(run)
    , m_timeLimit(LoginCheck::UsualTimeLimit)
{
}

Saving::~Saving() = default;

void Saving::save()
{
    if (m_page.isLoginModified())
        check(true);
    else
        saveUnchecked();
}

void Saving::saveUnchecked()
{
    drop();
    const Outcome wrong = checkDetails(m_page.details());
    m_page.showProblem(wrong);
    if (wrong.ok())
        write(false);
}

void Saving::check(bool forSaving)
{
    drop();
    const AccountDetails details = m_page.details();
    const QMailAccountId id = m_page.account();
    Outcome wrong =
        details.wiped ? wipedOutcome(AccountBook::details(id), id) : checkDetails(details);
    if (wrong.ok() && forSaving && AccountBook::isNameTaken(details.name, id))
        wrong = Outcome::wrongSetting(QStringLiteral("name"),
                                      tr("there is an account of this name already"));
    m_page.showProblem(wrong);
    if (!wrong.ok())
        return;
    m_checked = details.settings;
    m_check = std::make_unique<LoginCheck>(details.settings, deviceId(), LoginCheck::LoginOnly);
    m_check->setTimeLimit(m_timeLimit);
    connect(m_check.get(), &LoginCheck::finished, this,
            [this, forSaving] { checkEnded(forSaving); });
    m_run.setBlocked(true);
    m_bar.waitFor(tr("Trying the login at %1").arg(details.settings.server));
    m_check->start();
}

void Saving::checkEnded(bool forSaving)
{
    const Outcome outcome = adviceFor(m_check->result(), m_checked);
    // It is in the middle of telling.
    m_check.release()->deleteLater();
    m_bar.stop();
    m_run.setBlocked(false);
    if (outcome.code == Eas::Cancelled) {
        m_bar.say(tr("Cancelled."));
        return;
    }
    if (!(m_page.details().settings == m_checked)) {
        m_bar.say(tr("The settings have changed since; test them again."));
        return;
    }
    m_page.showProblem(outcome);
    if (!outcome.ok())
        emit uncheckedOffered(forSaving);
    else if (forSaving)
        write(true);
    else
        m_bar.say(tr("%1 accepts the login.").arg(m_checked.server));
}

void Saving::write(bool isTried)
{
    const AccountDetails details = m_page.details();
    QMailAccountId id = m_page.account();
    const bool isNew = !id.isValid();
    Outcome outcome;
    if (m_page.isOutdated())
        outcome = Outcome::refused(tr("another program has changed this account meanwhile; choose "
                                      "it again in the list to see how it is now"));
    else
        outcome = isNew ? AccountBook::add(details, &id) : AccountBook::update(id, details);
    if (outcome.ok())
        outcome = m_page.saveFavourites();
    m_page.showProblem(outcome);
    if (!outcome.ok())
        return;
    emit uncheckedOffered(false);
    m_page.display(id);
    m_bar.say(tr("Saved."));
    emit saved(id, isNew, isTried);
}

void Saving::cancel()
{
    if (m_check)
        m_check->cancel();
}

void Saving::drop()
{
    emit uncheckedOffered(false);
    if (m_check) {
        m_check.reset();
        m_run.setBlocked(false);
    }
    if (!m_run.isBusy())
        m_bar.stop();
}

} // namespace Accounts
