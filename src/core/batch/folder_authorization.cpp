#include "core/batch/folder_authorization.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_record.h"
#include "core/naming/filename.h"
#include "core/platform/posix_file_system.h"

namespace FolderAuthorization {
namespace {

QString canonicalPath(const QUrl& url) {
    return Filename::canonical(FilePath::standardized(url.toLocalFile()));
}

} // namespace

QList<QUrl> requiredFolders(const QList<QUrl>& items) {
    QList<QUrl> folders;
    QStringList seen;
    for (const QUrl& item : items) {
        if (!item.isLocalFile())
            continue;
        QString path = FilePath::standardized(item.toLocalFile());
        auto status = PosixFileSystem::statPath(path.toUtf8());
        if (!status)
            throw RenameFailure(FilePath::lastComponent(path) +
                                QStringLiteral(" is missing or unavailable. No files were added."));
        if (!status.value->isRegular && !status.value->isDirectory)
            continue;
        QString folder = status.value->isDirectory ? path : FilePath::parent(path);
        QString key = Filename::canonical(folder);
        if (seen.contains(key))
            continue;
        seen.append(key);
        folders.append(QUrl::fromLocalFile(folder));
    }
    return folders;
}

FileIdentity directoryIdentity(const QUrl& folder) {
    if (folder.isLocalFile()) {
        auto status =
            PosixFileSystem::statPath(FilePath::standardized(folder.toLocalFile()).toUtf8());
        if (status && status.value->isDirectory)
            return status.value->identity;
    }
    throw RenameFailure(QStringLiteral("The containing folder is missing or is a symbolic link."));
}

bool accepts(const QUrl& selected, const QUrl& requested) {
    if (!selected.isLocalFile() || !requested.isLocalFile())
        return false;
    return canonicalPath(selected) == canonicalPath(requested);
}

} // namespace FolderAuthorization
