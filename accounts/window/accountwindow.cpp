// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/accountwindow.h"

#include "accounts/setup/accountbook.h"
#include "accounts/window/accountlist.h"
#include "accounts/window/accountpage.h"
#include "accounts/window/firstpage.h"
#include "accounts/window/flowlayout.h"
#include "accounts/window/mailfetch.h"
#include "accounts/window/removal.h"
#include "accounts/window/saving.h"
#include "accounts/window/taskrun.h"
#include "accounts/window/waitingbar.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>

namespace Accounts {

namespace {

/** A phone's screen, held upright. */
constexpr QSize SmallestSize(320, 400);

/** Lines of text: below this width the list stands above the page. */
constexpr int NarrowWidth = 40;

} // namespace

AccountWindow::AccountWindow(QWidget *parent)
    : QWidget(parent)
    , m_list(new AccountList(this))
    , m_bar(new WaitingBar(this))
    , m_run(new TaskRun(*m_bar, this))
    , m_first(new FirstPage(*m_bar, this))
    , m_page(new AccountPage(*m_run, this))
    , m_saving(new Saving(*m_page, *m_bar, *m_run, this))
    , m_fetch(new MailFetch(*m_bar, *m_run, this))
{
    setWindowTitle(tr("Mail accounts"));
    if (!isUsable())
        return;
    build();
    connectParts();
    refresh();
    showChosen();
    m_first->begin();
}

AccountWindow::~AccountWindow() = default;

bool AccountWindow::isUsable() const
{
    return m_page->hasForm();
}

void AccountWindow::setTimeLimit(int milliseconds)
{
    m_saving->setTimeLimit(milliseconds);
    m_first->setTimeLimit(milliseconds);
}

QPushButton *AccountWindow::newButton(const QString &text, const char *name)
{
    auto *button = new QPushButton(text, this);
    button->setObjectName(QLatin1String(name));
    button->setAutoDefault(true);
    return button;
}

void AccountWindow::build()
{
    m_synchronise = newButton(tr("S&ynchronise now"), "synchronise");
    m_test = newButton(tr("&Test the login"), "test");
    m_saveUnchecked = newButton(tr("Save witho&ut a test"), "saveUnchecked");
    m_save = newButton(tr("&Save"), "save");
    auto *buttons = new FlowLayout;
    for (QPushButton *button : {m_synchronise, m_test, m_saveUnchecked, m_save})
        buttons->addWidget(button);

    auto *right = new QVBoxLayout;
    m_pages = newPages();
    right->addWidget(m_pages, 1);
    right->addWidget(m_bar);
    right->addLayout(buttons);
    m_both = new QBoxLayout(QBoxLayout::LeftToRight, this);
    m_both->addWidget(newSide());
    m_both->addLayout(right);
    setNarrow(false);
    addShortcuts();
    setTabOrder(m_list, m_add);
    setTabOrder(m_add, m_remove);
    setMinimumSize(SmallestSize);
    resize(900, 680);
}

/** The list and what is done with it. */
QWidget *AccountWindow::newSide()
{
    auto *side = new QWidget(this);
    auto *label = new QLabel(tr("&Accounts"), side);
    label->setBuddy(m_list);
    m_add = newButton(tr("Ne&w account"), "add");
    m_remove = newButton(tr("&Remove..."), "remove");
    auto *buttons = new FlowLayout;
    buttons->addWidget(m_add);
    buttons->addWidget(m_remove);
    auto *layout = new QVBoxLayout(side);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(label);
    layout->addWidget(m_list, 1);
    layout->addLayout(buttons);
    return side;
}

/** The pages, of which one is shown. What needs more height than there is can be scrolled to. */
QScrollArea *AccountWindow::newPages()
{
    auto *pages = new QWidget;
    auto *layout = new QVBoxLayout(pages);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_first, 1);
    layout->addWidget(m_page, 1);
    auto *area = new QScrollArea(this);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidgetResizable(true);
    area->setWidget(pages);
    return area;
}

void AccountWindow::addShortcuts()
{
    const auto add = [this](const QKeySequence &keys, void (AccountWindow::*action)()) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, action);
    };
    add(Qt::Key_Escape, &AccountWindow::cancel);
    add(Qt::Key_F5, &AccountWindow::synchronise);
    connect(new QShortcut(Qt::CTRL + Qt::Key_Q, this), &QShortcut::activated, this,
            &QWidget::close);
}

void AccountWindow::connectParts()
{
    connect(&m_watch, &StatusWatch::changed, this, &AccountWindow::refresh);
    connect(m_list, &AccountList::currentRowChanged, this, &AccountWindow::choose);
    connect(m_bar, &WaitingBar::cancelled, this, &AccountWindow::cancel);
    connect(m_run, &TaskRun::busyChanged, this, &AccountWindow::updateButtons);
    connect(m_first, &FirstPage::serverFound, this, &AccountWindow::saveFound);
    connect(m_first, &FirstPage::formWanted, this, &AccountWindow::showForm);
    connect(m_page, &AccountPage::told, m_bar, &WaitingBar::say);
    connect(m_saving, &Saving::uncheckedOffered, m_saveUnchecked, &QWidget::setVisible);
    connect(m_saving, &Saving::saved, this, &AccountWindow::onSaved);
    connect(qApp, &QApplication::focusChanged, this, &AccountWindow::showFocused,
            Qt::QueuedConnection);
    connectButtons();
}

void AccountWindow::connectButtons()
{
    const auto clicked = &QPushButton::clicked;
    connect(m_add, clicked, this, &AccountWindow::addNew);
    connect(m_remove, clicked, this, &AccountWindow::removeChosen);
    connect(m_synchronise, clicked, this, &AccountWindow::synchronise);
    connect(m_test, clicked, m_saving, &Saving::test);
    connect(m_saveUnchecked, clicked, m_saving, &Saving::saveUnchecked);
    connect(m_save, clicked, m_saving, &Saving::save);
}

/** What has the cursor is to be seen, with what is told beneath it. */
void AccountWindow::showFocused()
{
    QWidget *focused = focusWidget();
    if (focused && m_pages->widget()->isAncestorOf(focused))
        m_pages->ensureWidgetVisible(focused);
}

void AccountWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (m_both)
        setNarrow(width() < NarrowWidth * fontMetrics().lineSpacing());
}

void AccountWindow::setNarrow(bool narrow)
{
    m_both->setDirection(narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    m_both->setStretch(0, narrow ? 0 : 2);
    m_both->setStretch(1, narrow ? 1 : 5);
    m_list->setMaximumHeight(narrow ? 6 * fontMetrics().lineSpacing() : QWIDGETSIZE_MAX);
    m_page->setNarrow(narrow);
}

/** What cannot be done just now cannot be pressed. */
void AccountWindow::updateButtons()
{
    const bool isThere = m_list->chosen().isValid();
    m_remove->setEnabled(isThere && !m_run->hasTask());
    m_synchronise->setVisible(isThere);
    m_synchronise->setEnabled(!m_run->isBusy());
    m_test->setVisible(!m_isFirst);
    m_test->setEnabled(!m_run->hasTask());
    m_save->setVisible(!m_isFirst);
    m_save->setEnabled(!m_run->hasTask());
    m_first->setSearchAllowed(!m_run->isBusy());
}

void AccountWindow::select(const QMailAccountId &id)
{
    m_list->select(id);
    updateButtons();
}

/** Brings all up to date but what a person may be changing. */
void AccountWindow::refresh()
{
    const QMailAccountIdList ids = AccountBook::accounts();
    if (m_page->account().isValid() && !ids.contains(m_page->account())) {
        m_page->forgetAccount();
        m_bar->say(tr("Another program has removed the account; saving adds it anew."));
    }
    m_accounts.clear();
    for (const QMailAccountId &id : ids)
        m_accounts.append(AccountView::of(id));
    m_list->setAccounts(m_accounts);
    select(m_page->account());
    m_page->showState(m_accounts);
}

bool AccountWindow::isModified() const
{
    return m_isFirst ? m_first->isModified() : m_page->isModified();
}

/** Another row was chosen: shows its account, unless that would throw away what was typed. */
void AccountWindow::choose()
{
    // News that come during the question set the list back.
    const QMailAccountId wanted = m_list->chosen();
    if (isModified() && !mayDiscard()) {
        select(m_page->account());
        return;
    }
    select(wanted);
    showChosen();
}

bool AccountWindow::mayDiscard()
{
    // What is tried for saving it would end, and save it, while the question is open.
    m_saving->drop();
    m_first->cancel();
    QMessageBox question(QMessageBox::Question, windowTitle(),
                         tr("Discard the changes that are not saved?"),
                         QMessageBox::Yes | QMessageBox::No, this);
    question.setDefaultButton(QMessageBox::No);
    return question.exec() == QMessageBox::Yes;
}

void AccountWindow::closeEvent(QCloseEvent *event)
{
    event->setAccepted(!isUsable() || !isModified() || mayDiscard());
}

void AccountWindow::showChosen()
{
    const QMailAccountId id = m_list->chosen();
    m_first->clear();
    m_saving->drop();
    m_page->display(id);
    m_page->showState(m_accounts);
    showFirstPage(!id.isValid());
}

void AccountWindow::showFirstPage(bool first)
{
    m_isFirst = first;
    m_first->setVisible(first);
    m_page->setVisible(!first);
    updateButtons();
}

/** The person enters what could not be found. */
void AccountWindow::showForm(const AccountSettings &settings, const Outcome &problem)
{
    m_page->propose(settings);
    showFirstPage(false);
    m_page->begin();
    m_page->showProblem(problem);
}

void AccountWindow::addNew()
{
    if (m_list->chosen().isValid())
        m_list->setCurrentRow(0);
    else if (!isModified() || mayDiscard())
        showChosen();
    if (m_isFirst)
        m_first->begin();
}

void AccountWindow::removeChosen()
{
    const QMailAccountId id = m_list->chosen();
    if (!Removal::isWanted(id, this))
        return;
    const Outcome outcome = AccountBook::remove(id);
    if (outcome.ok()) {
        select(QMailAccountId());
        showChosen();
        m_bar->say(tr("Removed."));
    } else {
        m_page->showProblem(outcome);
    }
    refresh();
}

/** What was found is tried and saved like what a person has entered. */
void AccountWindow::saveFound(const AccountSettings &settings)
{
    showForm(settings, {});
    m_saving->save();
}

void AccountWindow::onSaved(const QMailAccountId &id, bool isNew, bool isTried)
{
    refresh();
    if (isNew && isTried && AccountBook::details(id).enabled)
        m_fetch->bringFirst(id);
}

void AccountWindow::synchronise()
{
    const QMailAccountId id = m_list->chosen();
    if (!id.isValid() || m_run->isBusy())
        return;
    const Outcome hindrance = MailFetch::check(id);
    m_page->showProblem(hindrance);
    if (hindrance.ok())
        m_fetch->synchronise(id);
}

void AccountWindow::cancel()
{
    m_run->cancel();
    m_first->cancel();
    m_saving->cancel();
}

} // namespace Accounts
