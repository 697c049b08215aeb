#pragma once

#include <QByteArray>
#include <QString>

// Whole files written so that a reader, or a crash, sees the old content or
// the new, never a mix: a hidden temporary in the same folder, flushed, then
// renamed over the target, and the folder flushed.
namespace AtomicFile {

// Replaces whatever is at `path` (an absolute path) with `bytes`. The folder is
// opened without following links. Throws RenameFailure with the system's
// description; the earlier file stays as it was.
void write(const QString& path, const QByteArray& bytes);

} // namespace AtomicFile
