// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/accountpage.h"

#include "accounts/setup/accountbook.h"
#include "accounts/window/accountform.h"
#include "accounts/window/optionspane.h"
#include "accounts/window/outboxpane.h"
#include "accounts/window/statuspane.h"

#include <QTabWidget>
#include <QVBoxLayout>

namespace Accounts {

namespace {

enum Tab { LoginTab, OptionsTab, OutboxTab };

} // namespace

AccountPage::AccountPage(TaskRun &run, QWidget *parent)
    : QWidget(parent)
    , m_status(new StatusPane(this))
    , m_tabs(new QTabWidget(this))
    , m_form(new AccountForm(m_tabs))
    , m_options(new OptionsPane(m_tabs))
    , m_outbox(new OutboxPane(run, m_tabs))
{
    m_tabs->setObjectName(QStringLiteral("tabs"));
    m_tabs->setAccessibleName(tr("Account"));
    m_tabs->addTab(m_form, tr("&Login"));
    m_tabs->addTab(m_options, tr("&Options"));
    m_tabs->addTab(m_outbox, tr("Out&box"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_status);
    layout->addWidget(m_tabs, 1);
    connect(m_outbox, &OutboxPane::told, this, &AccountPage::told);
}

bool AccountPage::hasForm() const
{
    return m_form->hasForm();
}

void AccountPage::display(const QMailAccountId &id)
{
    if (id != m_account)
        m_tabs->setCurrentIndex(LoginTab);
    m_account = id;
    m_status->retract();
    m_form->display(id);
    m_stored = id.isValid() ? AccountBook::details(id) : AccountDetails();
    m_options->display(id, m_stored);
    m_options->showProblem({});
    m_outbox->display(id);
    showOutbox();
    m_shown = details();
    if (m_stored.wiped)
        showProblem(wipedOutcome(m_stored, id));
}

void AccountPage::propose(const AccountSettings &settings)
{
    m_form->propose(settings);
}

/** The number of mails is seen without opening the tab. */
void AccountPage::showOutbox()
{
    m_tabs->setTabVisible(OutboxTab, m_account.isValid());
    const int count = m_outbox->count();
    m_tabs->setTabText(OutboxTab, count == 0 ? tr("Out&box") : tr("Out&box (%1)").arg(count));
}

void AccountPage::showState(const QList<AccountView> &accounts)
{
    for (const AccountView &account : accounts) {
        if (account.id != m_account)
            continue;
        showNews(account.details);
        m_status->tell(account);
        m_options->refreshFolders();
        m_outbox->refresh();
        showOutbox();
        return;
    }
    m_status->retract();
}

/** What another program has changed is shown, unless a person is typing; that the server has taken
 * the account away comes before what is typed: the password is to be gone from here. */
void AccountPage::showNews(const AccountDetails &now)
{
    const bool isWiped = now.wiped && !m_stored.wiped;
    if (isWiped || (now != m_stored && !isModified()))
        display(m_account);
}

void AccountPage::forgetAccount()
{
    m_account = QMailAccountId();
    m_status->retract();
    m_outbox->display(m_account);
    showOutbox();
}

bool AccountPage::isModified() const
{
    return details() != m_shown || m_options->areFavouritesModified();
}

bool AccountPage::isLoginModified() const
{
    const AccountDetails now = details();
    AccountSettings before = m_shown.settings;
    before.email = now.settings.email;
    return !m_account.isValid() || m_shown.wiped || !(now.settings == before);
}

bool AccountPage::isOutdated() const
{
    return m_account.isValid() && !AccountBook::isStill(m_account, m_stored);
}

AccountDetails AccountPage::details() const
{
    AccountDetails details;
    if (m_account.isValid())
        details = AccountBook::details(m_account);
    m_options->writeTo(&details);
    m_form->writeTo(&details);
    return details;
}

Outcome AccountPage::saveFavourites()
{
    return m_options->saveFavourites();
}

void AccountPage::showProblem(const Outcome &problem)
{
    m_form->showProblem({});
    m_options->showProblem({});
    if (problem.ok())
        return;
    const bool isOption = OptionsPane::hasSetting(problem.setting);
    m_tabs->setCurrentIndex(isOption ? OptionsTab : LoginTab);
    if (isOption)
        m_options->showProblem(problem);
    else
        m_form->showProblem(problem);
}

void AccountPage::begin()
{
    m_tabs->setCurrentIndex(LoginTab);
    m_form->begin();
}

void AccountPage::setNarrow(bool narrow)
{
    m_form->setNarrow(narrow);
}

} // namespace Accounts
