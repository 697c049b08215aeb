#pragma once

#include "core/import_result.h"
#include "core/preview_row.h"
#include "core/rename_rules.h"

#include <QList>
#include <QStringList>

// A batch as the app would build it from the same selection: imported with the
// 5,000 limit, named by the rules in batch order, and judged.
struct BatchPreview {
    ImportResult import;
    QList<PreviewRow> rows;

    qsizetype readyCount() const;
    qsizetype unchangedCount() const;
    qsizetype conflictCount() const;
};

// `paths` as typed (relative ones against the working folder). Throws
// RenameFailure when a path cannot be examined, before anything is imported.
BatchPreview previewBatch(const QStringList& paths, const RenameRules& rules, bool checkWindows);
