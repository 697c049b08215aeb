#include "core/naming/volume_filename.h"

#include "core/naming/windows_filename.h"

#include <QList>

namespace VolumeFilename {

// Length needs no check of its own: these volumes hold 255 UTF-16 units, and
// every name already passed the limit of 255 UTF-8 bytes, never fewer bytes
// than units.
std::optional<QString> problem(const QString& name, VolumeFormat format) {
    if (format == VolumeFormat::other)
        return std::nullopt;
    const QString volume = VolumeFormats::displayName(format);
    for (char32_t codePoint : name.toUcs4()) {
        if (WindowsFilename::isForbiddenCharacter(codePoint))
            return QStringLiteral("This file's ") + volume +
                   QStringLiteral(" volume cannot hold < > : \" \\ | ? * or control characters "
                                  "in a name.");
    }
    // vfat and exfat drop a final period or space without a word, so the
    // file would end up under another name than the one journaled.
    bool dropsEnding = format == VolumeFormat::fat32 || format == VolumeFormat::exfat;
    if (dropsEnding && (name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' '))))
        return QStringLiteral("This file's ") + volume +
               QStringLiteral(" volume cannot hold a name that ends in a period or space.");
    return std::nullopt;
}

} // namespace VolumeFilename
