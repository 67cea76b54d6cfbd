// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_SETUP_LOGINCHECK_H
#define ACCOUNTS_SETUP_LOGINCHECK_H

#include "eas/folderchanges.h"
#include "eas/result.h"
#include "plugin/settings/accountsettings.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <memory>

namespace Eas {
class Command;
class FolderSyncCommand;
class OptionsCommand;
class Session;
} // namespace Eas

namespace Accounts {

/**
 * Tries settings at the server, without touching the mail store.
 *
 * With folders it asks for the folder tree from its beginning, which makes the server forget how
 * far the device has synchronised: for an account that is not in use yet.
 */
class LoginCheck : public QObject
{
    Q_OBJECT

public:
    enum Depth { LoginOnly, WithFolders };

    /** Milliseconds: for how long a person waits who sets an account up. */
    static constexpr int UsualTimeLimit = 20 * 1000;

    /** `deviceId`: what the daemon calls this installation, so that the server sees one device. */
    LoginCheck(const AccountSettings &settings, const QString &deviceId, Depth depth,
               QObject *parent = nullptr);
    ~LoginCheck() override;

    /** Milliseconds after which it ends with Timeout. */
    void setTimeLimit(int milliseconds) { m_timer.setInterval(milliseconds); }
    void start();
    /** Ends it with Cancelled. */
    void cancel();

    const Eas::Result &result() const { return m_result; }
    /** The protocol's version that will be spoken; after success. */
    QString version() const { return m_version; }
    /** Paths of the mail folders at the server, sorted; after success. */
    QStringList folders() const { return m_folders; }

signals:
    void finished();

private:
    void optionsEnded();
    void folderSyncEnded();
    void end(const Eas::Result &result);

    QTimer m_timer;
    bool m_timedOut = false;
    std::unique_ptr<Eas::Session> m_session;
    std::unique_ptr<Eas::OptionsCommand> m_options;
    std::unique_ptr<Eas::FolderSyncCommand> m_folderSync;
    Depth m_depth;
    Eas::Result m_result;
    QString m_version;
    QStringList m_folders;
};

/** Paths such as "Work/Old" of the mail folders among `records`, sorted. */
QStringList folderPaths(const QList<Eas::FolderRecord> &records);

} // namespace Accounts

#endif
