#include "ui/sheen.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyleOptionButton>

namespace Sheen {

QColor ink() {
    return QColor::fromRgbF(0.141f, 0.129f, 0.18f);
}
QColor violet() {
    return QColor::fromRgbF(0.443f, 0.286f, 0.847f);
}
QColor coral() {
    return QColor::fromRgbF(0.984f, 0.545f, 0.486f);
}
QColor canvas() {
    return QColor::fromRgbF(0.98f, 0.973f, 0.961f);
}
QColor faint() {
    return QColor::fromRgbF(0.937f, 0.918f, 0.976f);
}
QColor border() {
    return QColor::fromRgbF(0, 0, 0, 0.075f);
}
QColor secondary() {
    return QColor::fromRgbF(0.46f, 0.44f, 0.49f);
}

QLinearGradient gradient(const QRectF& area) {
    QLinearGradient gradient(area.topLeft(), area.bottomRight());
    gradient.setColorAt(0, violet());
    gradient.setColorAt(1, coral());
    return gradient;
}

QPalette lightPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, canvas());
    palette.setColor(QPalette::WindowText, ink());
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, faint());
    palette.setColor(QPalette::Text, ink());
    palette.setColor(QPalette::Button, Qt::white);
    palette.setColor(QPalette::ButtonText, ink());
    palette.setColor(QPalette::Highlight, violet());
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, Qt::white);
    palette.setColor(QPalette::ToolTipText, ink());
    palette.setColor(QPalette::PlaceholderText, secondary());
    palette.setColor(QPalette::Link, violet());
    palette.setColor(QPalette::Disabled, QPalette::Text, secondary());
    palette.setColor(QPalette::Disabled, QPalette::WindowText, secondary());
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, secondary());
    return palette;
}

} // namespace Sheen

SheenButton::SheenButton(const QString& text, bool prominent, QWidget* parent)
    : QPushButton(text, parent), isProminent(prominent) {
    QFont font = this->font();
    font.setPointSizeF(10);
    font.setWeight(QFont::DemiBold);
    setFont(font);
    setCursor(Qt::PointingHandCursor);
}

QSize SheenButton::sizeHint() const {
    QSize base = QPushButton::sizeHint();
    return {base.width() + 16, std::max(base.height(), 32)};
}

void SheenButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(!isEnabled() ? 0.45 : isDown() ? 0.72 : 1.0);
    QRectF area = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath shape;
    shape.addRoundedRect(area, 8, 8);
    if (isProminent) {
        painter.fillPath(shape, Sheen::gradient(area));
        painter.setPen(Qt::white);
    } else {
        painter.fillPath(shape, Qt::white);
        painter.setPen(QPen(Sheen::border(), 1));
        painter.drawPath(shape);
        painter.setPen(Sheen::ink());
    }
    // Drawn buttons get no focus frame from the style, and a person moving
    // with Tab must see where they are.
    if (hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange)) {
        QPainterPath ring;
        ring.addRoundedRect(area.adjusted(1.5, 1.5, -1.5, -1.5), 7, 7);
        painter.save();
        painter.setOpacity(1.0);
        painter.setPen(QPen(isProminent ? QColor(Qt::white) : Sheen::violet(), 2));
        painter.drawPath(ring);
        painter.restore();
    }
    painter.setFont(font());
    QRect content = rect().adjusted(12, 0, -12, 0);
    QString label = text();
    if (!icon().isNull()) {
        QSize iconArea = iconSize();
        int textWidth = fontMetrics().horizontalAdvance(label);
        int total = iconArea.width() + 6 + textWidth;
        int left = content.left() + std::max(0, (content.width() - total) / 2);
        QRect iconRect(left, (height() - iconArea.height()) / 2, iconArea.width(),
                       iconArea.height());
        icon().paint(&painter, iconRect);
        painter.drawText(QRect(iconRect.right() + 6, 0, textWidth + 2, height()),
                         Qt::AlignVCenter | Qt::AlignLeft, label);
        return;
    }
    painter.drawText(content, Qt::AlignCenter, label);
}
