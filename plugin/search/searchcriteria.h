// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SEARCH_SEARCHCRITERIA_H
#define PLUGIN_SEARCH_SEARCHCRITERIA_H

#include <QDateTime>
#include <QList>
#include <qmailmessagekey.h>
#include <QString>

/** What a search at the server can be asked for: one text and one time range. */
struct SearchCriteria
{
    /** A bound that is not valid is open. */
    struct TimeInterval
    {
        QDateTime start;
        QDateTime end;
    };

    SearchCriteria() = default;
    SearchCriteria(const QDateTime &start, const QDateTime &end);

    /** True when there is no bound and no text. */
    bool isEmpty() const;

    TimeInterval interval;
    QString text;
    /** Rank of the field that the text came from, the higher wins; -1 without a text. */
    int textField = -1;
};

/** The rank of a text that the caller of the search gave beside the key. */
constexpr int BodyTextField = 1;

/**
 * Reduces a key's tree to what the server can search for. A condition that it cannot is dropped
 * with a warning, one on folders or accounts in silence.
 */
SearchCriteria criteriaFromKey(const QMailMessageKey &key);

/** Folds criteria into one: the ranges' intersection or hull, and the text of the highest rank. */
SearchCriteria combineCriteria(const QList<SearchCriteria> &criteria, QMailKey::Combiner combiner);

#endif
