// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_SESSION_H
#define EAS_SESSION_H

#include "daemon/eas/result.h"
#include "daemon/eas/serveraddress.h"
#include "daemon/eas/sessionstate.h"

#include <QList>
#include <QObject>
#include <QPointer>

namespace Eas {

class Command;
class HttpChannel;

/**
 * The conversation with one account's server: everything that commands need and do not do
 * themselves.
 *
 * Asks for the protocol's version before the first command, provisions when the server demands it
 * and repeats the command that was held up, follows the server to another URL. Commands may run at
 * the same time. Nothing is sent unless a command is started, and nothing is repeated by itself but
 * once after a demand that was met.
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

    /** "14.1" and the like as a number that can be compared: 141. 0 as long as it is not known. */
    int version() const;

    /** Ends every command that runs, with Cancelled. */
    void abortAll();

signals:
    /** state() has changed and should be kept. */
    void stateChanged();
    /**
     * The server asks to remove the account's data from here, and has refused the command for that
     * reason. Whoever does so tells it with a WipeAcknowledgeCommand.
     */
    void wipeRequested();

private:
    friend class Command;

    enum Stage { Idle, AskingVersion, Provisioning, SendingDevice };

    void run(Command *command);
    void forget(Command *command);
    void hold(Command *command, Stage stage);
    void startStage(Stage stage);
    void endStage(Command *command, const Result &result);
    void release(const Result &result);
    void followTo(const QUrl &url);

    ServerAddress m_address;
    Credentials m_credentials;
    Device m_device;
    SessionState m_state;
    HttpChannel *m_channel;
    Stage m_stage = Idle;
    /** Waiting until the stage is over. */
    QList<QPointer<Command>> m_held;
    QList<QPointer<Command>> m_running;
};

} // namespace Eas

#endif
