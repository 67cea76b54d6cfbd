// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonworld.h"

#include <qmailaccount.h>
#include <qmailaccountconfiguration.h>
#include <qmailserviceconfiguration.h>
#include <qmailstore.h>
#include <QTest>

namespace {

/** Opens the encoding of passwords. */
class Encoder : public QMailServiceConfiguration
{
public:
    using QMailServiceConfiguration::encodeValue;
};

} // namespace

DaemonWorld::DaemonWorld()
    : proxy(QDBusConnection::sessionBus(), nullptr)
{
}

DaemonWorld::~DaemonWorld()
{
    endDaemon();
    StoreFixture::clear();
}

bool DaemonWorld::begin()
{
    if (!server.start())
        return false;
    account = StoreFixture::addAccount(settings());
    return startDaemon();
}

bool DaemonWorld::startDaemon()
{
    listener.clear();
    const bool isTold =
        daemon.start() && QTest::qWaitFor([this] {
            const int begun = listener.count(QStringLiteral("syncStarted"));
            return begun > 0 && listener.count(QStringLiteral("syncCompleted")) >= begun;
        });
    listener.clear();
    return isTold;
}

int DaemonWorld::endDaemon()
{
    return daemon.isRunning() ? daemon.end() : 0;
}

StoreFixture::Account DaemonWorld::settings() const
{
    StoreFixture::Account settings;
    settings.port = server.port();
    return settings;
}

void DaemonWorld::changeSettings(const QMailAccountId &id, const StoreFixture::Account &settings)
{
    QMailAccount stored(id);
    QMailAccountConfiguration configuration(id);
    auto &service = configuration.serviceConfiguration(QStringLiteral("orvmail"));
    service.setValue(QStringLiteral("username"), settings.username);
    service.setValue(QStringLiteral("password"), Encoder::encodeValue(settings.password));
    service.setValue(QStringLiteral("server"), settings.server);
    service.setValue(QStringLiteral("port"), QString::number(settings.port));
    service.setValue(QStringLiteral("encryption"), QString::number(settings.encryption));
    QVERIFY(QMailStore::instance()->updateAccount(&stored, &configuration));
}

void DaemonWorld::setEnabled(const QMailAccountId &id, bool enabled)
{
    QMailAccount stored(id);
    stored.setStatus(QMailAccount::Enabled, enabled);
    QVERIFY(QMailStore::instance()->updateAccount(&stored));
}

void DaemonWorld::deliver(int n, const QString &prefix, const QString &folder)
{
    for (int i = 1; i <= n; ++i)
        server.deliverText(QStringLiteral("alice"), QStringLiteral("%1 %2").arg(prefix).arg(i),
                           folder);
}

bool DaemonWorld::faultsAreTaken()
{
    return QTest::qWaitFor(
        [this] { return server.control("faults")[QStringLiteral("faults")].toArray().isEmpty(); });
}

int DaemonWorld::sync(const QMailAccountId &id)
{
    return proxy.sync(id.toULongLong(), QDBus::Block).value();
}

int DaemonWorld::syncFolders(const QStringList &folders, int contentType, int value)
{
    return proxy
        .syncSpecificFolders(account.toULongLong(), folders, contentType, value, QDBus::Block)
        .value();
}

int DaemonWorld::codeOf(int requestId, int timeoutMs)
{
    if (!QTest::qWaitFor([&] { return listener.codeOf(requestId) != 0; }, timeoutMs))
        return 0;
    return listener.codeOf(requestId);
}

QMailFolderId DaemonWorld::folder(const QString &name) const
{
    const auto key = QMailFolderKey::parentAccountId(account) & QMailFolderKey::displayName(name);
    return QMailStore::instance()->queryFolders(key).value(0);
}

QStringList DaemonWorld::subjects(const QString &folderName) const
{
    const auto messages = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::parentFolderId(folder(folderName)), QMailMessageKey::Subject);
    QStringList subjects;
    for (const QMailMessageMetaData &message : messages)
        subjects.append(message.subject());
    subjects.sort();
    return subjects;
}

int DaemonWorld::differentSubjects() const
{
    QStringList all = subjects();
    all.removeDuplicates();
    return all.size();
}

int DaemonWorld::messageCount() const
{
    return QMailStore::instance()->countMessages(QMailMessageKey::parentAccountId(account));
}
