#pragma once

#include "core/batch/file_record.h"
#include "core/batch/rename_intent.h"
#include "core/preview/batch_observation.h"
#include "core/preview/preview_row.h"

#include <QList>

// The one judge of a batch, used by the live preview, the spreadsheet preview
// and the engine right before it writes a journal.
namespace RenamePreview {

// One row per intent, in the same order, each with the first problem that
// would make its rename unsafe or impossible. Never fails: every failure
// becomes a row's sentence. Reads the disk (one lookup per file, at most one
// listing per folder) and writes nothing.
//
// With `formerNames` the proposals are names the files had before (an undo),
// which are judged as names a file may already have: a colon or a control
// character that a file came with may be given back to it.
QList<PreviewRow> rows(const QList<RenameIntent>& intents, bool checkWindows,
                       bool formerNames = false);

// The same rows judged against a batch observation taken earlier, which
// reads nothing more from the disk. The intent at position i is about the
// observed file at `observedAt[i]`.
QList<PreviewRow> rows(QList<RenameIntent> intents, bool checkWindows,
                       const BatchObservation& observed, const QList<qsizetype>& observedAt,
                       bool formerNames = false);

// The records in natural filename order; equal names (in different folders)
// by full path. Never touches the disk.
QList<FileRecord> sorted(const QList<FileRecord>& records);

} // namespace RenamePreview
