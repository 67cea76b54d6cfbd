// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/headfetch.h"

#include "daemon/store/incoming/mimeguard.h"
#include "eas/fetchmessagecommand.h"

namespace Daemon {

HeadFetch::HeadFetch(const AccountContext &context, const Eas::ItemLocator &locator,
                     QObject *parent)
    : Task(context, parent)
    , m_locator(locator)
{
}

QMailMessage HeadFetch::message() const
{
    const int end = qMax(m_bytes.indexOf("\n\n"), m_bytes.indexOf("\n\r\n"));
    for (const QByteArray &bytes : {m_bytes, m_bytes.left(end + 1)}) {
        if (Store::MimeGuard::isHarmless(bytes))
            return QMailMessage::fromRfc2822(bytes);
    }
    return {};
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
