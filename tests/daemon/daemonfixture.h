// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_DAEMONFIXTURE_H
#define TESTS_DAEMON_DAEMONFIXTURE_H

#include "tests/daemon/daemonworld.h"

#include <QObject>

#include <memory>

/** What tests of the whole daemon begin and end with; derive from DaemonFixture. */
class DaemonFixtureBase : public QObject
{
    Q_OBJECT

protected slots:
    /** Skips all where the test server cannot run. */
    void initTestCase();
    /** A world that has begun, for each test. */
    void init();
    /** The daemon ends in order. */
    void cleanup();

protected:
    virtual std::unique_ptr<DaemonWorld> makeWorld() const = 0;
    /** What init() begins with in the new world. */
    virtual bool begin() { return m_world->begin(); }

    std::unique_ptr<DaemonWorld> m_world;
};

/** The same with the world that the tests want. */
template <typename World>
class DaemonFixture : public DaemonFixtureBase
{
protected:
    World &world() const { return static_cast<World &>(*m_world); }

private:
    std::unique_ptr<DaemonWorld> makeWorld() const final { return std::make_unique<World>(); }
};

#endif
