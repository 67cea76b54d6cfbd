// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_BASE64SINK_H
#define DAEMON_STORE_OUTGOING_BASE64SINK_H

#include <QByteArray>
#include <QIODevice>

namespace Store {

/** Writes what it is given to another device in base64, in lines of 76 characters (RFC 2045 6.8).
 */
class Base64Sink : public QIODevice
{
public:
    /** The target must outlive it. */
    explicit Base64Sink(QIODevice *target);

    /** Writes what is left, with an end of line; false where something could not be written. */
    bool finish();

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 size) override;

private:
    void writeLines(const char *data, int size);

    QIODevice *const m_target;
    QByteArray m_rest;  ///< less than a line
    QByteArray m_lines; ///< that were written last
    bool m_failed = false;
};

} // namespace Store

#endif
