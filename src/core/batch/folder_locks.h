#pragma once

#include "core/platform/unique_fd.h"

#include <QStringList>

#include <vector>

// Advisory locks on the folders of one batch, held from before the batch is
// judged until its last move. The engine's own lock lives in its journal
// folder, so two Tessary processes with different journal folders (the window
// and a CLI run as another user) would otherwise both act on the same files,
// and the second would journal a batch whose files the first had already
// renamed: a journal that no recovery can ever satisfy.
class FolderLocks {
public:
    FolderLocks() = default;

    // Locks the folders (the first `maximumHeld` of them), without waiting.
    // Throws RenameFailure when another Tessary operation holds one of them. A
    // folder that cannot be opened, or a file system that cannot lock folders
    // (NFS), is passed over: the checks before each move still hold there,
    // this lock only adds to them.
    static FolderLocks acquire(const QStringList& folderPaths);

    static constexpr std::size_t maximumHeld = 256;

private:
    // flock belongs to the open descriptor: closing it releases the lock, and
    // the kernel does that for us if the process dies.
    std::vector<UniqueFd> held;
};
