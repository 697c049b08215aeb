#pragma once

#include <QStyledItemDelegate>

// Draws a new name with an arrow before it and the row's status under it,
// so the status has the whole column's width to say what is wrong.
class PreviewRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
