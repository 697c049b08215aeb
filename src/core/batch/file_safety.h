#pragma once

#include "core/platform/file_identity.h"
#include "core/platform/posix_file_system.h"
#include "core/platform/unique_fd.h"
#include "core/platform/volume_format.h"

#include <QString>
#include <QUrl>

#include <optional>

// The primitives through which every look at a user's file goes. Folders are
// opened one component at a time without following links, files are examined
// only relative to an opened folder, and only plain regular files with one
// link are accepted. Nothing here changes the disk or keeps state. Every
// failure is a RenameFailure with the sentence shown to the user.
namespace FileSafety {

struct Identities {
    FileIdentity file;
    FileIdentity folder;
    // Why the kernel would refuse to rename this file although it passes every
    // other check, or nothing.
    std::optional<QString> renameRefusal;
};

// Opens a folder for reading, walking from "/" with walk-only descriptors and
// never through a symbolic link. The caller owns the descriptor.
UniqueFd directoryFD(const QUrl& folder);
UniqueFd directoryFD(const QString& folderPath);

// The status of `name` inside the opened folder `fd`, which must be a plain
// regular file with a single link. Never follows a link; leaves `fd` open.
PosixFileSystem::Status fileStat(const QString& name, int fd);

// The identities of a file and of the folder that holds it, as they are now.
// Unless `allowStaging`, the current name must pass the filename check first.
Identities record(const QUrl& file, bool allowStaging);

// True when a folder above the file (not the file itself, not "/") carries a
// bundle extension such as ".app" or ".pages". Never fails, never reads the disk.
bool isInsidePackage(const QUrl& file);
bool isInsidePackage(const QString& path);

// True when a folder called `folderName` is a bundle by its extension.
bool hasPackageExtension(const QString& folderName);

// A folder opened once for looking up many of its files, as the preview and
// the import do. `identity` is empty when the opened folder could not be examined.
struct OpenFolder {
    UniqueFd fd;
    std::optional<FileIdentity> identity;
    // Whether the folder has the sticky bit, and its owner.
    bool sticky = false;
    std::uint32_t owner = 0;
    // Which rules for names its volume has.
    VolumeFormat format = VolumeFormat::other;
};

// Throws what directoryFD throws.
OpenFolder openFolder(const QString& folderPath);

// The format of the volume that holds the opened folder `fd`, also when it is
// served through FUSE (ntfs-3g, Debian's NTFS driver).
VolumeFormat formatOf(int fd, const FileIdentity& folder);

// The lookup of `record` after its name check, against an already opened folder.
Identities lookup(const OpenFolder& folder, const QString& name);

} // namespace FileSafety
