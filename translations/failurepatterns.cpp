// SPDX-License-Identifier: LGPL-2.1-or-later
#include "translations/failurepatterns.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>

namespace {

/** A reason within a reason, and the server's word for it. */
constexpr int MaximumDepth = 4;

QString lookUp(const QByteArray &english)
{
    return QCoreApplication::translate("FailureText", english.constData());
}

/** "only %1 bytes" as an expression in which "%1" is whatever there is. */
QRegularExpression formOf(const QString &pattern)
{
    QString form = QRegularExpression::escape(pattern);
    // A host, and what the server has said, which begins with a blank or is empty.
    form.replace(QLatin1String("\\%1\\%2"), QLatin1String("(?<part1>\\S*)(?<part2>.*)"));
    for (int i = 1; i <= 9; ++i)
        form.replace(QStringLiteral("\\%%1").arg(i), QStringLiteral("(?<part%1>.*)").arg(i));
    return QRegularExpression(QRegularExpression::anchoredPattern(form));
}

/** With "%1" replaced by the first part and so on; what is in a part is not replaced again. */
QString filled(const QString &text, const QStringList &parts)
{
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        const int part = text.at(i) == QLatin1Char('%') ? text.mid(i + 1, 1).toInt() : 0;
        result += part > 0 ? parts.value(part - 1) : QString(text.at(i));
        i += part > 0 ? 1 : 0;
    }
    return result;
}

} // namespace

FailurePatterns::FailurePatterns(const QString &file)
{
    QFile source(file);
    if (!source.open(QIODevice::ReadOnly))
        return;
    const QList<QByteArray> lines = source.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (!line.isEmpty())
            m_patterns.append({line, formOf(QString::fromUtf8(line))});
    }
    std::stable_sort(m_patterns.begin(), m_patterns.end(), [](const Pattern &a, const Pattern &b) {
        return a.english.size() > b.english.size();
    });
}

QString FailurePatterns::translated(const QString &english) const
{
    return translated(english, 0);
}

QString FailurePatterns::translated(const QString &english, int depth) const
{
    const QByteArray whole = english.toUtf8();
    const QString known = lookUp(whole);
    if (known != english || depth == MaximumDepth || english.isEmpty())
        return known;
    for (const Pattern &pattern : m_patterns) {
        const QRegularExpressionMatch match = pattern.form.match(english);
        if (!match.hasMatch())
            continue;
        QStringList parts;
        for (int i = 1; i <= 9; ++i)
            parts.append(translated(match.captured(QStringLiteral("part%1").arg(i)), depth + 1));
        return filled(lookUp(pattern.english), parts);
    }
    return english;
}
