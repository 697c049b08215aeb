#pragma once

#include "batch_preview.h"

#include "core/naming/rename_rules.h"

#include <QCommandLineParser>

// The words shared by every command that previews a batch: the naming-rule
// options, --windows and the PATHs.
namespace BatchOptions {

void add(QCommandLineParser& parser);

// The spreadsheet named by --mapping (a file, or - for standard input), parsed
// with --format. Throws UsageError when rule options are given too, and
// RenameFailure when the text cannot be read.
MappingDocument mapping(const QCommandLineParser& parser);

// The preview of the batch the words describe, as `previewBatch` makes it.
// Throws UsageError (`verb` names the command in the sentence) or RenameFailure.
BatchPreview preview(const QCommandLineParser& parser, const QString& verb,
                     const RenameProgress::Observer& progress = {});

// The rules the options describe: a built-in recipe or a rules file as the
// starting point, then every explicit option on top. Throws UsageError.
RenameRules rules(const QCommandLineParser& parser);

} // namespace BatchOptions
