#pragma once

#include "app/rename_mode.h"

#include "core/batch/file_record.h"
#include "core/mapping/mapping_document.h"
#include "core/mapping/mapping_format.h"
#include "core/naming/file_facts.h"
#include "core/naming/rename_rules.h"
#include "core/preview/preview_row.h"

#include "core/preview/batch_observation.h"
#include "core/preview/rule_preview.h"

#include <QFuture>
#include <QList>
#include <QString>

#include <atomic>
#include <memory>
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
    // The disk as found after the last change, taken while the preview waits
    // out its delay; invalid when the computation takes it itself.
    QFuture<BatchObservation> observation;
    std::shared_ptr<std::atomic<bool>> observationSuperseded;
    // Whether the files differ from those of the volume note in force: only
    // then is the mount table read again, not at every keystroke.
    bool noteVolumes = true;
    // Names typed for single files, which take the place of the rules'.
    RulePreview::HandNames handNames;
};

struct PreviewResult {
    QList<PreviewRow> rows;
    QList<MappingDiagnostic> diagnostics;
    qsizetype mappingCount = 0;
    // Taken only when the inputs ask for it (`noteVolumes`).
    std::optional<QString> volumeNote;
};

// The rows of the batch by the rules, or by the spreadsheet text (or the one
// problem that kept the text from loading). Never fails; reads the disk.
PreviewResult computePreview(const PreviewInputs& inputs);

// Starts taking, on the thread pool, the observation that rules-mode `inputs`
// will be judged against. Reading the disk is most of a preview's work and
// needs no name, so it runs during the wait that lets typing settle.
void startObservation(PreviewInputs& inputs);

// Tells the observation of inputs that will never be computed to stop.
void abandonObservation(const std::optional<PreviewInputs>& inputs);
