#pragma once

#include "core/platform/file_identity.h"

#include <QList>
#include <QUrl>

// Which folders a selection needs access to, and whether a folder the user
// chose is exactly the one that was asked for.
namespace FolderAuthorization {

// The distinct containing folders of the selected items, in first-seen order:
// a folder itself, or the folder that holds a file. Links and non-local items
// are skipped silently. Throws RenameFailure naming the first item that cannot
// be examined.
QList<QUrl> requiredFolders(const QList<QUrl>& items);

// The identity of a folder, never through a final symbolic link. Throws
// RenameFailure when it is missing, not a folder, or a link.
FileIdentity directoryIdentity(const QUrl& folder);

// True when both are local and their standardized paths are the same text
// under Unicode canonical equivalence. A link to the folder is another folder.
bool accepts(const QUrl& selected, const QUrl& requested);

} // namespace FolderAuthorization
