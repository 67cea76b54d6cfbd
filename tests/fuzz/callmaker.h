// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_FUZZ_CALLMAKER_H
#define TESTS_FUZZ_CALLMAKER_H

#include <QDataStream>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QList>
#include <QVariant>

/**
 * Reads calls of the daemon's interface out of bytes.
 *
 * A call begins with two bytes: the method, and whether its arguments are of the right types
 * (below 192) or of whatever types follow. Whatever the bytes are, something comes out; beyond
 * their end there are zeros.
 */
class CallMaker
{
public:
    /** The known numbers are ids that mean something to the daemon. */
    CallMaker(const QByteArray &bytes, const QList<quint64> &known);

    bool isOver() const { return m_in.atEnd(); }
    QDBusMessage next();
    /** Whether a method starts work, and so answers with a request's id or -1. */
    static bool startsWork(const QString &method);

private:
    quint8 byte();
    quint64 number();
    QString text();
    QStringList texts();
    QVariantList fitting(const QString &method);
    QVariantList searchArguments();
    QVariant anything(int depth);
    QVariant anyRecord(int depth);
    QDBusArgument structure(int depth);

    QDataStream m_in;
    QList<quint64> m_known;
};

#endif
