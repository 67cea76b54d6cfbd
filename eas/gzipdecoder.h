// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_GZIPDECODER_H
#define EAS_GZIPDECODER_H

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

namespace Eas {

/**
 * Unpacks a gzip stream (RFC 1952) as it arrives, in pieces of a bounded size.
 *
 * Refuses what is damaged and what grows beyond Limits::DecompressionRatio.
 */
class GzipDecoder
{
public:
    /** Takes a piece; false: no more is wanted. */
    using Sink = std::function<bool(const QByteArray &)>;

    GzipDecoder();
    ~GzipDecoder();

    /** Unpacks what has arrived into `sink`; false where that failed or the sink wants no more. */
    bool decode(const QByteArray &packed, const Sink &sink);
    /** Whether the stream was complete. */
    bool isComplete() const { return m_complete; }
    QString errorString() const { return m_error; }

private:
    struct Stream;

    bool step(QByteArray *piece);

    std::unique_ptr<Stream> m_stream;
    qint64 m_packed = 0;
    qint64 m_unpacked = 0;
    bool m_complete = false;
    QString m_error;
};

} // namespace Eas

#endif
