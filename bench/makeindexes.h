// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef BENCH_MAKEINDEXES_H
#define BENCH_MAKEINDEXES_H

/** Gives the mail store the daemon's indexes, as the daemon does at its start. */
void makeIndexes();

#endif
