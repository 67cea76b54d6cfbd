// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_HEADBUFFER_H
#define DAEMON_SEND_HEADBUFFER_H

#include <QByteArray>
#include <QIODevice>

namespace Daemon {

/** Keeps the first bytes that are written to it, and lets the rest go by: not all servers cut. */
class HeadBuffer : public QIODevice
{
    Q_OBJECT

public:
    /** So much is kept: all of a head but for very long lists of recipients. */
    static constexpr int Size = 51200;

    QByteArray bytes() const { return m_bytes; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 size) override;

private:
    QByteArray m_bytes;
};

} // namespace Daemon

#endif
