// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonworld.h"

#include "tests/support/busbarrier.h"

#include <qmailaccount.h>
#include <qmailaccountconfiguration.h>
#include <qmailserviceconfiguration.h>
#include <qmailstore.h>
#include <QTest>

namespace {

/** Makes the encoding of passwords public. */
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
        daemon.start()
        && QTest::qWaitFor(
            [this] {
                const int begun = listener.count(QStringLiteral("syncStarted"));
                return begun > 0 && listener.count(QStringLiteral("syncCompleted")) >= begun;
            },
            PatienceMs);
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

void DaemonWorld::keepDays(int days)
{
    QMailAccount stored(account);
    QMailAccountConfiguration configuration(account);
    configuration.serviceConfiguration(QStringLiteral("orvmail"))
        .setValue(QStringLiteral("keepDays"), QString::number(days));
    QVERIFY(QMailStore::instance()->updateAccount(&stored, &configuration));
}

void DaemonWorld::setPush(bool on)
{
    StoreFixture::setCustomField(account, QStringLiteral("pushEnabled"),
                                 on ? QStringLiteral("1") : QString());
}

int DaemonWorld::pings()
{
    const QJsonObject answer =
        server.control("devices", {{QStringLiteral("user"), QStringLiteral("alice")}});
    int pings = 0;
    for (const QJsonValue &device : answer[QStringLiteral("devices")].toArray())
        pings += device[QStringLiteral("pings")].toInt();
    return pings;
}

void DaemonWorld::createFolder(const QString &name)
{
    server.control(
        "folder-create",
        {{QStringLiteral("user"), QStringLiteral("alice")}, {QStringLiteral("folder"), name}});
}

void DaemonWorld::deliver(int n, const QString &prefix, const QString &folder)
{
    for (int i = 1; i <= n; ++i)
        server.deliverText(QStringLiteral("alice"), QStringLiteral("%1 %2").arg(prefix).arg(i),
                           folder);
}

QJsonObject DaemonWorld::atServer(const QString &subject, const QString &folder)
{
    for (const QJsonObject &message : server.messages(QStringLiteral("alice"), folder)) {
        if (message[QStringLiteral("subject")].toString() == subject)
            return message;
    }
    return {};
}

bool DaemonWorld::isReadAtServer(const QString &subject)
{
    return atServer(subject)[QStringLiteral("read")].toBool();
}

void DaemonWorld::changeAtServer(const char *what, const QString &subject,
                                 EasServer::Details details, const QString &folder)
{
    QJsonObject request {{QStringLiteral("user"), QStringLiteral("alice")},
                         {QStringLiteral("folder"), folder},
                         {QStringLiteral("id"), atServer(subject, folder)[QStringLiteral("id")]}};
    for (const auto &[name, value] : details)
        request.insert(QLatin1String(name), value);
    server.control(what, request);
}

bool DaemonWorld::faultsAreTaken()
{
    return QTest::qWaitFor(
        [this] { return server.control("faults")[QStringLiteral("faults")].toArray().isEmpty(); },
        PatienceMs);
}

bool DaemonWorld::passDelaysUntil(const std::function<bool()> &condition)
{
    const auto isMet = [&] {
        if (condition())
            return true;
        server.endDelays();
        return false;
    };
    return QTest::qWaitFor(isMet, PatienceMs);
}

bool DaemonWorld::hearAll()
{
    // What answers is what broadcasts, and in this order.
    const bool isAnswered = proxy.isRequestAlive(0, QDBus::Block).isValid();
    return isAnswered && waitForDelivery(QDBusConnection::sessionBus());
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

QMailMessageId DaemonWorld::find(const QString &subject) const
{
    const auto key = QMailMessageKey::parentAccountId(account) & QMailMessageKey::subject(subject);
    return QMailStore::instance()->queryMessages(key).value(0);
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
