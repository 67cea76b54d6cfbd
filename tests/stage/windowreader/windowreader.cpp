// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/stage/windowreader/windowreader.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QSaveFile>
#include <QWindow>

namespace {

constexpr int IntervalMs = 100;

void collect(QAccessibleInterface *object, QStringList *lines)
{
    if (!object || !object->isValid() || object->state().invisible)
        return;
    // Lists tell of new rows only where a screen reader runs.
    if (QAccessibleTableInterface *table = object->tableInterface()) {
        QAccessibleTableModelChangeEvent reset(object->object(),
                                               QAccessibleTableModelChangeEvent::ModelReset);
        table->modelChange(&reset);
    }
    for (const QAccessible::Text kind :
         {QAccessible::Name, QAccessible::Description, QAccessible::Value}) {
        const QString text = object->text(kind);
        if (!text.isEmpty())
            lines->append(text);
    }
    for (int i = 0; i < object->childCount(); ++i)
        collect(object->child(i), lines);
}

} // namespace

WindowReader::WindowReader(const QString &file)
    : m_file(file)
{
    connect(&m_timer, &QTimer::timeout, this, &WindowReader::read);
    m_timer.start(IntervalMs);
}

void WindowReader::read()
{
    QStringList lines;
    const QWindowList windows = QGuiApplication::topLevelWindows();
    for (QWindow *window : windows) {
        if (window->isVisible())
            collect(window->accessibleRoot(), &lines);
    }
    const QString text = lines.join(QLatin1Char('\n'));
    if (text == m_text)
        return;
    m_text = text;
    QSaveFile file(m_file);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(text.toUtf8());
        file.commit();
    }
}
