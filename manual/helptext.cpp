// SPDX-License-Identifier: LGPL-2.1-or-later
#include "manual/helptext.h"

#include "translations/text.h"

#include <algorithm>

namespace Manual {

namespace {

constexpr int LineWidth = 79;
/** What is longer has its explanation on the next line. */
constexpr int MaximumNameWidth = 24;

/** Breaks lines between words; each but the first begins with `indent` spaces. */
QString wrapped(const QString &text, int indent)
{
    QString lines;
    int column = indent;
    const QStringList words = text.split(QLatin1Char(' '));
    for (const QString &word : words) {
        if (column > indent && column + 1 + word.size() > LineWidth) {
            lines += QLatin1Char('\n') + QString(indent, QLatin1Char(' '));
            column = indent;
        } else if (column > indent) {
            lines += QLatin1Char(' ');
            ++column;
        }
        lines += word;
        column += word.size();
    }
    return lines;
}

QString paragraphs(const QList<QString> &texts)
{
    QString result;
    for (const QString &text : texts)
        result += QLatin1Char('\n') + wrapped(text, 0) + QLatin1Char('\n');
    return result;
}

using Rows = QList<QPair<QString, QString>>;

/** Two columns under a title; nothing where there is no row. */
QString table(const QString &title, const Rows &rows)
{
    if (rows.isEmpty())
        return {};
    int width = 0;
    for (const auto &row : rows) {
        if (row.first.size() <= MaximumNameWidth)
            width = std::max(width, row.first.size());
    }
    const int indent = 2 + width + 2;
    QString text = QLatin1Char('\n') + Text::tr("%1:").arg(title) + QLatin1Char('\n');
    for (const auto &row : rows) {
        QString name = QLatin1String("  ") + row.first;
        if (name.size() + 2 > indent)
            name += QLatin1Char('\n') + QString(indent, QLatin1Char(' '));
        text += name.leftJustified(indent) + wrapped(row.second, indent) + QLatin1Char('\n');
    }
    return text;
}

QString optionTable(const QString &title, const QList<Option> &options)
{
    Rows rows;
    for (const Option &option : options)
        rows.append({option.syntax(), option.text});
    return table(title, rows);
}

QString sectionTables(const QList<Section> &sections)
{
    QString text;
    for (const Section &section : sections) {
        Rows rows;
        for (const Entry &entry : section.entries)
            rows.append({entry.name, entry.text});
        text += table(section.title, rows);
    }
    return text;
}

QString usage(const QStringList &lines)
{
    const QString word = Text::tr("Usage: ");
    const QString indent(word.size(), QLatin1Char(' '));
    return word + lines.join(QLatin1Char('\n') + indent) + QLatin1Char('\n');
}

} // namespace

QString helpText(const Program &program)
{
    QStringList usages;
    for (const QString &line : program.usages)
        usages.append(program.name + QLatin1Char(' ') + line);
    Rows commands;
    for (const Command &command : program.commands)
        commands.append({command.name, command.summary});
    const bool hasCommands = !commands.isEmpty();
    return usage(usages) + paragraphs(program.paragraphs)
        + table(Text::tr("Commands (help COMMAND tells more)"), commands)
        + optionTable(hasCommands ? Text::tr("Options of every command") : Text::tr("Options"),
                      program.options)
        + sectionTables(program.sections);
}

QString helpText(const Program &program, const Command &command)
{
    const QString start = QStringLiteral("%1 %2 [options]").arg(program.name, command.name);
    QStringList usages;
    Rows arguments;
    for (const Form &form : command.forms) {
        usages.append(start + QLatin1Char(' ') + form.arguments);
        arguments.append({form.arguments, form.text});
    }
    return usage(usages.isEmpty() ? QStringList {start} : usages)
        + QStringLiteral("\n%1 %2: %3\n").arg(program.name, command.name, command.summary)
        + paragraphs(command.paragraphs) + table(Text::tr("Arguments"), arguments)
        + optionTable(Text::tr("Options"), command.options + program.options)
        + sectionTables(command.sections);
}

} // namespace Manual
