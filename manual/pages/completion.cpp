// SPDX-License-Identifier: LGPL-2.1-or-later
#include "manual/pages/completion.h"

namespace Manual {

namespace {

/** What can be at one place of the command line. */
struct Candidates
{
    QStringList words;
    bool accounts = false;
    bool shellCommands = false;
};

QStringList commandNames(const Program &program)
{
    QStringList names;
    for (const Command &command : program.commands)
        names.append(command.name);
    return names;
}

/** What stands instead of a command. */
QStringList programOptions(const Program &program)
{
    QStringList options;
    for (const QString &usage : program.usages) {
        if (usage.startsWith(QLatin1Char('-')))
            options.append(usage);
    }
    return options;
}

/** As the command's argument number `index`, counted from 0. */
Candidates argument(const Program &program, const Command &command, int index)
{
    Candidates candidates;
    for (const Form &form : command.forms) {
        QString word = form.arguments.split(QLatin1Char(' ')).value(index);
        word.remove(QLatin1Char('[')).remove(QLatin1Char(']'));
        if (word == QLatin1String("ACCOUNT"))
            candidates.accounts = true;
        else if (word == QLatin1String("COMMAND"))
            candidates.words += commandNames(program);
        else if (word == word.toLower() && !word.isEmpty())
            candidates.words.append(word);
    }
    return candidates;
}

/** As the option's value. */
Candidates value(const Option &option)
{
    Candidates candidates;
    candidates.words = option.choices;
    candidates.shellCommands = option.value == QLatin1String("COMMAND");
    return candidates;
}

/** The name as a function of a shell can have it. */
QString functionName(const Program &program)
{
    return QLatin1Char('_') + QString(program.name).replace(QLatin1Char('-'), QLatin1Char('_'));
}

QString filled(const char *script, const Program &program)
{
    return QString::fromUtf8(script)
        .replace(QLatin1String("@PROGRAM@"), program.name)
        .replace(QLatin1String("@FUNCTION@"), functionName(program));
}

const char BashScript[] =
    R"sh(# bash completion for @PROGRAM@, made from the table of which --help is made.

# The accounts' numbers and names, one a line; $1: the program.
@FUNCTION@_accounts() {
    LANGUAGE=en "$1" list 2>/dev/null | sed -n 's/^ *\([0-9]\{1,\}\)  \(.*\)  <[^<>]*>  at .*$/\1\n\2/p'
}

# What can stand behind the option "COMMAND OPTION" ($2), one a line; false: it stands alone.
# $3: what is typed of it.
@FUNCTION@_values() {
    case $2 in
@VALUES@        *) return 1 ;;
    esac
}

# What can be the argument "COMMAND NUMBER" ($2), one a line.
@FUNCTION@_arguments() {
    case $2 in
@ARGUMENTS@    esac
}

@FUNCTION@_options() {
    case $1 in
@OPTIONS@    esac
}

@FUNCTION@() {
    local program=${COMP_WORDS[0]} words=() word typed list before i count=0
    # Bash breaks words at "=", ":" and "@", too, which stand in options, hosts and addresses.
    for ((i = 0; i <= COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if ((i > 1)) && [[ $word == [=:@]* || ${words[-1]} == *[=:@] ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
    done
    typed=${words[-1]}
    unset 'words[-1]'
    local command=${words[1]-}

    # How many arguments there are already, and whether an option waits for its value.
    local option=
    for word in "${words[@]:2}"; do
        if [[ $option ]]; then
            option=
        elif [[ $word != -* ]]; then
            count=$((count + 1))
        elif [[ $word != *=* ]] && @FUNCTION@_values "$program" "$command $word" . >/dev/null; then
            option=$word
        fi
    done
    if [[ ! $option && $typed == --*=* ]]; then
        option=${typed%%=*} typed=${typed#*=}
    fi

    local quote=${typed%"${typed#[\"\']}"}
    typed=${typed#[\"\']}
    [[ $quote ]] || typed=${typed//\\/}
    if [[ ! $command ]]; then
        list=$(@FUNCTION@_options '')
    elif [[ $option ]]; then
        list=$(@FUNCTION@_values "$program" "$command $option" "$typed")
    elif [[ $typed == -* ]]; then
        list=$(@FUNCTION@_options "$command")
    else
        list=$(@FUNCTION@_arguments "$program" "$command $count")
    fi

    # What stands before the last break is on the line already.
    before=${typed%"${typed##*[=:@]}"}
    [[ ! $quote ]] || before=
    COMPREPLY=()
    while IFS= read -r word; do
        [[ $word && $word == "$typed"* ]] || continue
        word=${word#"$before"}
        [[ $quote ]] || printf -v word %q "$word"
        COMPREPLY+=("$word")
    done <<<"$list"
}

complete -F @FUNCTION@ @PROGRAM@
)sh";

/** The branch of a `case` of bash that prints the candidates. */
QString bashBranch(const Program &program, const QString &label, const Candidates &candidates)
{
    QStringList commands;
    if (candidates.accounts)
        commands.append(functionName(program) + QLatin1String("_accounts \"$1\""));
    if (candidates.shellCommands)
        commands.append(QStringLiteral("compgen -c -- \"$3\""));
    if (!candidates.words.isEmpty())
        commands.append(QLatin1String("printf '%s\\n' ") + candidates.words.join(QLatin1Char(' ')));
    if (commands.isEmpty())
        commands.append(QStringLiteral(":"));
    return QStringLiteral("        '%1') ").arg(label) + commands.join(QLatin1String("; "))
        + QLatin1String(" ;;\n");
}

const char ZshScript[] = R"sh(#compdef @PROGRAM@
# zsh completion for @PROGRAM@, made from the table of which --help is made.

@FUNCTION@_accounts() {
    local -a accounts
    accounts=(${(f)"$(LANGUAGE=en $service list 2>/dev/null |
        sed -n 's/^ *\([0-9]\{1,\}\)  \(.*\)  <[^<>]*>  at .*$/\1\n\2/p')"})
    compadd -a accounts
}

@FUNCTION@() {
    local context state state_descr line
    typeset -A opt_args
    local -a commands=(
@COMMANDS@    )
    _arguments -C \
@OPTIONS@        '1:command:{_describe command commands}' \
        '*:: :->arguments'
    [[ $state == arguments ]] || return
    case $words[1] in
@ARGUMENTS@    esac
}

@FUNCTION@ "$@"
)sh";

/** In the quotes of zsh, with the characters escaped that mean something to its _arguments. */
QString zshText(QString text)
{
    for (const char special : {'\\', ':', '[', ']'})
        text.replace(QLatin1Char(special), QLatin1Char('\\') + QString(QLatin1Char(special)));
    return text.replace(QLatin1Char('\''), QLatin1String("'\\''"));
}

QString zshAction(const Program &program, const Candidates &candidates)
{
    QStringList actions;
    if (candidates.accounts)
        actions.append(functionName(program) + QLatin1String("_accounts"));
    if (candidates.shellCommands)
        actions.append(QStringLiteral("_command_names"));
    if (!candidates.words.isEmpty())
        actions.append(QLatin1String("compadd -- ") + candidates.words.join(QLatin1Char(' ')));
    return actions.isEmpty()
        ? QStringLiteral(" ")
        : QLatin1Char('{') + actions.join(QLatin1String("; ")) + QLatin1Char('}');
}

QString zshOption(const Program &program, const Option &option)
{
    QString text;
    const QStringList forms = option.forms();
    for (const QString &form : forms) {
        text += QStringLiteral(" \\\n                '*%1%2[%3]")
                    .arg(form, option.hasValue() ? QStringLiteral("=") : QString(),
                         zshText(option.text));
        if (option.hasValue())
            text += QStringLiteral(":%1:%2").arg(zshText(option.value),
                                                 zshAction(program, value(option)));
        text += QLatin1Char('\'');
    }
    return text;
}

QString zshBranch(const Program &program, const Command &command)
{
    QString text = QStringLiteral("        %1)\n            _arguments").arg(command.name);
    const QList<Option> options = command.options + program.options;
    for (const Option &option : options)
        text += zshOption(program, option);
    for (int i = 0; i < command.maximumArguments(); ++i)
        text += QStringLiteral(" \\\n                '%1:argument:%2'")
                    .arg(i + 1)
                    .arg(zshAction(program, argument(program, command, i)));
    return text + QLatin1String(" ;;\n");
}

} // namespace

QString bashCompletion(const Program &program)
{
    Candidates first;
    first.words = commandNames(program) + programOptions(program);
    QString values;
    QString arguments;
    QString options = bashBranch(program, QString(), first);
    for (const Command &command : program.commands) {
        Candidates own;
        const QList<Option> all = command.options + program.options;
        for (const Option &option : all) {
            own.words += option.forms();
            if (option.hasValue())
                values += bashBranch(program, command.name + QLatin1String(" --") + option.name,
                                     value(option));
        }
        options += bashBranch(program, command.name, own);
        for (int i = 0; i < command.maximumArguments(); ++i)
            arguments += bashBranch(program, QStringLiteral("%1 %2").arg(command.name).arg(i),
                                    argument(program, command, i));
    }
    return filled(BashScript, program)
        .replace(QLatin1String("@VALUES@"), values)
        .replace(QLatin1String("@ARGUMENTS@"), arguments)
        .replace(QLatin1String("@OPTIONS@"), options);
}

QString zshCompletion(const Program &program)
{
    QString commands;
    QString arguments;
    for (const Command &command : program.commands) {
        commands += QStringLiteral("        '%1:%2'\n").arg(command.name, zshText(command.summary));
        arguments += zshBranch(program, command);
    }
    QString options;
    const QStringList forms = programOptions(program);
    for (const QString &form : forms)
        options += QStringLiteral("        '(- *)%1' \\\n").arg(form);
    return filled(ZshScript, program)
        .replace(QLatin1String("@COMMANDS@"), commands)
        .replace(QLatin1String("@OPTIONS@"), options)
        .replace(QLatin1String("@ARGUMENTS@"), arguments);
}

} // namespace Manual
