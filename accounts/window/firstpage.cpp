// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/firstpage.h"

#include "accounts/setup/accountdetails.h"
#include "accounts/setup/autodiscover.h"
#include "accounts/window/flowlayout.h"
#include "accounts/window/problemlabel.h"
#include "accounts/window/waitingbar.h"
#include "eas/serveraddress.h"

#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace Accounts {

FirstPage::FirstPage(WaitingBar &bar, QWidget *parent)
    : QWidget(parent)
    , m_bar(bar)
    , m_address(new QLineEdit(this))
    , m_password(new QLineEdit(this))
    , m_addressProblem(new ProblemLabel(m_address, this))
    , m_passwordProblem(new ProblemLabel(m_password, this))
    , m_timeLimit(LoginCheck::UsualTimeLimit)
{
    build();
}

FirstPage::~FirstPage() = default;

QPushButton *FirstPage::newButton(const QString &text, const char *name,
                                  void (FirstPage::*action)())
{
    auto *button = new QPushButton(text, this);
    button->setObjectName(QLatin1String(name));
    button->setAutoDefault(true);
    connect(button, &QPushButton::clicked, this, action);
    return button;
}

void FirstPage::build()
{
    auto *introduction = new QLabel(tr("Enter your mail address and its password: the server is "
                                       "found from them."),
                                    this);
    introduction->setWordWrap(true);
    m_address->setObjectName(QStringLiteral("firstAddress"));
    m_address->setPlaceholderText(tr("name@example.com"));
    m_address->setInputMethodHints(Qt::ImhEmailCharactersOnly);
    m_addressProblem->setObjectName(QStringLiteral("firstProblem-email"));
    m_password->setObjectName(QStringLiteral("firstPassword"));
    m_password->setEchoMode(QLineEdit::Password);
    m_passwordProblem->setObjectName(QStringLiteral("firstProblem-password"));
    auto *addressLabel = new QLabel(tr("&Mail address"), this);
    addressLabel->setBuddy(m_address);
    auto *passwordLabel = new QLabel(tr("&Password"), this);
    passwordLabel->setBuddy(m_password);
    connect(m_address, &QLineEdit::returnPressed, this, &FirstPage::search);
    connect(m_password, &QLineEdit::returnPressed, this, &FirstPage::search);

    auto *buttons = new FlowLayout;
    buttons->addWidget(
        newButton(tr("&Enter the server yourself"), "byHand", &FirstPage::leaveForForm));
    m_find = newButton(tr("&Find the server"), "find", &FirstPage::search);
    buttons->addWidget(m_find);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget :
         std::initializer_list<QWidget *> {introduction, addressLabel, m_address, m_addressProblem,
                                           passwordLabel, m_password, m_passwordProblem})
        layout->addWidget(widget);
    layout->addLayout(buttons);
    layout->addStretch(1);
    setTabOrder(m_address, m_password);
    setTabOrder(m_password, m_find);
}

void FirstPage::clear()
{
    m_search.reset();
    setSearching(false);
    m_loginRefused = false;
    m_address->clear();
    m_password->clear();
    m_addressProblem->retract();
    m_passwordProblem->retract();
}

bool FirstPage::isModified() const
{
    return !m_address->text().isEmpty() || !m_password->text().isEmpty();
}

void FirstPage::begin()
{
    m_address->setFocus();
}

void FirstPage::setSearchAllowed(bool allowed)
{
    m_find->setEnabled(allowed);
}

AccountSettings FirstPage::typed() const
{
    AccountSettings settings;
    settings.email = m_address->text().trimmed();
    settings.userName = settings.email;
    settings.password = m_password->text();
    settings.port = 443;
    settings.encryption = 1;
    return settings;
}

Outcome FirstPage::check(const AccountSettings &settings) const
{
    if (settings.password.isEmpty() && isMailAddress(settings.email))
        return Outcome::wrongSetting(QStringLiteral("password"), tr("the password is missing"));
    AccountDetails details;
    details.name = settings.email;
    details.settings = settings;
    return checkSearchDetails(details);
}

void FirstPage::search()
{
    if (m_search || !m_find->isEnabled())
        return;
    const AccountSettings settings = typed();
    m_addressProblem->retract();
    m_passwordProblem->retract();
    m_bar.say(QString());
    const Outcome wrong = check(settings);
    if (!wrong.ok()) {
        (wrong.setting == QLatin1String("password") ? m_passwordProblem : m_addressProblem)
            ->tell(wrong.text);
        return;
    }
    m_search = std::make_unique<Autodiscover>(
        settings.email, Eas::Credentials {settings.userName, settings.password, {}}.login(),
        settings.password, [this](const QString &host) { return isTrusted(host); });
    m_search->setTimeLimit(m_timeLimit);
    connect(m_search.get(), &Autodiscover::finished, this, &FirstPage::searchEnded);
    setSearching(true);
    m_bar.waitFor(tr("Looking for the server of %1").arg(settings.email));
    m_search->start();
}

/** What was searched with stays as it is until the end. */
void FirstPage::setSearching(bool searching)
{
    m_address->setReadOnly(searching);
    m_password->setReadOnly(searching);
}

bool FirstPage::isTrusted(const QString &host)
{
    QMessageBox question(QMessageBox::Question, window()->windowTitle(),
                         tr("The search leads to %1, which is not part of your address.").arg(host),
                         QMessageBox::Yes | QMessageBox::No, this);
    question.setInformativeText(tr("Send your address and your password there?"));
    question.setDefaultButton(QMessageBox::No);
    return question.exec() == QMessageBox::Yes;
}

void FirstPage::searchEnded()
{
    Autodiscover *search = m_search.release();
    search->deleteLater();
    setSearching(false);
    m_bar.stop();
    const Eas::Result result = search->result();
    AccountSettings settings = typed();
    if (result.ok()) {
        settings.server = search->server().host();
        settings.port = search->server().port(443);
        emit serverFound(settings);
    } else if (result.code == Eas::Cancelled) {
        m_bar.say(result.text.isEmpty() ? tr("Cancelled.") : result.text);
    } else if (result.code == Eas::LoginRefused && !m_loginRefused) {
        // It may be the wrong password, or a host that knows nothing of it.
        m_loginRefused = true;
        m_passwordProblem->tell(result.text);
    } else {
        emit formWanted(settings,
                        Outcome::wrongSetting(
                            QStringLiteral("server"),
                            tr("The server was not found; enter it here. (%1)").arg(result.text)));
    }
}

void FirstPage::cancel()
{
    if (m_search)
        m_search->cancel();
}

void FirstPage::leaveForForm()
{
    if (m_search)
        return;
    emit formWanted(typed(), {});
}

} // namespace Accounts
