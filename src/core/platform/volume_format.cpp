#include "core/platform/volume_format.h"

namespace VolumeFormats {

QString displayName(VolumeFormat format) {
    switch (format) {
    case VolumeFormat::fat32:
        return QStringLiteral("FAT32");
    case VolumeFormat::exfat:
        return QStringLiteral("exFAT");
    case VolumeFormat::ntfs:
        return QStringLiteral("NTFS");
    case VolumeFormat::other:
        break;
    }
    return {};
}

} // namespace VolumeFormats
