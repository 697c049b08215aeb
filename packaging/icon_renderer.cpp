// Draws the application icon as PNG at the hicolor theme's sizes: the mark
// the window's header shows, the same design as tessary.svg.
//
//   icon-renderer OUTPUT_DIR SIZE...   (writes OUTPUT_DIR/SIZE/tessary.png)

#include "ui/logo_painter.h"

#include <QDir>
#include <QImage>

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
        paintLogo(painter, size);
        painter.end();
        const QString folder = QStringLiteral("%1/%2").arg(output).arg(size);
        QDir().mkpath(folder);
        if (!image.save(folder + QStringLiteral("/tessary.png")))
            return 1;
    }
    return 0;
}
