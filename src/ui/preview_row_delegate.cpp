#include "ui/preview_row_delegate.h"

#include "ui/preview_table_model.h"
#include "ui/sheen.h"
#include "ui/symbols.h"

#include <QApplication>
#include <QPainter>

void PreviewRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    background.icon = QIcon();
    QApplication::style()->drawControl(QStyle::CE_ItemViewItem, &background, painter);

    painter->save();
    const QRect area = option.rect.adjusted(6, 4, -8, -4);
    const int half = area.height() / 2;
    QRect nameLine(area.left(), area.top(), area.width(), half);
    QRect statusLine(area.left(), area.top() + half, area.width(), area.height() - half);

    Symbols::icon(QStringLiteral("arrow.right"))
        .paint(painter, QRect(nameLine.left(), nameLine.center().y() - 7, 14, 14));
    const bool selected = option.state & QStyle::State_Selected;
    painter->setPen(selected ? option.palette.highlightedText().color() : Sheen::ink());
    QRect text = nameLine.adjusted(20, 0, 0, 0);
    painter->drawText(
        text, Qt::AlignLeft | Qt::AlignVCenter,
        option.fontMetrics.elidedText(index.data().toString(), Qt::ElideMiddle, text.width()));

    QIcon icon = index.data(PreviewTableModel::statusIconRole).value<QIcon>();
    icon.paint(painter, QRect(statusLine.left() + 20, statusLine.center().y() - 6, 12, 12));
    QFont small = option.font;
    small.setPixelSize(11);
    painter->setFont(small);
    bool problem = index.data(PreviewTableModel::problemRole).toBool();
    painter->setPen(selected  ? option.palette.highlightedText().color()
                    : problem ? QColor(0xb4, 0x2b, 0x2b)
                              : Sheen::secondary());
    QRect statusText = statusLine.adjusted(38, 0, 0, 0);
    painter->drawText(
        statusText, Qt::AlignLeft | Qt::AlignVCenter,
        QFontMetrics(small).elidedText(index.data(PreviewTableModel::statusRole).toString(),
                                       Qt::ElideRight, statusText.width()));
    painter->restore();
}

QSize PreviewRowDelegate::sizeHint(const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    QSize base = QStyledItemDelegate::sizeHint(option, index);
    return {base.width(), 44};
}
