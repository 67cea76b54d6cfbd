// SPDX-License-Identifier: LGPL-2.1-or-later
#include "translations/inenglish.h"

#include <QCoreApplication>
#include <QTranslator>

InEnglish::InEnglish()
    : m_silent(QCoreApplication::instance()->findChildren<QTranslator *>())
{
    for (QTranslator *translator : qAsConst(m_silent))
        QCoreApplication::removeTranslator(translator);
    QLocale::setDefault(QLocale::c());
}

InEnglish::~InEnglish()
{
    for (QTranslator *translator : qAsConst(m_silent))
        QCoreApplication::installTranslator(translator);
    QLocale::setDefault(m_locale);
}
