#pragma once

#include "core/naming/file_facts.h"

#include <QByteArray>
#include <QString>

// Reads what naming needs from inside one file: an image's dates, camera,
// lens and size (Exiv2), a song's tags (TagLib), a clip's date and size
// (FFmpeg's libavformat). The only place that talks to them, so the rest of the core
// never sees their types or their exceptions.
namespace MetadataReader {

// The facts of the file at `path`. Never fails: a damaged header becomes the
// facts' problem, a file that is gone gives empty facts with a problem.
// Safe to call from several threads at once, on different files.
FileFacts read(const QString& path);

// What `bytes`, a whole file, record; `suffix` is the extension it would have,
// which picks the library that reads it. Throws nothing; the fuzzer feeds it
// hostile headers through here.
FileFacts readBytes(const QByteArray& bytes, const QString& suffix = {});

} // namespace MetadataReader
