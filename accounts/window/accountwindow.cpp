// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/accountwindow.h"

#include "accounts/accountbook.h"
#include "accounts/advice.h"
#include "accounts/logincheck.h"
#include "accounts/report.h"
#include "accounts/synchronisation.h"
#include "accounts/syncmemory.h"
#include "accounts/window/accountform.h"

#include <qmailmessage.h>
#include <qmailstore.h>

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace Accounts {

AccountWindow::AccountWindow(QWidget *parent)
    : QWidget(parent)
    , m_list(new QListWidget(this))
    , m_form(new AccountForm(this))
    , m_status(new QLabel(this))
    , m_timeLimit(LoginCheck::UsualTimeLimit)
{
    setWindowTitle(tr("Mail accounts"));
    if (!isUsable())
        return;
    build();
    QMailStore *store = QMailStore::instance();
    connect(store, &QMailStore::accountsAdded, this, &AccountWindow::refresh);
    connect(store, &QMailStore::accountsRemoved, this, &AccountWindow::refresh);
    connect(store, &QMailStore::accountsUpdated, this, &AccountWindow::refresh);
    connect(m_list, &QListWidget::currentRowChanged, this, &AccountWindow::choose);
    refresh();
    showChosen();
    m_form->begin();
}

AccountWindow::~AccountWindow() = default;

bool AccountWindow::isUsable() const
{
    return m_form->hasForm();
}

QPushButton *AccountWindow::newButton(const QString &text, const QString &name,
                                      void (AccountWindow::*action)())
{
    auto *button = new QPushButton(text, this);
    button->setObjectName(name);
    button->setAutoDefault(true);
    connect(button, &QPushButton::clicked, this, action);
    return button;
}

void AccountWindow::build()
{
    m_list->setAccessibleName(tr("Accounts"));
    m_list->setObjectName(QStringLiteral("accounts"));
    m_status->setObjectName(QStringLiteral("status"));
    m_status->setWordWrap(true);
    auto *listLabel = new QLabel(tr("&Accounts"), this);
    listLabel->setBuddy(m_list);

    auto *left = new QVBoxLayout;
    left->addWidget(listLabel);
    left->addWidget(m_list, 1);
    left->addWidget(newButton(tr("Ne&w account"), QStringLiteral("add"), &AccountWindow::addNew));
    m_remove = newButton(tr("&Remove..."), QStringLiteral("remove"), &AccountWindow::removeChosen);
    left->addWidget(m_remove);

    m_test = newButton(tr("&Test the login"), QStringLiteral("test"), &AccountWindow::testLogin);
    m_save = newButton(tr("&Save"), QStringLiteral("save"), &AccountWindow::save);
    m_saveUnchecked = newButton(tr("Save witho&ut a test"), QStringLiteral("saveUnchecked"),
                                &AccountWindow::saveUnchecked);
    m_saveUnchecked->hide();
    buildWaiting();
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_progress, 1);
    buttons->addStretch(1);
    buttons->addWidget(m_cancel);
    buttons->addWidget(m_test);
    buttons->addWidget(m_saveUnchecked);
    buttons->addWidget(m_save);

    auto *right = new QVBoxLayout;
    right->addWidget(m_form, 1);
    right->addWidget(m_status);
    right->addLayout(buttons);

    auto *both = new QHBoxLayout(this);
    both->addLayout(left, 1);
    both->addLayout(right, 3);
    resize(900, 480);
}

/** What is seen only while something is waited for. */
void AccountWindow::buildWaiting()
{
    m_cancel = newButton(tr("&Cancel"), QStringLiteral("cancel"), &AccountWindow::cancel);
    m_cancel->hide();
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this,
            &AccountWindow::cancel);
    m_progress = new QProgressBar(this);
    m_progress->setAccessibleName(tr("Progress of the first synchronisation"));
    m_progress->hide();
    m_ticker.setInterval(1000);
    connect(&m_ticker, &QTimer::timeout, this, [this] {
        ++m_waited;
        showWaiting();
    });
}

QMailAccountId AccountWindow::chosen() const
{
    const QListWidgetItem *item = m_list->currentItem();
    return item ? QMailAccountId(item->data(Qt::UserRole).toULongLong()) : QMailAccountId();
}

void AccountWindow::addRow(const QString &name, const QMailAccountId &id)
{
    auto *item = new QListWidgetItem(name, m_list);
    item->setData(Qt::UserRole, id.toULongLong());
}

/** Marks the row without showing its account; one that is gone leaves the row of a new one. */
void AccountWindow::select(const QMailAccountId &id)
{
    const QSignalBlocker quiet(m_list);
    m_list->setCurrentRow(0);
    for (int row = 1; row < m_list->count(); ++row) {
        if (m_list->item(row)->data(Qt::UserRole).toULongLong() == id.toULongLong())
            m_list->setCurrentRow(row);
    }
    m_remove->setEnabled(chosen().isValid());
}

/** Brings the list up to date without touching the form: a person may be filling it. */
void AccountWindow::refresh()
{
    const QSignalBlocker quiet(m_list);
    const QMailAccountIdList ids = AccountBook::accounts();
    if (m_form->account().isValid() && !ids.contains(m_form->account())) {
        m_form->forgetAccount();
        say(tr("Another program has removed the account; saving adds it anew."));
    }
    const QMailAccountId current = m_form->account();
    m_list->clear();
    // Always one is chosen: a list without takes its first row when it gets the keyboard's focus.
    addRow(tr("(new account)"), QMailAccountId());
    for (const QMailAccountId &id : ids)
        addRow(AccountBook::details(id).name, id);
    select(current);
}

/** Another row was chosen: shows its account, unless that would throw away what was typed. */
void AccountWindow::choose()
{
    // News from the mail store that come during the question set the list back.
    const QMailAccountId wanted = chosen();
    if (m_form->isModified() && !mayDiscard()) {
        select(m_form->account());
        return;
    }
    select(wanted);
    showChosen();
}

bool AccountWindow::mayDiscard()
{
    QMessageBox question(QMessageBox::Question, windowTitle(),
                         tr("Discard the changes that are not saved?"),
                         QMessageBox::Yes | QMessageBox::No, this);
    question.setDefaultButton(QMessageBox::No);
    return question.exec() == QMessageBox::Yes;
}

void AccountWindow::closeEvent(QCloseEvent *event)
{
    event->setAccepted(!isUsable() || !m_form->isModified() || mayDiscard());
}

void AccountWindow::showChosen()
{
    m_check.reset();
    stopWaiting();
    m_saveUnchecked->hide();
    m_form->display(chosen());
    m_remove->setEnabled(chosen().isValid());
    say(QString());
    const AccountDetails details = m_form->details();
    if (details.wiped)
        m_form->showProblem(wipedOutcome(details));
}

void AccountWindow::addNew()
{
    m_list->setCurrentRow(0);
    m_form->begin();
}

void AccountWindow::removeChosen()
{
    const QMailAccountId id = chosen();
    QMessageBox question(
        QMessageBox::Question, windowTitle(),
        tr("Remove \"%1\" with all its mail from this machine?").arg(AccountBook::details(id).name),
        QMessageBox::Yes | QMessageBox::No, this);
    question.setDefaultButton(QMessageBox::No);
    if (question.exec() != QMessageBox::Yes)
        return;
    const Outcome outcome = AccountBook::remove(id);
    if (outcome.ok())
        select(QMailAccountId());
    showChosen();
    refresh();
    m_form->showProblem(outcome);
    if (outcome.ok())
        say(tr("Removed."));
}

void AccountWindow::testLogin()
{
    check(false);
}

void AccountWindow::save()
{
    check(true);
}

void AccountWindow::saveUnchecked()
{
    const Outcome wrong = checkDetails(m_form->details());
    m_form->showProblem(wrong);
    if (wrong.ok())
        write();
}

void AccountWindow::check(bool forSaving)
{
    const AccountDetails details = m_form->details();
    const Outcome wrong = details.wiped ? wipedOutcome(details) : checkDetails(details);
    m_form->showProblem(wrong);
    m_saveUnchecked->hide();
    say(QString());
    if (!wrong.ok())
        return;
    if (forSaving && AccountBook::isNameTaken(details.name, m_form->account())) {
        m_form->showProblem(Outcome::wrongSetting(QStringLiteral("name"),
                                                  tr("there is an account of this name already")));
        return;
    }
    m_checked = details.settings;
    m_check = std::make_unique<LoginCheck>(details.settings, deviceId(), LoginCheck::LoginOnly);
    m_check->setTimeLimit(m_timeLimit);
    connect(m_check.get(), &LoginCheck::finished, this,
            [this, forSaving] { checkEnded(forSaving); });
    waitFor(tr("Trying the login at %1").arg(details.settings.server));
    m_check->start();
}

void AccountWindow::checkEnded(bool forSaving)
{
    stopWaiting();
    const Outcome outcome = adviceFor(m_check->result(), m_checked);
    if (outcome.code == Eas::Cancelled) {
        say(tr("Cancelled."));
        return;
    }
    if (!(m_form->details().settings == m_checked)) {
        say(tr("The settings have changed since; test them again."));
        return;
    }
    m_form->showProblem(outcome);
    if (!outcome.ok()) {
        m_saveUnchecked->setVisible(forSaving);
        return;
    }
    if (forSaving) {
        const bool isNew = !m_form->account().isValid();
        if (write() && isNew)
            bringMail(m_form->account());
    } else {
        say(tr("%1 accepts the login.").arg(m_checked.server));
    }
}

/** Whether it is saved. */
bool AccountWindow::write()
{
    const AccountDetails details = m_form->details();
    QMailAccountId id = m_form->account();
    const Outcome outcome =
        id.isValid() ? AccountBook::update(id, details) : AccountBook::add(details, &id);
    m_form->showProblem(outcome);
    if (!outcome.ok())
        return false;
    m_saveUnchecked->hide();
    m_form->display(id);
    refresh();
    say(tr("Saved."));
    return true;
}

/** The first synchronisation of a new account; the others can be looked at meanwhile. */
void AccountWindow::bringMail(const QMailAccountId &id)
{
    AccountBook::announce();
    m_firstMail = std::make_unique<Synchronisation>(id);
    connect(m_firstMail.get(), &Synchronisation::finished, this, [this, id] { mailBrought(id); });
    connect(m_firstMail.get(), &Synchronisation::progressed, m_progress, &QProgressBar::setValue);
    m_progress->setValue(0);
    m_progress->show();
    m_test->setEnabled(false);
    m_save->setEnabled(false);
    waitFor(tr("Saved. Bringing the mail of \"%1\"").arg(AccountBook::details(id).name));
    m_firstMail->start();
}

void AccountWindow::mailBrought(const QMailAccountId &id)
{
    const Outcome outcome = m_firstMail->outcome();
    m_firstMail.release()->deleteLater();
    m_test->setEnabled(true);
    m_save->setEnabled(true);
    stopWaiting();
    const QString arrived =
        arrivalText(QMailStore::instance()->countMessages(QMailMessageKey::parentAccountId(id)));
    say(outcome.ok() ? arrived
                     : arrived + QLatin1Char(' ')
                + savedButText(outcome.text, AccountBook::details(id).name));
}

void AccountWindow::cancel()
{
    if (m_firstMail)
        m_firstMail->cancel();
    else if (m_check)
        m_check->cancel();
}

/** Shows what is waited for and since when, and the button that ends it. */
void AccountWindow::waitFor(const QString &what)
{
    m_waitingFor = what;
    m_waited = 0;
    m_cancel->show();
    m_ticker.start();
    showWaiting();
}

void AccountWindow::stopWaiting()
{
    if (m_firstMail)
        return;
    m_ticker.stop();
    m_cancel->hide();
    m_progress->hide();
    say(QString());
}

void AccountWindow::showWaiting()
{
    say(m_waited == 0 ? m_waitingFor + QLatin1String("...")
                      : tr("%1... %2 s").arg(m_waitingFor).arg(m_waited));
}

void AccountWindow::say(const QString &text)
{
    m_status->setText(text);
    m_status->setAccessibleName(text);
}

} // namespace Accounts
