// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_FLOWLAYOUT_H
#define ACCOUNTS_WINDOW_FLOWLAYOUT_H

#include <QLayout>

namespace Accounts {

/** Widgets in a row against its far end; those that do not fit go into more rows. */
class FlowLayout : public QLayout
{
    Q_OBJECT

public:
    using QLayout::QLayout;
    ~FlowLayout() override;

    void addItem(QLayoutItem *item) override { m_items.append(item); }
    int count() const override { return m_items.size(); }
    QLayoutItem *itemAt(int index) const override { return m_items.value(index); }
    QLayoutItem *takeAt(int index) override;

    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect &rect) override;

private:
    using Row = QList<QLayoutItem *>;

    QList<Row> rowsFor(int width) const;
    int widthOf(const Row &row) const;
    static int heightOf(const Row &row);
    int gap() const { return qMax(0, spacing()); }

    QList<QLayoutItem *> m_items;
};

} // namespace Accounts

#endif
