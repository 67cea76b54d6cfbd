// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_SESSION_H
#define EAS_SESSION_H

#include "eas/result.h"
#include "eas/serveraddress.h"
#include "eas/sessionstate.h"

#include <QList>
#include <QObject>
#include <QPointer>

#include <functional>

namespace Eas {

class Command;
class HttpChannel;

/**
 * The conversation with one account's server: everything that commands need and do not do
 * themselves.
 *
 * Asks for the protocol's version before the first command, provisions when the server demands it
 * and then repeats the command that was refused, once for each demand; follows the server to
 * another URL. Commands may run at the same time. Nothing is sent unless a command is started.
 * While the server asks to be left alone, commands wait, or fail unsent where that takes long.
 */
class Session : public QObject
{
    Q_OBJECT

public:
    Session(const ServerAddress &address, const Credentials &credentials, const Device &device,
            QObject *parent = nullptr);
    ~Session() override;

    /** What was learned so far; hand it back to the next session of the same account and address.
     */
    SessionState state() const { return m_state; }
    void setState(const SessionState &state);

    const Device &device() const { return m_device; }
    const Credentials &credentials() const { return m_credentials; }
    HttpChannel *channel() const { return m_channel; }

    /** The host that is asked, for people to read. */
    QString serverName() const;
    /** "14.1" and the like as a number that can be compared: 141. 0 as long as it is not known. */
    int version() const;

    /** Milliseconds of a clock that never goes back, for how long the server is left alone; the
     * machine's own by default. */
    void setClock(std::function<qint64()> clock) { m_clock = std::move(clock); }

    /** How many commands the server has answered, the login being right: it shows whether the end
     * of some work says anything about the server. */
    int answers() const { return m_answers; }

    /** Ends every command that runs, with Cancelled. */
    void abortAll();

signals:
    /** state() has changed and should be kept. */
    void stateChanged();
    /**
     * The server asks to remove the account's data from here, and has refused the command for that
     * reason. Who removes the data reports it with a WipeAcknowledgeCommand.
     */
    void wipeRequested();

private:
    friend class Command;

    /** What is done for commands that are held up meanwhile. */
    enum Stage { NoStage = 0, AskingVersion = 1, Provisioning = 2, SendingDevice = 4 };

    void run(Command *command);
    bool rest(Command *command);
    Result interpret(Command *command, const Result &result);
    static Stage stageFor(Outcome outcome);
    bool handle(Command *command, const Result &result);
    void forget(Command *command);
    void hold(Command *command, Stage stage);
    void startStage(Stage stage);
    void runStage(Command *command, void (Session::*ended)(Command *));
    void versionAsked(Command *command);
    void policyAsked(Command *command);
    void policyAcknowledged(Command *command);
    void deviceSent(Command *command);
    void release(const Result &result);
    void moved(const QUrl &url);
    void unlearn(const Result &result);

    ServerAddress m_address;
    Credentials m_credentials;
    Device m_device;
    SessionState m_state;
    HttpChannel *m_channel;
    std::function<qint64()> m_clock;
    /** Until then, by the clock, the server has asked to be left alone. */
    qint64 m_restUntil = 0;
    int m_answers = 0;
    Stage m_stage = NoStage;
    QPointer<Command> m_stageCommand;
    QList<Command *> m_running;
    /** Those of the running ones that wait until the stage is over. */
    QList<Command *> m_held;
};

} // namespace Eas

#endif
