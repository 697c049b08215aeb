#include "core/duplicate_suffix.h"

#include "core/file_safety.h"
#include "core/filename.h"
#include "core/posix_file_system.h"
#include "core/rename_failure.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <unordered_map>

namespace {

// Positions of the intents that share a proposed name, by collision key, in
// one folder.
using Groups = QHash<QString, QList<qsizetype>>;

// The collision keys of the names in `folderPath` held by files outside the
// batch, or nothing when the folder cannot be read.
std::optional<QSet<QString>> namesOnDisk(const QString& folderPath,
                                         const QSet<QString>& batchPaths) {
    try {
        FileSafety::OpenFolder folder = FileSafety::openFolder(folderPath);
        auto listing = PosixFileSystem::listFolder(folder.fd.get());
        if (!listing)
            return std::nullopt;
        QSet<QString> keys;
        for (const QByteArray& bytes : *listing.value) {
            QString name = FilePath::decodedName(bytes).value_or(QString::fromUtf8(bytes));
            if (!batchPaths.contains(FilePath::joined(folderPath, name)))
                keys.insert(Filename::collisionKey(name));
        }
        return keys;
    } catch (const RenameFailure&) {
        return std::nullopt;
    }
}

QString withNumber(const QString& name, DuplicateFormat format, qsizetype number) {
    qsizetype period = Filename::extensionPeriod(name);
    return name.left(period) + numbered(format, number) + name.mid(period);
}

} // namespace

namespace DuplicateSuffix {

QList<RenameIntent> numbered(QList<RenameIntent> intents, DuplicateFormat format) {
    std::unordered_map<FileIdentity, Groups, FileIdentityHash> folders;
    for (qsizetype index = 0; index < intents.size(); ++index) {
        const RenameIntent& intent = intents[index];
        folders[intent.source.parentIdentity][Filename::collisionKey(intent.filename)].append(
            index);
    }
    QSet<QString> batchPaths;
    for (const RenameIntent& intent : intents)
        batchPaths.insert(intent.source.path);

    for (const auto& [parent, groups] : folders) {
        std::optional<QSet<QString>> onDisk;
        bool listed = false;
        for (auto group = groups.begin(); group != groups.end(); ++group) {
            QList<qsizetype> members = group.value();
            // A name no file may have stays refused rather than numbered
            // into one that passes, as " (2)" would for an empty name.
            if (members.size() < 2 || Filename::problem(intents[members.front()].filename))
                continue;
            if (!listed) {
                onDisk = namesOnDisk(intents[members.front()].source.folderPath(), batchPaths);
                listed = true;
            }
            if (!onDisk || onDisk->contains(group.key()))
                continue;
            // A file that already has the name keeps it.
            auto keeps = std::find_if(members.begin(), members.end(), [&](qsizetype index) {
                return Filename::collisionKey(intents[index].source.name()) == group.key();
            });
            if (keeps != members.end())
                std::rotate(members.begin(), keeps, keeps + 1);
            for (qsizetype number = 2; number <= members.size(); ++number) {
                RenameIntent& intent = intents[members[number - 1]];
                intent.filename = withNumber(intent.filename, format, number);
            }
        }
    }
    return intents;
}

} // namespace DuplicateSuffix
