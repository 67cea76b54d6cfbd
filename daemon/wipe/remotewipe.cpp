// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/wipe/remotewipe.h"

#include "daemon/bus/logging.h"
#include "daemon/store/accountwipe.h"
#include "daemon/tasks/storecall.h"
#include "daemon/tasks/storejobrunner.h"
#include "eas/wipeacknowledgecommand.h"

namespace Daemon {

RemoteWipe::RemoteWipe(const AccountContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
{
}

void RemoteWipe::start()
{
    qCWarning(lcDaemon) << "account" << m_context.id()
                        << "is emptied and disabled, as its server asks for it";
    auto *runner = new StoreJobRunner(
        std::make_unique<Store::AccountWipe>(*m_context.db, m_context.id()), this);
    connect(runner, &StoreJobRunner::finished, this, &RemoteWipe::acknowledge);
    runner->start();
}

void RemoteWipe::acknowledge(const Eas::Result &removed)
{
    if (!removed.ok())
        qCWarning(lcDaemon) << "account" << m_context.id()
                            << "could not be emptied:" << removed.text;
    auto *command = new Eas::WipeAcknowledgeCommand(m_context.session, removed.ok());
    command->setParent(this);
    connect(command, &Eas::Command::finished, this, [this, command, removed] {
        if (!command->result().ok())
            qCWarning(lcDaemon) << "account" << m_context.id()
                                << "the server could not be told:" << command->result().text;
        if (removed.ok())
            forget();
        else
            emit finished(removed);
    });
    command->start();
}

/** Whether or not the server could be told: what it asked for is done. */
void RemoteWipe::forget()
{
    auto *runner = new StoreJobRunner(
        std::make_unique<StoreCall>(
            m_context.id(), [id = m_context.id()] { return Store::AccountWipe::forget(id); }),
        this);
    connect(runner, &StoreJobRunner::finished, this, [this](const Eas::Result &result) {
        if (!result.ok())
            qCWarning(lcDaemon) << "account" << m_context.id() << result.text;
        emit finished(result);
    });
    runner->start();
}

} // namespace Daemon
