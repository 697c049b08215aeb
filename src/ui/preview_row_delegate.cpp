#include "ui/preview_row_delegate.h"

#include "ui/preview_table_model.h"
#include "ui/sheen.h"
#include "ui/symbols.h"

#include "core/naming/filename.h"

#include <QApplication>
#include <QLineEdit>
#include <QPainter>
#include <QTimer>

namespace {

// Every line's mark (glyph, arrow or status) in one narrow gutter, so the
// names and the status start at one edge and keep the rest of the width.
constexpr int leftMargin = 6;
constexpr int rightMargin = 4;
constexpr int markWidth = 20;

} // namespace

void PreviewRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    background.icon = QIcon();
    QApplication::style()->drawControl(QStyle::CE_ItemViewItem, &background, painter);

    painter->save();
    const int lines = stacked ? 3 : 2;
    auto line = [&](int number) { return this->line(option.rect, number); };
    const bool selected = option.state & QStyle::State_Selected;
    const QColor ink = selected ? option.palette.highlightedText().color() : Sheen::ink();
    // Names lose their middle, never their extension or the number at the
    // end that tells one file of a sequence from the next.
    auto drawName = [&](const QRect& rect, const QIcon& mark, QSize markSize, const QString& name) {
        mark.paint(painter, QRect(QPoint(rect.left() + (14 - markSize.width()) / 2,
                                         rect.center().y() - markSize.height() / 2),
                                  markSize));
        painter->setPen(ink);
        QRect text = rect.adjusted(markWidth, 0, 0, 0);
        painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter,
                          option.fontMetrics.elidedText(name, Qt::ElideMiddle, text.width()));
    };

    if (stacked) {
        const QModelIndex source = index.siblingAtColumn(PreviewTableModel::original);
        drawName(line(0), source.data(Qt::DecorationRole).value<QIcon>(), QSize(14, 16),
                 source.data().toString());
    }
    const QRect nameLine = line(lines - 2);
    drawName(nameLine, Symbols::icon(QStringLiteral("arrow.right")), QSize(14, 14),
             index.data().toString());

    const QRect statusLine = line(lines - 1);
    QIcon icon = index.data(PreviewTableModel::statusIconRole).value<QIcon>();
    icon.paint(painter, QRect(statusLine.left() + 1, statusLine.center().y() - 6, 12, 12));
    QFont small = option.font;
    small.setPixelSize(11);
    painter->setFont(small);
    bool problem = index.data(PreviewTableModel::problemRole).toBool();
    painter->setPen(selected  ? option.palette.highlightedText().color()
                    : problem ? QColor(0xb4, 0x2b, 0x2b)
                              : Sheen::secondary());
    QRect statusText = statusLine.adjusted(markWidth, 0, 0, 0);
    painter->drawText(
        statusText, Qt::AlignLeft | Qt::AlignVCenter,
        QFontMetrics(small).elidedText(index.data(PreviewTableModel::statusRole).toString(),
                                       Qt::ElideRight, statusText.width()));
    painter->restore();
}

QRect PreviewRowDelegate::line(const QRect& rect, int number) const {
    const QRect area = rect.adjusted(leftMargin, 4, -rightMargin, -4);
    const int lineHeight = area.height() / (stacked ? 3 : 2);
    return QRect(area.left(), area.top() + number * lineHeight, area.width(), lineHeight);
}

QWidget* PreviewRowDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                          const QModelIndex& index) const {
    QWidget* editor = QStyledItemDelegate::createEditor(parent, option, index);
    if (auto* field = qobject_cast<QLineEdit*>(editor)) {
        field->setAccessibleName(QStringLiteral("New name"));
        // After the view selects the whole text: the extension stays as it is.
        QTimer::singleShot(0, field, [field] {
            field->setSelection(0, Filename::extensionPeriod(field->text()));
        });
    }
    return editor;
}

void PreviewRowDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                              const QModelIndex&) const {
    const QRect name = line(option.rect, stacked ? 1 : 0).adjusted(markWidth - 4, -3, 0, 3);
    editor->setGeometry(name);
}

// As wide as the new name needs to be read whole; the status may be cut, as
// its whole text is in the tooltip.
QSize PreviewRowDelegate::sizeHint(const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    int width = option.fontMetrics.horizontalAdvance(index.data().toString());
    if (stacked)
        width = std::max(width,
                         option.fontMetrics.horizontalAdvance(
                             index.siblingAtColumn(PreviewTableModel::original).data().toString()));
    return {leftMargin + markWidth + width + rightMargin, stacked ? stackedRowHeight : rowHeight};
}
