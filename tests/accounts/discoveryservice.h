// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_ACCOUNTS_DISCOVERYSERVICE_H
#define TESTS_ACCOUNTS_DISCOVERYSERVICE_H

#include "tests/eas/scriptedserver.h"

/** An Autodiscover service of the world that with_names makes; it tells everybody the same server.
 */
class DiscoveryService : public ScriptedServer
{
public:
    explicit DiscoveryService(quint16 port);

    /** The server's URL. */
    void tell(const QString &server);
    /** Says nothing to whoever asks. */
    void keepSilent() { m_document.clear(); }

private:
    QByteArray m_document;
};

#endif
