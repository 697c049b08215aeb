#include "ui/toggle_switch.h"

#include "ui/sheen.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace {

constexpr int pillWidth = 34;
constexpr int pillHeight = 20;
constexpr int gap = 10;

} // namespace

ToggleSwitch::ToggleSwitch(const QString& text, QWidget* parent) : QCheckBox(text, parent) {
    QFont font = this->font();
    font.setPixelSize(13);
    setFont(font);
    setCursor(Qt::PointingHandCursor);
}

QSize ToggleSwitch::sizeHint() const {
    int textWidth = fontMetrics().horizontalAdvance(text());
    return {textWidth + gap + pillWidth + 4, std::max(pillHeight + 4, fontMetrics().height() + 4)};
}

QSize ToggleSwitch::minimumSizeHint() const {
    return sizeHint();
}

bool ToggleSwitch::hitButton(const QPoint& position) const {
    return rect().contains(position);
}

void ToggleSwitch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(isEnabled() ? 1.0 : 0.45);

    QRect pill(width() - pillWidth - 3, (height() - pillHeight) / 2, pillWidth, pillHeight);
    painter.setPen(Sheen::ink());
    painter.drawText(QRect(0, 0, pill.left() - gap, height()), Qt::AlignVCenter | Qt::AlignLeft,
                     text());

    QPainterPath track;
    track.addRoundedRect(QRectF(pill), pillHeight / 2.0, pillHeight / 2.0);
    painter.fillPath(track, isChecked() ? Sheen::violet() : QColor(0, 0, 0, 40));
    // Around the pill rather than on it, so that it shows on either state.
    if (hasFocus()) {
        QPainterPath ring;
        ring.addRoundedRect(QRectF(pill).adjusted(-2, -2, 2, 2), pillHeight / 2.0 + 2,
                            pillHeight / 2.0 + 2);
        painter.setPen(QPen(Sheen::violet(), 1.5));
        painter.drawPath(ring);
    }

    int knob = pillHeight - 4;
    int knobLeft = isChecked() ? pill.right() - knob - 1 : pill.left() + 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 30));
    painter.drawEllipse(QRectF(knobLeft, pill.top() + 2.5, knob, knob));
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(knobLeft, pill.top() + 2, knob, knob));
}
