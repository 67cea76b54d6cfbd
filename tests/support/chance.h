// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_CHANCE_H
#define TESTS_SUPPORT_CHANCE_H

#include <QRandomGenerator>
#include <QTest>

#include <cstdio>

/**
 * The seed of this run's choices, printed: ORVMAIL_TEST_SEED, 1 where it is not set, and another
 * one in each run where it is 0.
 */
inline quint32 testSeed()
{
    bool given = false;
    quint32 seed = qEnvironmentVariable("ORVMAIL_TEST_SEED").toUInt(&given);
    if (!given)
        seed = 1;
    if (seed == 0)
        seed = (QRandomGenerator::global()->generate() >> 1) | 1;
    qInfo("ORVMAIL_TEST_SEED=%u", seed);
    return seed;
}

/** Tells how often the current test function ran its race; ./dev test collects these lines. */
inline void tellRounds(int rounds)
{
    const char *tag = QTest::currentDataTag();
    std::printf("RACE   : %s::%s(%s) %d rounds\n", QTest::testObject()->metaObject()->className(),
                QTest::currentTestFunction(), tag ? tag : "", rounds);
    std::fflush(stdout);
}

#endif
