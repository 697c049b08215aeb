#include "core/engine/move_flushing.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_safety.h"
#include "core/platform/posix_file_system.h"

namespace {

// More folders than this waiting for the end of a phase are written out
// early, so a batch across thousands of folders never runs out of
// descriptors.
constexpr std::size_t mostWaitingFolders = 256;

[[noreturn]] void folderUnconfirmed() {
    throw RenameFailure(QStringLiteral("The folder could not confirm the change on disk. Keep "
                                       "the recovery journal and retry recovery."));
}

} // namespace

bool MoveFlushing::deferred(const QString& parent) {
    auto known = kinds.constFind(parent);
    if (known != kinds.constEnd())
        return *known == Kind::oncePerPhase;
    UniqueFd folder = FileSafety::directoryFD(parent);
    return kindOf(parent, folder.get()) == Kind::oncePerPhase;
}

MoveFlushing::Kind MoveFlushing::kindOf(const QString& parent, int folder) {
    auto known = kinds.constFind(parent);
    if (known != kinds.constEnd())
        return *known;
    Kind kind = Kind::eachMove;
    switch (PosixFileSystem::renameWriting(folder)) {
    case PosixFileSystem::RenameWriting::journaled:
        kind = Kind::oncePerPhase;
        break;
    case PosixFileSystem::RenameWriting::fat:
        kind = Kind::fileFirst;
        break;
    case PosixFileSystem::RenameWriting::extFamily: {
        // ext2 has no journal; a volume whose mount cannot be found is
        // treated as one.
        auto status = PosixFileSystem::statDescriptor(folder);
        if (!mounts)
            mounts = VolumeMount::current();
        for (const VolumeMount& mount : *mounts) {
            if (status && mount.device == status.value->identity.device &&
                (mount.type == u"ext4" || mount.type == u"ext3"))
                kind = Kind::oncePerPhase;
        }
        break;
    }
    case PosixFileSystem::RenameWriting::other:
        break;
    }
    kinds.insert(parent, kind);
    return kind;
}

void MoveFlushing::moved(const QString& parent, int folder, const QByteArray& name) {
    switch (kindOf(parent, folder)) {
    case Kind::oncePerPhase:
        if (!waiting.contains(parent)) {
            if (waiting.size() >= mostWaitingFolders)
                settle();
            auto own = PosixFileSystem::openFolderAt(folder, ".", false);
            if (!own)
                folderUnconfirmed();
            waiting.emplace(parent, std::move(*own.value));
        }
        return;
    case Kind::fileFirst: {
        // Without this the new entry reaches the card with size 0 and no
        // first cluster, and a card pulled before the kernel writes the file
        // back (up to half a minute later) keeps the name with its contents
        // out of reach. With it, a pull can leave the file under both names,
        // which recovery knows.
        auto file = PosixFileSystem::openForReading(folder, name);
        if (!file || PosixFileSystem::sync(file.value->get()) != 0)
            throw RenameFailure(QStringLiteral("The file could not confirm its new name on "
                                               "disk. Keep the recovery journal and retry "
                                               "recovery."));
        // The folder's own flush misses the first sectors of a folder made
        // since the card was mounted (the kernel files them under the parent),
        // which would leave the old entry beside the new one after a pull; the
        // whole volume is written out instead. That does not ask the card to
        // empty its cache, which the folder's flush below does.
        if (PosixFileSystem::syncVolume(folder) != 0)
            folderUnconfirmed();
        break;
    }
    case Kind::eachMove:
        break;
    }
    // A cut can now only touch the next move: the journal already on disk says
    // where this file may be, and the disk never shows an older name.
    if (PosixFileSystem::sync(folder) != 0)
        folderUnconfirmed();
}

void MoveFlushing::settle() {
    // Every deferred folder is flushed, and only then the failure reported, so
    // one failing folder does not leave the others' moves unwritten.
    bool failed = false;
    for (auto& [parent, folder] : waiting)
        failed = PosixFileSystem::sync(folder.get()) != 0 || failed;
    waiting.clear();
    if (failed)
        folderUnconfirmed();
}
