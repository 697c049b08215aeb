#pragma once

#include <QString>

// The kinds of file system whose rules a rename has to know: FAT32 and exFAT
// (camera cards, USB sticks) number inodes afresh whenever one is loaded, and
// they, like NTFS, refuse some characters in names. Everything else is `other`.
enum class VolumeFormat { other, fat32, exfat, ntfs };

namespace VolumeFormats {

// How people know the format: "FAT32", "exFAT", "NTFS"; empty for `other`.
QString displayName(VolumeFormat format);

// Whether the kernel hands out a file's inode number afresh each time it
// loads the file, so the number says nothing across a remount or a dropped
// inode cache.
inline bool renumbersInodes(VolumeFormat format) {
    return format == VolumeFormat::fat32 || format == VolumeFormat::exfat;
}

} // namespace VolumeFormats
