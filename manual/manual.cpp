// SPDX-License-Identifier: LGPL-2.1-or-later
#include "manual/manual.h"

#include <algorithm>

namespace Manual {

Entry::Entry(const char *entryName, const QString &entryText)
    : name(QString::fromUtf8(entryName))
    , text(entryText)
{
}

Section::Section(const QString &sectionTitle, const QList<Entry> &sectionEntries)
    : title(sectionTitle)
    , entries(sectionEntries)
{
}

Option::Option(const char *optionName, const char *optionValue, const QString &optionText,
               const char *optionChoices, const char *optionLetter)
    : name(QString::fromUtf8(optionName))
    , value(QString::fromUtf8(optionValue))
    , text(optionText)
    , choices(QString::fromUtf8(optionChoices).split(QLatin1Char(' '), Qt::SkipEmptyParts))
    , letter(QString::fromUtf8(optionLetter))
{
}

QStringList Option::forms() const
{
    QStringList forms;
    if (!letter.isEmpty())
        forms.append(QLatin1Char('-') + letter);
    return forms << QLatin1String("--") + name;
}

QString Option::syntax() const
{
    const QString names = forms().join(QLatin1String(", "));
    return hasValue() ? names + QLatin1Char(' ') + value : names;
}

Form::Form(const char *formArguments, const QString &formText)
    : arguments(QString::fromUtf8(formArguments))
    , text(formText)
{
}

Command::Command(const char *commandName, const QString &commandSummary)
    : name(QString::fromUtf8(commandName))
    , summary(commandSummary)
{
}

int Command::minimumArguments() const
{
    if (forms.isEmpty())
        return 0;
    const auto needed = [](const Form &form) {
        const QStringList words = form.arguments.split(QLatin1Char(' '));
        return std::count_if(words.begin(), words.end(), [](const QString &word) {
            return !word.startsWith(QLatin1Char('['));
        });
    };
    auto least = needed(forms.first());
    for (const Form &form : forms)
        least = std::min(least, needed(form));
    return int(least);
}

int Command::maximumArguments() const
{
    int most = 0;
    for (const Form &form : forms)
        most = std::max(most, form.arguments.count(QLatin1Char(' ')) + 1);
    return most;
}

Program::Program(const char *programName, int section, const QString &programSummary)
    : name(QString::fromUtf8(programName))
    , manSection(section)
    , summary(programSummary)
{
}

const Command *Program::find(const QString &command) const
{
    const auto found =
        std::find_if(commands.begin(), commands.end(),
                     [&command](const Command &other) { return other.name == command; });
    return found == commands.end() ? nullptr : &*found;
}

} // namespace Manual
