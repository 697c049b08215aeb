#pragma once

#include "core/batch/file_record.h"

#include <QString>

// One planned rename. The intent checks nothing: a slash or an empty name in
// `filename` is the preview's to report.
struct RenameIntent {
    FileRecord source;
    // The proposed filename, one path component. A rename never leaves its folder.
    QString filename;

    QString destinationPath() const { return FilePath::joined(source.folderPath(), filename); }

    friend bool operator==(const RenameIntent&, const RenameIntent&) = default;
};
