// SPDX-License-Identifier: LGPL-2.1-or-later
//
// usage: test-state-writer PATH hold|hammer
//
// Publishes the synchronisation state and never ends by itself. "hold": account 7, running, 500.
// "hammer": a growing number of accounts as fast as it can, the state told by stateOf().

#include "asclient/syncinfoshmwriter.h"
#include "tests/asclient/statepattern.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    if (argc != 3)
        return 2;
    SyncInfoShmWriter writer(QString::fromLocal8Bit(argv[1]));
    if (!writer.isOpen())
        return 1;
    SyncInfoNode node;
    node.accountId = 7;
    node.syncState = SyncInfoNode::SyncRunning;
    node.progress = 500;
    const bool hammers = strcmp(argv[2], "hammer") == 0;
    if (!hammers)
        writer.publish(node);
    puts("ready");
    fflush(stdout);
    if (!hammers) {
        for (;;)
            pause();
    }
    for (quint64 round = 0;; ++round) {
        // Mostly account 1; now and then another one, at last all of them.
        const quint64 accounts = qMin<quint64>(1 + round / 1000, HammeredAccounts);
        node.accountId = round % 16 ? 1 : 1 + round / 16 % accounts;
        node.progress = int(round % 1001);
        node.syncState = stateOf(node.accountId, node.progress);
        writer.publish(node);
    }
}
