// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_PLUGIN_KEYTREE_H
#define TESTS_PLUGIN_KEYTREE_H

#include <qmailmessagekey.h>
#include <QRandomGenerator>
#include <QVariant>

/**
 * A message key as plain data, so that a test can make any that can arrive, also those that QMF's
 * own operators would never build.
 */
struct KeyTree
{
    struct Argument
    {
        int property = 0;
        int comparator = 0;
        QVariantList values;
    };

    int combiner = 0;
    bool negated = false;
    QList<Argument> arguments;
    QList<KeyTree> subKeys;

    QMailMessageKey toKey() const;

    /** A tree of at most `depth` levels whose arguments `makeArgument` makes. */
    template <typename MakeArgument>
    static KeyTree random(QRandomGenerator &generator, int depth, MakeArgument makeArgument)
    {
        KeyTree tree;
        // Mostly And and Or; None and a number that names no combiner now and then.
        static const int combiners[] = {1, 1, 1, 2, 2, 2, 0, 3};
        tree.combiner = combiners[generator.bounded(8)];
        tree.negated = generator.bounded(10) < 3;
        for (int count = generator.bounded(4); count > 0; --count)
            tree.arguments += makeArgument();
        for (int count = depth > 1 ? generator.bounded(4) : 0; count > 0; --count)
            tree.subKeys += random(generator, depth - 1, makeArgument);
        return tree;
    }
};

#endif
