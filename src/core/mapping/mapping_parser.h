#pragma once

#include "core/mapping/mapping_document.h"
#include "core/mapping/mapping_format.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

// Two-column spreadsheet text (old filename, new filename) as mappings. The
// parser is literal: cells are never trimmed or evaluated, and the first
// problem ends the parse with one diagnostic that names its line.
namespace MappingParser {

inline constexpr qsizetype maximumBytes = 4'194'304;
inline constexpr qsizetype maximumEntries = 5000;

// The text of a local spreadsheet file, read within the size limit and decoded
// as strict UTF-8 (a byte-order mark is kept; `parse` removes it). Throws
// RenameFailure with the sentence to show.
QString readText(const QUrl& file);

// Never fails: every problem becomes the document's one diagnostic.
MappingDocument parse(const QByteArray& bytes, MappingFormat format);

// Strict UTF-8, a leading byte-order mark kept: empty when the bytes are not UTF-8.
std::optional<QString> decodedText(const QByteArray& bytes);

} // namespace MappingParser
