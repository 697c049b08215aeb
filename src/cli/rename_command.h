#pragma once

#include <QStringList>

// `tessary-cli rename [rule options] [--windows] [--yes] [--journal DIR] PATH...`
namespace RenameCommand {

// Previews exactly like `preview`; renames only when nothing blocks and the
// user confirmed. 0 after a rename, 1 when blocked, refused or failed, 2 for
// a usage error or a failure before the preview.
int run(const QStringList& arguments);

} // namespace RenameCommand
