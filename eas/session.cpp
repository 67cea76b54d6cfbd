// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/session.h"

#include "eas/command.h"
#include "eas/httpchannel.h"
#include "eas/log.h"
#include "eas/optionscommand.h"
#include "eas/provisioncommand.h"
#include "eas/settingscommand.h"
#include "eas/status.h"

#include <QTimer>

#include <time.h>

namespace Eas {

namespace {

/** Goes on while the machine sleeps: a server's pause does not get longer by that. */
qint64 machineClock()
{
    timespec now {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return qint64(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

} // namespace

Session::Session(const ServerAddress &address, const Credentials &credentials, const Device &device,
                 QObject *parent)
    : QObject(parent)
    , m_address(address)
    , m_credentials(credentials)
    , m_device(device)
    , m_channel(new HttpChannel(this))
    , m_clock(machineClock)
{
    m_channel->setUrl(address.url());
    m_channel->setCredentials(credentials);
    m_channel->setLoginDomains(address.loginDomains());
    connect(m_channel, &HttpChannel::moved, this, &Session::moved);
}

Session::~Session()
{
    delete m_stageCommand;
    abortAll();
}

void Session::setState(const SessionState &state)
{
    m_state = state;
    if (m_state.policyKey.isEmpty()) {
        m_state.policyKey = SessionState().policyKey;
    }
    // What was kept may be older than the account's settings.
    if (!m_state.url.isEmpty() && !m_channel->mayFollow(m_address.url(), m_state.url)) {
        m_state.url.clear();
    }
    m_channel->setUrl(m_state.url.isEmpty() ? m_address.url() : m_state.url);
}

QString Session::serverName() const
{
    return m_channel->url().host();
}

int Session::version() const
{
    return QString(m_state.protocolVersion).remove(QLatin1Char('.')).toInt();
}

void Session::abortAll()
{
    const QList<Command *> commands = m_running;
    for (Command *command : commands) {
        command->abort();
    }
}

void Session::run(Command *command)
{
    for (const Result &result : {m_address.check(), m_credentials.check()}) {
        if (!result.ok()) {
            command->complete(result);
            return;
        }
    }
    if (!m_running.contains(command)) {
        m_running.append(command);
    }
    if (rest(command)) {
        return;
    }
    if (command->needsSession() && (m_stage != NoStage || m_state.protocolVersion.isEmpty())) {
        hold(command, AskingVersion);
    } else {
        command->transfer();
    }
}

/** Whether the command waits, or has ended, because the server wants to be left alone. */
bool Session::rest(Command *command)
{
    const qint64 left = m_restUntil - m_clock();
    if (left <= 0) {
        return false;
    }
    if (left > Limits::WaitForRest) {
        command->complete({ServerFailed, QStringLiteral("the server asks to be left alone"),
                           int((left + 999) / 1000)});
        return true;
    }
    const QPointer<Command> waiting(command);
    QTimer::singleShot(int(left), Qt::PreciseTimer, this, [this, waiting] {
        if (m_running.contains(waiting)) {
            run(waiting);
        }
    });
    return true;
}

/** What a failure means for an account as it is known here. */
Result Session::judged(Command *command, const Result &result)
{
    if (result.retryAfter > 0) {
        m_restUntil = qMax(m_restUntil, m_clock() + qint64(result.retryAfter) * 1000);
    }
    unlearn(result);
    const bool isAnswer = result.ok() || result.status > 0;
    m_state.hasWorked = m_state.hasWorked || (isAnswer && command->needsSession());
    Result judged = result;
    // Whoever stands between, or a server that is being repaired, answers like that for a while.
    if (m_state.hasWorked && result.code == NotActiveSync && result.httpStatus > 0) {
        judged.code = ServerFailed;
    }
    return judged;
}

/** Whether the command goes on later instead of ending with `result`. */
bool Session::handle(Command *command, const Result &result, bool provisionDemanded)
{
    const Stage stage = provisionDemanded || demandsProvision(result.status) ? Provisioning
        : result.status == 165                                               ? SendingDevice
                                                                             : NoStage;
    if (stage == NoStage || !command->needsSession() || (command->m_stagesDone & stage)) {
        return false;
    }
    command->m_stagesDone |= stage;
    hold(command, stage);
    return true;
}

void Session::forget(Command *command)
{
    m_running.removeAll(command);
    m_held.removeAll(command);
    if (m_stage != NoStage && m_held.isEmpty() && m_stageCommand && m_stageCommand != command) {
        m_stage = NoStage;
        m_stageCommand->deleteLater();
        m_stageCommand->disconnect(this);
        m_stageCommand.clear();
    }
}

void Session::hold(Command *command, Stage stage)
{
    m_held.append(command);
    if (m_stage == NoStage) {
        startStage(stage);
    }
}

void Session::startStage(Stage stage)
{
    m_stage = stage;
    switch (stage) {
    case NoStage:
        break;
    case AskingVersion:
        runStage(new OptionsCommand(this), &Session::versionAsked);
        break;
    case Provisioning:
        m_state.policyKey = SessionState().policyKey;
        runStage(new ProvisionCommand(this), &Session::policyAsked);
        break;
    case SendingDevice:
        runStage(new SettingsCommand(this), &Session::deviceSent);
        break;
    }
}

void Session::runStage(Command *command, void (Session::*ended)(Command *))
{
    m_stageCommand = command;
    command->setParent(this);
    connect(command, &Command::finished, this, [this, command, ended] {
        command->deleteLater();
        m_stageCommand.clear();
        (this->*ended)(command);
    });
    command->start();
}

void Session::versionAsked(Command *command)
{
    if (command->result().ok()) {
        m_state.protocolVersion = static_cast<OptionsCommand *>(command)->version();
        emit stateChanged();
    }
    release(command->result());
}

void Session::policyAsked(Command *command)
{
    const auto *provision = static_cast<ProvisionCommand *>(command);
    const Result &result = provision->result();
    if (provision->wipeRequested()) {
        release(result);
        emit wipeRequested();
        return;
    }
    if (!result.ok() || provision->key().isEmpty()) {
        release(result);
        return;
    }
    const QStringList &unmet = provision->policy().unmet();
    if (!unmet.isEmpty()) {
        const QString text = QStringLiteral("the server's policy demands what is not met here: ")
            + unmet.join(QStringLiteral(", "));
        qCWarning(lcEas, "%s", qUtf8Printable(text));
        release({PolicyDemanded, text});
        return;
    }
    m_state.policyKey = provision->key();
    runStage(new ProvisionCommand(this, provision->key()), &Session::policyAcknowledged);
}

void Session::policyAcknowledged(Command *command)
{
    const Result &result = command->result();
    m_state.policyKey =
        result.ok() ? static_cast<ProvisionCommand *>(command)->key() : SessionState().policyKey;
    emit stateChanged();
    release(result);
}

void Session::deviceSent(Command *command)
{
    release(command->result());
}

/** Lets those go on that were held up, or ends them as what they waited for has ended. */
void Session::release(const Result &result)
{
    m_stage = NoStage;
    const QList<Command *> held = m_held;
    m_held.clear();
    for (Command *command : held) {
        // Another one's end may have ended this one.
        if (!m_running.contains(command)) {
            continue;
        }
        if (result.ok()) {
            run(command);
        } else {
            command->complete(result);
        }
    }
}

void Session::moved(const QUrl &url)
{
    m_state.url = url;
    emit stateChanged();
}

/** What was learned may have become wrong: where the server is, and which versions it speaks. */
void Session::unlearn(const Result &result)
{
    SessionState state = m_state;
    if (result.code == NotActiveSync) {
        state.protocolVersion.clear();
    }
    // Not where that would take the login back to a connection without TLS.
    if ((result.code == NoConnection || result.code == NotActiveSync)
        && m_channel->mayFollow(m_channel->url(), m_address.url())) {
        state.url.clear();
    }
    if (state != m_state) {
        setState(state);
        emit stateChanged();
    }
}

} // namespace Eas
