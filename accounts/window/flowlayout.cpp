// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/flowlayout.h"

#include <QStyle>
#include <QWidget>

namespace Accounts {

FlowLayout::~FlowLayout()
{
    qDeleteAll(m_items);
}

QLayoutItem *FlowLayout::takeAt(int index)
{
    return index >= 0 && index < m_items.size() ? m_items.takeAt(index) : nullptr;
}

/** Hidden widgets are left out. */
QList<FlowLayout::Row> FlowLayout::rowsFor(int width) const
{
    QList<Row> rows;
    for (QLayoutItem *item : m_items) {
        if (item->isEmpty())
            continue;
        if (rows.isEmpty() || widthOf(rows.last() + Row {item}) > width)
            rows.append(Row());
        rows.last().append(item);
    }
    return rows;
}

int FlowLayout::widthOf(const Row &row) const
{
    int width = (row.size() - 1) * gap();
    for (const QLayoutItem *item : row)
        width += item->sizeHint().width();
    return width;
}

int FlowLayout::heightOf(const Row &row)
{
    int height = 0;
    for (const QLayoutItem *item : row)
        height = qMax(height, item->sizeHint().height());
    return height;
}

int FlowLayout::heightForWidth(int width) const
{
    const QMargins margins = contentsMargins();
    const QList<Row> rows = rowsFor(width - margins.left() - margins.right());
    int height = margins.top() + margins.bottom() + qMax(0, rows.size() - 1) * gap();
    for (const Row &row : rows)
        height += heightOf(row);
    return height;
}

QSize FlowLayout::sizeHint() const
{
    const QList<Row> rows = rowsFor(QLAYOUTSIZE_MAX);
    const QMargins margins = contentsMargins();
    const QSize size =
        rows.isEmpty() ? QSize(0, 0) : QSize(widthOf(rows.first()), heightOf(rows.first()));
    return size + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

QSize FlowLayout::minimumSize() const
{
    QSize size(0, 0);
    for (const QLayoutItem *item : m_items) {
        if (!item->isEmpty())
            size = size.expandedTo(item->minimumSize());
    }
    const QMargins margins = contentsMargins();
    return size + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

void FlowLayout::setGeometry(const QRect &rect)
{
    QLayout::setGeometry(rect);
    const QRect inside = contentsRect();
    const Qt::LayoutDirection direction =
        parentWidget() ? parentWidget()->layoutDirection() : Qt::LeftToRight;
    int y = inside.top();
    const QList<Row> rows = rowsFor(inside.width());
    for (const Row &row : rows) {
        int x = inside.left() + qMax(0, inside.width() - widthOf(row));
        for (QLayoutItem *item : row) {
            const int width = qMin(item->sizeHint().width(), inside.width());
            const QRect place(x, y, width, heightOf(row));
            item->setGeometry(QStyle::visualRect(direction, inside, place));
            x += width + gap();
        }
        y += heightOf(row) + gap();
    }
}

} // namespace Accounts
