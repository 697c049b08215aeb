#include "core/batch/file_safety.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_record.h"
#include "core/naming/filename.h"
#include "core/platform/volume_mount.h"

#include <QStringList>

#include <array>
#include <cerrno>
#include <sys/stat.h>

namespace FileSafety {
bool hasPackageExtension(const QString& folderName) {
    static const std::array<QStringView, 11> extensions = {
        u"app",        u"bundle", u"framework", u"photoslibrary", u"photolibrary", u"xcodeproj",
        u"playground", u"rtfd",   u"pages",     u"numbers",       u"key"};
    auto period = folderName.lastIndexOf(QLatin1Char('.'));
    if (period < 0)
        return false;
    QString extension = folderName.mid(period + 1).toLower();
    for (QStringView known : extensions) {
        if (extension == known)
            return true;
    }
    return false;
}

UniqueFd directoryFD(const QUrl& folder) {
    if (!folder.isLocalFile())
        throw RenameFailure(QStringLiteral("Choose a local folder."));
    return directoryFD(folder.toLocalFile());
}

UniqueFd directoryFD(const QString& folderPath) {
    if (!folderPath.startsWith(QLatin1Char('/')))
        throw RenameFailure(QStringLiteral("Choose a local folder."));
    QString path = FilePath::standardized(folderPath);
    auto refused = [&] {
        return RenameFailure(QStringLiteral("Cannot safely open ") + FilePath::lastComponent(path) +
                             QStringLiteral(". Symbolic links and unavailable folders are not "
                                            "supported."));
    };

    // The kernel walks the whole path and refuses a link at any component, in
    // one call and without a window between components.
    auto direct = PosixFileSystem::openFolderWithoutLinks(path.toUtf8());
    if (direct)
        return std::move(*direct.value);
    if (direct.error != ENOSYS)
        throw refused();

    QStringList components = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);

    auto root = PosixFileSystem::openRoot(!components.isEmpty());
    if (!root)
        throw RenameFailure(QStringLiteral("Cannot open the filesystem root."));
    UniqueFd current = std::move(*root.value);

    // Every intermediate folder is opened walk-only and without following a
    // link, so a folder swapped for a link mid-walk ends the walk instead of
    // redirecting it somewhere the user never chose.
    for (qsizetype index = 0; index < components.size(); ++index) {
        bool last = index == components.size() - 1;
        auto next = PosixFileSystem::openFolderAt(current.get(), components[index].toUtf8(), !last);
        if (!next)
            throw refused();
        current = std::move(*next.value);
    }
    return current;
}

PosixFileSystem::Status fileStat(const QString& name, int fd) {
    auto status = PosixFileSystem::statAt(fd, name.toUtf8());
    if (!status)
        throw RenameFailure(name + QStringLiteral(" is missing or no longer accessible."));
    // A second link would let the same content change under another name that
    // is not in the batch, so hard-linked files are refused like links.
    if (!status.value->isRegular || status.value->linkCount != 1)
        throw RenameFailure(name +
                            QStringLiteral(" is not a regular file, or is a symbolic/hard link."));
    return *status.value;
}

OpenFolder openFolder(const QString& folderPath) {
    OpenFolder folder{directoryFD(folderPath), std::nullopt};
    if (auto status = PosixFileSystem::statDescriptor(folder.fd.get())) {
        folder.identity = status.value->identity;
        folder.sticky = (status.value->mode & S_ISVTX) != 0;
        folder.owner = status.value->owner;
        folder.format = formatOf(folder.fd.get(), *folder.identity);
    }
    return folder;
}

VolumeFormat formatOf(int fd, const FileIdentity& folder) {
    if (!PosixFileSystem::isFuse(fd))
        return PosixFileSystem::volumeFormat(fd);
    // A FUSE volume on a block device is ntfs-3g (exfat-fuse, the other one,
    // is refused before any batch for want of exclusive renames and links).
    for (const VolumeMount& mount : VolumeMount::current()) {
        if (mount.device == folder.device)
            return mount.type == QLatin1String("fuseblk") ? VolumeFormat::ntfs
                                                          : VolumeFormat::other;
    }
    return VolumeFormat::other;
}

namespace {

// A batch that the kernel stops halfway leaves files under staging names, so
// what it will refuse is found here, before anything is journaled.
std::optional<QString> renameRefusal(const OpenFolder& folder,
                                     const PosixFileSystem::Status& file) {
    if (file.protectedFromChange)
        return QStringLiteral("This file is protected against changes (immutable or "
                              "append-only), so it cannot be renamed.");
    // In a sticky folder (a shared one, like /tmp) only the file's owner, the
    // folder's owner and a privileged process may rename a file.
    if (!folder.sticky)
        return std::nullopt;
    std::uint32_t user = PosixFileSystem::effectiveUser();
    if (file.owner != user && folder.owner != user && !PosixFileSystem::mayRenameOthersFiles())
        return QStringLiteral("This file belongs to another user in a shared folder, so only "
                              "its owner can rename it.");
    return std::nullopt;
}

} // namespace

Identities lookup(const OpenFolder& folder, const QString& name) {
    auto status = fileStat(name, folder.fd.get());
    if (!folder.identity)
        throw RenameFailure(QStringLiteral("Cannot inspect the folder."));
    return {status.identity, *folder.identity, renameRefusal(folder, status)};
}

Identities record(const QUrl& file, bool allowStaging) {
    if (!file.isLocalFile())
        throw RenameFailure(QStringLiteral("Only local file URLs are supported."));
    QString path = FilePath::standardized(file.toLocalFile());
    QString name = FilePath::lastComponent(path);
    if (!allowStaging) {
        if (auto problem = Filename::currentProblem(name))
            throw RenameFailure(*problem);
    }
    return lookup(openFolder(FilePath::parent(path)), name);
}

bool isInsidePackage(const QUrl& file) {
    return file.isLocalFile() && isInsidePackage(file.toLocalFile());
}

bool isInsidePackage(const QString& path) {
    // Linux has no package property of its own: the extension list decides.
    for (QString folder = FilePath::parent(FilePath::standardized(path));
         folder != QLatin1String("/") && folder.startsWith(QLatin1Char('/'));
         folder = FilePath::parent(folder)) {
        if (hasPackageExtension(FilePath::lastComponent(folder)))
            return true;
    }
    return false;
}

} // namespace FileSafety
