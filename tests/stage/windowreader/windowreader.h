// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STAGE_WINDOWREADER_WINDOWREADER_H
#define TESTS_STAGE_WINDOWREADER_WINDOWREADER_H

#include <QObject>
#include <QTimer>

/**
 * Writes what a program's windows say into a file, again whenever it changes: all that a screen
 * reader would read, a line each.
 */
class WindowReader : public QObject
{
    Q_OBJECT

public:
    explicit WindowReader(const QString &file);

private:
    void read();

    const QString m_file;
    QString m_text;
    QTimer m_timer;
};

#endif
