// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/requestbody.h"

#include "eas/tcpdelay.h"
#include "translations/text.h"

#include <QBuffer>

namespace Eas {

RequestBody::RequestBody()
{
    open(ReadOnly | Unbuffered);
}

RequestBody::~RequestBody() = default;

void RequestBody::add(const QByteArray &bytes)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(bytes);
    buffer->open(ReadOnly);
    add(std::move(buffer), bytes.size());
}

void RequestBody::add(std::unique_ptr<QIODevice> device, qint64 size)
{
    m_parts.push_back({std::move(device), size});
    m_size += size;
}

bool RequestBody::seek(qint64 pos)
{
    return !m_begun && pos == 0 && QIODevice::seek(0);
}

qint64 RequestBody::readData(char *data, qint64 maxSize)
{
    while (m_current < m_parts.size() && m_parts[m_current].left == 0)
        ++m_current;
    if (m_current == m_parts.size())
        return 0;
    if (!m_begun) {
        // The first read: the connection is open by now, and the header is written.
        TcpDelay::switchOff();
    }
    m_begun = true;
    Part &part = m_parts[m_current];
    const qint64 size = part.device->read(data, qMin(maxSize, part.left));
    if (size <= 0) {
        setErrorString(FailureText::english("what is to be sent ends too early"));
        return -1;
    }
    part.left -= size;
    return size;
}

} // namespace Eas
