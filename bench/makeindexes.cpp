// SPDX-License-Identifier: LGPL-2.1-or-later
#include "bench/makeindexes.h"

#include "daemon/store/storeindexes.h"

void makeIndexes()
{
    using Store::StoreIndexes;
    while (StoreIndexes().makeNext() == StoreIndexes::Outcome::Changed) { }
    if (StoreIndexes().present() != StoreIndexes::names())
        qFatal("cannot make the indexes");
}
