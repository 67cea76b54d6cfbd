// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"

#include <QTest>

void DaemonFixtureBase::initTestCase()
{
    EasServer::require();
}

void DaemonFixtureBase::init()
{
    m_world = makeWorld();
    QVERIFY(begin());
}

void DaemonFixtureBase::cleanup()
{
    const int code = m_world ? m_world->endDaemon() : 0;
    m_world.reset();
    QCOMPARE(code, 0);
}
