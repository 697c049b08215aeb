#pragma once

#include <QStyledItemDelegate>

// Draws a new name with an arrow before it and the row's status under it,
// so the status has the whole column's width to say what is wrong. Stacked,
// it draws the original name above the new one, for when the original
// name's column is hidden to give both names the whole width.
class PreviewRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    static constexpr int rowHeight = 44;
    static constexpr int stackedRowHeight = 62;

    void setStacked(bool stacked) { this->stacked = stacked; }
    bool isStacked() const { return stacked; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    // A new name is edited on its own line, with its stem selected.
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

private:
    // Where line `number` of a row's cell at `rect` lies.
    QRect line(const QRect& rect, int number) const;

    bool stacked = false;
};
