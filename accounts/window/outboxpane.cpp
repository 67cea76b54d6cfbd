// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/outboxpane.h"

#include "accounts/actions/draftreturn.h"
#include "accounts/actions/transmission.h"
#include "accounts/setup/accountbook.h"
#include "accounts/status/outboxview.h"
#include "accounts/window/flowlayout.h"
#include "accounts/window/problemlabel.h"
#include "accounts/window/taskrun.h"

#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace Accounts {

using Activesync::WaitingMail;

namespace {

QString textOf(const WaitingMail &mail, const AccountSettings &settings)
{
    QStringList lines = linesOf(mail, settings);
    for (QString &line : lines)
        line = line.trimmed();
    return lines.join(QLatin1Char('\n'));
}

} // namespace

OutboxPane::OutboxPane(TaskRun &run, QWidget *parent)
    : QWidget(parent)
    , m_run(run)
    , m_list(new QListWidget(this))
    , m_problem(new ProblemLabel(m_list, this))
{
    build();
    connect(&m_run, &TaskRun::busyChanged, this, &OutboxPane::updateButtons);
    connect(m_list, &QListWidget::currentRowChanged, this, &OutboxPane::updateButtons);
    showMails();
}

QPushButton *OutboxPane::newButton(const QString &text, const char *name,
                                   void (OutboxPane::*action)())
{
    auto *button = new QPushButton(text, this);
    button->setObjectName(QLatin1String(name));
    button->setAutoDefault(true);
    connect(button, &QPushButton::clicked, this, action);
    return button;
}

void OutboxPane::build()
{
    m_list->setObjectName(QStringLiteral("outbox"));
    m_list->setAccessibleName(tr("Mail that waits to be sent"));
    m_list->setWordWrap(true);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_problem->setObjectName(QStringLiteral("problem-outbox"));
    m_label = new QLabel(this);
    m_label->setBuddy(m_list);
    m_label->setWordWrap(true);
    auto *buttons = new FlowLayout;
    m_draft = newButton(tr("Put back among the &drafts"), "toDrafts", &OutboxPane::makeDraft);
    m_again = newButton(tr("Try a&gain"), "retry", &OutboxPane::sendAgain);
    buttons->addWidget(m_draft);
    buttons->addWidget(m_again);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_label);
    layout->addWidget(m_list, 1);
    layout->addWidget(m_problem);
    layout->addLayout(buttons);
}

void OutboxPane::display(const QMailAccountId &account)
{
    m_account = account;
    m_mails.clear();
    m_problem->retract();
    showMails();
    refresh();
}

/** Left alone where nothing has changed: a person may be about to press a button. */
void OutboxPane::refresh()
{
    WaitingMails mails;
    const Outcome read = m_account.isValid() ? readOutbox(m_account, &mails) : Outcome();
    if (!read.ok()) {
        m_isUnreadable = true;
        m_label->clear();
        m_problem->note(read.text);
        return;
    }
    if (mails == m_mails && !m_isUnreadable)
        return;
    // What was told is about the mails that were shown.
    m_problem->retract();
    m_isUnreadable = false;
    m_mails = mails;
    showMails();
}

void OutboxPane::showMails()
{
    const quint64 before =
        m_list->currentItem() ? m_list->currentItem()->data(Qt::UserRole).toULongLong() : 0;
    const AccountSettings settings =
        m_account.isValid() ? AccountBook::details(m_account).settings : AccountSettings();
    m_list->clear();
    for (const WaitingMail &mail : qAsConst(m_mails)) {
        auto *item = new QListWidgetItem(textOf(mail, settings), m_list);
        item->setData(Qt::UserRole, mail.message);
        if (mail.message == before)
            m_list->setCurrentItem(item);
    }
    m_label->setText(m_mails.isEmpty() ? tr("Nothing waits to be sent.")
                                       : tr("Mail t&hat waits to be sent"));
    m_list->setVisible(!m_mails.isEmpty());
    m_again->setVisible(!m_mails.isEmpty());
    m_draft->setVisible(!m_mails.isEmpty());
    updateButtons();
}

void OutboxPane::updateButtons()
{
    const bool mayAct = m_list->currentItem() && !m_run.isBusy();
    m_again->setEnabled(mayAct);
    m_draft->setEnabled(mayAct);
}

void OutboxPane::sendAgain()
{
    // As it is shown: the news that come during the question do not change what was agreed to.
    const WaitingMail mail = m_mails.at(m_list->currentRow());
    const QMailAccountId account = m_account;
    m_problem->retract();
    const AccountDetails details = AccountBook::details(account);
    if (mail.state == WaitingMail::Sending)
        m_problem->tell(tr("The mail is being sent just now."));
    else if (!details.enabled)
        m_problem->tell(tr("\"%1\" is not used: see the options.").arg(details.name));
    else if (mail.state != WaitingMail::Doubtful || isWantedAgain(mail))
        m_run.start(std::make_unique<Transmission>(account, mail), tr("Sending"),
                    [this, account](const Outcome &outcome) {
                        taskEnded(account, outcome, tr("The mail is sent."));
                    });
}

/** Only a person can tell whether what may have been sent is to go again. */
bool OutboxPane::isWantedAgain(const WaitingMail &mail)
{
    QMessageBox question(QMessageBox::Question, window()->windowTitle(),
                         mailText(mail, AccountBook::details(m_account).settings),
                         QMessageBox::Yes | QMessageBox::No, this);
    question.setInformativeText(tr("Send it again?"));
    question.setDefaultButton(QMessageBox::No);
    return question.exec() == QMessageBox::Yes;
}

void OutboxPane::makeDraft()
{
    const WaitingMail mail = m_mails.at(m_list->currentRow());
    const QMailAccountId account = m_account;
    m_problem->retract();
    if (mail.state == WaitingMail::Sending) {
        m_problem->tell(tr("The mail is being sent just now."));
        return;
    }
    const QString success = mail.mayHaveBeenSent()
        ? tr("The mail is among the drafts. It may have been sent: look in Sent before you send it "
             "from there.")
        : tr("The mail is among the drafts.");
    m_run.start(std::make_unique<DraftReturn>(account, QMailMessageId(mail.message)),
                tr("Asking the message server"), [this, account, success](const Outcome &outcome) {
                    taskEnded(account, outcome, success);
                });
}

void OutboxPane::taskEnded(const QMailAccountId &account, const Outcome &outcome,
                           const QString &success)
{
    refresh();
    if (outcome.ok())
        emit told(success);
    else if (account == m_account)
        m_problem->tell(outcome.text);
}

} // namespace Accounts
