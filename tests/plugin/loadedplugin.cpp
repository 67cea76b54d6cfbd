// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/loadedplugin.h"

#include <QTest>

void LoadedPlugin::init()
{
    m_daemon = std::make_unique<ScriptedDaemon>();
    m_account = StoreFixture::addAccount();
    StoreFixture::addStandardFolders(m_account);
    m_service.reset(
        QMailMessageServiceFactory::createService(QStringLiteral("orvmail"), m_account));
    QVERIFY(m_service);
    m_spy = std::make_unique<ServiceSpy>(m_service.get());
}

void LoadedPlugin::cleanup()
{
    m_service.reset();
    m_daemon.reset();
    StoreFixture::clear();
}

QMailFolderId LoadedPlugin::folder(QMailFolder::StandardFolder kind) const
{
    return QMailAccount(m_account).standardFolder(kind);
}
