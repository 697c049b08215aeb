#pragma once

#include "core/batch/file_record.h"

#include <QList>
#include <QStringList>

// The complete batch after an import, and what was refused on the way.
struct ImportResult {
    // The existing records plus every newly accepted one, in preview order.
    QList<FileRecord> files;
    // One line per refused item: its name, ": " and the reason.
    QStringList skipped;
    // At least one acceptable new file was left out because the batch was full.
    bool reachedLimit = false;
};
