// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A whole HTTP answer, head and body, as the daemon takes it: statuses, redirects, lengths,
// encodings, Retry-After. It comes from a socket, and ends when the server hangs up.
#include "eas/foldersynccommand.h"
#include "tests/eas/sessionfixture.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/waited.h"

#include <QUrl>

using namespace Eas;

namespace {

/** A redirect to a host of chance would take the fuzzer there. */
bool leadsAway(const QByteArray &bytes)
{
    const QByteArray lower = bytes.toLower();
    for (int at = lower.indexOf("//"); at >= 0; at = lower.indexOf("//", at + 2)) {
        if (!lower.mid(at + 2).startsWith("127.0.0.1"))
            return true;
    }
    return false;
}

void checkAnswer(const QByteArray &bytes)
{
    SessionFixture fixture;
    fixture.server.setAnswer(
        [](const SeenRequest &) { return ScriptedAnswer {ScriptedServer::http(503), true}; });
    fixture.server.enqueue(bytes, true);
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
    command.start();
    REQUIRE(waited([&command] { return command.isFinished(); }, 5000));
    const Result &result = command.result();
    REQUIRE(result.retryAfter >= 0 && result.retryAfter <= Limits::RetryAfter);
    // What was asked again was so because of a redirect, a demand, or a connection that was stale.
    REQUIRE(fixture.server.requests().size() <= 2 + Limits::Redirects + 4);
    const QUrl url = fixture.session->state().url;
    REQUIRE(url.isEmpty() || url.scheme() == QLatin1String("https")
            || url.host() == QLatin1String("127.0.0.1"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    if (!leadsAway(bytes))
        checkAnswer(bytes);
    return 0;
}
