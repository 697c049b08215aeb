// Draws the application icon as PNG at the hicolor theme's sizes, the same
// design as tessary.svg: the tag on a rounded square of the violet-to-coral
// gradient.
//
//   icon-renderer OUTPUT_DIR SIZE...   (writes OUTPUT_DIR/SIZE/tessary.png)

#include <QDir>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    const QString output = QString::fromLocal8Bit(argv[1]);
    for (int index = 2; index < argc; ++index) {
        const int size = QString::fromLocal8Bit(argv[index]).toInt();
        if (size <= 0)
            return 2;
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
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
        painter.drawPath(tag);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        painter.drawEllipse(QPointF(52, 64), 6, 6);
        painter.end();
        const QString folder = QStringLiteral("%1/%2").arg(output).arg(size);
        QDir().mkpath(folder);
        if (!image.save(folder + QStringLiteral("/tessary.png")))
            return 1;
    }
    return 0;
}
