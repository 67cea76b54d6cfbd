// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/gzipdecoder.h"

#include "eas/limits.h"
#include "translations/text.h"

#include <zlib.h>

namespace Eas {

namespace {

constexpr int PieceSize = 64 * 1024;
/** The largest window, and gzip or zlib, whichever it is. */
constexpr int AnyFormat = 15 + 32;

} // namespace

struct GzipDecoder::Stream : z_stream
{
};

GzipDecoder::GzipDecoder()
    : m_stream(new Stream())
{
    if (inflateInit2(m_stream.get(), AnyFormat) != Z_OK)
        m_error = FailureText::english("no memory to unpack the answer");
}

GzipDecoder::~GzipDecoder()
{
    inflateEnd(m_stream.get());
}

bool GzipDecoder::decode(const QByteArray &packed, const Sink &sink)
{
    QByteArray input = packed;
    m_stream->next_in = reinterpret_cast<Bytef *>(input.data());
    m_stream->avail_in = uInt(input.size());
    m_packed += packed.size();
    QByteArray piece;
    do {
        if (!m_error.isEmpty() || !step(&piece) || (!piece.isEmpty() && !sink(piece)))
            return false;
    } while (!piece.isEmpty() || m_stream->avail_in > 0);
    return true;
}

/** Unpacks one piece, which stays empty where there is nothing more to unpack. */
bool GzipDecoder::step(QByteArray *piece)
{
    // A gzip file may have several members, RFC 1952 2.2.
    if (m_complete && m_stream->avail_in > 0) {
        inflateReset(m_stream.get());
        m_complete = false;
    }
    piece->resize(PieceSize);
    m_stream->next_out = reinterpret_cast<Bytef *>(piece->data());
    m_stream->avail_out = PieceSize;
    const int status = m_complete ? Z_BUF_ERROR : inflate(m_stream.get(), Z_NO_FLUSH);
    piece->resize(PieceSize - int(m_stream->avail_out));
    m_unpacked += piece->size();
    m_complete = m_complete || status == Z_STREAM_END;
    if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) {
        m_error = FailureText::english("the packed answer is damaged");
    } else if (m_unpacked > Limits::DecompressionGrace
               && m_unpacked / Limits::DecompressionRatio > m_packed) {
        m_error = FailureText::english("the packed answer grows beyond %1 times its size")
                      .arg(Limits::DecompressionRatio);
    }
    return m_error.isEmpty();
}

} // namespace Eas
