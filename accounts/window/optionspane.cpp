// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/optionspane.h"

#include "accounts/accountoutput.h"
#include "accounts/window/favouritelist.h"
#include "accounts/window/problemlabel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QVBoxLayout>

namespace Accounts {

OptionsPane::OptionsPane(QWidget *parent)
    : QWidget(parent)
    , m_fullName(new QLineEdit(this))
    , m_enabled(new QCheckBox(tr("Use th&is account"), this))
    , m_enabledProblem(new ProblemLabel(m_enabled, this))
    , m_push(new QCheckBox(tr("&Push"), this))
    , m_notifications(new QCheckBox(tr("Tell &me on the desktop"), this))
    , m_keep(new QComboBox(this))
    , m_favourites(new FavouriteList(this))
{
    m_fullName->setObjectName(QStringLiteral("fullName"));
    m_enabled->setObjectName(QStringLiteral("enabled"));
    m_enabledProblem->setObjectName(QStringLiteral("problem-enabled"));
    m_push->setObjectName(QStringLiteral("push"));
    m_notifications->setObjectName(QStringLiteral("notifications"));
    m_keep->setObjectName(QStringLiteral("keep"));
    build();
}

QLabel *OptionsPane::newLabel(const QString &text, QWidget *buddy)
{
    auto *label = new QLabel(text, this);
    label->setBuddy(buddy);
    label->setWordWrap(true);
    return label;
}

void OptionsPane::build()
{
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(
        newLabel(tr("Your &full name, as it goes into the mails that you send"), m_fullName));
    layout->addWidget(m_fullName);
    addSwitch(layout, m_enabled,
              tr("An account that is not used keeps its mail here and fetches no more."));
    layout->addWidget(m_enabledProblem);
    addSwitch(layout, m_push, tr("The server tells of new mail as soon as it has come."));
    addSwitch(layout, m_notifications,
              tr("A notification tells when the password is refused or a mail was not sent."));
    layout->addWidget(newLabel(tr("How far back mail is &kept here"), m_keep));
    layout->addWidget(m_keep, 0, Qt::AlignLeading);
    m_favouritesLabel = newLabel(tr("Fa&vourite folders"), m_favourites);
    layout->addWidget(m_favouritesLabel);
    layout->addWidget(m_favourites, 1);
    layout->addStretch(0);
    setTabOrder(m_fullName, m_enabled);
    setTabOrder(m_enabled, m_push);
    setTabOrder(m_push, m_notifications);
    setTabOrder(m_notifications, m_keep);
    setTabOrder(m_keep, m_favourites);
}

/** A box does not wrap its own text: what explains it stands beneath, and is read aloud with it. */
void OptionsPane::addSwitch(QVBoxLayout *layout, QCheckBox *box, const QString &explanation)
{
    auto *label = new QLabel(explanation, this);
    label->setWordWrap(true);
    label->setIndent(box->style()->pixelMetric(QStyle::PM_IndicatorWidth)
                     + box->style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing));
    box->setToolTip(explanation);
    layout->addWidget(box);
    layout->addWidget(label);
}

/** The choices of "orvmail-account set --keep", and what another program has set. */
void OptionsPane::fillKeep(int days)
{
    QList<int> periods {1, 3, 7, 14, 30, 0};
    if (!periods.contains(days))
        periods.prepend(days);
    m_keep->clear();
    for (const int period : periods)
        m_keep->addItem(keepText(period), period);
    m_keep->setCurrentIndex(periods.indexOf(days));
}

void OptionsPane::display(const QMailAccountId &account, const AccountDetails &details)
{
    m_fullName->setText(details.fullName);
    m_enabled->setChecked(details.enabled);
    m_push->setChecked(details.push);
    m_notifications->setChecked(details.notifications);
    fillKeep(details.keepDays);
    m_favourites->display(account);
    showFolders(m_favourites->count() > 0);
}

void OptionsPane::refreshFolders()
{
    m_favourites->refresh();
    showFolders(m_favourites->count() > 0);
}

void OptionsPane::showFolders(bool areThere)
{
    m_favouritesLabel->setVisible(areThere);
    m_favourites->setVisible(areThere);
}

bool OptionsPane::areFavouritesModified() const
{
    return m_favourites->isModified();
}

void OptionsPane::writeTo(AccountDetails *details) const
{
    details->fullName = m_fullName->text().trimmed();
    details->enabled = m_enabled->isChecked();
    details->push = m_push->isChecked();
    details->notifications = m_notifications->isChecked();
    details->keepDays = m_keep->currentData().toInt();
}

Outcome OptionsPane::saveFavourites()
{
    return m_favourites->save();
}

bool OptionsPane::hasSetting(const QString &setting)
{
    return setting == QLatin1String("enabled");
}

void OptionsPane::showProblem(const Outcome &problem)
{
    if (problem.ok())
        m_enabledProblem->retract();
    else
        m_enabledProblem->tell(problem.text);
}

} // namespace Accounts
