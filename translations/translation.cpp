// SPDX-License-Identifier: LGPL-2.1-or-later
#include "translations/translation.h"

#include "translations/failurepatterns.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <QVariant>

#include <memory>

// What is linked statically is not registered by itself; must not be in a namespace.
static void registerTexts()
{
    Q_INIT_RESOURCE(translations);
}

namespace Translation {

namespace {

/** Of the application, which program and settings module share. */
constexpr char LanguageProperty[] = "orvmailLanguage";
const QString TextFolder = QStringLiteral(":/orvmail/translations");

/** LANGUAGE counts only where the locale is none of these, as everywhere else. */
bool isPlainLocale()
{
    QByteArray name;
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (name.isEmpty())
            name = qgetenv(variable);
    }
    return name.isEmpty() || name == "C" || name.startsWith("C.") || name == "POSIX";
}

/** Installs PREFIX_de_AT.qm, or PREFIX_de.qm; whether one of them is there. */
bool load(const QString &prefix, const QString &language, const QString &folder)
{
    auto translator = std::make_unique<QTranslator>();
    const QString name = prefix + QLatin1Char('_') + language;
    if (!translator->load(name, folder, QStringLiteral("_")))
        return false;
    translator->setParent(QCoreApplication::instance());
    return QCoreApplication::installTranslator(translator.release());
}

QLocale loadFirst(Scope scope)
{
    const QStringList languages = isPlainLocale() ? QStringList() : QLocale().uiLanguages();
    for (QString language : languages) {
        const QLocale locale(language.replace(QLatin1Char('-'), QLatin1Char('_')));
        if (locale.language() == QLocale::English || locale.language() == QLocale::C)
            break;
        if (!load(QStringLiteral("orvmail"), language, TextFolder))
            continue;
        if (scope == Scope::AllTexts)
            load(QStringLiteral("qtbase"), language,
                 QLibraryInfo::location(QLibraryInfo::TranslationsPath));
        return locale;
    }
    return QLocale(QLocale::English);
}

} // namespace

QLocale install(Scope scope)
{
    registerTexts();
    QCoreApplication *application = QCoreApplication::instance();
    const QVariant known = application->property(LanguageProperty);
    if (known.isValid())
        return known.toLocale();
    const QLocale loaded = loadFirst(scope);
    application->setProperty(LanguageProperty, loaded);
    return loaded;
}

QString ofFailure(const QString &english)
{
    registerTexts();
    static const FailurePatterns patterns(TextFolder + QLatin1String("/failures.txt"));
    return patterns.translated(english);
}

} // namespace Translation
