#include "core/batch/folder_locks.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_safety.h"
#include "core/platform/posix_file_system.h"

#include <cerrno>
#include <unordered_set>

FolderLocks FolderLocks::acquire(const QStringList& folderPaths) {
    FolderLocks locks;
    // A second descriptor of a folder already locked here would be refused by
    // our own lock, so folders are told apart by what they are, not by path.
    std::unordered_set<FileIdentity, FileIdentityHash> locked;
    for (const QString& path : folderPaths) {
        // Each lock holds a descriptor open for the whole batch, and the moves
        // still need descriptors of their own under the usual limit of 1,024:
        // a batch spread over more folders than this has its first ones
        // locked, and the checks before every move guard the rest.
        if (locks.held.size() >= maximumHeld)
            break;
        UniqueFd fd;
        try {
            fd = FileSafety::directoryFD(path);
        } catch (const RenameFailure&) {
            continue;
        }
        auto status = PosixFileSystem::statDescriptor(fd.get());
        if (!status || !locked.insert(status.value->identity).second)
            continue;
        int error = PosixFileSystem::lockExclusiveWithoutWaiting(fd.get());
        if (error == EWOULDBLOCK)
            throw RenameFailure(QStringLiteral("Another Tessary operation is using a folder of "
                                               "this batch. Try again when it finishes."));
        if (error == 0)
            locks.held.push_back(std::move(fd));
    }
    return locks;
}
