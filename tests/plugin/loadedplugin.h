// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_PLUGIN_LOADEDPLUGIN_H
#define TESTS_PLUGIN_LOADEDPLUGIN_H

#include "tests/plugin/servicespy.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <qmailmessageservice.h>
#include <QObject>

#include <memory>

/**
 * The service of an account as the loaded plugin makes it, between the daemon's double and a spy:
 * the fixture of tests that use the plugin by its public interface alone. What a client of the
 * message server can see is proved in tests/messageserver.
 */
class LoadedPlugin : public QObject
{
    Q_OBJECT

protected slots:
    /** A daemon, an account with standard folders, and its service. */
    void init();
    void cleanup();

protected:
    quint64 id() const { return m_account.toULongLong(); }
    QMailMessageSource &source() { return m_service->source(); }
    QMailFolderId folder(QMailFolder::StandardFolder kind) const;

    std::unique_ptr<ScriptedDaemon> m_daemon;
    QMailAccountId m_account;
    std::unique_ptr<QMailMessageService> m_service;
    std::unique_ptr<ServiceSpy> m_spy;
};

#endif
