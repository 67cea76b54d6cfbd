// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TRANSLATIONS_FAILUREPATTERNS_H
#define TRANSLATIONS_FAILUREPATTERNS_H

#include <QList>
#include <QRegularExpression>
#include <QString>

/**
 * Translates English texts of failures, whose parts are known no more.
 *
 * "mail.example.com does not answer in time." is found to be "%1 does not answer in time%2." with a
 * host and nothing, and each of these is translated in its turn.
 */
class FailurePatterns
{
public:
    /** The file has the texts with a "%1", one a line. */
    explicit FailurePatterns(const QString &file);

    QString translated(const QString &english) const;

private:
    struct Pattern
    {
        QByteArray english;
        QRegularExpression form;
    };

    QString translated(const QString &english, int depth) const;

    QList<Pattern> m_patterns; ///< those with the most words of their own first
};

#endif
