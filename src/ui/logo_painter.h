#pragma once

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

// The Tessary mark: a tag on a rounded square of the violet-to-coral
// gradient. The window's header and the application icon draw it the same
// way, at any size.
inline void paintLogo(QPainter& painter, qreal size) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 128.0, size / 128.0);
    QLinearGradient sheen(0, 0, 128, 128);
    sheen.setColorAt(0, QColor(0x71, 0x49, 0xd8));
    sheen.setColorAt(1, QColor(0xfb, 0x8b, 0x7c));
    QPainterPath square;
    square.addRoundedRect(QRectF(8, 8, 112, 112), 28, 28);
    painter.fillPath(square, sheen);
    QPainterPath tag;
    tag.moveTo(36, 38);
    tag.lineTo(70, 38);
    tag.lineTo(94, 64);
    tag.lineTo(70, 90);
    tag.lineTo(36, 90);
    tag.closeSubpath();
    painter.setPen(QPen(Qt::white, 8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(tag);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPointF(52, 64), 6, 6);
    painter.restore();
}
