// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TRANSLATIONS_TRANSLATION_H
#define TRANSLATIONS_TRANSLATION_H

#include <QLocale>
#include <QString>

/** The language in which this process talks to a person. */
namespace Translation {

/** Whose texts are translated. */
enum class Scope {
    OwnTexts, ///< those of orvmail
    AllTexts  ///< Qt's own as well (buttons of dialogs, errors), where they are installed
};

/**
 * Loads the first language that is there of those that LANGUAGE, LC_ALL, LC_MESSAGES and LANG name.
 *
 * Returns it; English, in which nothing is loaded, where it is wanted, none is there, or the locale
 * is C. Needs the application object, with which it lasts. What is called again does nothing.
 */
QLocale install(Scope scope);

/**
 * A failure's English text, of which a part may be a host or a number, in the language that is
 * loaded.
 *
 * As it is where it is not known, such as a text of the server's.
 */
QString ofFailure(const QString &english);

} // namespace Translation

#endif
