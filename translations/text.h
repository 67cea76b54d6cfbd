// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TRANSLATIONS_TEXT_H
#define TRANSLATIONS_TEXT_H

#include <QCoreApplication>
#include <QLocale>

/**
 * Looks a text up that a person sees: Text::tr("nothing was saved").
 *
 * For code that is in no QObject; the window's classes use their own tr(). Without a translation it
 * is the English text itself.
 */
class Text
{
    Q_DECLARE_TR_FUNCTIONS(Text)

public:
    /** A number as a person of this language reads it. Not for ports, ids and the server's codes.
     */
    static QString number(int value) { return QLocale().toString(value); }
};

/**
 * Marks the English text of a failure for translation.
 *
 * It stays English in logs, on the bus and in what is stored: Translation::ofFailure() finds its
 * translation where it is shown.
 */
class FailureText
{
    Q_DECLARE_TR_FUNCTIONS(FailureText)

public:
    static QString english(const char *text) { return QString::fromUtf8(text); }
    /** The same for a table. */
    static constexpr const char *mark(const char *text) { return text; }
};

#endif
