// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/wipe/remotewipe.h"

#include "daemon/log/logging.h"
#include "daemon/store/accountwipe.h"
#include "eas/wipeacknowledgecommand.h"

namespace Daemon {

void RemoteWipe::perform()
{
    qCWarning(lcDaemon) << "account" << m_context.id()
                        << "is emptied and disabled, as its server asks for it";
    run(std::make_unique<Store::AccountWipe>(*m_context.db, m_context.id()),
        [this](const Eas::Result &removed) { acknowledge(removed); });
}

void RemoteWipe::acknowledge(const Eas::Result &removed)
{
    if (!removed.ok())
        qCWarning(lcDaemon) << "account" << m_context.id()
                            << "could not be emptied:" << removed.text;
    auto *command = new Eas::WipeAcknowledgeCommand(m_context.session, removed.ok());
    run(command, [this, command, removed] {
        if (!command->result().ok())
            qCWarning(lcDaemon) << "account" << m_context.id()
                                << "the server could not be told:" << command->result().text;
        if (removed.ok())
            forget();
        else
            end(removed);
    });
}

/** Whether or not the server could be told: what it asked for is done. */
void RemoteWipe::forget()
{
    run(undivided([this] { return Store::AccountWipe::forget(m_context.id()); }),
        [this](const Eas::Result &result) {
            if (!result.ok())
                qCWarning(lcDaemon) << "account" << m_context.id() << result.text;
            end(result);
        });
}

} // namespace Daemon
