// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/optionscommand.h"

#include "eas/httpcall.h"
#include "eas/httpstatus.h"
#include "translations/text.h"

namespace Eas {

namespace {

/** Newest first. */
const char *const SpokenVersions[] = {"14.1", "14.0", "12.1"};

QStringList listOf(const QByteArray &header)
{
    QStringList items;
    for (const QByteArray &item : header.split(','))
        items.append(QString::fromLatin1(item.trimmed()));
    return items;
}

Result noServer(int httpStatus)
{
    return httpResult(NotActiveSync, httpStatus,
                      FailureText::english("no ActiveSync server answers at this address"));
}

} // namespace

OptionsCommand::OptionsCommand(Session *session)
    : Command(session)
{
}

QString OptionsCommand::bestVersion(const QByteArray &offered)
{
    const QStringList versions = listOf(offered);
    for (const char *spoken : SpokenVersions) {
        if (versions.contains(QLatin1String(spoken)))
            return QLatin1String(spoken);
    }
    return {};
}

void OptionsCommand::headersArrived(const HttpAnswer &answer)
{
    m_offered = answer.header("MS-ASProtocolVersions");
    m_commands = listOf(answer.header("MS-ASProtocolCommands"));
}

Result OptionsCommand::evaluate()
{
    m_version = bestVersion(m_offered);
    if (!m_version.isEmpty())
        return {};
    if (m_offered.isEmpty())
        return noServer(200);
    return {NotActiveSync,
            FailureText::english("the server speaks only the versions %1")
                .arg(QString::fromLatin1(m_offered))};
}

Result OptionsCommand::evaluateFailure(const HttpAnswer &answer)
{
    // A web server that does not know the method has nothing to do with ActiveSync.
    if (answer.status == 501)
        return noServer(answer.status);
    return answer.result;
}

} // namespace Eas
