// SPDX-License-Identifier: LGPL-2.1-or-later
#include "manual/pages/manpage.h"

#include <QRegularExpression>

namespace Manual {

namespace {

/** Text that roff prints as it is, at the beginning of a line and in a macro's argument, too. */
QString escaped(const QString &text)
{
    QString result;
    for (const QChar character : text) {
        switch (character.unicode()) {
        case '\\':
            result += QLatin1String("\\(rs");
            break;
        case '-':
            result += QLatin1String("\\-");
            break;
        case '"':
            result += QLatin1String("\\(dq");
            break;
        case '~':
            result += QLatin1String("\\(ti");
            break;
        default:
            result += character;
        }
    }
    const bool isRequest =
        result.startsWith(QLatin1Char('.')) || result.startsWith(QLatin1Char('\''));
    return isRequest ? QLatin1String("\\&") + result : result;
}

/** In capitals: what stands for something, in italics; other words: as they are typed, in bold. */
QString syntax(const QString &text)
{
    static const QRegularExpression word(QStringLiteral("[A-Z]{2,}|(?<!\\[)[a-z-]{2,}"));
    QString result;
    int end = 0;
    for (auto words = word.globalMatch(text); words.hasNext();) {
        const QRegularExpressionMatch match = words.next();
        const QLatin1Char font(match.captured().at(0).isUpper() ? 'I' : 'B');
        result += escaped(text.mid(end, match.capturedStart() - end)) + QLatin1String("\\f") + font
            + escaped(match.captured()) + QLatin1String("\\fR");
        end = match.capturedEnd();
    }
    return result + escaped(text.mid(end));
}

QString bold(const QString &text)
{
    return QLatin1String("\\fB") + escaped(text) + QLatin1String("\\fR");
}

QString line(const QString &text)
{
    return text + QLatin1Char('\n');
}

QString heading(const QString &title)
{
    return QStringLiteral(".SH \"%1\"\n").arg(escaped(title.toUpper()));
}

/** `tag` is roff already. */
QString item(const QString &tag, const QString &text)
{
    return line(QStringLiteral(".TP")) + line(tag) + line(escaped(text));
}

QString paragraphs(const QList<QString> &texts, bool isFirst)
{
    QString result;
    for (const QString &text : texts) {
        if (!isFirst)
            result += line(QStringLiteral(".PP"));
        isFirst = false;
        result += line(escaped(text));
    }
    return result;
}

QString options(const QList<Option> &list)
{
    QString text;
    for (const Option &option : list) {
        QString tag = bold(option.forms().join(QLatin1String(", ")));
        if (option.hasValue())
            tag += QLatin1Char(' ') + syntax(option.value);
        text += item(tag, option.text);
    }
    return text;
}

QString entries(const Section &section)
{
    QString text;
    for (const Entry &entry : section.entries)
        text += item(bold(entry.name), entry.text);
    return text;
}

QString sentence(const QString &summary)
{
    return summary.left(1).toUpper() + summary.mid(1) + QLatin1Char('.');
}

QString commandText(const Command &command)
{
    QString text = QStringLiteral(".SS \"%1\"\n").arg(escaped(command.name));
    text += paragraphs(QList<QString> {sentence(command.summary)} + command.paragraphs, true);
    for (const Form &form : command.forms)
        text += item(bold(command.name) + QLatin1Char(' ') + syntax(form.arguments), form.text);
    text += options(command.options);
    for (const Section &section : command.sections) {
        text += line(QStringLiteral(".PP")) + line(escaped(section.title) + QLatin1Char(':'))
            + entries(section);
    }
    return text;
}

QString synopsis(const Program &program)
{
    QStringList lines;
    for (const QString &usage : program.usages)
        lines.append(bold(program.name) + QLatin1Char(' ') + syntax(usage) + QLatin1Char('\n'));
    return heading(QStringLiteral("Synopsis")) + lines.join(QLatin1String(".br\n"));
}

QString seeAlso(const Program &program)
{
    QStringList pages;
    for (const QString &page : program.seeAlso) {
        const QString name = page.section(QLatin1Char('('), 0, 0);
        pages.append(QLatin1String(".BR ") + escaped(name) + QLatin1Char(' ')
                     + page.mid(name.size()));
    }
    return heading(QStringLiteral("See also")) + line(pages.join(QLatin1String(" ,\n")));
}

} // namespace

QString manPage(const Program &program, const QString &version, const QString &date)
{
    QString page = QStringLiteral(".\\\" SPDX-License-Identifier: LGPL-2.1-or-later\n"
                                  ".\\\" Made from the table of which --help is made.\n");
    page += QStringLiteral(".TH \"%1\" %2 \"%3\" \"orvmail %4\"\n")
                .arg(escaped(program.name.toUpper()))
                .arg(program.manSection)
                .arg(date, version);
    page += heading(QStringLiteral("Name"))
        + line(escaped(program.name) + QLatin1String(" \\- ") + escaped(program.summary));
    page += synopsis(program);
    page += heading(QStringLiteral("Description")) + paragraphs(program.paragraphs, true);
    if (!program.commands.isEmpty())
        page += heading(QStringLiteral("Commands"));
    for (const Command &command : program.commands)
        page += commandText(command);
    page += heading(QStringLiteral("Options"));
    if (!program.commands.isEmpty())
        page += line(QStringLiteral("Every command takes these, too."));
    page += options(program.options);
    for (const Section &section : program.sections)
        page += heading(section.title) + entries(section);
    return page + seeAlso(program);
}

} // namespace Manual
