#pragma once

#include "core/naming/file_facts.h"

#include <QByteArray>
#include <QString>

// Reads what naming needs from inside one file: an image's dates, camera,
// lens and size (Exiv2), a song's tags (TagLib). The only place that talks to
// either, so the rest of the core never sees their types or their exceptions.
namespace MetadataReader {

// The facts of the file at `path`. Never fails: a damaged header becomes the
// facts' problem, a file that is gone gives empty facts with a problem.
// Safe to call from several threads at once, on different files.
FileFacts read(const QString& path);

// What `bytes`, a whole file, record; `suffix` is the extension it would have
// (a song's tags are read by kind). Throws nothing; the fuzzer feeds it
// hostile headers through here.
FileFacts readBytes(const QByteArray& bytes, const QString& suffix = {});

} // namespace MetadataReader
