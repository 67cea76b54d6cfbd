// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STORE_HIDDENTABLE_H
#define TESTS_STORE_HIDDENTABLE_H

#include <QString>

/** A table of a database that cannot be read, as from a damaged disk. */
class HiddenTable
{
public:
    /** Of the mail store, where no other file is named. */
    explicit HiddenTable(const QString &table, const QString &file = mailStore());
    ~HiddenTable();
    HiddenTable(const HiddenTable &) = delete;
    HiddenTable &operator=(const HiddenTable &) = delete;

    bool isHidden() const { return m_isHidden; }

private:
    static QString mailStore();

    const QString m_table;
    bool m_isHidden = false;
};

#endif
