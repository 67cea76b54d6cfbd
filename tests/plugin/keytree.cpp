// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/keytree.h"

#include <QDataStream>
#include <QDebug>

namespace {

void write(QDataStream &stream, const KeyTree &tree)
{
    stream << tree.combiner << tree.negated << qint64(tree.arguments.count());
    for (const KeyTree::Argument &argument : tree.arguments) {
        stream << argument.property << argument.comparator << qint64(argument.values.count());
        for (const QVariant &value : argument.values)
            stream << value;
    }
    stream << qint64(tree.subKeys.count());
    for (const KeyTree &subKey : tree.subKeys)
        write(stream, subKey);
}

} // namespace

QMailMessageKey KeyTree::toKey() const
{
    QByteArray written;
    QDataStream writer(&written, QIODevice::WriteOnly);
    write(writer, *this);
    QDataStream reader(written);
    QMailMessageKey key;
    key.deserialize(reader);
    QByteArray check;
    QDataStream checker(&check, QIODevice::WriteOnly);
    key.serialize(checker);
    if (check != written)
        qFatal("a message key is serialised in another form than KeyTree knows");
    return key;
}
