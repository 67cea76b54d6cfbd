// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/session.h"

#include "eas/command.h"
#include "eas/httpchannel.h"
#include "eas/log.h"
#include "eas/optionscommand.h"
#include "eas/provisioncommand.h"
#include "eas/settingscommand.h"
#include "translations/text.h"

#include <QTimer>

#include <time.h>

namespace Eas {

namespace {

/** Goes on while the machine sleeps: sleep counts towards a pause that the server asks for. */
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
    if (m_state.policyKey.isEmpty())
        m_state.policyKey = SessionState().policyKey;
    // What was kept may be older than the account's settings.
    if (!m_state.url.isEmpty() && !m_channel->mayFollow(m_address.url(), m_state.url))
        m_state.url.clear();
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
    for (Command *command : commands)
        command->abort();
}

void Session::run(Command *command)
{
    for (const Result &result : {m_address.check(), m_credentials.check()}) {
        if (!result.ok()) {
            command->complete(result);
            return;
        }
    }
    if (!m_running.contains(command))
        m_running.append(command);
    if (rest(command))
        return;
    if (command->needsSession() && (m_stage != NoStage || m_state.protocolVersion.isEmpty()))
        hold(command, AskingVersion);
    else
        command->transfer();
}

/** Has the command wait, or end, while the server asks to be left alone; whether it did. */
bool Session::rest(Command *command)
{
    const qint64 left = m_restUntil - m_clock();
    if (left <= 0)
        return false;
    if (left > Limits::AwaitedRetryAfter) {
        command->complete({ServerFailed, FailureText::english("the server asks to be left alone"),
                           int((left + 999) / 1000)});
        return true;
    }
    const QPointer<Command> waiting(command);
    QTimer::singleShot(int(left), Qt::PreciseTimer, this, [this, waiting] {
        if (m_running.contains(waiting))
            run(waiting);
    });
    return true;
}

/** Learns from a command's result, and corrects it by what is known of the server. */
Result Session::interpret(Command *command, const Result &result)
{
    if (result.retryAfter > 0)
        m_restUntil = qMax(m_restUntil, m_clock() + qint64(result.retryAfter) * 1000);
    unlearn(result);
    const bool isAnswer = result.ok() || result.isStatus();
    if (isAnswer && command->needsSession()) {
        m_state.hasWorked = true;
        ++m_answers;
    }
    Result meaning = result;
    // A proxy, or a server under maintenance, answers like that for a while.
    if (m_state.hasWorked && result.code == NotActiveSync && result.source == Source::Http)
        meaning.code = ServerFailed;
    return meaning;
}

Session::Stage Session::stageFor(Outcome outcome)
{
    switch (outcome) {
    case Outcome::ProvisionWanted:
    case Outcome::WipeWanted: // believed only where Provision repeats it, as it destroys data
        return Provisioning;
    case Outcome::DeviceWanted:
        return SendingDevice;
    default:
        return NoStage;
    }
}

/** Whether the command goes on later instead of ending with `result`. */
bool Session::handle(Command *command, const Result &result)
{
    const Stage stage = stageFor(result.outcome);
    if (stage == NoStage || !command->needsSession() || (command->m_stagesDone & stage))
        return false;
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
    if (m_stage == NoStage)
        startStage(stage);
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
        const QString text =
            FailureText::english("the server's policy demands what is not met here: %1")
                .arg(unmet.join(QStringLiteral(", ")));
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

/** Runs the commands that were held, or ends them with the failure of the stage. */
void Session::release(const Result &result)
{
    m_stage = NoStage;
    const QList<Command *> held = m_held;
    m_held.clear();
    for (Command *command : held) {
        // The end of another command may have ended this one.
        if (!m_running.contains(command))
            continue;
        if (result.ok())
            run(command);
        else
            command->complete(result);
    }
}

void Session::moved(const QUrl &url)
{
    m_state.url = url;
    emit stateChanged();
}

/** Forgets the URL and the version where they may be the reason of a failure. */
void Session::unlearn(const Result &result)
{
    SessionState state = m_state;
    if (result.code == NotActiveSync)
        state.protocolVersion.clear();
    // Not where that would take the login back to a connection without TLS.
    if ((result.code == NoConnection || result.code == NotActiveSync)
        && m_channel->mayFollow(m_channel->url(), m_address.url()))
        state.url.clear();
    if (state != m_state) {
        setState(state);
        emit stateChanged();
    }
}

} // namespace Eas
