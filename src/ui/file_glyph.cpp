#include "ui/file_glyph.h"

#include "ui/sheen.h"
#include "ui/symbols.h"

#include <QHash>
#include <QPainter>
#include <QPixmap>

namespace FileGlyph {

QString symbolName(const QString& extensionName) {
    static const QHash<QString, QString> kinds = {
        {"jpg", "photo"},       {"jpeg", "photo"},     {"png", "photo"},
        {"heic", "photo"},      {"tiff", "photo"},     {"gif", "photo"},
        {"webp", "photo"},      {"raw", "photo"},      {"mp4", "film"},
        {"mov", "film"},        {"mkv", "film"},       {"avi", "film"},
        {"webm", "film"},       {"mp3", "music.note"}, {"wav", "music.note"},
        {"flac", "music.note"}, {"ogg", "music.note"}, {"m4a", "music.note"},
        {"zip", "doc.zipper"},  {"tar", "doc.zipper"}, {"gz", "doc.zipper"},
        {"7z", "doc.zipper"},   {"csv", "tablecells"}, {"tsv", "tablecells"},
        {"xlsx", "tablecells"}, {"ods", "tablecells"},
    };
    return kinds.value(extensionName.toLower(), QStringLiteral("doc.text"));
}

QColor tint(const QString& extensionName) {
    static const QStringList images = {"jpg", "jpeg", "png", "heic", "tiff"};
    return images.contains(extensionName.toLower()) ? Sheen::coral() : Sheen::violet();
}

QIcon icon(const QString& extensionName) {
    QPixmap glyph(25, 29);
    glyph.fill(Qt::transparent);
    QPainter painter(&glyph);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor color = tint(extensionName);
    QColor background = color;
    background.setAlphaF(0.16f);
    painter.setBrush(background);
    painter.setPen(QPen(color, 1.2));
    painter.drawRoundedRect(QRectF(1, 1, 23, 27), 5, 5);
    QPixmap symbol = Symbols::icon(symbolName(extensionName)).pixmap(15, 15);
    painter.drawPixmap(5, 7, symbol);
    return QIcon(glyph);
}

} // namespace FileGlyph
