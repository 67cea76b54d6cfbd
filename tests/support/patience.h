// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_PATIENCE_H
#define TESTS_SUPPORT_PATIENCE_H

#include <QTest>

/**
 * How long a test waits for what several processes bring about, in milliseconds: longer than a busy
 * machine takes. What has come is seen at once.
 */
constexpr int PatienceMs = 30000;

// Qt Test's own 5 s are for what one process does.
#undef QTRY_VERIFY
#define QTRY_VERIFY(expression) QTRY_VERIFY_WITH_TIMEOUT((expression), PatienceMs)
#undef QTRY_VERIFY2
#define QTRY_VERIFY2(expression, message)                                                          \
    QTRY_VERIFY2_WITH_TIMEOUT((expression), (message), PatienceMs)
#undef QTRY_COMPARE
#define QTRY_COMPARE(expression, expected)                                                         \
    QTRY_COMPARE_WITH_TIMEOUT((expression), expected, PatienceMs)

#endif
