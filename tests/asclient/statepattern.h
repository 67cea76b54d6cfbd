// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_ASCLIENT_STATEPATTERN_H
#define TESTS_ASCLIENT_STATEPATTERN_H

#include <QtGlobal>

/** How many accounts the hammering writer publishes at last. */
constexpr quint64 HammeredAccounts = 50;

/** The state that belongs to this progress of this account: any mixture of two updates shows. */
inline int stateOf(quint64 accountId, int progress)
{
    return int(quint32(progress + 1) * 2654435761u ^ quint32(accountId) * 40503u);
}

#endif
