#include "core/platform/exclusive_move.h"

#include "core/platform/posix_file_system.h"

#include <cerrno>

namespace {

// Two names of one file show the same device and inode at the same moment.
// Nothing looser will do: removing a name is only harmless when the file it
// names stays reachable under the other.
bool sameInode(int folder, const QByteArray& a, const QByteArray& b) {
    auto first = PosixFileSystem::statAt(folder, a);
    auto second = PosixFileSystem::statAt(folder, b);
    return first && second && first.value->isRegular && second.value->isRegular &&
           first.value->identity.device == second.value->identity.device &&
           first.value->identity.inode == second.value->identity.inode;
}

} // namespace

namespace ExclusiveMove {

int move(int folder, const QByteArray& from, const QByteArray& to) {
    int error = PosixFileSystem::renameExclusive(folder, from, to);
    if (error != EINVAL)
        return error;
    if (int linked = PosixFileSystem::linkExclusive(folder, from, to))
        return linked;
    // The new name is on disk before the old one goes, so a crash in between
    // leaves the file under two names, never under none.
    if (int unsynced = PosixFileSystem::sync(folder))
        return unsynced;
    if (int kept = PosixFileSystem::removeAt(folder, from))
        return kept;
    // The checks that follow refuse a file with a second name; they must see
    // the one name it has now, not the two its volume cached.
    PosixFileSystem::statAt(folder, to, true);
    return 0;
}

bool dropSecondName(int folder, const QByteArray& kept, const QByteArray& name) {
    if (!sameInode(folder, kept, name) || PosixFileSystem::removeAt(folder, name) != 0)
        return false;
    PosixFileSystem::statAt(folder, kept, true);
    return PosixFileSystem::sync(folder) == 0;
}

} // namespace ExclusiveMove
