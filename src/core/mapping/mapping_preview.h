#pragma once

#include "core/batch/file_record.h"
#include "core/mapping/mapping_document.h"
#include "core/preview/preview_row.h"

#include <QList>

// The preview of a batch whose new names come from a spreadsheet: the same
// rows as rule mode, with the spreadsheet's own problems laid over them, and
// the diagnostics the spreadsheet panel lists.
struct MappingPreview {
    // One per file, in batch order.
    QList<PreviewRow> rows;
    // The document's own first, then one per failing row in sheet order, then
    // one per file no row names, by name.
    QList<MappingDiagnostic> diagnostics;

    // Matches files to rows by exact name (letter case included, Unicode form
    // not) and judges both. Never fails.
    static MappingPreview compute(const QList<FileRecord>& files, const MappingDocument& document,
                                  bool checkWindows);
};
