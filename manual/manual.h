// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef MANUAL_MANUAL_H
#define MANUAL_MANUAL_H

#include <QList>
#include <QString>
#include <QStringList>

/**
 * What a program tells of itself, as tables: its options are parsed, its help texts, man pages and
 * completions are written from them alone.
 *
 * Names, and what stands for something, are the same in each language; texts are translated where
 * the language is loaded, which it is not where the pages are written.
 */
namespace Manual {

/** A word and what it means: an exit code, a file, a variable. */
struct Entry
{
    Entry(const char *name, const QString &text);

    QString name;
    QString text;
};

struct Section
{
    Section(const QString &title, const QList<Entry> &entries);

    QString title;
    QList<Entry> entries;
};

struct Option
{
    /** `value`: what stands behind it, in capitals; `choices`: the words that it can be, with
     * spaces between; `letter`: its short form. Each may be empty. */
    Option(const char *name, const char *value, const QString &text, const char *choices = "",
           const char *letter = "");

    bool hasValue() const { return !value.isEmpty(); }
    /** "-q", "--quiet". */
    QStringList forms() const;
    /** "-q, --quiet", "--port PORT". */
    QString syntax() const;

    QString name;
    QString value;
    QString text;
    QStringList choices;
    QString letter;
};

/**
 * One way in which a command takes its arguments: "ACCOUNT", "[ACCOUNT]", "retry MESSAGE".
 *
 * What is in capitals stands for something, what is not is typed as it is, and what is in brackets
 * may be left out. ACCOUNT and COMMAND are completed.
 */
struct Form
{
    Form(const char *arguments, const QString &text);

    QString arguments;
    QString text;
};

struct Command
{
    Command(const char *name, const QString &summary);

    /** How many arguments it takes, at least and at most. */
    int minimumArguments() const;
    int maximumArguments() const;

    QString name;
    QString summary;
    QList<QString> paragraphs;
    QList<Form> forms;
    QList<Option> options;
    QList<Section> sections;
};

struct Program
{
    Program(const char *name, int manSection, const QString &summary);

    const Command *find(const QString &command) const;

    QString name;
    int manSection; ///< 1: for everybody, 8: for who looks after the machine
    QString summary;
    QList<QString> usages; ///< what can stand behind its name
    QList<QString> paragraphs;
    QList<Command> commands;
    QList<Option> options; ///< where there are commands, those that each of them takes
    QList<Section> sections;
    QList<QString> seeAlso; ///< "asdaemon(8)"
};

} // namespace Manual

#endif
