// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TRANSLATIONS_INENGLISH_H
#define TRANSLATIONS_INENGLISH_H

#include <QList>
#include <QLocale>

class QTranslator;

/** While one of these lives, texts are English, with numbers and dates: for what others are to
 * read, such as a bug report. */
class InEnglish
{
public:
    InEnglish();
    ~InEnglish();
    InEnglish(const InEnglish &) = delete;
    InEnglish &operator=(const InEnglish &) = delete;

private:
    QList<QTranslator *> m_silent;
    QLocale m_locale;
};

#endif
