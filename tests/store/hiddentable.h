// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STORE_HIDDENTABLE_H
#define TESTS_STORE_HIDDENTABLE_H

#include <QString>

/** A table of the mail store that cannot be read, as from a damaged disk. */
class HiddenTable
{
public:
    explicit HiddenTable(const QString &table);
    ~HiddenTable();
    HiddenTable(const HiddenTable &) = delete;
    HiddenTable &operator=(const HiddenTable &) = delete;

    bool isHidden() const { return m_isHidden; }

private:
    const QString m_table;
    bool m_isHidden = false;
};

#endif
