#pragma once

#include "core/platform/file_identity.h"
#include "core/platform/unique_fd.h"
#include "core/platform/volume_format.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

// The only place where the core calls the operating system's file interface.
// Each call is wrapped once: EINTR is retried here, descriptors come back
// owned, and failures come back as errno values for the caller to turn into a
// sentence. Names and paths are the raw bytes the kernel sees.
namespace PosixFileSystem {

struct Status {
    bool isRegular = false;
    bool isDirectory = false;
    bool isSymbolicLink = false;
    std::uint64_t linkCount = 0;
    std::uint64_t size = 0;
    // Permission bits with the sticky bit, and the owner's user id.
    unsigned mode = 0;
    std::uint32_t owner = 0;
    // Immutable or append-only (chattr +i, +a): the kernel refuses to rename it.
    bool protectedFromChange = false;
    // The device is the kernel's 32-bit encoding of major and minor, which
    // Linux does not keep across a remount (FileIdentity::sameFile allows for
    // that). The birth time comes from statx; it is zero where the file system
    // records none, on overlays, which change it when they copy a file up, and
    // for folders on exFAT, which change it when an entry is renamed. On FAT32
    // and exFAT the identity is marked renumbered, with size and modification
    // time. The volume is that of the folder descriptor the call was given.
    FileIdentity identity;
};

template <typename T> struct Result {
    std::optional<T> value;
    int error = 0;

    explicit operator bool() const { return value.has_value(); }
};

// "/" opened as a walk-only descriptor (O_PATH) when `walkOnly`, else readable.
Result<UniqueFd> openRoot(bool walkOnly);

// One folder below `folder`, never through a symbolic link. A walk-only
// descriptor can only be used as a base for further *at() calls and fstat.
Result<UniqueFd> openFolderAt(int folder, const QByteArray& name, bool walkOnly);

// An absolute folder path opened for reading in one call that refuses a
// symbolic link at any component (openat2 with RESOLVE_NO_SYMLINKS). An empty
// value with error ENOSYS means the kernel cannot do this, and the caller
// walks the path one component at a time instead.
Result<UniqueFd> openFolderWithoutLinks(const QByteArray& absolutePath);

// Status of `name` inside `folder`, without following a symbolic link.
// `uncached` asks a network or FUSE file system for the status afresh
// (AT_STATX_FORCE_SYNC): their cached link count lags behind a link and an
// unlink for up to a second, and a later status is served from what this call
// brought in. Local file systems ignore it.
Result<Status> statAt(int folder, const QByteArray& name, bool uncached = false);

// Status of an open descriptor itself.
Result<Status> statDescriptor(int fd);

// Status of an absolute path, without following a final symbolic link.
Result<Status> statPath(const QByteArray& path);

// The format of the volume that holds the opened `fd`, as its file system
// type says; `other` where that cannot be read. A FUSE volume is always
// `other` here: only the mount table tells which file system it serves.
VolumeFormat volumeFormat(int fd);
bool isFuse(int fd);

// Every entry name of an open folder but "." and "..". The listing reads a
// fresh descriptor of its own, so `folder` keeps its position and ownership.
Result<std::vector<QByteArray>> listFolder(int folder);

// A journal, or a file to flush, opened for reading: never through a final
// link, and never blocking on something that is not a regular file (a FIFO
// planted under its name).
Result<UniqueFd> openForReading(int folder, const QByteArray& name);

// A file the user chose to read (a spreadsheet), by path: read-only, and never
// blocking on something that is not a regular file.
Result<UniqueFd> openPathForReading(const QByteArray& path);

// A new file that must not exist yet; journals are created readable only by
// their owner (0600), documents for the user with 0666 less the umask.
Result<UniqueFd> createExclusive(int folder, const QByteArray& name, unsigned mode = 0600);

// The lock file, created on first use and kept.
Result<UniqueFd> openLockFile(int folder, const QByteArray& name);

// flock(LOCK_EX | LOCK_NB): 0, or the errno of a lock held elsewhere.
int lockExclusiveWithoutWaiting(int fd);
void unlock(int fd);

// Up to `limit` bytes, fewer only at the end of the file.
Result<QByteArray> readUpTo(int fd, qsizetype limit);

// The whole buffer, continuing after partial writes: 0 or an errno (EIO when a
// write makes no progress).
int writeAll(int fd, const QByteArray& bytes);

// fsync: 0 or an errno.
int sync(int fd);

// syncfs, every change waiting on the volume that holds `fd`: 0 or an errno.
int syncVolume(int fd);

// How the file system that holds `fd` writes a rename, as its type number
// says: xfs and btrfs journal it as one change; ext2, ext3 and ext4 share one
// number, and only ext3 and ext4 journal (their mount type tells them apart);
// FAT writes a rename's directory entries one by one.
enum class RenameWriting { journaled, extFamily, fat, other };
RenameWriting renameWriting(int fd);

// renameat2(RENAME_NOREPLACE) inside one folder: fails with EEXIST rather than
// replace anything that has the destination name. 0 or an errno.
int renameExclusive(int folder, const QByteArray& from, const QByteArray& to);

// linkat inside one folder: a second name for `from`, failing with EEXIST
// when `to` exists. Unlike renameat2(RENAME_NOREPLACE) it works on every file
// system, network ones included. 0 or an errno.
int linkExclusive(int folder, const QByteArray& from, const QByteArray& to);

// renameat inside one folder, replacing the destination atomically. Only ever
// used for the app's own journals. 0 or an errno.
int renameReplacing(int folder, const QByteArray& from, const QByteArray& to);

// unlinkat of a file: 0 or an errno.
int removeAt(int folder, const QByteArray& name);

// mkdir of every missing component with `mode`: 0 or an errno.
int makeFolders(const QByteArray& path, unsigned mode);

// The kernel's mount table of this process (/proc/self/mountinfo).
Result<QByteArray> mountTable();

// The kernel's own 32-bit encoding of a device number, as identities record
// it, so that a file and its folder on one file system report the same value
// in journals and on every run.
std::int32_t encodedDevice(std::uint32_t major, std::uint32_t minor);

// The effective user id of this process.
std::uint32_t effectiveUser();

// True when this process may rename other users' files in a sticky folder
// (CAP_FOWNER in its effective set, as root normally has).
bool mayRenameOthersFiles();

// The system's description of an errno value, without a final period, for
// sentences shown to the user.
QString errorText(int error);

void closeDescriptor(int fd) noexcept;

} // namespace PosixFileSystem
