#pragma once

#include "core/batch/file_record.h"

#include <QList>
#include <QString>

#include <optional>

// A line for the preview's summary when folders of the batch are on network or
// FUSE volumes. Renaming there is as safe as anywhere (the engine makes its
// moves exclusive with a link where the volume refuses RENAME_NOREPLACE), but
// it is slower, and undo after a remount needs the volume mounted from the
// same place, so the user hears about it before confirming. It is never a
// problem: nothing is blocked by it.
namespace VolumeNote {

// Reads the mount table once; nothing when no folder of `files` is on such a
// volume or the table cannot be read.
std::optional<QString> forFiles(const QList<FileRecord>& files);

// The sentence for the names of the folders concerned, each once.
std::optional<QString> sentence(const QStringList& folders);

} // namespace VolumeNote
