#pragma once

#include "core/platform/volume_format.h"

#include <QString>

#include <optional>

// What a FAT32, exFAT or NTFS volume refuses in a new name, so that the
// preview stops it before anything is journaled instead of the kernel halfway
// through a batch. It applies whether or not the user asked for the Windows
// check; names the volume holds but Windows reserves are left to that check.
namespace VolumeFilename {

// The sentence for a name the volume of `format` cannot hold, naming the
// volume, or nothing. Names that every volume refuses (a slash, an empty
// name) are the filename check's, not this one's.
std::optional<QString> problem(const QString& name, VolumeFormat format);

} // namespace VolumeFilename
