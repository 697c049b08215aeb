#include "core/platform/posix_file_system.h"

#include <QByteArrayList>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace PosixFileSystem {
namespace {

// A signal arriving mid-call must not turn into a spurious failure the user
// sees, so every interruptible call goes through here.
template <typename Call> auto retryOnInterrupt(Call call) {
    for (;;) {
        auto result = call();
        if (result != -1 || errno != EINTR)
            return result;
    }
}

// NTFS as the kernel's own drivers name it; ntfs-3g is a FUSE volume.
constexpr long ntfsMagic = 0x5346544e;

struct Volume {
    VolumeFormat format = VolumeFormat::other;
    bool overlay = false;
    bool fuse = false;
};

Volume volumeOf(int fd) {
    struct statfs volume {};
    if (fd == AT_FDCWD || retryOnInterrupt([&] { return fstatfs(fd, &volume); }) != 0)
        return {};
    switch (static_cast<unsigned long>(volume.f_type)) {
    case MSDOS_SUPER_MAGIC:
        return {VolumeFormat::fat32};
    case EXFAT_SUPER_MAGIC:
        return {VolumeFormat::exfat};
    case ntfsMagic:
        return {VolumeFormat::ntfs};
    case OVERLAYFS_SUPER_MAGIC:
        return {VolumeFormat::other, true};
    case FUSE_SUPER_MAGIC:
        return {VolumeFormat::other, false, true};
    default:
        return {};
    }
}

Status statusFrom(const struct statx& info, const Volume& volume) {
    Status status;
    status.isRegular = S_ISREG(info.stx_mode);
    status.isDirectory = S_ISDIR(info.stx_mode);
    status.isSymbolicLink = S_ISLNK(info.stx_mode);
    status.linkCount = info.stx_nlink;
    status.size = info.stx_size;
    status.mode = info.stx_mode & 07777;
    status.owner = info.stx_uid;
    status.protectedFromChange = (info.stx_attributes & info.stx_attributes_mask &
                                  (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0;
    FileIdentity& identity = status.identity;
    identity.device = PosixFileSystem::encodedDevice(info.stx_dev_major, info.stx_dev_minor);
    identity.inode = info.stx_ino;
    // A file system without birth times reports none; zero never changes while
    // the file exists, which is all an identity needs. An overlay copies a
    // file or folder up to its writable layer at the first change (our own
    // probe and rename included), and the copy reports a new birth time while
    // keeping its device and inode, so there it is left out as well. exFAT
    // gives a folder a new birth time whenever an entry in it is renamed, and
    // its root the time it was mounted.
    bool folderOnExfat = status.isDirectory && volume.format == VolumeFormat::exfat;
    if ((info.stx_mask & STATX_BTIME) && !volume.overlay && !folderOnExfat) {
        identity.birthSeconds = info.stx_btime.tv_sec;
        identity.birthNanos = info.stx_btime.tv_nsec;
    }
    if (VolumeFormats::renumbersInodes(volume.format)) {
        identity.renumbered = true;
        // A folder's size and modification time change with every rename in it.
        if (status.isRegular) {
            identity.size = info.stx_size;
            identity.modifiedSeconds = info.stx_mtime.tv_sec;
            identity.modifiedNanos = info.stx_mtime.tv_nsec;
        }
    }
    return status;
}

Result<Status> statxCall(int folder, const char* name, int flags) {
    struct statx info {};
    int rc = retryOnInterrupt(
        [&] { return statx(folder, name, flags, STATX_BASIC_STATS | STATX_BTIME, &info); });
    if (rc != 0)
        return {std::nullopt, errno};
    return {statusFrom(info, volumeOf(folder)), 0};
}

Result<UniqueFd> openCall(int folder, const char* name, int flags) {
    int fd = retryOnInterrupt([&] { return openat(folder, name, flags); });
    if (fd < 0)
        return {std::nullopt, errno};
    return {UniqueFd(fd), 0};
}

} // namespace

Result<UniqueFd> openRoot(bool walkOnly) {
    int mode = walkOnly ? O_PATH : O_RDONLY;
    return openCall(AT_FDCWD, "/", mode | O_DIRECTORY | O_CLOEXEC);
}

Result<UniqueFd> openFolderAt(int folder, const QByteArray& name, bool walkOnly) {
    int mode = walkOnly ? O_PATH : O_RDONLY;
    return openCall(folder, name.constData(), mode | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

Result<UniqueFd> openFolderWithoutLinks(const QByteArray& absolutePath) {
    open_how how{};
    how.flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    long fd = retryOnInterrupt(
        [&] { return syscall(SYS_openat2, AT_FDCWD, absolutePath.constData(), &how, sizeof how); });
    if (fd >= 0)
        return {UniqueFd(int(fd)), 0};
    // Older kernels, and sandboxes that filter the call, get the walk instead.
    if (errno == ENOSYS || errno == EPERM || errno == E2BIG)
        return {std::nullopt, ENOSYS};
    return {std::nullopt, errno};
}

Result<Status> statAt(int folder, const QByteArray& name, bool uncached) {
    return statxCall(folder, name.constData(),
                     AT_SYMLINK_NOFOLLOW | (uncached ? AT_STATX_FORCE_SYNC : 0));
}

Result<Status> statDescriptor(int fd) {
    return statxCall(fd, "", AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW);
}

Result<Status> statPath(const QByteArray& path) {
    return statxCall(AT_FDCWD, path.constData(), AT_SYMLINK_NOFOLLOW);
}

VolumeFormat volumeFormat(int fd) {
    return volumeOf(fd).format;
}

bool isFuse(int fd) {
    return volumeOf(fd).fuse;
}

Result<std::vector<QByteArray>> listFolder(int folder) {
    auto own = openCall(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!own)
        return {std::nullopt, own.error};
    DIR* stream = fdopendir(own.value->get());
    if (!stream)
        return {std::nullopt, errno};
    own.value->release(); // the stream owns the descriptor from here on
    std::vector<QByteArray> names;
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(stream);
        if (!entry)
            break;
        const char* name = entry->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
            continue;
        names.emplace_back(name);
    }
    int error = errno;
    closedir(stream);
    if (error != 0)
        return {std::nullopt, error};
    return {std::move(names), 0};
}

Result<UniqueFd> openForReading(int folder, const QByteArray& name) {
    return openCall(folder, name.constData(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
}

Result<UniqueFd> openPathForReading(const QByteArray& path) {
    return openCall(AT_FDCWD, path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

Result<UniqueFd> createExclusive(int folder, const QByteArray& name, unsigned mode) {
    int fd = retryOnInterrupt([&] {
        return openat(folder, name.constData(),
                      O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode_t(mode));
    });
    if (fd < 0)
        return {std::nullopt, errno};
    return {UniqueFd(fd), 0};
}

Result<UniqueFd> openLockFile(int folder, const QByteArray& name) {
    int fd = retryOnInterrupt([&] {
        return openat(folder, name.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    });
    if (fd < 0)
        return {std::nullopt, errno};
    return {UniqueFd(fd), 0};
}

int lockExclusiveWithoutWaiting(int fd) {
    return retryOnInterrupt([&] { return flock(fd, LOCK_EX | LOCK_NB); }) == 0 ? 0 : errno;
}

void unlock(int fd) {
    retryOnInterrupt([&] { return flock(fd, LOCK_UN); });
}

Result<QByteArray> readUpTo(int fd, qsizetype limit) {
    QByteArray bytes;
    qsizetype filled = 0;
    while (filled < limit) {
        qsizetype chunk = std::min<qsizetype>(limit - filled, 1 << 20);
        bytes.resize(filled + chunk);
        ssize_t count =
            retryOnInterrupt([&] { return ::read(fd, bytes.data() + filled, size_t(chunk)); });
        if (count < 0)
            return {std::nullopt, errno};
        if (count == 0)
            break;
        filled += count;
    }
    bytes.resize(filled);
    return {std::move(bytes), 0};
}

int writeAll(int fd, const QByteArray& bytes) {
    qsizetype written = 0;
    while (written < bytes.size()) {
        ssize_t count = retryOnInterrupt([&] {
            return ::write(fd, bytes.constData() + written, size_t(bytes.size() - written));
        });
        if (count < 0)
            return errno;
        if (count == 0)
            return EIO;
        written += count;
    }
    return 0;
}

int sync(int fd) {
    return retryOnInterrupt([&] { return fsync(fd); }) == 0 ? 0 : errno;
}

int syncVolume(int fd) {
    return retryOnInterrupt([&] { return syncfs(fd); }) == 0 ? 0 : errno;
}

RenameWriting renameWriting(int fd) {
    struct statfs volume {};
    if (retryOnInterrupt([&] { return fstatfs(fd, &volume); }) != 0)
        return RenameWriting::other;
    switch (static_cast<unsigned long>(volume.f_type)) {
    case XFS_SUPER_MAGIC:
    case BTRFS_SUPER_MAGIC:
        return RenameWriting::journaled;
    case EXT4_SUPER_MAGIC:
        return RenameWriting::extFamily;
    case MSDOS_SUPER_MAGIC:
        return RenameWriting::fat;
    default:
        return RenameWriting::other;
    }
}

int renameExclusive(int folder, const QByteArray& from, const QByteArray& to) {
    int rc = retryOnInterrupt([&] {
        return renameat2(folder, from.constData(), folder, to.constData(), RENAME_NOREPLACE);
    });
    return rc == 0 ? 0 : errno;
}

int linkExclusive(int folder, const QByteArray& from, const QByteArray& to) {
    int rc = retryOnInterrupt(
        [&] { return linkat(folder, from.constData(), folder, to.constData(), 0); });
    return rc == 0 ? 0 : errno;
}

int renameReplacing(int folder, const QByteArray& from, const QByteArray& to) {
    int rc = retryOnInterrupt(
        [&] { return renameat(folder, from.constData(), folder, to.constData()); });
    return rc == 0 ? 0 : errno;
}

int removeAt(int folder, const QByteArray& name) {
    return retryOnInterrupt([&] { return unlinkat(folder, name.constData(), 0); }) == 0 ? 0 : errno;
}

int makeFolders(const QByteArray& path, unsigned mode) {
    QByteArray partial;
    for (const QByteArray& component : path.split('/')) {
        if (component.isEmpty())
            continue;
        partial += '/' + component;
        int rc = retryOnInterrupt([&] { return mkdir(partial.constData(), mode_t(mode)); });
        if (rc != 0 && errno != EEXIST)
            return errno;
    }
    return 0;
}

Result<QByteArray> mountTable() {
    auto file = openPathForReading("/proc/self/mountinfo");
    if (!file)
        return {std::nullopt, file.error};
    return readUpTo(file.value->get(), 16 << 20);
}

std::int32_t encodedDevice(std::uint32_t major, std::uint32_t minor) {
    std::uint32_t encoded = (minor & 0xffu) | (major << 8) | ((minor & ~0xffu) << 12);
    return static_cast<std::int32_t>(encoded);
}

std::uint32_t effectiveUser() {
    return geteuid();
}

bool mayRenameOthersFiles() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
    if (syscall(SYS_capget, &header, data) != 0)
        return false;
    return (data[CAP_FOWNER / 32].effective & (1u << (CAP_FOWNER % 32))) != 0;
}

QString errorText(int error) {
    const char* text = strerrordesc_np(error);
    if (!text)
        return QStringLiteral("Unknown error %1").arg(error);
    return QString::fromUtf8(text);
}

void closeDescriptor(int fd) noexcept {
    // Linux releases the descriptor even when close reports EINTR, so a retry
    // could close a descriptor another thread has just been given.
    ::close(fd);
}

} // namespace PosixFileSystem
