#pragma once

#include "core/naming/file_facts.h"

#include <QByteArray>
#include <QString>

// Reads what naming by date needs from one file. The only place that talks
// to Exiv2, so the rest of the core never sees its types or its exceptions.
namespace MetadataReader {

// The facts of the file at `path`. Never fails: a damaged header becomes the
// facts' problem, a file that is gone gives empty facts with a problem.
// Safe to call from several threads at once, on different files.
FileFacts read(const QString& path);

// The date taken that `bytes`, a whole image file, record. Throws nothing;
// the fuzzer feeds it hostile headers through here.
FileFacts readBytes(const QByteArray& bytes);

} // namespace MetadataReader
