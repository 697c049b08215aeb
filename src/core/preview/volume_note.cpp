#include "core/preview/volume_note.h"

#include "core/platform/volume_mount.h"

#include <set>

namespace VolumeNote {

std::optional<QString> forFiles(const QList<FileRecord>& files) {
    if (files.isEmpty())
        return std::nullopt;
    std::set<std::int32_t> remote;
    for (const VolumeMount& mount : VolumeMount::current()) {
        if (mount.isNetworkOrFuse())
            remote.insert(mount.device);
    }
    QStringList folders;
    std::set<QString> seen;
    for (const FileRecord& file : files) {
        if (remote.contains(file.parentIdentity.device) && seen.insert(file.folderPath()).second)
            folders.append(FilePath::lastComponent(file.folderPath()));
    }
    return sentence(folders);
}

std::optional<QString> sentence(const QStringList& folders) {
    if (folders.isEmpty())
        return std::nullopt;
    if (folders.size() == 1)
        return folders.first() +
               QStringLiteral(" is on a network or FUSE volume: renames there are just as "
                              "safe, and undo needs the volume mounted from the same place.");
    return QStringLiteral("%1 folders are on network or FUSE volumes: renames there are just as "
                          "safe, and undo needs each volume mounted from the same place.")
        .arg(folders.size());
}

} // namespace VolumeNote
