// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_TRANSLATIONS_MARKER_H
#define TESTS_TRANSLATIONS_MARKER_H

#include <QRegularExpression>
#include <QTranslator>

/**
 * A language in which each text that was looked up stands between marks: "no connection to %1" is
 * "«no connection to »%1".
 *
 * What is shown without marks is either put into a text (a name, a number) or was never looked up.
 */
class Marker : public QTranslator
{
public:
    using QTranslator::QTranslator;

    static QString marked(const QString &text)
    {
        static const QRegularExpression place(QStringLiteral("%L?(\\d+|n)"));
        QString result;
        int end = 0;
        for (auto places = place.globalMatch(text); places.hasNext();) {
            const QRegularExpressionMatch match = places.next();
            result += between(text.mid(end, match.capturedStart() - end)) + match.captured();
            end = match.capturedEnd();
        }
        return result + between(text.mid(end));
    }

    QString translate(const char *, const char *source, const char *, int) const override
    {
        // Not a text: Qt asks by it which way the language is written.
        if (qstrcmp(source, "QT_LAYOUT_DIRECTION") == 0)
            return {};
        return marked(QString::fromUtf8(source));
    }
    bool isEmpty() const override { return false; }

private:
    static QString between(const QString &piece)
    {
        return piece.isEmpty() ? piece : QChar(0xab) + piece + QChar(0xbb);
    }
};

#endif
