#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

// A file's kind at a glance, from its extension (compared in lower case):
// photos show "photo", everything else "doc.text"; image formats, TIFF
// included, take the coral tint and the rest violet.
namespace FileGlyph {

QString symbolName(const QString& extensionName);
QColor tint(const QString& extensionName);
// The symbol tinted, 25 × 29.
QIcon icon(const QString& extensionName);

} // namespace FileGlyph
