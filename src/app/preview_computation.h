#pragma once

#include "app/rename_mode.h"

#include "core/file_facts.h"
#include "core/file_record.h"
#include "core/mapping_document.h"
#include "core/mapping_format.h"
#include "core/preview_row.h"
#include "core/rename_rules.h"

#include <QList>
#include <QString>

#include <optional>

// A snapshot of everything a preview depends on, taken by value so the model
// can change while the preview is computed elsewhere.
struct PreviewInputs {
    QList<FileRecord> files;
    // One per file when the rules need them; a file whose facts are still
    // being read has none.
    QList<std::optional<FileFacts>> facts;
    RenameRules rules;
    RenameMode mode = RenameMode::rules;
    QString mappingText;
    MappingFormat mappingFormat = MappingFormat::automatic;
    bool checkWindows = false;
    std::optional<QString> mappingInputError;
};

struct PreviewResult {
    QList<PreviewRow> rows;
    QList<MappingDiagnostic> diagnostics;
    qsizetype mappingCount = 0;
    std::optional<QString> volumeNote;
};

// The rows of the batch by the rules, or by the spreadsheet text (or the one
// problem that kept the text from loading). Never fails; reads the disk.
PreviewResult computePreview(const PreviewInputs& inputs);
