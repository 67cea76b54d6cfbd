// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/setup/logincheck.h"

#include "eas/foldersynccommand.h"
#include "eas/optionscommand.h"
#include "eas/session.h"
#include "eas/synckey.h"
#include "translations/text.h"

#include <QHash>

namespace Accounts {

namespace {

/** Deeper than any real tree; a parent that is its own ancestor must not hang the program. */
constexpr int MaximumDepth = 64;

} // namespace

LoginCheck::LoginCheck(const AccountSettings &settings, const QString &deviceId, Depth depth,
                       QObject *parent)
    : QObject(parent)
    , m_depth(depth)
{
    Eas::Device device;
    device.id = deviceId.isEmpty() ? QStringLiteral("orvmail") : deviceId;
    m_session = std::make_unique<Eas::Session>(
        Eas::ServerAddress {settings.server, settings.port, settings.encryption, settings.email},
        Eas::Credentials {settings.userName, settings.password, settings.domain}, device);
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(UsualTimeLimit);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_timedOut = true;
        m_session->abortAll();
    });
}

LoginCheck::~LoginCheck() = default;

void LoginCheck::start()
{
    m_options = std::make_unique<Eas::OptionsCommand>(m_session.get());
    connect(m_options.get(), &Eas::Command::finished, this, &LoginCheck::optionsEnded);
    m_timer.start();
    m_options->start();
}

void LoginCheck::cancel()
{
    m_session->abortAll();
}

void LoginCheck::optionsEnded()
{
    if (!m_options->result().ok() || m_depth == LoginOnly) {
        m_version = m_options->version();
        end(m_options->result());
        return;
    }
    m_version = m_options->version();
    m_folderSync = std::make_unique<Eas::FolderSyncCommand>(m_session.get(), Eas::FirstKey);
    connect(m_folderSync.get(), &Eas::Command::finished, this, &LoginCheck::folderSyncEnded);
    m_folderSync->start();
}

void LoginCheck::folderSyncEnded()
{
    m_folders = folderPaths(m_folderSync->changes().added);
    end(m_folderSync->result());
}

void LoginCheck::end(const Eas::Result &result)
{
    m_timer.stop();
    m_result = result;
    if (m_timedOut && result.code == Eas::Cancelled)
        m_result = {Eas::Timeout,
                    FailureText::english("no answer within %1 s").arg(m_timer.interval() / 1000)};
    emit finished();
}

QStringList folderPaths(const QList<Eas::FolderRecord> &records)
{
    QHash<Eas::FolderId, Eas::FolderRecord> byId;
    for (const Eas::FolderRecord &record : records)
        byId.insert(record.serverId, record);
    QStringList paths;
    for (const Eas::FolderRecord &record : records) {
        if (!record.isMail())
            continue;
        QString path = record.displayName;
        Eas::FolderId parent = record.parentId;
        for (int depth = 0; byId.contains(parent) && depth < MaximumDepth; ++depth) {
            path.prepend(byId.value(parent).displayName + QLatin1Char('/'));
            parent = byId.value(parent).parentId;
        }
        paths.append(path);
    }
    paths.sort(Qt::CaseInsensitive);
    return paths;
}

} // namespace Accounts
