#pragma once

#include "batch_preview.h"

#include <QTextStream>

// How a previewed batch reads on a terminal and as JSON.
namespace PreviewOutput {

// One line per row, then the counts. Skipped items go to `errors`.
void printText(const BatchPreview& preview, QTextStream& out, QTextStream& errors);

// {"rows":[{"path","name","proposed","changed","problem"}],"changed","unchanged",
//  "conflicts","skipped","reachedLimit","diagnostics"}
void printJson(const BatchPreview& preview, QTextStream& out);

} // namespace PreviewOutput
