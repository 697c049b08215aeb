#pragma once

#include "core/base/rename_progress.h"
#include "core/import/import_result.h"
#include "core/mapping/mapping_document.h"
#include "core/naming/rename_rules.h"
#include "core/preview/preview_row.h"

#include <variant>

#include <QList>
#include <QStringList>

// Where the new names come from: naming rules, or a parsed spreadsheet.
using Naming = std::variant<RenameRules, MappingDocument>;

// A batch as the app would build it from the same selection: imported with the
// 5,000 limit, named by the rules in batch order or by the spreadsheet, and
// judged.
struct BatchPreview {
    ImportResult import;
    QList<PreviewRow> rows;
    // Spreadsheet problems; always empty in rule mode.
    QList<MappingDiagnostic> diagnostics;
    bool spreadsheet = false;
    // Said when folders of the batch are on network or FUSE volumes.
    std::optional<QString> volumeNote;

    // Nothing may be renamed while a row or the spreadsheet has a problem.
    bool blocked() const { return conflictCount() > 0 || !diagnostics.isEmpty(); }

    qsizetype readyCount() const;
    qsizetype unchangedCount() const;
    qsizetype conflictCount() const;
};

// `paths` as typed (relative ones against the working folder). Throws
// RenameFailure when a path cannot be examined, before anything is imported.
// `progress` hears how the import goes.
BatchPreview previewBatch(const QStringList& paths, const Naming& naming, bool checkWindows,
                          const RenameProgress::Observer& progress = {});
