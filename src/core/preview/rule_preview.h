#pragma once

#include "core/batch/file_record.h"
#include "core/naming/file_facts.h"
#include "core/naming/rename_rules.h"
#include "core/preview/batch_observation.h"
#include "core/preview/preview_row.h"

#include <QHash>
#include <QList>

#include <optional>

// The preview of a batch named by rules: the files put in the rules' order,
// numbered in it, and judged by RenamePreview.
namespace RulePreview {

// New names typed for single files, by FileRecord::id.
using HandNames = QHash<QString, QString>;

// The note of a row named by hand.
inline constexpr const char* namedByHandNote = "Named by hand.";

// The positions of `files` (in natural filename order, as a batch is kept,
// or as arranged when the rules keep that order) in the order `rules` asks
// for. Equal keys, and files whose facts are not known, keep their natural
// order, also when descending. A file without a date taken counts by its
// modified date. `facts` is empty or one per file.
QList<qsizetype> order(const QList<FileRecord>& files, const QList<std::optional<FileFacts>>& facts,
                       const RenameRules& rules);

// One row per file, in the rules' order. A token that stands for nothing
// blocks its row with the token's sentence; a {taken} that stood for the
// modified date gives the row a note saying so. Reads the disk as
// RenamePreview::rows does; never fails.
QList<PreviewRow> rows(const QList<FileRecord>& files, const QList<std::optional<FileFacts>>& facts,
                       const RenameRules& rules, bool checkWindows);

// The same rows judged against an observation of `files` taken earlier; one
// that was abandoned, or is of other files, is taken again. A file with a
// name in `byHand` gets that name instead of the rules', judged like any
// other, and its companions follow it.
QList<PreviewRow> rows(const QList<FileRecord>& files, const QList<std::optional<FileFacts>>& facts,
                       const RenameRules& rules, bool checkWindows,
                       const BatchObservation& observed, const HandNames& byHand = {});

} // namespace RulePreview
