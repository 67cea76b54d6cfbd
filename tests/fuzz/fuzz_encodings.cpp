// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What an answer and an attachment are packed in: gzip and base64. The first byte's lowest bit is
// which, the rest of it the length of the pieces.
#include "eas/base64decoder.h"
#include "eas/gzipdecoder.h"
#include "eas/limits.h"
#include "tests/fuzz/require.h"

using namespace Eas;

namespace {

struct Outcome
{
    QByteArray bytes;
    bool ok = true;
    bool complete = false;
};

Outcome unpack(const QByteArray &packed, int step)
{
    GzipDecoder decoder;
    Outcome outcome;
    const auto sink = [&outcome](const QByteArray &piece) {
        outcome.bytes += piece;
        return true;
    };
    int given = 0;
    while (outcome.ok && given < packed.size()) {
        const QByteArray piece = packed.mid(given, step);
        given += piece.size();
        outcome.ok = decoder.decode(piece, sink);
        // One piece may come before the ratio is looked at.
        REQUIRE(outcome.bytes.size()
                <= qMax(Limits::DecompressionGrace, qint64(given) * Limits::DecompressionRatio)
                    + 64 * 1024 + Limits::DecompressionRatio);
    }
    REQUIRE(outcome.ok == decoder.errorString().isEmpty());
    outcome.complete = outcome.ok && decoder.isComplete();
    return outcome;
}

void gzip(const QByteArray &packed, int step)
{
    const Outcome whole = unpack(packed, packed.size());
    const Outcome pieces = unpack(packed, step);
    // The ratio is one of what has come so far: only beyond the grace may the pieces differ.
    if (qMax(whole.bytes.size(), pieces.bytes.size()) < Limits::DecompressionGrace) {
        REQUIRE(whole.ok == pieces.ok && whole.complete == pieces.complete);
        REQUIRE(!whole.ok || whole.bytes == pieces.bytes);
    }
    int calls = 0;
    GzipDecoder().decode(packed, [&calls](const QByteArray &) {
        ++calls;
        return false;
    });
    REQUIRE(calls <= 1);
}

Outcome decode(const QByteArray &text, int step)
{
    Base64Decoder decoder;
    Outcome outcome;
    for (int i = 0; i < text.size(); i += step)
        outcome.bytes += decoder.decode(text.mid(i, step));
    outcome.ok = decoder.isValid();
    outcome.complete = decoder.isComplete();
    return outcome;
}

void base64(const QByteArray &text, int step)
{
    const Outcome whole = decode(text, qMax(1, text.size()));
    const Outcome pieces = decode(text, step);
    REQUIRE(whole.ok == pieces.ok && whole.complete == pieces.complete);
    REQUIRE(whole.bytes == pieces.bytes);
    if (whole.complete)
        REQUIRE(whole.bytes == QByteArray::fromBase64(text));
    const Outcome back = decode(text.toBase64(), step);
    REQUIRE(back.complete && back.bytes == text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 1, int(size) - 1);
    (data[0] & 1 ? base64 : gzip)(bytes, 1 + (data[0] >> 1));
    return 0;
}
