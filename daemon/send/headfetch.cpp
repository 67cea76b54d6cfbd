// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/headfetch.h"

#include "eas/fetchmessagecommand.h"

namespace Daemon {

HeadFetch::HeadFetch(const AccountContext &context, const Eas::ItemLocator &locator,
                     QObject *parent)
    : Task(context, parent)
    , m_locator(locator)
{
}

void HeadFetch::perform()
{
    m_buffer.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    auto *command = new Eas::FetchMessageCommand(m_context.session, m_locator, &m_buffer);
    Eas::BodyPreference preference;
    preference.type = Eas::Mime;
    preference.truncation = HeadBuffer::Size;
    command->setBodyPreference(preference);
    run(command, [this, command] {
        const std::optional<Eas::Body> &body = command->item().body;
        // Only the MIME form begins with a head; a text may look like one.
        if (command->result().ok() && (!body || body->type == Eas::Mime))
            m_bytes = m_buffer.bytes();
        end(command->result());
    });
}

} // namespace Daemon
